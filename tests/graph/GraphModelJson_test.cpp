#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <nlohmann/json.hpp>
#include <set>
#include <string>
#include <unordered_set>

#include "tavreldi/graph/CircularDependencyAnalysis.hpp"
#include "tavreldi/graph/DependencyGraph.hpp"

namespace tavreldi {
namespace {

using nlohmann::json;

std::set<std::string> keysOf(const json& object) {
  std::set<std::string> keys;
  for (const auto& item : object.items()) keys.insert(item.key());
  return keys;
}

// Expects decoding to fail with a message that names `key`.
template <class T>
void expectDecodingFailure(const json& document, const std::string& key) {
  try {
    (void)document.get<T>();
    ADD_FAILURE() << "decoded without error; expected a failure naming " << key;
  } catch (const DecodingError& error) {
    EXPECT_NE(std::string(error.what()).find("\"" + key + "\""), std::string::npos) << error.what();
  }
}

DependencyNode sampleNode(std::string id, Point position) {
  return DependencyNode{std::move(id),
                        DependencyScope::scoped,
                        {"UserAPI", "Logger"},
                        2,
                        true,
                        position,
                        NodeType::repository,
                        NodeCategory::crossCutting,
                        ComplexityLevel::medium,
                        {0.004, 2048.5, 0.8, 17, parseIso8601("2024-01-31T12:00:00.250Z")},
                        {{"scope", "scoped"}, {"created_at", "2024-01-31T12:00:00Z"}},
                        {"repository"}};
}

DependencyEdge sampleEdge(std::string from, std::string to) {
  return DependencyEdge{std::move(from),
                        std::move(to),
                        "depends on",
                        false,
                        RelationshipType::dataFlow,
                        RelationshipStrength::moderate,
                        EdgeDirection::bidirectional,
                        PerformanceImpact::high,
                        {{"strength", "Moderate"}}};
}

TEST(GraphModelJson, NodeAndEdgeForms) {
  auto node = sampleNode("UserRepository", Point{250, 200});
  json encoded = node;
  // Keys sorted; the layer an integer, the position a pair of doubles, dates to the millisecond.
  EXPECT_EQ(
      encoded.dump(),
      R"({"category":"Cross-Cutting","complexity":"Medium","dependencies":["UserAPI","Logger"],)"
      R"("id":"UserRepository","isCircular":true,"layer":2,"metadata":{"created_at":)"
      R"("2024-01-31T12:00:00Z","scope":"scoped"},"performanceMetrics":{"cacheHitRate":0.8,)"
      R"("lastResolved":"2024-01-31T12:00:00.250Z","memoryFootprint":2048.5,)"
      R"("resolutionCount":17,"resolutionTime":0.004},"position":[250.0,200.0],)"
      R"("scope":"scoped","tags":["repository"],"type":"Repository"})");

  node.performanceMetrics.lastResolved.reset();
  encoded = node;
  EXPECT_FALSE(encoded["performanceMetrics"].contains("lastResolved"));
  EXPECT_FALSE(encoded.get<DependencyNode>().performanceMetrics.lastResolved.has_value());

  EXPECT_EQ(json(sampleEdge("UserRepository", "UserAPI")).dump(),
            R"({"direction":"Bidirectional","from":"UserRepository","isCircular":false,)"
            R"("metadata":{"strength":"Moderate"},"performanceImpact":"High","relationship":)"
            R"("depends on","relationshipType":"DataFlow","strength":"Moderate","to":"UserAPI"})");

  const json graphNode =
      GraphNode{"Logger", "utility", DependencyScope::lazy, DependencyLifetime::request};
  EXPECT_EQ(graphNode, json::parse(R"({"id":"Logger","type":"utility","scope":"lazy",
                                       "lifetime":"request"})"));
  const json graphEdge = GraphEdge{"A", "B", EdgeType::aggregation};
  EXPECT_EQ(graphEdge, json::parse(R"({"from":"A","to":"B","type":"aggregation"})"));
}

// Every field of the analysis and of the cycle analysis, each with a value of its own type:
// decoding needs every key, and re-encoding gives the same text, numbers' types included.
TEST(GraphModelJson, GraphRoundTripKeepsOrderAndEveryField) {
  json graph = DependencyGraph{{sampleNode("C", Point{100, 100}), sampleNode("A", Point{250, 100}),
                                sampleNode("B", Point{400, 100})},
                               {sampleEdge("C", "A"), sampleEdge("A", "B")},
                               GraphAnalysis{}};
  EXPECT_EQ(keysOf(graph), (std::set<std::string>{"nodes", "edges", "analysis"}));
  graph["analysis"] = json::parse(R"({"hasCircularDependencies":true,"totalNodes":3,
    "totalDependencies":2,"maxDepth":4,"circularDependencyChains":[["B","A"],["C"]],
    "analysisTime":0.25,"memoryUsage":123456.0,"cacheEfficiency":80.0,"isComplete":true,
    "complexityMetrics":{"cyclomaticComplexity":1,"couplingScore":0.66,"cohesionScore":0.7,
      "fanIn":2,"fanOut":3,"instability":0.65,"abstractness":0.5,"distanceFromMainSequence":0.16},
    "performanceMetrics":{"averageResolutionTime":0.005,"slowestResolution":0.009,
      "fastestResolution":0.001,"totalMemoryFootprint":4096.0,"cacheHitRate":0.82,
      "bottleneckNodes":["C"],"performanceTrend":"degrading"},
    "architectureMetrics":{"layerViolations":1,"dependencyInversionViolations":0,
      "singleResponsibilityViolations":2,"openClosedViolations":0,
      "liskovSubstitutionViolations":0,"interfaceSegregationViolations":0,
      "architectureCompliance":0.25},
    "healthScore":{"overall":0.9,"performance":0.2,"maintainability":1.0,"testability":80.0,
      "scalability":0.8,"security":0.9,"reliability":0.85},
    "recommendations":[{"type":"Architecture","priority":"High",
      "title":"Resolve Circular Dependencies",
      "description":"Found 1 circular dependencies that should be resolved",
      "affectedNodes":["A","B"],"estimatedImpact":"High","effort":"Very High"}]})");
  EXPECT_EQ(json(graph.get<DependencyGraph>()).dump(), graph.dump());

