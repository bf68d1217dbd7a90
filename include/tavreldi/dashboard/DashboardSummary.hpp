#pragma once

/// \file
/// The summary of a dependency graph that the dashboard service receives.

#include <chrono>
#include <cstdint>
#include <nlohmann/json_fwd.hpp>
#include <string>
#include <vector>

#include "tavreldi/core/DependencyScope.hpp"
#include "tavreldi/core/Timestamp.hpp"
#include "tavreldi/graph/DependencyEdge.hpp"
#include "tavreldi/graph/DependencyGraph.hpp"
#include "tavreldi/graph/DependencyNode.hpp"

namespace tavreldi {

/// One node of the summary: the identifying and classifying fields of a `DependencyNode`.
struct DashboardNodeSummary {
  /// The node's id (its type name).
  std::string id;
  /// The node's scope.
  DependencyScope scope = DependencyScope::singleton;
  /// The node's layer.
  std::int64_t layer = 0;
  /// The node's type.
  NodeType type = NodeType::component;
  /// True when the node lies on a cycle.
  bool isCircular = false;

  /// Equal when every field is equal.
  friend bool operator==(const DashboardNodeSummary&, const DashboardNodeSummary&) = default;
};

/// One edge of the summary: its ends, its kind and whether it lies on a cycle.
struct DashboardEdgeSummary {
  /// The dependent service.
  std::string from;
  /// The service it depends on.
  std::string to;
  /// The kind of relationship.
  RelationshipType relationshipType = RelationshipType::dependency;
  /// True when the edge lies on a cycle.
  bool isCircular = false;

  /// Equal when every field is equal.
  friend bool operator==(const DashboardEdgeSummary&, const DashboardEdgeSummary&) = default;
};

/// The analysis figures of the summary, taken from the graph's `GraphAnalysis`.
struct DashboardAnalysisSummary {
  /// `GraphAnalysis::totalNodes`.
  std::int64_t totalNodes = 0;
  /// `GraphAnalysis::totalDependencies`.
  std::int64_t totalDependencies = 0;
  /// `GraphAnalysis::maxDepth`.
  std::int64_t maxDepth = 0;
  /// `GraphAnalysis::hasCircularDependencies`.
  bool hasCircularDependencies = false;
  /// `GraphAnalysis::circularDependencyChains`.
  std::vector<std::vector<std::string>> circularDependencyChains;
  /// The overall health score (`HealthScore::overall`).
  double healthScore = 0;
  /// `GraphAnalysis::cacheEfficiency`.
  double cacheEfficiency = 0;

  /// Equal when every field is equal.
  friend bool operator==(const DashboardAnalysisSummary&,
                         const DashboardAnalysisSummary&) = default;
};

/// What one upload sends: nodes and edges in the graph's order, the analysis figures and the
/// time the summary was made.
struct DashboardSummary {
  /// The nodes, in the graph's order.
  std::vector<DashboardNodeSummary> nodes;
  /// The edges, in the graph's order.
  std::vector<DashboardEdgeSummary> edges;
  /// The analysis figures.
  DashboardAnalysisSummary analysis;
  /// When the summary was made.
  Timestamp timestamp;

  /// Equal when every field is equal.
  friend bool operator==(const DashboardSummary&, const DashboardSummary&) = default;
};

/// Builds the summary of `graph`, stamped with `timestamp`. Pure: reads nothing else.
[[nodiscard]] DashboardSummary makeDashboardSummary(const DependencyGraph& graph,
                                                    Timestamp timestamp);

/// Returns the JSON text of the summary of `graph` stamped with `timestamp` (by default the
/// current time), as `uploadSummary` sends it.
[[nodiscard]] std::string dashboardSummaryJson(
    const DependencyGraph& graph, Timestamp timestamp = std::chrono::system_clock::now());

/// Keys "id", "scope", "layer", "type", "isCircular"; enumerations as their raw values.
void to_json(nlohmann::json& json, const DashboardNodeSummary& node);
/// Reads the keys above, all required; throws `DecodingError` naming the faulty key.
void from_json(const nlohmann::json& json, DashboardNodeSummary& node);
/// Keys "from", "to", "relationshipType", "isCircular".
void to_json(nlohmann::json& json, const DashboardEdgeSummary& edge);
/// Reads the keys above, all required; throws `DecodingError` naming the faulty key.
void from_json(const nlohmann::json& json, DashboardEdgeSummary& edge);
/// Keys "totalNodes", "totalDependencies", "maxDepth", "hasCircularDependencies",
/// "circularDependencyChains", "healthScore", "cacheEfficiency".
void to_json(nlohmann::json& json, const DashboardAnalysisSummary& analysis);
/// Reads the keys above, all required; throws `DecodingError` naming the faulty key.
void from_json(const nlohmann::json& json, DashboardAnalysisSummary& analysis);
/// Keys "nodes", "edges", "analysis", "timestamp" (ISO 8601 with milliseconds).
void to_json(nlohmann::json& json, const DashboardSummary& summary);
/// Reads the keys above, all required; throws `DecodingError` naming the faulty key.
void from_json(const nlohmann::json& json, DashboardSummary& summary);

}  // namespace tavreldi
