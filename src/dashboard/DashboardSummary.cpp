// The dashboard summary of a graph and its JSON form.

#include "tavreldi/dashboard/DashboardSummary.hpp"

#include <nlohmann/json.hpp>

#include "core/detail/JsonForm.hpp"

namespace tavreldi {

DashboardSummary makeDashboardSummary(const DependencyGraph& graph, Timestamp timestamp) {
  DashboardSummary summary;
  summary.nodes.reserve(graph.nodes.size());
  for (const DependencyNode& node : graph.nodes) {
    summary.nodes.push_back({node.id.str(), node.scope, node.layer, node.type, node.isCircular});
  }
  summary.edges.reserve(graph.edges.size());
  for (const DependencyEdge& edge : graph.edges) {
    summary.edges.push_back(
        {edge.from.str(), edge.to.str(), edge.relationshipType, edge.isCircular});
  }
  const GraphAnalysis& analysis = graph.analysis;
  summary.analysis = DashboardAnalysisSummary{analysis.totalNodes,
                                              analysis.totalDependencies,
                                              analysis.maxDepth,
                                              analysis.hasCircularDependencies,
                                              analysis.circularDependencyChains,
                                              analysis.healthScore.overall,
                                              analysis.cacheEfficiency};
  summary.timestamp = timestamp;
  return summary;
}

std::string dashboardSummaryJson(const DependencyGraph& graph, Timestamp timestamp) {
  return nlohmann::json(makeDashboardSummary(graph, timestamp)).dump();
}

TAVRELDI_JSON_FORM(DashboardNodeSummary, id, scope, layer, type, isCircular)
TAVRELDI_JSON_FORM(DashboardEdgeSummary, from, to, relationshipType, isCircular)
TAVRELDI_JSON_FORM(DashboardAnalysisSummary, totalNodes, totalDependencies, maxDepth,
                   hasCircularDependencies, circularDependencyChains, healthScore, cacheEfficiency)
TAVRELDI_JSON_FORM(DashboardSummary, nodes, edges, analysis, timestamp)

}  // namespace tavreldi
