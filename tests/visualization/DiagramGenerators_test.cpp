#include "tavreldi/visualization/DiagramGenerators.hpp"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <random>
#include <regex>
#include <string>
#include <tuple>

#include "support/AsyncTest.hpp"
#include "support/GraphFixture.hpp"
#include "tavreldi/visualization/VisualizationModel.hpp"
#include "visualization/detail/DiagramIdentifiers.hpp"
#include "visualization/detail/DiagramText.hpp"

namespace tavreldi {
namespace {

using Strings = std::vector<std::string>;
using G = DiagramGenerators;
using testing::edge;
using testing::node;

// Four scopes; UserRepository <-> UserAPI is a cycle whose closing edge alone is flagged;
// KeychainStore is an edge target without a node.
DependencyGraph sampleGraph() {
  using S = DependencyScope;
  DependencyGraph graph;
  graph.nodes = {node("UserViewModel", S::lazy, {"UserRepository", "AuthRepository"}, 4),
                 node("UserRepository", S::scoped, {"UserAPI"}, 2, true),
                 node("UserAPI", S::singleton, {"UserRepository"}, 1, true),
                 node("AuthRepository", S::custom, {"KeychainStore"}, 2)};
  graph.edges = {edge("UserViewModel", "UserRepository"), edge("UserViewModel", "AuthRepository"),
                 edge("UserRepository", "UserAPI"), edge("UserAPI", "UserRepository", true),
                 edge("AuthRepository", "KeychainStore")};
  return graph;
}

TEST(DiagramGenerators, TextLayoutsOfSampleGraph) {
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

  // An output limit leaves the text as it is, or stops the diagram with a typed error.
  const std::string tree = G::generateTreeVisualization(graph, 4);
  EXPECT_EQ(G::generate(VisualizationType::tree, graph, {}, 4, tree.size()), tree);
  for (const VisualizationType type : {VisualizationType::tree, VisualizationType::layered}) {
    const std::size_t size = G::generate(type, graph, {}, 4).size();
    const auto error = testing::caught<DiagramTooLargeError>(
        [&] { (void)G::generate(type, graph, {}, 4, size - 1); });
    EXPECT_EQ(error.value().what(), "the " + std::string(toString(type)) +
                                        " diagram is larger than the output limit of " +
                                        std::to_string(size - 1) + " bytes");
    EXPECT_EQ(std::tuple(error->type(), error->limit()), std::tuple(type, size - 1));
  }

  // Two nodes show every part of a network entry: both flags, a list of two, an empty list (whose
  // label keeps its blank).
  DependencyGraph firstTwo = graph;
  firstTwo.nodes.resize(2);
  firstTwo.nodes[1].dependencies = {};
  EXPECT_EQ(G::generateNetworkVisualization(firstTwo), R"(Network Visualization:
====================

Node: UserViewModel
  Scope: lazy
  Layer: 4
  Dependencies: UserRepository, AuthRepository
  Circular: No

Node: UserRepository
  Scope: scoped
  Layer: 2
  Dependencies: )"
                                                       R"(
  Circular: Yes

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

// The JSON form, written directly, is byte for byte the JSON library's pretty, key-sorted print of
// the graph's VisualizationData, or "{}" when a text is not UTF-8: on random graphs whose texts
// hold quotes, backslashes, control and multi-byte characters and, every other round, malformed
// sequences. The label is the id; the layer and figures are texts, doubles in shortest form.
TEST(DiagramGenerators, JSONIsThePrintOfTheVisualizationData) {
  std::mt19937 rng(11);
  const Strings wellFormed{"A",    "Repo", "\"", "\\", "\n", "\t", "\b", "\x01", "\x1f",
                           "\x7f", "/",    "é",  "€",  "😀",  " ",  "\r", "\f"};
  const Strings malformed{"\xc0\xaf", "\xed\xa0\x80", "\xf4\x90\x80\x80", "\xe2\x82", "\xff"};
  const auto pick = [&](std::size_t n) { return static_cast<std::size_t>(rng() % n); };
  for (int round = 0; round < 400; ++round) {
    const bool allowMalformed = round % 2 == 1;
    const auto text = [&] {
      std::string out;
      for (std::size_t i = pick(4); i-- > 0;) {
        out += allowMalformed && pick(20) == 0 ? malformed[pick(malformed.size())]
                                               : wellFormed[pick(wellFormed.size())];
      }
      return out;
    };
    const auto texts = [&](std::size_t most) {
      Strings out(pick(most + 1));
      for (auto& t : out) t = text();
      return out;
    };
    DependencyGraph graph;
    VisualizationData data;
    for (std::size_t i = pick(4); i-- > 0;) {
      std::map<std::string, std::string> metadata;
      for (std::size_t k = pick(3); k-- > 0;) metadata[text()] = text();
      const auto type = allCases<NodeType>()[pick(allCases<NodeType>().size())];
      const auto scope = allCases<DependencyScope>()[pick(allCases<DependencyScope>().size())];
      const auto layer = static_cast<std::int64_t>(pick(9)) - 3;
      DependencyNode& n =
          graph.nodes.emplace_back(node(text(), scope, texts(3), layer, pick(2) == 0));
      n.type = type;
      n.metadata = metadata;
      data.nodes.push_back({n.id.str(), n.id.str(), std::string(toString(type)),
                            std::string(toString(scope)), std::to_string(layer), n.isCircular,
                            n.dependencies.strings(), metadata});
    }
    for (std::size_t i = pick(4); i-- > 0;) {
      const auto type = allCases<RelationshipType>()[pick(allCases<RelationshipType>().size())];
      graph.edges.push_back(edge(text(), text(), pick(2) == 0, text(), type));
      const DependencyEdge& e = graph.edges.back();
      data.edges.push_back(
          {e.from.str(), e.to.str(), std::string(toString(type)), e.relationship, e.isCircular});
    }
    GraphAnalysis analysis;
    analysis.totalNodes = static_cast<std::int64_t>(pick(100));
    analysis.maxDepth = -static_cast<std::int64_t>(pick(3));
    // Doubles in their shortest round-trip form.
    const std::pair<double, const char*> doubles[] = {
        {0.1, "0.1"}, {2.5, "2.5"}, {3.0, "3"}, {1048576.0, "1048576"}, {1e-05, "1e-05"}};
    const auto& [time, timeText] = doubles[pick(5)];
    const auto& [memory, memoryText] = doubles[pick(5)];
    const auto& [efficiency, efficiencyText] = doubles[pick(5)];
    analysis.analysisTime = time;
    analysis.memoryUsage = memory;
    analysis.cacheEfficiency = efficiency;
    analysis.totalDependencies = static_cast<std::int64_t>(pick(100));
    analysis.hasCircularDependencies = pick(2) == 0;
    data.metadata = {
        {"totalNodes", std::to_string(analysis.totalNodes)},
        {"totalDependencies", std::to_string(analysis.totalDependencies)},
        {"hasCircularDependencies", analysis.hasCircularDependencies ? "true" : "false"},
        {"maxDepth", std::to_string(analysis.maxDepth)},
        {"analysisTime", timeText},
        {"memoryUsage", memoryText},
        {"cacheEfficiency", efficiencyText}};
    std::string expected;
    try {
      expected = nlohmann::json(data).dump(2, ' ', false, nlohmann::json::error_handler_t::strict);
    } catch (const nlohmann::json::type_error&) {
      expected = "{}";
    }
    ASSERT_EQ(G::generateJSONVisualization(graph, analysis), expected) << round;
    ASSERT_EQ(G::generate(VisualizationType::json, graph, analysis, 0), expected) << round;
  }
}

TEST(DiagramGenerators, EmptyAndSmallGraphs) {
  // An empty graph gives each type's bare header, through the dispatch by type.
  const Strings bare{
      "graph TD\n",
      "digraph DependencyGraph {\n    rankdir=TB;\n    node [shape=box, style=filled];\n\n\n}\n",
      "Dependency Tree:\n================\n\n",
      "Network Visualization:\n====================\n\n",
      "Hierarchical Structure:\n======================\n\n",
      "Circular Dependencies:\n=====================\n\n✅ No circular dependencies found!\n",
      "Layered Architecture:\n====================\n\n"};
  Strings texts;
  for (const auto type : allCases<VisualizationType>()) {
    if (type != VisualizationType::json) texts.push_back(G::generate(type, {}, {}, 5));
  }
  EXPECT_EQ(texts, bare);

  // Circular nodes without circular edges.
  DependencyGraph graph;
  graph.nodes = {node("A", DependencyScope::singleton, {}, 0, true), node("B")};
  graph.edges = {edge("A", "B")};
  EXPECT_EQ(G::generateCircularVisualization(graph),
            "Circular Dependencies:\n=====================\n\n"
            "⚠️ Circular dependencies detected:\n\nCircular Nodes:\n  A\n");

  // Layered cells count characters, not bytes, and cut long names to 20.
  graph.nodes = {node("AbcdefghijKlmnopqrstUvwxy"), node("Café"), node("ÅÅÅÅÅÅÅÅÅÅÅÅÅÅÅÅÅÅÅÅÅ")};
  EXPECT_EQ(G::generateLayeredVisualization(graph),
            "Layered Architecture:\n====================\n\n┌─ Layer 0 ─┐\n"
            "│ AbcdefghijKlmnopqrst │\n"
            "│ Café                 │\n"
            "│ ÅÅÅÅÅÅÅÅÅÅÅÅÅÅÅÅÅÅÅÅ │\n"
            "└─────────────────────┘\n\n");
}

// Names with dots, dashes, template brackets, commas, blanks, quotes and backslashes; every scope
// colour but the container's; an edge without label and one to a name that has no node.
DependencyGraph awkwardGraph() {
  using S = DependencyScope;
  DependencyGraph graph;
  graph.nodes = {node("My.Service-A", S::singleton, {}, 0, true),
                 node("Repository<User>", S::singleton, {}, 0, true),
                 node("Cache<Key, Value>", S::scoped),
                 node("Quote\"Service", S::transient),
                 node("2FA\\Helper", S::lazy),
                 node("Auth Store", S::custom)};
  graph.edges = {edge("My.Service-A", "Repository<User>"),
                 edge("Repository<User>", "My.Service-A", true, "back \"ref\""),
                 edge("Repository<User>", "Cache<Key, Value>", false, "reads"),
                 edge("Quote\"Service", "2FA\\Helper", false, "a\\b"),
                 edge("Auth Store", "Key.Chain", false, "stores")};
  return graph;
}

TEST(DiagramGenerators, MermaidAndGraphviz) {
  const auto graph = awkwardGraph();
  // The classDef line repeats for every node of a scope; circular edges are dotted. Names that
  // are no identifier once blanks, dashes and dots are "_" get a suffix made from the name.
  EXPECT_EQ(G::generateMermaid(graph), R"(graph TD
    My_Service_A["My.Service-A"]
    classDef singleton fill:#e1f5fe
    class My_Service_A singleton
    Repository_User__750b2f["Repository#lt;User#gt;"]
    classDef singleton fill:#e1f5fe
    class Repository_User__750b2f singleton
    Cache_Key__Value__0c4de0["Cache#lt;Key, Value#gt;"]
    classDef scoped fill:#f3e5f5
    class Cache_Key__Value__0c4de0 scoped
    Quote_Service_70b207["Quote#quot;Service"]
    classDef transient fill:#e8f5e8
    class Quote_Service_70b207 transient
    _2FA_Helper_e06c7d["2FA#92;Helper"]
    classDef lazy fill:#fff3e0
    class _2FA_Helper_e06c7d lazy
    Auth_Store["Auth Store"]
    classDef custom fill:#fce4ec
    class Auth_Store custom
    My_Service_A --> Repository_User__750b2f
    Repository_User__750b2f -.-> My_Service_A
    Repository_User__750b2f --> Cache_Key__Value__0c4de0
    Quote_Service_70b207 --> _2FA_Helper_e06c7d
    Auth_Store --> Key_Chain
)");
  EXPECT_EQ(G::generateGraphviz(graph), R"(digraph DependencyGraph {
    rankdir=TB;
    node [shape=box, style=filled];

    My_Service_A [label="My.Service-A", fillcolor="e1f5fe"];
    Repository_User__750b2f [label="Repository<User>", fillcolor="e1f5fe"];
    Cache_Key__Value__0c4de0 [label="Cache<Key, Value>", fillcolor="f3e5f5"];
    Quote_Service_70b207 [label="Quote\"Service", fillcolor="e8f5e8"];
    _2FA_Helper_e06c7d [label="2FA\\Helper", fillcolor="fff3e0"];
    Auth_Store [label="Auth Store", fillcolor="fce4ec"];

    My_Service_A -> Repository_User__750b2f [style=solid];
    Repository_User__750b2f -> My_Service_A [style=dashed] [label="back \"ref\""];
    Repository_User__750b2f -> Cache_Key__Value__0c4de0 [style=solid] [label="reads"];
    Quote_Service_70b207 -> _2FA_Helper_e06c7d [style=solid] [label="a\\b"];
    Auth_Store -> Key_Chain [style=solid] [label="stores"];
}
)");
}

// Runs `command` on `input` (binary-safe): its exit status and output, standard error included.
std::pair<int, std::string> runOn(const std::string& command, const std::string& input) {
  const auto file = std::filesystem::temp_directory_path() /
                    ("tavreldi-diagram-" + std::to_string(::getpid()) + ".txt");
  std::ofstream(file, std::ios::binary).write(input.data(), std::ssize(input));
  FILE* const pipe = ::popen((command + " < '" + file.string() + "' 2>&1").c_str(), "r");
  std::string output;
  for (int c = 0; pipe && (c = std::fgetc(pipe)) != EOF;) output += static_cast<char>(c);
  const int status = pipe ? ::pclose(pipe) : -1;
  std::filesystem::remove(file);
  return {status, output};
}

// Services whose names are keywords of either language, empty, hold control characters or bytes
// that are not UTF-8, would collide when cut down to identifier characters, or are markup, in
// every scope (so every colour line is parsed). Both parsers must accept the text and see one
// node per service, labelled with its name; an arrow to a wrong identifier would add a node.
TEST(DiagramGenerators, AnyNamesGiveValidDiagramsWithOneNodePerService) {
  using namespace std::string_literals;
  Strings names{"graph", "subgraph", "style", "class", "click", "end"};       // Mermaid keywords
  names.insert(names.end(), {"Graph", "Node", "edge", "digraph", "strict"});  // DOT keywords
  names.insert(names.end(), {"", "Nul\0Byte"s, "Tab\tNew\nLine", "Bad\xFF", "1Start"});
  names.insert(names.end(), {"Über", "Äber", "ユーザー", "サービス", "A.B", "A-B", "A_B"});
  names.insert(names.end(), {"Repository<User>", "Quote\"Service", "2FA\\Helper", "A&amp;B"});
  names.insert(names.end(), {"fa:fa-car", "style:#x;", "%%{init: {}}%%", "`md`"});
  // A service named like the identifier another one is given.
  DependencyGraph graph;
  graph.nodes = {node("Über", DependencyScope::lazy)};
  names.emplace_back(detail::DiagramIdentifiers(graph, detail::DiagramLanguage::dot).node(0));
  graph.nodes.clear();
  for (std::size_t i = 0; i < names.size(); ++i) {
    const auto scope = allCases<DependencyScope>()[i % allCases<DependencyScope>().size()];
    graph.nodes.push_back(node(names[i], scope));
    if (i > 0) graph.edges.push_back(edge(names[i - 1], names[i], i % 2 == 0, names[i]));
  }
  // Labels as people see them: control characters as their pictures, broken UTF-8 as U+FFFD.
  std::map<std::string, std::string> shown{
      {"Nul\0Byte"s, "Nul␀Byte"}, {"Tab\tNew\nLine", "Tab␉New␊Line"}, {"Bad\xFF", "Bad\uFFFD"}};
  for (const auto& name : names) shown.try_emplace(name, name);

  const std::string dot = TAVRELDI_DOT;
  const std::string node = TAVRELDI_NODE;
  const std::string browser = std::string(TAVRELDI_SOURCE_DIR) + "/tests/browser";
  if (!std::filesystem::exists(dot) || !std::filesystem::exists(node) ||
      !std::filesystem::exists(browser + "/node_modules/mermaid")) {
    GTEST_SKIP() << "needs Graphviz, Node.js and Mermaid (scripts/install-browser-deps)";
  }
  const std::pair<std::string, std::string> parsers[] = {
      {dot + " -Tjson", G::generateGraphviz(graph)},
      {node + " " + browser + "/parse-mermaid.mjs", G::generateMermaid(graph)}};
  for (const auto& [command, text] : parsers) {
    auto [status, output] = runOn(command, text);
    // The fill colours lack the "#" by design; Graphviz says so, and falls back to its default.
    output =
        std::regex_replace(output, std::regex("Warning: [0-9a-f]{6} is not a known color.\n"), "");
    const auto json = nlohmann::json::parse(output, nullptr, false);
    ASSERT_TRUE(status == 0 && !json.is_discarded()) << command << ": " << output << "\n" << text;
    std::map<std::string, std::string> idOf;  // by label
    for (const auto& object : json.value("objects", nlohmann::json::array())) {
      const auto& drawn = object.value("_ldraw_", nlohmann::json::array({{{"text", ""}}}));
      idOf[drawn.back()["text"]] = object["name"];
    }
    for (const auto& vertex : json.value("nodes", nlohmann::json::array()))
      idOf[vertex[1]] = vertex[0];
    EXPECT_EQ(idOf.size(), names.size()) << text;
    for (const auto& name : names) EXPECT_TRUE(idOf.contains(shown[name])) << shown[name];
    EXPECT_EQ(idOf["A_B"], "A_B");  // an identifier as it is keeps itself
  }
}

}  // namespace
}  // namespace tavreldi
