// JSON forms of the graph records. Keys equal the field names; reading is strict (every key
// required, DecodingError naming the key), except for the optional `lastResolved`.

#include <nlohmann/json.hpp>

#include "core/detail/JsonForm.hpp"
#include "tavreldi/graph/CircularDependencyAnalysis.hpp"
#include "tavreldi/graph/DependencyEdge.hpp"
#include "tavreldi/graph/DependencyGraph.hpp"
#include "tavreldi/graph/DependencyNode.hpp"
#include "tavreldi/graph/GraphMetrics.hpp"

namespace tavreldi {

// Names and metadata are read as plain texts and maps, so that their errors name the key.
template <>
struct detail::JsonWire<Name> {
  using type = std::string;
};
template <>
struct detail::JsonWire<NameList> {
  using type = std::vector<std::string>;
};
template <>
struct detail::JsonWire<Metadata> {
  using type = Metadata::Map;
};

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

// Records -----------------------------------------------------------------------------------

// `lastResolved` is read first, so that a bad date is the fault reported.
TAVRELDI_JSON_FORM(NodePerformanceMetrics, lastResolved, resolutionTime, memoryFootprint,
                   cacheHitRate, resolutionCount)
TAVRELDI_JSON_FORM(DependencyNode, id, scope, dependencies, layer, isCircular, position, type,
                   category, complexity, performanceMetrics, metadata, tags)
TAVRELDI_JSON_FORM(DependencyEdge, from, to, relationship, isCircular, relationshipType, strength,
                   direction, performanceImpact, metadata)
TAVRELDI_JSON_FORM(ComplexityMetrics, cyclomaticComplexity, couplingScore, cohesionScore, fanIn,
                   fanOut, instability, abstractness, distanceFromMainSequence)
TAVRELDI_JSON_FORM(GraphPerformanceMetrics, averageResolutionTime, slowestResolution,
                   fastestResolution, totalMemoryFootprint, cacheHitRate, bottleneckNodes,
                   performanceTrend)
TAVRELDI_JSON_FORM(ArchitectureMetrics, layerViolations, dependencyInversionViolations,
                   singleResponsibilityViolations, openClosedViolations,
                   liskovSubstitutionViolations, interfaceSegregationViolations,
                   architectureCompliance)
TAVRELDI_JSON_FORM(HealthScore, overall, performance, maintainability, testability, scalability,
                   security, reliability)
TAVRELDI_JSON_FORM(Recommendation, type, priority, title, description, affectedNodes,
                   estimatedImpact, effort)
TAVRELDI_JSON_FORM(GraphAnalysis, hasCircularDependencies, totalNodes, totalDependencies, maxDepth,
                   circularDependencyChains, analysisTime, memoryUsage, cacheEfficiency, isComplete,
                   complexityMetrics, performanceMetrics, architectureMetrics, healthScore,
                   recommendations)
TAVRELDI_JSON_FORM(DependencyGraph, nodes, edges, analysis)
TAVRELDI_JSON_FORM(GraphNode, id, type, scope, lifetime)
TAVRELDI_JSON_FORM(GraphEdge, from, to, type)
TAVRELDI_JSON_FORM(CircularDependency, cycle, severity, impact, suggestions)
TAVRELDI_JSON_FORM(CircularDependencyAnalysis, totalCycles, criticalCycles, highImpactCycles,
                   mediumImpactCycles, averageCycleLength, longestCycle, cycles, recommendations)

}  // namespace tavreldi
