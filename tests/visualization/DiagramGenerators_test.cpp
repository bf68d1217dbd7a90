#include "tavreldi/visualization/DiagramGenerators.hpp"

#include <gtest/gtest.h>
#include <unistd.h>

#include <asio.hpp>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <future>
#include <nlohmann/json.hpp>

#include "tavreldi/visualization/VisualizationModel.hpp"
#include "visualization/detail/DiagramText.hpp"

namespace tavreldi {
namespace {

using Strings = std::vector<std::string>;
using G = DiagramGenerators;

DependencyNode node(std::string id, DependencyScope scope, std::int64_t layer, bool circular,
                    Strings dependencies, NodeType type = NodeType::component,
                    std::map<std::string, std::string> metadata = {}) {
  DependencyNode n;
  n.id = std::move(id);
  n.scope = scope;
  n.layer = layer;
  n.isCircular = circular;
  n.dependencies = std::move(dependencies);
  n.type = type;
  n.metadata = std::move(metadata);
  return n;
}

DependencyEdge edge(std::string from, std::string to, std::string relationship, bool circular,
                    RelationshipType type = RelationshipType::dependency) {
  DependencyEdge e;
  e.from = std::move(from);
  e.to = std::move(to);
  e.relationship = std::move(relationship);
  e.isCircular = circular;
  e.relationshipType = type;
  return e;
}

// Four scopes; UserRepository <-> UserAPI is a cycle whose closing edge alone is flagged; the
// edge to AuthRepository has no relationship; KeychainStore is an edge target without a node.
DependencyGraph sampleGraph() {
  using S = DependencyScope;
  DependencyGraph graph;
  graph.nodes = {
      node("UserViewModel", S::lazy, 4, false, {"UserRepository", "AuthRepository"},
           NodeType::presentation, {{"scope", "lazy"}}),
      node("UserRepository", S::scoped, 2, true, {"UserAPI"}, NodeType::repository),
      node("UserAPI", S::singleton, 1, true, {"UserRepository"}, NodeType::service),
      node("AuthRepository", S::custom, 2, false, {"KeychainStore"}, NodeType::repository),
  };
  graph.edges = {
      edge("UserViewModel", "UserRepository", "uses", false),
      edge("UserViewModel", "AuthRepository", "", false),
      edge("UserRepository", "UserAPI", "fetches", false, RelationshipType::dataFlow),
      edge("UserAPI", "UserRepository", "notifies", true, RelationshipType::callback),
      edge("AuthRepository", "KeychainStore", "stores", false),
  };
  return graph;
}

GraphAnalysis sampleAnalysis() {
  GraphAnalysis analysis;
  analysis.hasCircularDependencies = true;
  analysis.totalNodes = 4;
  analysis.totalDependencies = 5;
  analysis.maxDepth = 3;
  analysis.analysisTime = 0.25;
  analysis.memoryUsage = 1048576.0;
  analysis.cacheEfficiency = 87.5;
  return analysis;
}

std::string runAsync(asio::awaitable<std::string> text) {
  asio::io_context io;
  auto future = asio::co_spawn(io, std::move(text), asio::use_future);
  io.run();
  return future.get();
}

TEST(DiagramGenerators, MermaidAndGraphvizOfSampleGraph) {
  const auto graph = sampleGraph();
  EXPECT_EQ(G::generateMermaid(graph), R"(graph TD
    UserViewModel["UserViewModel"]
    classDef lazy fill:#fff3e0
    class UserViewModel lazy
    UserRepository["UserRepository"]
    classDef scoped fill:#f3e5f5
    class UserRepository scoped
    UserAPI["UserAPI"]
    classDef singleton fill:#e1f5fe
    class UserAPI singleton
    AuthRepository["AuthRepository"]
    classDef custom fill:#fce4ec
    class AuthRepository custom
    UserViewModel --> UserRepository
    UserViewModel --> AuthRepository
    UserRepository --> UserAPI
    UserAPI -.-> UserRepository
    AuthRepository --> KeychainStore
)");
  EXPECT_EQ(G::generateGraphviz(graph), R"(digraph DependencyGraph {
    rankdir=TB;
    node [shape=box, style=filled];

    UserViewModel [label="UserViewModel", fillcolor="fff3e0"];
    UserRepository [label="UserRepository", fillcolor="f3e5f5"];
    UserAPI [label="UserAPI", fillcolor="e1f5fe"];
    AuthRepository [label="AuthRepository", fillcolor="fce4ec"];

    UserViewModel -> UserRepository [style=solid] [label="uses"];
    UserViewModel -> AuthRepository [style=solid];
    UserRepository -> UserAPI [style=solid] [label="fetches"];
    UserAPI -> UserRepository [style=dashed] [label="notifies"];
    AuthRepository -> KeychainStore [style=solid] [label="stores"];
}
)");
  // The asynchronous forms give the same text, with or without a progress object.
  Progress progress;
  EXPECT_EQ(runAsync(G::generateMermaidAsync(graph, nullptr)), G::generateMermaid(graph));
  EXPECT_EQ(runAsync(G::generateGraphvizAsync(graph, &progress)), G::generateGraphviz(graph));
  EXPECT_EQ(progress.completedUnitCount(), 100);
}

TEST(DiagramGenerators, TreeOfSampleGraph) {
  const auto graph = sampleGraph();
  // The only root is UserViewModel; the cycle repeats until the limit; KeychainStore has no
  // node and is skipped.
  EXPECT_EQ(G::generateTreeVisualization(graph, 4),
            "Dependency Tree:\n================\n\n"
            "└─ UserViewModel (lazy)\n"
            "  └─ UserRepository (scoped)\n"
            "    └─ UserAPI (singleton)\n"
            "      └─ UserRepository (scoped)\n"
            "        └─ ... (max depth reached)\n"
            "  └─ AuthRepository (custom)\n"
            "\n");
  EXPECT_EQ(G::generateTreeVisualization(graph, 0),
            "Dependency Tree:\n================\n\n└─ ... (max depth reached)\n\n");
  EXPECT_EQ(G::generateTreeVisualization(graph, 1),
            "Dependency Tree:\n================\n\n"
            "└─ UserViewModel (lazy)\n"
            "  └─ ... (max depth reached)\n"
            "  └─ ... (max depth reached)\n"
            "\n");
}

TEST(DiagramGenerators, NetworkHierarchicalCircularLayeredOfSampleGraph) {
  const auto graph = sampleGraph();
  EXPECT_EQ(G::generateNetworkVisualization(graph), R"(Network Visualization:
====================

Node: UserViewModel
  Scope: lazy
  Layer: 4
  Dependencies: UserRepository, AuthRepository
  Circular: No

Node: UserRepository
  Scope: scoped
  Layer: 2
  Dependencies: UserAPI
  Circular: Yes

Node: UserAPI
  Scope: singleton
  Layer: 1
  Dependencies: UserRepository
  Circular: Yes

Node: AuthRepository
  Scope: custom
  Layer: 2
  Dependencies: KeychainStore
  Circular: No

)");
  EXPECT_EQ(G::generateHierarchicalVisualization(graph), R"(Hierarchical Structure:
======================

Layer 1:
  - UserAPI (singleton)

Layer 2:
  - UserRepository (scoped)
  - AuthRepository (custom)

Layer 4:
  - UserViewModel (lazy)

)");
  EXPECT_EQ(G::generateCircularVisualization(graph), R"(Circular Dependencies:
=====================

⚠️ Circular dependencies detected:

Circular Edges:
  UserAPI -> UserRepository

Circular Nodes:
  UserRepository
  UserAPI
)");
  EXPECT_EQ(G::generateLayeredVisualization(graph), R"(Layered Architecture:
====================

┌─ Layer 1 ─┐
│ UserAPI              │
└─────────────────────┘

┌─ Layer 2 ─┐
│ UserRepository       │
│ AuthRepository       │
└─────────────────────┘

┌─ Layer 4 ─┐
│ UserViewModel        │
└─────────────────────┘

)");
}

TEST(DiagramGenerators, JSONOfSampleGraph) {
  const std::string text = G::generateJSONVisualization(sampleGraph(), sampleAnalysis());
  EXPECT_EQ(text, R"({
  "edges": [
    {
      "from": "UserViewModel",
      "isCircular": false,
      "label": "uses",
      "to": "UserRepository",
      "type": "Dependency"
    },
    {
      "from": "UserViewModel",
      "isCircular": false,
      "label": "",
      "to": "AuthRepository",
      "type": "Dependency"
    },
    {
      "from": "UserRepository",
      "isCircular": false,
      "label": "fetches",
      "to": "UserAPI",
      "type": "DataFlow"
    },
    {
      "from": "UserAPI",
      "isCircular": true,
      "label": "notifies",
      "to": "UserRepository",
      "type": "Callback"
    },
    {
      "from": "AuthRepository",
      "isCircular": false,
      "label": "stores",
      "to": "KeychainStore",
      "type": "Dependency"
    }
  ],
  "metadata": {
    "analysisTime": "0.25",
    "cacheEfficiency": "87.5",
    "hasCircularDependencies": "true",
    "maxDepth": "3",
    "memoryUsage": "1048576",
    "totalDependencies": "5",
    "totalNodes": "4"
  },
  "nodes": [
    {
      "dependencies": [
        "UserRepository",
        "AuthRepository"
      ],
      "id": "UserViewModel",
      "isCircular": false,
      "label": "UserViewModel",
      "layer": "4",
      "metadata": {
        "scope": "lazy"
      },
      "scope": "lazy",
      "type": "Presentation"
    },
    {
      "dependencies": [
        "UserAPI"
      ],
      "id": "UserRepository",
      "isCircular": true,
      "label": "UserRepository",
      "layer": "2",
      "metadata": {},
      "scope": "scoped",
      "type": "Repository"
    },
    {
      "dependencies": [
        "UserRepository"
      ],
      "id": "UserAPI",
      "isCircular": true,
      "label": "UserAPI",
      "layer": "1",
      "metadata": {},
      "scope": "singleton",
      "type": "Service"
    },
    {
      "dependencies": [
        "KeychainStore"
      ],
      "id": "AuthRepository",
      "isCircular": false,
      "label": "AuthRepository",
      "layer": "2",
      "metadata": {},
      "scope": "custom",
      "type": "Repository"
    }
  ]
})");
  // The document is a VisualizationData.
  const auto data = nlohmann::json::parse(text).get<VisualizationData>();
  ASSERT_EQ(data.nodes.size(), 4U);
  EXPECT_EQ(data.nodes[0], (VisualizationNode{"UserViewModel",
                                              "UserViewModel",
                                              "Presentation",
                                              "lazy",
                                              "4",
                                              false,
                                              {"UserRepository", "AuthRepository"},
                                              {{"scope", "lazy"}}}));
  ASSERT_EQ(data.edges.size(), 5U);
  EXPECT_EQ(data.edges[3],
            (VisualizationEdge{"UserAPI", "UserRepository", "Callback", "notifies", true}));
  EXPECT_EQ(data.metadata.size(), 7U);

