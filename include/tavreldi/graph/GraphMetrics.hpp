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
  std::int64_t cyclomaticComplexity = 0;
  double couplingScore = 0;
  double cohesionScore = 0;
  std::int64_t fanIn = 0;
  std::int64_t fanOut = 0;
  double instability = 0;
  double abstractness = 0;
  double distanceFromMainSequence = 0;
};

/// Performance figures of a graph (over its nodes' sample figures).
struct GraphPerformanceMetrics {
  double averageResolutionTime = 0;
  double slowestResolution = 0;
  double fastestResolution = 0;
  double totalMemoryFootprint = 0;
  double cacheHitRate = 0;
  std::vector<std::string> bottleneckNodes;
  PerformanceTrend performanceTrend = PerformanceTrend::stable;
};

/// Architecture rule counts of a graph.
struct ArchitectureMetrics {
  std::int64_t layerViolations = 0;
  std::int64_t dependencyInversionViolations = 0;
  std::int64_t singleResponsibilityViolations = 0;
  std::int64_t openClosedViolations = 0;
  std::int64_t liskovSubstitutionViolations = 0;
  std::int64_t interfaceSegregationViolations = 0;
  double architectureCompliance = 0;
};

/// The graph's health. `testability` is on a 0–100 scale, the others on 0–1.
struct HealthScore {
  double overall = 0;
  double performance = 0;
  double maintainability = 0;
  double testability = 0;
  double scalability = 0;
  double security = 0;
  double reliability = 0;
};

/// The nodes of one category.
struct NodeCluster {
  std::string id;
  std::string name;
  std::vector<std::string> nodes;
  Point center;
  double radius = 0;
  std::string color;
  std::map<std::string, std::string> metadata;
};

/// One long dependency chain.
struct CriticalPath {
  std::string id;
  std::string name;
  std::vector<std::string> nodes;
  std::int64_t length = 0;
  PerformanceImpact impact = PerformanceImpact::high;
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
  RecommendationType type = RecommendationType::architecture;
  RecommendationPriority priority = RecommendationPriority::medium;
  std::string title;
  std::string description;
  std::vector<std::string> affectedNodes;
  std::string estimatedImpact;
  EffortLevel effort = EffortLevel::medium;

  friend bool operator==(const Recommendation&, const Recommendation&) = default;
};

// JSON forms: keys equal the field names; all keys required on reading (throws DecodingError).
void to_json(nlohmann::json& json, const ComplexityMetrics& value);
void from_json(const nlohmann::json& json, ComplexityMetrics& value);
void to_json(nlohmann::json& json, const GraphPerformanceMetrics& value);
void from_json(const nlohmann::json& json, GraphPerformanceMetrics& value);
void to_json(nlohmann::json& json, const ArchitectureMetrics& value);
void from_json(const nlohmann::json& json, ArchitectureMetrics& value);
void to_json(nlohmann::json& json, const HealthScore& value);
void from_json(const nlohmann::json& json, HealthScore& value);
void to_json(nlohmann::json& json, const Recommendation& value);
void from_json(const nlohmann::json& json, Recommendation& value);

}  // namespace tavreldi
