#pragma once

/// \file
/// Metrics, health score, clusters, critical paths and recommendations of a dependency graph.

#include <array>
#include <cstdint>
#include <map>
#include <nlohmann/json_fwd.hpp>
#include <string>
#include <string_view>
#include <vector>

#include "tavreldi/core/Enum.hpp"
#include "tavreldi/graph/DependencyEdge.hpp"
#include "tavreldi/graph/DependencyNode.hpp"
#include "tavreldi/metrics/PerformanceMetrics.hpp"

namespace tavreldi {

/// Complexity figures of a graph.
struct ComplexityMetrics {
  /// Edges − nodes + 2, or 0 when that is negative.
  std::int64_t cyclomaticComplexity = 0;
  /// Edges per node (0 without nodes).
  double couplingScore = 0;
  /// Fixed at 0.7.
  double cohesionScore = 0;
  /// The total number of edges.
  std::int64_t fanIn = 0;
  /// The total number of edges.
  std::int64_t fanOut = 0;
  /// Equal to `couplingScore`.
  double instability = 0;
  /// Fixed at 0.5.
  double abstractness = 0;
  /// |abstractness + instability − 1|.
  double distanceFromMainSequence = 0;
};

/// Performance figures of a graph (over its nodes' sample figures).
struct GraphPerformanceMetrics {
  /// Mean of the nodes' resolution times, in seconds.
  double averageResolutionTime = 0;
  /// The greatest node resolution time, in seconds.
  double slowestResolution = 0;
  /// The smallest node resolution time, in seconds (0 without nodes).
  double fastestResolution = 0;
  /// The process's resident memory in bytes.
  double totalMemoryFootprint = 0;
  /// Mean of the nodes' cache hit rates, 0 to 1.
  double cacheHitRate = 0;
  /// Ids of the nodes slower than twice the mean, in node order.
  std::vector<std::string> bottleneckNodes;
  /// Always `stable`.
  PerformanceTrend performanceTrend = PerformanceTrend::stable;
};

/// Architecture rule counts of a graph.
struct ArchitectureMetrics {
  /// Edges from a lower layer to a higher one.
  std::int64_t layerViolations = 0;
  /// Always 0: no rule computes it.
  std::int64_t dependencyInversionViolations = 0;
  /// Nodes with six or more dependencies.
  std::int64_t singleResponsibilityViolations = 0;
  /// Always 0: no rule computes it.
  std::int64_t openClosedViolations = 0;
  /// Always 0: no rule computes it.
  std::int64_t liskovSubstitutionViolations = 0;
  /// Always 0: no rule computes it.
  std::int64_t interfaceSegregationViolations = 0;
  /// 1 − (layer + single-responsibility violations) ÷ nodes, at least 0 (1 without nodes).
  double architectureCompliance = 0;
};

/// The graph's health. `testability` is on a 0–100 scale, the others on 0–1.
struct HealthScore {
  /// The mean of the six other figures (it can exceed 1, as `testability` is 0–100).
  double overall = 0;
  /// 1 − the complexity score.
  double performance = 0;
  /// 1 without circular edges, else 0.
  double maintainability = 0;
  /// Cache hits per resolution × 100 (0 before any resolution).
  double testability = 0;
  /// Fixed at 0.8.
  double scalability = 0;
  /// Fixed at 0.9.
  double security = 0;
  /// Fixed at 0.85.
  double reliability = 0;
};

/// The nodes of one category.
struct NodeCluster {
  /// The category's raw value followed by "_cluster".
  std::string id;
  /// The category's raw value followed by " Cluster".
  std::string name;
  /// Ids of the category's nodes, in node order.
  std::vector<std::string> nodes;
  /// The mean position of its nodes.
  Point center;
  /// The cluster's radius (100).
  double radius = 0;
  /// The category's colour, as "#rrggbb".
  std::string color;
  /// One entry: "category" → the category's raw value.
  std::map<std::string, std::string> metadata;
};

/// One long dependency chain.
struct CriticalPath {
  /// "critical_path_" + its zero-based rank.
  std::string id;
  /// "Critical Path " + its one-based rank.
  std::string name;
  /// The names along the path.
  std::vector<std::string> nodes;
  /// The number of names.
  std::int64_t length = 0;
  /// Always `high`.
  PerformanceImpact impact = PerformanceImpact::high;
  /// One entry: "type" → "dependency_chain".
  std::map<std::string, std::string> metadata;
};

/// Area of a recommendation.
enum class RecommendationType {
  performance,
  architecture,
  maintainability,
  security,
  scalability,
  testing,
  documentation
};

template <>
struct EnumTraits<RecommendationType> {
  static constexpr std::array<std::string_view, 7> rawValues{
      "Performance", "Architecture", "Maintainability", "Security",
      "Scalability", "Testing",      "Documentation"};
};

/// Urgency of a recommendation.
enum class RecommendationPriority { low, medium, high, critical };

template <>
struct EnumTraits<RecommendationPriority> {
  static constexpr std::array<std::string_view, 4> rawValues{"Low", "Medium", "High", "Critical"};
};

/// Expected work of a recommendation.
enum class EffortLevel { low, medium, high, veryHigh };

template <>
struct EnumTraits<EffortLevel> {
  static constexpr std::array<std::string_view, 4> rawValues{"Low", "Medium", "High", "Very High"};
};

/// One piece of advice about the graph.
struct Recommendation {
  /// The area.
  RecommendationType type = RecommendationType::architecture;
  /// The urgency.
  RecommendationPriority priority = RecommendationPriority::medium;
  /// A short heading.
  std::string title;
  /// One sentence.
  std::string description;
  /// Ids of the nodes concerned.
  std::vector<std::string> affectedNodes;
  /// "Low", "Medium" or "High".
  std::string estimatedImpact;
  /// The expected work.
  EffortLevel effort = EffortLevel::medium;