  // Doubles in shortest form, false as text; a text that is not UTF-8 gives "{}".
  GraphAnalysis other;
  other.analysisTime = 0.1;
  other.memoryUsage = 0;
  const auto empty = nlohmann::json::parse(G::generateJSONVisualization({}, other));
  EXPECT_EQ(empty["metadata"]["analysisTime"], "0.1");
  EXPECT_EQ(empty["metadata"]["memoryUsage"], "0");
  EXPECT_EQ(empty["metadata"]["hasCircularDependencies"], "false");
  DependencyGraph broken;
  broken.nodes = {node("Bad\xff", DependencyScope::singleton, 0, false, {})};
  EXPECT_EQ(G::generateJSONVisualization(broken, other), "{}");
}

TEST(DiagramGenerators, EmptyGraph) {
  const DependencyGraph empty;
  EXPECT_EQ(G::generateMermaid(empty), "graph TD\n");
  EXPECT_EQ(G::generateGraphviz(empty),
            "digraph DependencyGraph {\n    rankdir=TB;\n    node [shape=box, style=filled];\n\n"
            "\n}\n");
  EXPECT_EQ(G::generateTreeVisualization(empty, 5), "Dependency Tree:\n================\n\n");
  EXPECT_EQ(G::generateNetworkVisualization(empty),
            "Network Visualization:\n====================\n\n");
  EXPECT_EQ(G::generateHierarchicalVisualization(empty),
            "Hierarchical Structure:\n======================\n\n");
  EXPECT_EQ(G::generateLayeredVisualization(empty),
            "Layered Architecture:\n====================\n\n");
  EXPECT_EQ(G::generateCircularVisualization(empty),
            "Circular Dependencies:\n=====================\n\n✅ No circular dependencies found!\n");
  EXPECT_EQ(nlohmann::json::parse(G::generateJSONVisualization(empty, {}))["nodes"],
            nlohmann::json::array());
}

