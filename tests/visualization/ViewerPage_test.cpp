#include "tavreldi/visualization/ViewerPage.hpp"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <string>
#include <string_view>

#include "support/AsyncTest.hpp"
#include "support/GraphFixture.hpp"
#include "support/SampleServices.hpp"
#include "tavreldi/core/LineWriter.hpp"
#include "tavreldi/visualization/DependencyVisualizer.hpp"
#include "tavreldi/visualization/DiagramGenerators.hpp"

namespace tavreldi {
namespace {

using nlohmann::json;

constexpr std::string_view kScriptName = "</script><img src=x onerror=alert(1)>";
constexpr std::string_view kTemplateName = "Repository<User>";
const std::string kSeparatorName = "Line\u2028Break";

// Three awkward names in a cycle, plus one plain node.
DependencyGraph awkwardGraph() {
  const std::vector<std::string> cycle{std::string(kScriptName), std::string(kTemplateName),
                                       kSeparatorName};
  DependencyGraph graph;
  for (std::size_t i = 0; i < cycle.size(); ++i) {
    const std::string& next = cycle[(i + 1) % cycle.size()];
    graph.nodes.push_back(testing::node(cycle[i], DependencyScope::singleton, {next}, 0, true));
    graph.nodes.back().metadata = {{"note", "a & b <i>"}};
    graph.edges.push_back(testing::edge(cycle[i], next, true));
  }
  graph.nodes.push_back(testing::node("Logger"));
  graph.analysis.circularDependencyChains = {cycle};
  return graph;
}

// The text of the page's data element.
std::string dataText(const std::string& page) {
  constexpr std::string_view kOpen = "<script type=\"application/json\" id=\"viewer-data\">";
  const auto start = page.find(kOpen);
  EXPECT_NE(start, std::string::npos);
  const auto end = page.find("</script>", start);
  return page.substr(start + kOpen.size(), end - start - kOpen.size());
}

TEST(ViewerPageTest, NamesNeverReachTheMarkupRawAndEveryFigureIsEmbedded) {
  const DependencyGraph graph = awkwardGraph();
  ViewerOptions options;
  options.title = "<b>Shop & \"Co\"</b>";
  options.dashboardSummaryJson = R"({"note": "</script><script>alert(2)</script>"})";
  std::string page = renderViewerPage(graph, graph.analysis, options);

  // Names and texts reach the data element only with markup characters and line separators as
  // JSON escapes, so the data reads back as the original texts; the title is HTML-escaped.
  EXPECT_EQ(page.find(kScriptName), std::string::npos);
  const std::string raw = dataText(page);
  EXPECT_EQ(raw.find_first_of("<>"), std::string::npos);
  EXPECT_EQ(raw.find("\u2028"), std::string::npos);
  EXPECT_NE(page.find("<title>&lt;b&gt;Shop &amp; &quot;Co&quot;&lt;/b&gt;</title>"),
            std::string::npos);
  json data = json::parse(raw);
  EXPECT_EQ(data["title"], options.title);
  EXPECT_EQ(data["nodes"], json(graph.nodes));
  EXPECT_EQ(data["edges"], json(graph.edges));
  EXPECT_EQ(data["dashboard"],
            (json{{"summary", *options.dashboardSummaryJson}, {"url", nullptr}}));
  EXPECT_TRUE(data["cycleAnalysis"].is_null());
  EXPECT_EQ(data["scopeColors"][0], json::array({"singleton", "#e1f5fe"}));

  // With every option given: the eight diagrams and the figures passed in.
  GraphAnalysis analysis = graph.analysis;
  analysis.maxDepth = 7;  // the page shows the analysis it is given, not the graph's
  options = ViewerOptions{};
  options.treeMaxDepth = 2;
  options.cycleAnalysis = CircularDependencyAnalysis{1, 1, 0, 0, 3, 3, {}, {"Fix it"}};
  options.measured["Logger"] = ServiceStatistics{"Logger", 4, 3, 0.25, std::nullopt};
  options.criticalPaths = {CriticalPath{
      "critical_path_0", "Critical Path 1", {"A", "B", "C", "D"}, 4, PerformanceImpact::high, {}}};
  options.dashboardUrl = "http://127.0.0.1:8080/base";
  page = renderViewerPage(graph, analysis, options);
  data = json::parse(dataText(page));

  // In the order of the enumeration; `generate` itself is checked against fixed texts.
  const std::vector<std::string> types{"mermaid", "graphviz",     "json",     "tree",
                                       "network", "hierarchical", "circular", "layered"};
  ASSERT_EQ(data["diagrams"].size(), types.size());
  for (std::size_t i = 0; i < types.size(); ++i) {
    EXPECT_EQ(data["diagrams"][i]["type"], types[i]);
    EXPECT_EQ(
        data["diagrams"][i]["text"],
        DiagramGenerators::generate(*fromString<VisualizationType>(types[i]), graph, analysis, 2))
        << types[i];
  }
  EXPECT_EQ(data["analysis"]["maxDepth"], 7);
  EXPECT_EQ(data["cycleAnalysis"]["recommendations"], json::array({"Fix it"}));
  EXPECT_EQ(data["measured"]["Logger"], json::parse(R"({"resolutionCount": 4, "cacheHits": 3,
                                       "latestResolutionTime": 0.25, "lastResolved": null})"));
  EXPECT_EQ(data["criticalPaths"][0]["nodes"], json::array({"A", "B", "C", "D"}));
  EXPECT_EQ(data["criticalPaths"][0]["impact"], "High");
  EXPECT_EQ(data["dashboard"]["url"], "http://127.0.0.1:8080/base");
  // The page may talk to the dashboard's origin and nowhere else.
  EXPECT_NE(page.find("connect-src http://127.0.0.1:8080\""), std::string::npos);

  for (const char* refused : {"javascript:alert(1)", "http://host\" onload=\"x"}) {
    options.dashboardUrl = refused;
    EXPECT_NE(renderViewerPage(graph, analysis, options).find("connect-src 'none'\""),
              std::string::npos)
        << refused;
  }
}

class RenderViewerTest : public testing::AsyncTest {};

TEST_F(RenderViewerTest, AddsTheContainersOwnFigures) {
  using namespace sample;
  auto c = makeContainer();
  LineRecorder quiet;
  c->registerAsync<UserViewModel>(DependencyScope::lazy, resolving<UserViewModel, LoadUserUseCase>);
  c->registerAsync<LoadUserUseCase>(DependencyScope::transient,
                                    resolving<LoadUserUseCase, UserRepository>);
  c->registerAsync<UserRepository>(DependencyScope::singleton, resolving<UserRepository, UserAPI>);
  c->registerSync<UserAPI>(DependencyScope::singleton, makeNow<UserAPI>);
  (void)run(c->resolve<UserViewModel>());
  (void)run(c->resolve<UserAPI>());  // a second resolution: served from the cache

  DependencyVisualizer visualizer(
      c, VisualizationConfig{VisualizationType::tree, OutputFormat::html, true, true, true, true,
                             true, true, 1, true, false, false});
  const json data = json::parse(dataText(run(visualizer.renderViewer({}))));

  EXPECT_EQ(data["measured"].size(), 4U);
  EXPECT_EQ(data["measured"]["UserAPI"]["resolutionCount"], 2);
  EXPECT_EQ(data["measured"]["UserAPI"]["cacheHits"], 1);
  EXPECT_EQ(data["measured"]["UserViewModel"]["resolutionCount"], 1);
  EXPECT_TRUE(data["measured"]["UserViewModel"]["latestResolutionTime"].is_number());
  EXPECT_EQ(data["cycleAnalysis"]["recommendations"],
            json::array({"No circular dependencies found. Great job!"}));
  ASSERT_EQ(data["criticalPaths"].size(), 1U);
  EXPECT_EQ(data["criticalPaths"][0]["nodes"],
            json::array({"UserViewModel", "LoadUserUseCase", "UserRepository", "UserAPI"}));
  EXPECT_FALSE(data["clusters"].empty());
  // The tree uses the viewer's depth limit (5 by default), not the configuration's 1.
  EXPECT_NE(data["diagrams"][3]["text"].get<std::string>().find("      └─ UserAPI (singleton)"),
            std::string::npos);
}

}  // namespace
}  // namespace tavreldi
