#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <nlohmann/json.hpp>
#include <string>
#include <tuple>
#include <unordered_set>

#include "support/JsonDecoding.hpp"
#include "tavreldi/graph/CircularDependencyAnalysis.hpp"
#include "tavreldi/graph/DependencyGraph.hpp"

namespace tavreldi {
namespace {

using nlohmann::json;
using testing::changed;
using testing::decoded;

DependencyNode sampleNode(std::string id, Point position) {
  return DependencyNode{
      std::move(id), DependencyScope::scoped, NameList{"UserAPI", "Logger"}, 2, true, position,
      NodeType::repository, NodeCategory::crossCutting,
      // complexity, performance figures, metadata, tags
      ComplexityLevel::medium,
      NodePerformanceMetrics{0.004, 2048.5, 0.8, 17, parseIso8601("2024-01-31T12:00:00.250Z")},
      Metadata{{"scope", "scoped"}, {"created_at", "2024-01-31T12:00:00Z"}},
      NameList{"repository"}};
}

DependencyEdge sampleEdge(std::string from, std::string to) {
  return DependencyEdge{std::move(from), std::move(to), "depends on", false,
                        // type, strength, direction, impact, metadata
                        RelationshipType::dataFlow, RelationshipStrength::moderate,
                        EdgeDirection::bidirectional, PerformanceImpact::high,
                        Metadata{{"strength", "Moderate"}}};
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

// Every key read back, numbers' kinds included. The analysis's keys and kinds are pinned by
// GraphMetrics.EmptyGraphFigures' exact text; here a chain and a recommendation are in place.
TEST(GraphModelJson, GraphRoundTripKeepsEveryField) {
  json graph = DependencyGraph{{sampleNode("C", Point{100, 100}), sampleNode("A", Point{250, 100})},
                               {sampleEdge("C", "A")},
                               GraphAnalysis{}};
  graph["analysis"]["circularDependencyChains"] = json::parse(R"([["B","A"],["C"]])");
  graph["analysis"]["recommendations"] = json::parse(R"([{"type":"Architecture","priority":"High",
      "title":"Resolve Circular Dependencies",
      "description":"Found 1 circular dependencies that should be resolved",
      "affectedNodes":["A","B"],"estimatedImpact":"High","effort":"Very High"}])");
  EXPECT_EQ(decoded<DependencyGraph>(graph), graph.dump());

  const json cycles = json::parse(R"({"totalCycles":1,"criticalCycles":1,"highImpactCycles":0,
    "mediumImpactCycles":0,"averageCycleLength":2,"longestCycle":2,
    "cycles":[{"cycle":["A","B"],"severity":"Low","impact":"Critical",
      "suggestions":["Use factory pattern"]}],
    "recommendations":["Implement dependency inversion principle using interfaces"]})");
  EXPECT_EQ(decoded<CircularDependencyAnalysis>(cycles), cycles.dump());
}

// Every key is required; each fault is named with its key, the keys of the records around it
// first. Integers are whole numbers within 64 bits: never truncated, never wrapped.
TEST(GraphModelJson, DecodingIsStrictAndNamesTheFault) {
  const json node = sampleNode("A", Point{1, 2});
  for (const auto& item : node.items()) {
    json missing = node;
    missing.erase(item.key());
    EXPECT_EQ(decoded<DependencyNode>(missing), "Key not found: \"" + item.key() + "\"");
  }
  const auto nodeWith = [&node](std::string_view path, json value) {
    return changed(node, "replace", path, std::move(value));
  };
  const std::string layer = "Type mismatch for key \"layer\": ";
  using Decoder = std::string (*)(const json&);
  // The decoder, the document and the error text ("": the document decodes to itself).
  const std::tuple<Decoder, json, std::string> cases[] = {
      {decoded<DependencyNode>, nodeWith("/layer", "1"),
       layer + "[json.exception.type_error.302] type must be number, but is string"},
      {decoded<DependencyNode>, nodeWith("/layer", 1.5),
       layer + "expected a 64-bit integer, found 1.5"},
      {decoded<DependencyNode>, nodeWith("/layer", json::parse("1e300")),
       layer + "expected a 64-bit integer, found 1e+300"},
      {decoded<DependencyNode>, nodeWith("/layer", json::parse("18446744073709551616")),
       layer + "expected a 64-bit integer, found 1.8446744073709552e+19"},
      {decoded<DependencyNode>, nodeWith("/layer", json::parse("9223372036854775808")),
       layer + "expected a 64-bit integer, found 9223372036854775808"},
      {decoded<DependencyNode>, nodeWith("/layer", std::numeric_limits<std::int64_t>::min()), ""},
      {decoded<DependencyNode>, nodeWith("/layer", std::numeric_limits<std::int64_t>::max()), ""},
      {decoded<DependencyNode>, nodeWith("/position", json::array({1.0})),
       "Invalid value for key \"position\": Type mismatch: expected a point as an array of two "
       "numbers, found an array of 1 values"},
      {decoded<DependencyNode>, nodeWith("/category", "CrossCutting"),
       "Invalid value for key \"category\": Data corrupted: cannot initialize enumeration from "
       "invalid value \"CrossCutting\""},
      {decoded<DependencyNode>, nodeWith("/performanceMetrics/lastResolved", "yesterday"),
       "Invalid value for key \"performanceMetrics\": Data corrupted for key \"lastResolved\": "
       "expected an ISO 8601 date, found \"yesterday\""},
      {decoded<DependencyGraph>,
       changed(DependencyGraph{}, "remove", "/analysis/healthScore/overall"),
       "Invalid value for key \"analysis\": Invalid value for key \"healthScore\": Key not found: "
       "\"overall\""},
      {decoded<GraphEdge>, json::parse(R"({"from":"A","to":"B","type":"dependency"})"), ""}};
  for (const auto& [decode, document, expected] : cases) {
    EXPECT_EQ(decode(document), expected.empty() ? document.dump() : expected) << document.dump();
  }
}

TEST(GraphModelJson, IdentityIgnoresTheOtherFields) {
  const auto distinct = [](const auto&... values) { return std::unordered_set{values...}.size(); };
  EXPECT_EQ(distinct(GraphEdge{"A", "B", EdgeType::dependency},
                     GraphEdge{"A", "B", EdgeType::composition},
                     GraphEdge{"B", "A", EdgeType::dependency}),
            2u);
  EXPECT_EQ(
      distinct(GraphNode{"X", "a", DependencyScope::singleton, DependencyLifetime::application},
               GraphNode{"X", "b", DependencyScope::transient, DependencyLifetime::request}),
      1u);
  auto other = sampleEdge("A", "B");
  other.relationshipType = RelationshipType::composition;
  EXPECT_EQ(distinct(sampleEdge("A", "B"), other, sampleEdge("B", "A")), 2u);
  auto moved = sampleNode("X", Point{1, 1});
  moved.scope = DependencyScope::transient;
  EXPECT_EQ(distinct(sampleNode("X", Point{5, 5}), moved, sampleNode("Y", Point{5, 5})), 2u);
}

}  // namespace
}  // namespace tavreldi