TEST(DiagramGenerators, CircularNodesWithoutCircularEdges) {
  DependencyGraph graph;
  graph.nodes = {node("A", DependencyScope::singleton, 0, true, {}),
                 node("B", DependencyScope::singleton, 0, false, {})};
  graph.edges = {edge("A", "B", "", false)};
  EXPECT_EQ(G::generateCircularVisualization(graph),
            "Circular Dependencies:\n=====================\n\n"
            "⚠️ Circular dependencies detected:\n\nCircular Nodes:\n  A\n");
}

TEST(DiagramGenerators, LayeredCellsCountCharacters) {
  DependencyGraph graph;
  graph.nodes = {node("AbcdefghijKlmnopqrstUvwxy", DependencyScope::transient, 0, false, {}),
                 node("Café", DependencyScope::transient, 0, false, {}),
                 node("ÅÅÅÅÅÅÅÅÅÅÅÅÅÅÅÅÅÅÅÅÅ", DependencyScope::transient, 0, false, {})};
  EXPECT_EQ(G::generateLayeredVisualization(graph),
            "Layered Architecture:\n====================\n\n┌─ Layer 0 ─┐\n"
            "│ AbcdefghijKlmnopqrst │\n"
            "│ Café                 │\n"
            "│ ÅÅÅÅÅÅÅÅÅÅÅÅÅÅÅÅÅÅÅÅ │\n"
            "└─────────────────────┘\n\n");
  // An empty dependency list leaves the label with its blank.
  EXPECT_NE(
      G::generateNetworkVisualization(graph).find(
          "\n\nNode: Café\n  Scope: transient\n  Layer: 0\n  Dependencies: \n  Circular: No\n\n"),
      std::string::npos);
}

