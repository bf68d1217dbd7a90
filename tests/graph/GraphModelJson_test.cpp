#include <gtest/gtest.h>

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

TEST(GraphModelJson, NodeAndEdgeKeys) {
  auto node = sampleNode("UserRepository", Point{250, 200});
  json encoded = node;
  EXPECT_EQ(keysOf(encoded),
            (std::set<std::string>{"id", "scope", "dependencies", "layer", "isCircular", "position",
                                   "type", "category", "complexity", "performanceMetrics",
                                   "metadata", "tags"}));
  EXPECT_EQ(encoded["position"].dump(), "[250.0,200.0]");
  EXPECT_EQ(encoded["scope"], "scoped");
  EXPECT_EQ(encoded["type"], "Repository");
  EXPECT_EQ(encoded["category"], "Cross-Cutting");
  EXPECT_EQ(encoded["complexity"], "Medium");
  EXPECT_TRUE(encoded["layer"].is_number_integer());
  EXPECT_EQ(keysOf(encoded["performanceMetrics"]),
            (std::set<std::string>{"resolutionTime", "memoryFootprint", "cacheHitRate",
                                   "resolutionCount", "lastResolved"}));
  EXPECT_EQ(encoded["performanceMetrics"]["lastResolved"], "2024-01-31T12:00:00.250Z");

  node.performanceMetrics.lastResolved.reset();
  encoded = node;
  EXPECT_FALSE(encoded["performanceMetrics"].contains("lastResolved"));
  EXPECT_FALSE(encoded.get<DependencyNode>().performanceMetrics.lastResolved.has_value());

  const json edge = sampleEdge("UserRepository", "UserAPI");
  EXPECT_EQ(keysOf(edge),
            (std::set<std::string>{"from", "to", "relationship", "isCircular", "relationshipType",
                                   "strength", "direction", "performanceImpact", "metadata"}));
  EXPECT_EQ(edge["relationshipType"], "DataFlow");
  EXPECT_EQ(edge["strength"], "Moderate");
  EXPECT_EQ(edge["direction"], "Bidirectional");
  EXPECT_EQ(edge["performanceImpact"], "High");

  const json graphNode =
      GraphNode{"Logger", "utility", DependencyScope::lazy, DependencyLifetime::request};
  EXPECT_EQ(graphNode, json::parse(R"({"id":"Logger","type":"utility","scope":"lazy",
                                       "lifetime":"request"})"));
  const json graphEdge = GraphEdge{"A", "B", EdgeType::aggregation};
  EXPECT_EQ(graphEdge, json::parse(R"({"from":"A","to":"B","type":"aggregation"})"));
}

TEST(GraphModelJson, GraphRoundTripKeepsOrderAndEveryField) {
  GraphAnalysis analysis{true,
                         3,
                         2,
                         4,
                         {{"B", "A"}, {"C"}},
                         0.25,
                         123456.0,
                         80.0,
                         true,
                         {1, 0.66, 0.7, 2, 2, 0.66, 0.5, 0.16},
                         {0.005, 0.009, 0.001, 4096.0, 0.82, {"C"}, PerformanceTrend::degrading},
                         {1, 0, 2, 0, 0, 0, 0.25},
                         {0.9, 0.2, 1.0, 80.0, 0.8, 0.9, 0.85},
                         {Recommendation{RecommendationType::architecture,
                                         RecommendationPriority::high,
                                         "Resolve Circular Dependencies",
                                         "Found 1 circular dependencies that should be resolved",
                                         {"A", "B"},
                                         "High",
                                         EffortLevel::veryHigh}}};
  const DependencyGraph graph{{sampleNode("C", Point{100, 100}), sampleNode("A", Point{250, 100}),
                               sampleNode("B", Point{400, 100})},
                              {sampleEdge("C", "A"), sampleEdge("A", "B")},
                              analysis};

  const json encoded = graph;
  EXPECT_EQ(keysOf(encoded), (std::set<std::string>{"nodes", "edges", "analysis"}));
  EXPECT_EQ(keysOf(encoded["analysis"]),
            (std::set<std::string>{"hasCircularDependencies", "totalNodes", "totalDependencies",
                                   "maxDepth", "circularDependencyChains", "analysisTime",
                                   "memoryUsage", "cacheEfficiency", "isComplete",
                                   "complexityMetrics", "performanceMetrics", "architectureMetrics",
                                   "healthScore", "recommendations"}));
  EXPECT_EQ(encoded["analysis"]["recommendations"][0]["effort"], "Very High");
  EXPECT_EQ(encoded["analysis"]["performanceMetrics"]["performanceTrend"], "degrading");

  const auto decoded = json::parse(encoded.dump()).get<DependencyGraph>();
  ASSERT_EQ(decoded.nodes.size(), 3u);
  EXPECT_EQ(decoded.nodes[0].id, "C");
  EXPECT_EQ(decoded.nodes[1].id, "A");
  EXPECT_EQ(decoded.nodes[2].id, "B");
  ASSERT_EQ(decoded.edges.size(), 2u);
  EXPECT_EQ(decoded.edges[0].from, "C");
  EXPECT_EQ(decoded.edges[1].from, "A");
  EXPECT_EQ(decoded.nodes[1].position, (Point{250, 100}));
  EXPECT_EQ(decoded.nodes[1].performanceMetrics.lastResolved,
            parseIso8601("2024-01-31T12:00:00.250Z"));
  EXPECT_EQ(decoded.analysis.recommendations, analysis.recommendations);
  EXPECT_EQ(decoded.analysis.circularDependencyChains, analysis.circularDependencyChains);
  // Every other field: non-default values survive, so re-encoding gives the same document.
  EXPECT_EQ(json(decoded), encoded);

  const CircularDependencyAnalysis cycles{
      1,
      1,
      0,
      0,
      2,
      2,
      {CircularDependency{{"A", "B"},
                          CircularDependencySeverity::low,
                          CircularDependencyImpact::critical,
                          {"Use factory pattern"}}},
      {"Implement dependency inversion principle using interfaces"}};
  const json cyclesJson = cycles;
  EXPECT_EQ(keysOf(cyclesJson),
            (std::set<std::string>{"totalCycles", "criticalCycles", "highImpactCycles",
                                   "mediumImpactCycles", "averageCycleLength", "longestCycle",
                                   "cycles", "recommendations"}));
  EXPECT_EQ(cyclesJson["cycles"][0]["impact"], "Critical");
  EXPECT_EQ(json(cyclesJson.get<CircularDependencyAnalysis>()), cyclesJson);
}

TEST(GraphModelJson, DecodingIsStrict) {
  const json node = sampleNode("A", Point{1, 2});
  for (const auto& key : keysOf(node)) {
    json missing = node;
    missing.erase(key);
    expectDecodingFailure<DependencyNode>(missing, key);
  }
  json wrong = node;
  wrong["layer"] = "1";
  expectDecodingFailure<DependencyNode>(wrong, "layer");
  wrong = node;
  wrong["position"] = json::array({1.0});
  expectDecodingFailure<DependencyNode>(wrong, "position");
  wrong = node;
  wrong["category"] = "CrossCutting";
  expectDecodingFailure<DependencyNode>(wrong, "category");
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