  const json cycles = json::parse(R"({"totalCycles":1,"criticalCycles":1,"highImpactCycles":0,
    "mediumImpactCycles":0,"averageCycleLength":2,"longestCycle":2,
    "cycles":[{"cycle":["A","B"],"severity":"Low","impact":"Critical",
      "suggestions":["Use factory pattern"]}],
    "recommendations":["Implement dependency inversion principle using interfaces"]})");
  EXPECT_EQ(json(cycles.get<CircularDependencyAnalysis>()).dump(), cycles.dump());
}

TEST(GraphModelJson, DecodingIsStrict) {
  const json node = sampleNode("A", Point{1, 2});
  for (const auto& key : keysOf(node)) {
    json missing = node;
    missing.erase(key);
    expectDecodingFailure<DependencyNode>(missing, key);
  }
  for (const auto& [key, value] : std::vector<std::pair<std::string, json>>{
           {"layer", "1"}, {"position", json::array({1.0})}, {"category", "CrossCutting"}}) {
    json wrong = node;
    wrong[key] = value;
    expectDecodingFailure<DependencyNode>(wrong, key);
  }
  // Integers are whole numbers within 64 bits: never truncated, never wrapped.
  for (const char* number : {"1.5", "1e300", "18446744073709551616", "9223372036854775808"}) {
    json wrong = node;
    wrong["layer"] = json::parse(number);
    expectDecodingFailure<DependencyNode>(wrong, "layer");
  }
  for (const std::int64_t extreme :
       {std::numeric_limits<std::int64_t>::min(), std::numeric_limits<std::int64_t>::max()}) {
    json wide = node;
    wide["layer"] = extreme;
    EXPECT_EQ(wide.get<DependencyNode>().layer, extreme);
  }
  json wrong = node;
  wrong["layer"] = 1.5;
  try {
    (void)wrong.get<DependencyNode>();
    ADD_FAILURE();
  } catch (const DecodingError& error) {
    EXPECT_STREQ(error.what(),
                 "Type mismatch for key \"layer\": expected a 64-bit integer, found 1.5");
  }
  wrong = node;
  wrong["performanceMetrics"].erase("cacheHitRate");
  expectDecodingFailure<DependencyNode>(wrong, "cacheHitRate");

  json edge = sampleEdge("A", "B");
  edge["relationshipType"] = "dataFlow";
  expectDecodingFailure<DependencyEdge>(edge, "relationshipType");

  json graph = DependencyGraph{{}, {}, GraphAnalysis{}};
  graph["analysis"]["healthScore"].erase("overall");
  expectDecodingFailure<DependencyGraph>(graph, "overall");

  EXPECT_EQ(json::parse(R"({"from":"A","to":"B","type":"dependency"})").get<GraphEdge>().type,
            EdgeType::dependency);
  expectDecodingFailure<GraphEdge>(json::parse(R"({"from":"A","to":"B","type":"Dependency"})"),
                                   "type");
  expectDecodingFailure<GraphEdge>(json::parse(R"({"from":"A","type":"dependency"})"), "to");
}

TEST(GraphModelJson, IdentityIgnoresTheOtherFields) {
  const std::unordered_set<GraphEdge> edges{{"A", "B", EdgeType::dependency},
                                            {"A", "B", EdgeType::composition},
                                            {"B", "A", EdgeType::dependency}};
  EXPECT_EQ(edges.size(), 2u);
  const std::unordered_set<GraphNode> nodes{
      {"X", "a", DependencyScope::singleton, DependencyLifetime::application},
      {"X", "b", DependencyScope::transient, DependencyLifetime::request}};
  EXPECT_EQ(nodes.size(), 1u);

  auto other = sampleEdge("A", "B");
  other.relationshipType = RelationshipType::composition;
  const std::unordered_set<DependencyEdge> dependencyEdges{sampleEdge("A", "B"), other,
                                                           sampleEdge("B", "A")};
  EXPECT_EQ(dependencyEdges.size(), 2u);
  auto moved = sampleNode("X", Point{1, 1});
  moved.scope = DependencyScope::transient;
  const std::unordered_set<DependencyNode> dependencyNodes{sampleNode("X", Point{5, 5}), moved,
                                                           sampleNode("Y", Point{5, 5})};
  EXPECT_EQ(dependencyNodes.size(), 2u);
}

}  // namespace
}  // namespace tavreldi