TEST(DiagramGenerators, ProgressOfAsynchronousForms) {
  DependencyGraph graph;
  graph.nodes = {node("A", DependencyScope::singleton, 0, false, {}),
                 node("B", DependencyScope::scoped, 0, false, {})};
  graph.edges = {edge("A", "B", "", false), edge("B", "A", "", true), edge("A", "A", "", true),
                 edge("B", "B", "", false)};
  const std::vector<std::int64_t> expected{0, 25, 50, 62, 75, 87, 100, 100};
  std::vector<std::int64_t> seen;
  Progress progress(100, [&](std::int64_t completed, std::int64_t total) {
    EXPECT_EQ(total, 100);
    seen.push_back(completed);
  });
  EXPECT_EQ(runAsync(G::generateMermaidAsync(graph, &progress)), G::generateMermaid(graph));
  EXPECT_EQ(seen, expected);
  seen.clear();
  EXPECT_EQ(runAsync(G::generateGraphvizAsync(graph, &progress)), G::generateGraphviz(graph));
  EXPECT_EQ(seen, expected);
  // An empty graph goes straight from 0 to 100.
  seen.clear();
  EXPECT_EQ(runAsync(G::generateMermaidAsync({}, &progress)), "graph TD\n");
  EXPECT_EQ(seen, (std::vector<std::int64_t>{0, 100}));
}

