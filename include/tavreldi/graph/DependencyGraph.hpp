#pragma once

/// \file
/// The graph value the container describes itself with, and the lightweight graph records.

#include <array>
#include <cstddef>
#include <cstdint>
#include <nlohmann/json_fwd.hpp>
#include <string>
#include <string_view>
#include <vector>

#include "tavreldi/core/DependencyScope.hpp"
#include "tavreldi/core/Enum.hpp"
#include "tavreldi/graph/DependencyEdge.hpp"
#include "tavreldi/graph/DependencyNode.hpp"
#include "tavreldi/graph/GraphMetrics.hpp"

namespace tavreldi {

/// Summary and metrics of one graph.
struct GraphAnalysis {
  /// True when the observed dependencies contain a cycle.
  bool hasCircularDependencies = false;
  /// The number of nodes.
  std::int64_t totalNodes = 0;
  /// The number of edges.
  std::int64_t totalDependencies = 0;
  /// The greatest dependency depth of a registered name.
  std::int64_t maxDepth = 0;
  /// The cycles found, each a list of names.
  std::vector<std::vector<std::string>> circularDependencyChains;
  /// Seconds the analysis took.
  double analysisTime = 0;
  /// The process's resident memory in bytes when analysed.
  double memoryUsage = 0;
  /// Cache hits per resolution as a percentage (0–100); 0 before any resolution.
  double cacheEfficiency = 0;
  /// True once the analysis has been computed.
  bool isComplete = false;
  /// Complexity figures.
  ComplexityMetrics complexityMetrics;
  /// Performance figures over the nodes.
  GraphPerformanceMetrics performanceMetrics;
  /// Architecture rule counts.
  ArchitectureMetrics architectureMetrics;
  /// The health score.
  HealthScore healthScore;
  /// Advice about the graph.
  std::vector<Recommendation> recommendations;
};

/// Nodes, edges and their analysis.
struct DependencyGraph {
  /// One node per registered or observed service.
  std::vector<DependencyNode> nodes;
  /// One edge per dependency.
  std::vector<DependencyEdge> edges;
  /// The analysis of these nodes and edges.
  GraphAnalysis analysis;
};

/// Kind of relation of a `GraphEdge`.
enum class EdgeType { dependency, inheritance, composition, aggregation, association };

template <>
struct EnumTraits<EdgeType> {
  static constexpr std::array<std::string_view, 5> rawValues{
      "dependency", "inheritance", "composition", "aggregation", "association"};
};

/// A lightweight node: names, scope and lifetime. Identity is `id` alone.
struct GraphNode {
  /// The node's identity, a type name.
  std::string id;
  /// A free type label.
  std::string type;
  /// The scope.
  DependencyScope scope = DependencyScope::singleton;
  /// The lifetime.
  DependencyLifetime lifetime = DependencyLifetime::application;

  /// Equal when the ids are equal.
  friend bool operator==(const GraphNode& a, const GraphNode& b) { return a.id == b.id; }
};

/// A lightweight edge. Identity is the pair `from`, `to`.
struct GraphEdge {
  /// The dependent node's id.
  std::string from;
  /// The id of the node it depends on.
  std::string to;
  /// The kind of relation.
  EdgeType type = EdgeType::dependency;

  /// Equal when both ends are equal.
  friend bool operator==(const GraphEdge& a, const GraphEdge& b) {
    return a.from == b.from && a.to == b.to;
  }
};

// JSON forms: keys equal the field names and enumerations are their raw values; every key is
// required on reading.
/// Writes `GraphAnalysis` as a JSON object whose keys are its field names.
void to_json(nlohmann::json& json, const GraphAnalysis& value);
/// Reads `GraphAnalysis` from JSON; throws `DecodingError` naming a missing or faulty key.
void from_json(const nlohmann::json& json, GraphAnalysis& value);
/// Writes `DependencyGraph` as a JSON object whose keys are its field names.
void to_json(nlohmann::json& json, const DependencyGraph& value);
/// Reads `DependencyGraph` from JSON; throws `DecodingError` naming a missing or faulty key.
void from_json(const nlohmann::json& json, DependencyGraph& value);
/// Writes `GraphNode` as a JSON object whose keys are its field names.
void to_json(nlohmann::json& json, const GraphNode& value);
/// Reads `GraphNode` from JSON; throws `DecodingError` naming a missing or faulty key.
void from_json(const nlohmann::json& json, GraphNode& value);
/// Writes `GraphEdge` as a JSON object whose keys are its field names.
void to_json(nlohmann::json& json, const GraphEdge& value);
/// Reads `GraphEdge` from JSON; throws `DecodingError` naming a missing or faulty key.
void from_json(const nlohmann::json& json, GraphEdge& value);

}  // namespace tavreldi

/// \cond
template <>
struct std::hash<tavreldi::GraphNode> {
  std::size_t operator()(const tavreldi::GraphNode& node) const noexcept {
    return std::hash<std::string>{}(node.id);
  }
};
/// \endcond

/// \cond
template <>
struct std::hash<tavreldi::GraphEdge> {
  std::size_t operator()(const tavreldi::GraphEdge& edge) const noexcept {
    const std::size_t h = std::hash<std::string>{}(edge.from);
    return h ^ (std::hash<std::string>{}(edge.to) + 0x9e3779b97f4a7c15ULL + (h << 6) + (h >> 2));
  }
};
/// \endcond
