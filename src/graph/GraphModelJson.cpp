// JSON forms of the graph records. Keys equal the field names; reading is strict (every key
// required, DecodingError naming the key), except for the optional `lastResolved`.

#include <nlohmann/json.hpp>

#include "core/detail/Json.hpp"
#include "tavreldi/graph/CircularDependencyAnalysis.hpp"
#include "tavreldi/graph/DependencyEdge.hpp"
#include "tavreldi/graph/DependencyGraph.hpp"
#include "tavreldi/graph/DependencyNode.hpp"
#include "tavreldi/graph/GraphMetrics.hpp"

namespace tavreldi {

using detail::field;
using detail::requireObject;
using StringMap = std::map<std::string, std::string>;
using Strings = std::vector<std::string>;

// Point -------------------------------------------------------------------------------------

void to_json(nlohmann::json& json, const Point& point) {
  json = nlohmann::json::array({point.x, point.y});
}

void from_json(const nlohmann::json& json, Point& point) {
  if (!json.is_array() || json.size() != 2 || !json[0].is_number() || !json[1].is_number()) {
    // Only a size and kinds: the value itself may be arbitrarily large or deeply nested.
    const std::string found =
        !json.is_array() ? std::string(json.type_name())
        : json.size() != 2
            ? "an array of " + std::to_string(json.size()) + " values"
            : std::string("an array of ") + json[0].type_name() + " and " + json[1].type_name();
    throw DecodingError("Type mismatch: expected a point as an array of two numbers, found " +
                        found);
  }
  point = Point{json[0].get<double>(), json[1].get<double>()};
}

// Nodes -------------------------------------------------------------------------------------

void to_json(nlohmann::json& json, const NodePerformanceMetrics& m) {
  json = nlohmann::json::object();
  json["resolutionTime"] = m.resolutionTime;
  json["memoryFootprint"] = m.memoryFootprint;
  json["cacheHitRate"] = m.cacheHitRate;
  json["resolutionCount"] = m.resolutionCount;
  if (m.lastResolved) json["lastResolved"] = toIso8601WithMilliseconds(*m.lastResolved);
}

void from_json(const nlohmann::json& json, NodePerformanceMetrics& m) {
  requireObject(json, "NodePerformanceMetrics");
  std::optional<Timestamp> lastResolved;
  if (const auto it = json.find("lastResolved"); it != json.end() && !it->is_null()) {
    lastResolved = detail::dateField(json, "lastResolved");
  }
  m = NodePerformanceMetrics{
      field<double>(json, "resolutionTime"),
      field<double>(json, "memoryFootprint"),
      field<double>(json, "cacheHitRate"),
      field<std::int64_t>(json, "resolutionCount"),
      lastResolved,
  };
}

void to_json(nlohmann::json& json, const DependencyNode& node) {
  json = nlohmann::json::object();
  json["id"] = node.id;
  json["scope"] = node.scope;
  json["dependencies"] = node.dependencies;
  json["layer"] = node.layer;
  json["isCircular"] = node.isCircular;
  json["position"] = node.position;
  json["type"] = node.type;
  json["category"] = node.category;
  json["complexity"] = node.complexity;
  json["performanceMetrics"] = node.performanceMetrics;
  json["metadata"] = node.metadata;
  json["tags"] = node.tags;
}

void from_json(const nlohmann::json& json, DependencyNode& node) {
  requireObject(json, "DependencyNode");
  node = DependencyNode{
      field<std::string>(json, "id"),
      field<DependencyScope>(json, "scope"),
      field<Strings>(json, "dependencies"),
      field<std::int64_t>(json, "layer"),
      field<bool>(json, "isCircular"),
      field<Point>(json, "position"),
      field<NodeType>(json, "type"),
      field<NodeCategory>(json, "category"),
      field<ComplexityLevel>(json, "complexity"),
      field<NodePerformanceMetrics>(json, "performanceMetrics"),
      field<StringMap>(json, "metadata"),
      field<Strings>(json, "tags"),
  };
}

// Edges -------------------------------------------------------------------------------------

void to_json(nlohmann::json& json, const DependencyEdge& edge) {
  json = nlohmann::json::object();
  json["from"] = edge.from;
  json["to"] = edge.to;
  json["relationship"] = edge.relationship;
  json["isCircular"] = edge.isCircular;
  json["relationshipType"] = edge.relationshipType;
  json["strength"] = edge.strength;
  json["direction"] = edge.direction;
  json["performanceImpact"] = edge.performanceImpact;
  json["metadata"] = edge.metadata;
}

void from_json(const nlohmann::json& json, DependencyEdge& edge) {
  requireObject(json, "DependencyEdge");
  edge = DependencyEdge{
      field<std::string>(json, "from"),
      field<std::string>(json, "to"),
      field<std::string>(json, "relationship"),
      field<bool>(json, "isCircular"),
      field<RelationshipType>(json, "relationshipType"),
      field<RelationshipStrength>(json, "strength"),
      field<EdgeDirection>(json, "direction"),
      field<PerformanceImpact>(json, "performanceImpact"),
      field<StringMap>(json, "metadata"),
  };
}

// Metrics -----------------------------------------------------------------------------------

void to_json(nlohmann::json& json, const ComplexityMetrics& v) {
  json = nlohmann::json::object();
  json["cyclomaticComplexity"] = v.cyclomaticComplexity;
  json["couplingScore"] = v.couplingScore;
  json["cohesionScore"] = v.cohesionScore;
  json["fanIn"] = v.fanIn;
  json["fanOut"] = v.fanOut;
  json["instability"] = v.instability;
  json["abstractness"] = v.abstractness;
  json["distanceFromMainSequence"] = v.distanceFromMainSequence;
}

void from_json(const nlohmann::json& json, ComplexityMetrics& v) {
  requireObject(json, "ComplexityMetrics");
  v = ComplexityMetrics{
      field<std::int64_t>(json, "cyclomaticComplexity"),
      field<double>(json, "couplingScore"),
      field<double>(json, "cohesionScore"),
      field<std::int64_t>(json, "fanIn"),
      field<std::int64_t>(json, "fanOut"),
      field<double>(json, "instability"),
      field<double>(json, "abstractness"),
      field<double>(json, "distanceFromMainSequence"),
  };
}

void to_json(nlohmann::json& json, const GraphPerformanceMetrics& v) {
  json = nlohmann::json::object();
  json["averageResolutionTime"] = v.averageResolutionTime;
  json["slowestResolution"] = v.slowestResolution;
  json["fastestResolution"] = v.fastestResolution;
  json["totalMemoryFootprint"] = v.totalMemoryFootprint;
  json["cacheHitRate"] = v.cacheHitRate;
  json["bottleneckNodes"] = v.bottleneckNodes;
  json["performanceTrend"] = v.performanceTrend;
}

void from_json(const nlohmann::json& json, GraphPerformanceMetrics& v) {
  requireObject(json, "GraphPerformanceMetrics");
  v = GraphPerformanceMetrics{
      field<double>(json, "averageResolutionTime"),
      field<double>(json, "slowestResolution"),
      field<double>(json, "fastestResolution"),
      field<double>(json, "totalMemoryFootprint"),
      field<double>(json, "cacheHitRate"),
      field<Strings>(json, "bottleneckNodes"),
      field<PerformanceTrend>(json, "performanceTrend"),
  };
}

void to_json(nlohmann::json& json, const ArchitectureMetrics& v) {
  json = nlohmann::json::object();
  json["layerViolations"] = v.layerViolations;
  json["dependencyInversionViolations"] = v.dependencyInversionViolations;
  json["singleResponsibilityViolations"] = v.singleResponsibilityViolations;
  json["openClosedViolations"] = v.openClosedViolations;
  json["liskovSubstitutionViolations"] = v.liskovSubstitutionViolations;
  json["interfaceSegregationViolations"] = v.interfaceSegregationViolations;
  json["architectureCompliance"] = v.architectureCompliance;
}

void from_json(const nlohmann::json& json, ArchitectureMetrics& v) {
  requireObject(json, "ArchitectureMetrics");
  v = ArchitectureMetrics{
      field<std::int64_t>(json, "layerViolations"),
      field<std::int64_t>(json, "dependencyInversionViolations"),
      field<std::int64_t>(json, "singleResponsibilityViolations"),
      field<std::int64_t>(json, "openClosedViolations"),
      field<std::int64_t>(json, "liskovSubstitutionViolations"),
      field<std::int64_t>(json, "interfaceSegregationViolations"),
      field<double>(json, "architectureCompliance"),
  };
}

void to_json(nlohmann::json& json, const HealthScore& v) {
  json = nlohmann::json::object();
  json["overall"] = v.overall;
  json["performance"] = v.performance;
  json["maintainability"] = v.maintainability;
  json["testability"] = v.testability;
  json["scalability"] = v.scalability;
  json["security"] = v.security;
  json["reliability"] = v.reliability;
}

void from_json(const nlohmann::json& json, HealthScore& v) {
  requireObject(json, "HealthScore");
  v = HealthScore{
      field<double>(json, "overall"),         field<double>(json, "performance"),
      field<double>(json, "maintainability"), field<double>(json, "testability"),
      field<double>(json, "scalability"),     field<double>(json, "security"),
      field<double>(json, "reliability"),
  };
}

void to_json(nlohmann::json& json, const Recommendation& v) {
  json = nlohmann::json::object();
  json["type"] = v.type;
  json["priority"] = v.priority;
  json["title"] = v.title;
  json["description"] = v.description;
  json["affectedNodes"] = v.affectedNodes;
  json["estimatedImpact"] = v.estimatedImpact;
  json["effort"] = v.effort;
}

void from_json(const nlohmann::json& json, Recommendation& v) {
  requireObject(json, "Recommendation");
  v = Recommendation{
      field<RecommendationType>(json, "type"), field<RecommendationPriority>(json, "priority"),
      field<std::string>(json, "title"),       field<std::string>(json, "description"),
      field<Strings>(json, "affectedNodes"),   field<std::string>(json, "estimatedImpact"),
      field<EffortLevel>(json, "effort"),
  };
}

// Graph -------------------------------------------------------------------------------------

void to_json(nlohmann::json& json, const GraphAnalysis& v) {
  json = nlohmann::json::object();
  json["hasCircularDependencies"] = v.hasCircularDependencies;
  json["totalNodes"] = v.totalNodes;
  json["totalDependencies"] = v.totalDependencies;
  json["maxDepth"] = v.maxDepth;
  json["circularDependencyChains"] = v.circularDependencyChains;
  json["analysisTime"] = v.analysisTime;
  json["memoryUsage"] = v.memoryUsage;
  json["cacheEfficiency"] = v.cacheEfficiency;
  json["isComplete"] = v.isComplete;
  json["complexityMetrics"] = v.complexityMetrics;
  json["performanceMetrics"] = v.performanceMetrics;
  json["architectureMetrics"] = v.architectureMetrics;
  json["healthScore"] = v.healthScore;
  json["recommendations"] = v.recommendations;
}

void from_json(const nlohmann::json& json, GraphAnalysis& v) {
  requireObject(json, "GraphAnalysis");
  v = GraphAnalysis{
      field<bool>(json, "hasCircularDependencies"),
      field<std::int64_t>(json, "totalNodes"),
      field<std::int64_t>(json, "totalDependencies"),
      field<std::int64_t>(json, "maxDepth"),
      field<std::vector<Strings>>(json, "circularDependencyChains"),
      field<double>(json, "analysisTime"),
      field<double>(json, "memoryUsage"),
      field<double>(json, "cacheEfficiency"),
      field<bool>(json, "isComplete"),
      field<ComplexityMetrics>(json, "complexityMetrics"),
      field<GraphPerformanceMetrics>(json, "performanceMetrics"),
      field<ArchitectureMetrics>(json, "architectureMetrics"),
      field<HealthScore>(json, "healthScore"),
      field<std::vector<Recommendation>>(json, "recommendations"),
  };
}

void to_json(nlohmann::json& json, const DependencyGraph& v) {
  json = nlohmann::json::object();
  json["nodes"] = v.nodes;
  json["edges"] = v.edges;
  json["analysis"] = v.analysis;
}

void from_json(const nlohmann::json& json, DependencyGraph& v) {
  requireObject(json, "DependencyGraph");
  v = DependencyGraph{
      field<std::vector<DependencyNode>>(json, "nodes"),
      field<std::vector<DependencyEdge>>(json, "edges"),
      field<GraphAnalysis>(json, "analysis"),
  };
}

void to_json(nlohmann::json& json, const GraphNode& v) {
  json = nlohmann::json::object();
  json["id"] = v.id;
  json["type"] = v.type;
  json["scope"] = v.scope;
  json["lifetime"] = v.lifetime;
}

void from_json(const nlohmann::json& json, GraphNode& v) {
  requireObject(json, "GraphNode");
  v = GraphNode{
      field<std::string>(json, "id"),
      field<std::string>(json, "type"),
      field<DependencyScope>(json, "scope"),
      field<DependencyLifetime>(json, "lifetime"),
  };
}

void to_json(nlohmann::json& json, const GraphEdge& v) {
  json = nlohmann::json::object();
  json["from"] = v.from;
  json["to"] = v.to;
  json["type"] = v.type;
}

void from_json(const nlohmann::json& json, GraphEdge& v) {
  requireObject(json, "GraphEdge");
  v = GraphEdge{
      field<std::string>(json, "from"),
      field<std::string>(json, "to"),
      field<EdgeType>(json, "type"),
  };
}

// Cycle analysis ----------------------------------------------------------------------------

void to_json(nlohmann::json& json, const CircularDependency& v) {
  json = nlohmann::json::object();
  json["cycle"] = v.cycle;
  json["severity"] = v.severity;
  json["impact"] = v.impact;
  json["suggestions"] = v.suggestions;
}

void from_json(const nlohmann::json& json, CircularDependency& v) {
  requireObject(json, "CircularDependency");
  v = CircularDependency{
      field<Strings>(json, "cycle"),
      field<CircularDependencySeverity>(json, "severity"),
      field<CircularDependencyImpact>(json, "impact"),
      field<Strings>(json, "suggestions"),
  };
}

void to_json(nlohmann::json& json, const CircularDependencyAnalysis& v) {
  json = nlohmann::json::object();
  json["totalCycles"] = v.totalCycles;
  json["criticalCycles"] = v.criticalCycles;
  json["highImpactCycles"] = v.highImpactCycles;
  json["mediumImpactCycles"] = v.mediumImpactCycles;
  json["averageCycleLength"] = v.averageCycleLength;
  json["longestCycle"] = v.longestCycle;
  json["cycles"] = v.cycles;
  json["recommendations"] = v.recommendations;
}

void from_json(const nlohmann::json& json, CircularDependencyAnalysis& v) {
  requireObject(json, "CircularDependencyAnalysis");
  v = CircularDependencyAnalysis{
      field<std::int64_t>(json, "totalCycles"),
      field<std::int64_t>(json, "criticalCycles"),
      field<std::int64_t>(json, "highImpactCycles"),
      field<std::int64_t>(json, "mediumImpactCycles"),
      field<std::int64_t>(json, "averageCycleLength"),
      field<std::int64_t>(json, "longestCycle"),
      field<std::vector<CircularDependency>>(json, "cycles"),
      field<Strings>(json, "recommendations"),
  };
}

}  // namespace tavreldi