  /// Equal when every field is equal.
  friend bool operator==(const Recommendation&, const Recommendation&) = default;
};

// JSON forms: keys equal the field names and enumerations are their raw values; every key is
// required on reading.
/// Writes `ComplexityMetrics` as a JSON object whose keys are its field names.
void to_json(nlohmann::json& json, const ComplexityMetrics& value);
/// Reads `ComplexityMetrics` from JSON; throws `DecodingError` naming a missing or faulty key.
void from_json(const nlohmann::json& json, ComplexityMetrics& value);
/// Writes `GraphPerformanceMetrics` as a JSON object whose keys are its field names.
void to_json(nlohmann::json& json, const GraphPerformanceMetrics& value);
/// Reads `GraphPerformanceMetrics` from JSON; throws `DecodingError` naming a missing or faulty
/// key.
void from_json(const nlohmann::json& json, GraphPerformanceMetrics& value);
/// Writes `ArchitectureMetrics` as a JSON object whose keys are its field names.
void to_json(nlohmann::json& json, const ArchitectureMetrics& value);
/// Reads `ArchitectureMetrics` from JSON; throws `DecodingError` naming a missing or faulty key.
void from_json(const nlohmann::json& json, ArchitectureMetrics& value);
/// Writes `HealthScore` as a JSON object whose keys are its field names.
void to_json(nlohmann::json& json, const HealthScore& value);
/// Reads `HealthScore` from JSON; throws `DecodingError` naming a missing or faulty key.
void from_json(const nlohmann::json& json, HealthScore& value);
/// Writes `Recommendation` as a JSON object whose keys are its field names.
void to_json(nlohmann::json& json, const Recommendation& value);
/// Reads `Recommendation` from JSON; throws `DecodingError` naming a missing or faulty key.
void from_json(const nlohmann::json& json, Recommendation& value);

}  // namespace tavreldi
