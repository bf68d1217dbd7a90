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
  bool hasCircularDependencies = false;
  std::int64_t totalNodes = 0;
  std::int64_t totalDependencies = 0;
  std::int64_t maxDepth = 0;
  std::vector<std::vector<std::string>> circularDependencyChains;
  double analysisTime = 0;
  double memoryUsage = 0;
  double cacheEfficiency = 0;
  bool isComplete = false;
  ComplexityMetrics complexityMetrics;
  GraphPerformanceMetrics performanceMetrics;
  ArchitectureMetrics architectureMetrics;
  HealthScore healthScore;
  std::vector<Recommendation> recommendations;
};

/// Nodes, edges and their analysis.
struct DependencyGraph {
  std::vector<DependencyNode> nodes;
  std::vector<DependencyEdge> edges;
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
  std::string id;
  std::string type;
  DependencyScope scope = DependencyScope::singleton;
  DependencyLifetime lifetime = DependencyLifetime::application;

  friend bool operator==(const GraphNode& a, const GraphNode& b) { return a.id == b.id; }
};

/// A lightweight edge. Identity is the pair `from`, `to`.
struct GraphEdge {
  std::string from;
  std::string to;
  EdgeType type = EdgeType::dependency;

  friend bool operator==(const GraphEdge& a, const GraphEdge& b) {
    return a.from == b.from && a.to == b.to;
  }
};

// JSON forms: keys equal the field names; all keys required on reading (throws DecodingError).
void to_json(nlohmann::json& json, const GraphAnalysis& value);
void from_json(const nlohmann::json& json, GraphAnalysis& value);
void to_json(nlohmann::json& json, const DependencyGraph& value);
void from_json(const nlohmann::json& json, DependencyGraph& value);
void to_json(nlohmann::json& json, const GraphNode& value);
void from_json(const nlohmann::json& json, GraphNode& value);
void to_json(nlohmann::json& json, const GraphEdge& value);
void from_json(const nlohmann::json& json, GraphEdge& value);

}  // namespace tavreldi

template <>
struct std::hash<tavreldi::GraphNode> {
  std::size_t operator()(const tavreldi::GraphNode& node) const noexcept {
    return std::hash<std::string>{}(node.id);
  }
};

template <>
struct std::hash<tavreldi::GraphEdge> {
  std::size_t operator()(const tavreldi::GraphEdge& edge) const noexcept {
    const std::size_t h = std::hash<std::string>{}(edge.from);
    return h ^ (std::hash<std::string>{}(edge.to) + 0x9e3779b97f4a7c15ULL + (h << 6) + (h >> 2));
  }
};