// Names with dots, dashes, template brackets, commas, blanks, quotes and backslashes.
DependencyGraph awkwardGraph() {
  using S = DependencyScope;
  DependencyGraph graph;
  graph.nodes = {node("My.Service-A", S::singleton, 0, true, {}),
                 node("Repository<User>", S::singleton, 0, true, {}),
                 node("Cache<Key, Value>", S::scoped, 0, false, {}),
                 node("Quote\"Service", S::transient, 0, false, {}),
                 node("2FA\\Helper", S::lazy, 0, false, {})};
  graph.edges = {edge("My.Service-A", "Repository<User>", "", false),
                 edge("Repository<User>", "My.Service-A", "back \"ref\"", true),
                 edge("Repository<User>", "Cache<Key, Value>", "reads", false),
                 edge("Quote\"Service", "2FA\\Helper", "a\\b", false)};
  return graph;
}

TEST(DiagramGenerators, AwkwardNamesInMermaidAndGraphviz) {
  const auto graph = awkwardGraph();
  EXPECT_EQ(detail::safeIdentifier("Repository<User>"), "Repository_User_");
  EXPECT_EQ(detail::safeIdentifier("Café Au-Lait"), "Caf__Au_Lait");
  EXPECT_EQ(G::generateMermaid(graph), R"(graph TD
    My_Service_A["My.Service-A"]
    classDef singleton fill:#e1f5fe
    class My_Service_A singleton
    Repository_User_["Repository#lt;User#gt;"]
    classDef singleton fill:#e1f5fe
    class Repository_User_ singleton
    Cache_Key__Value_["Cache#lt;Key, Value#gt;"]
    classDef scoped fill:#f3e5f5
    class Cache_Key__Value_ scoped
    Quote_Service["Quote#quot;Service"]
    classDef transient fill:#e8f5e8
    class Quote_Service transient
    _2FA_Helper["2FA\Helper"]
    classDef lazy fill:#fff3e0
    class _2FA_Helper lazy
    My_Service_A --> Repository_User_
    Repository_User_ -.-> My_Service_A
    Repository_User_ --> Cache_Key__Value_
    Quote_Service --> _2FA_Helper
)");
  EXPECT_EQ(G::generateGraphviz(graph), R"(digraph DependencyGraph {
    rankdir=TB;
    node [shape=box, style=filled];

    My_Service_A [label="My.Service-A", fillcolor="e1f5fe"];
    Repository_User_ [label="Repository<User>", fillcolor="e1f5fe"];
    Cache_Key__Value_ [label="Cache<Key, Value>", fillcolor="f3e5f5"];
    Quote_Service [label="Quote\"Service", fillcolor="e8f5e8"];
    _2FA_Helper [label="2FA\\Helper", fillcolor="fff3e0"];

    My_Service_A -> Repository_User_ [style=solid];
    Repository_User_ -> My_Service_A [style=dashed] [label="back \"ref\""];
    Repository_User_ -> Cache_Key__Value_ [style=solid] [label="reads"];
    Quote_Service -> _2FA_Helper [style=solid] [label="a\\b"];
}
)");
}

TEST(DiagramGenerators, GraphvizAcceptsTheDotText) {
  if (std::system("command -v dot > /dev/null 2>&1") != 0) GTEST_SKIP() << "dot is not installed";
  auto graph = awkwardGraph();
  const auto sample = sampleGraph();
  graph.nodes.insert(graph.nodes.end(), sample.nodes.begin(), sample.nodes.end());
  graph.edges.insert(graph.edges.end(), sample.edges.begin(), sample.edges.end());
  const auto dir = std::filesystem::temp_directory_path();
  const auto input = dir / ("tavreldi-vis-" + std::to_string(::getpid()) + ".dot");
  {
    std::ofstream file(input);
    file << G::generateGraphviz(graph);
  }
  const std::string command = "dot -Tsvg '" + input.string() + "' -o /dev/null 2> /dev/null";
  const int status = std::system(command.c_str());
  std::filesystem::remove(input);
  EXPECT_EQ(status, 0);
}

}  // namespace
}  // namespace tavreldi
