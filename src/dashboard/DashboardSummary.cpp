// The dashboard summary of a graph and its JSON form.

#include "tavreldi/dashboard/DashboardSummary.hpp"

#include <nlohmann/json.hpp>

#include "core/detail/Json.hpp"

namespace tavreldi {

using detail::field;
using detail::requireObject;

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

void to_json(nlohmann::json& json, const DashboardNodeSummary& node) {
  json = nlohmann::json::object();
  json["id"] = node.id;
  json["scope"] = node.scope;
  json["layer"] = node.layer;
  json["type"] = node.type;
  json["isCircular"] = node.isCircular;
}

void from_json(const nlohmann::json& json, DashboardNodeSummary& node) {
  requireObject(json, "DashboardNodeSummary");
  node = DashboardNodeSummary{field<std::string>(json, "id"), field<DependencyScope>(json, "scope"),
                              field<std::int64_t>(json, "layer"), field<NodeType>(json, "type"),
                              field<bool>(json, "isCircular")};
}

void to_json(nlohmann::json& json, const DashboardEdgeSummary& edge) {
  json = nlohmann::json::object();
  json["from"] = edge.from;
  json["to"] = edge.to;
  json["relationshipType"] = edge.relationshipType;
  json["isCircular"] = edge.isCircular;
}

void from_json(const nlohmann::json& json, DashboardEdgeSummary& edge) {
  requireObject(json, "DashboardEdgeSummary");
  edge = DashboardEdgeSummary{field<std::string>(json, "from"), field<std::string>(json, "to"),
                              field<RelationshipType>(json, "relationshipType"),
                              field<bool>(json, "isCircular")};
}

void to_json(nlohmann::json& json, const DashboardAnalysisSummary& analysis) {
  json = nlohmann::json::object();
  json["totalNodes"] = analysis.totalNodes;
  json["totalDependencies"] = analysis.totalDependencies;
  json["maxDepth"] = analysis.maxDepth;
  json["hasCircularDependencies"] = analysis.hasCircularDependencies;
  json["circularDependencyChains"] = analysis.circularDependencyChains;
  json["healthScore"] = analysis.healthScore;
  json["cacheEfficiency"] = analysis.cacheEfficiency;
}

void from_json(const nlohmann::json& json, DashboardAnalysisSummary& analysis) {
  requireObject(json, "DashboardAnalysisSummary");
  analysis = DashboardAnalysisSummary{
      field<std::int64_t>(json, "totalNodes"),
      field<std::int64_t>(json, "totalDependencies"),
      field<std::int64_t>(json, "maxDepth"),
      field<bool>(json, "hasCircularDependencies"),
      field<std::vector<std::vector<std::string>>>(json, "circularDependencyChains"),
      field<double>(json, "healthScore"),
      field<double>(json, "cacheEfficiency")};
}

void to_json(nlohmann::json& json, const DashboardSummary& summary) {
  json = nlohmann::json::object();
  json["nodes"] = summary.nodes;
  json["edges"] = summary.edges;
  json["analysis"] = summary.analysis;
  json["timestamp"] = toIso8601WithMilliseconds(summary.timestamp);
}

void from_json(const nlohmann::json& json, DashboardSummary& summary) {
  requireObject(json, "DashboardSummary");
  summary = DashboardSummary{field<std::vector<DashboardNodeSummary>>(json, "nodes"),
                             field<std::vector<DashboardEdgeSummary>>(json, "edges"),
                             field<DashboardAnalysisSummary>(json, "analysis"),
                             detail::dateField(json, "timestamp")};
}

}  // namespace tavreldi
