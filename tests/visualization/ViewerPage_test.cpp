#include "tavreldi/visualization/ViewerPage.hpp"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <string>
#include <string_view>

#include "support/AsyncTest.hpp"
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

DependencyNode makeNode(std::string_view id, DependencyScope scope, std::int64_t layer,
                        std::vector<std::string> dependencies, bool circular) {
  DependencyNode node;
  node.id = std::string(id);
  node.scope = scope;
  node.layer = layer;
  node.dependencies = std::move(dependencies);
  node.isCircular = circular;
  node.metadata = {{"note", "a & b <i>"}};
  node.tags = {"repository"};
  return node;
}

DependencyEdge makeEdge(std::string_view from, std::string_view to, bool circular) {
  DependencyEdge edge;
  edge.from = std::string(from);
  edge.to = std::string(to);
  edge.relationship = "uses";
  edge.isCircular = circular;
  return edge;
}

// Three awkward names in a cycle, plus one plain node.
DependencyGraph awkwardGraph() {
  DependencyGraph graph;
  graph.nodes = {
      makeNode(kScriptName, DependencyScope::singleton, 0, {std::string(kTemplateName)}, true),
      makeNode(kTemplateName, DependencyScope::scoped, 2, {kSeparatorName}, true),
      makeNode(kSeparatorName, DependencyScope::lazy, 0, {std::string(kScriptName)}, true),
      makeNode("Logger", DependencyScope::transient, 0, {}, false)};
  graph.edges = {makeEdge(kScriptName, kTemplateName, true),
                 makeEdge(kTemplateName, kSeparatorName, true),
                 makeEdge(kSeparatorName, kScriptName, true)};
  graph.analysis.totalNodes = 4;
  graph.analysis.totalDependencies = 3;
  graph.analysis.hasCircularDependencies = true;
  graph.analysis.circularDependencyChains = {
      {std::string(kScriptName), std::string(kTemplateName), kSeparatorName}};
  return graph;
}

std::size_t count(std::string_view text, std::string_view part) {
  std::size_t n = 0;
  for (auto at = text.find(part); at != std::string_view::npos; at = text.find(part, at + 1)) ++n;
  return n;
}

// The JSON document of the page's data element.
json pageData(const std::string& page) {
  constexpr std::string_view kOpen = "<script type=\"application/json\" id=\"viewer-data\">";
  const auto start = page.find(kOpen);
  EXPECT_NE(start, std::string::npos);
  const auto end = page.find("</script>", start);
  return json::parse(page.substr(start + kOpen.size(), end - start - kOpen.size()));
}

TEST(ViewerPageTest, NamesNeverReachTheMarkupRawAndEveryFigureIsEmbedded) {
  const DependencyGraph graph = awkwardGraph();
  ViewerOptions options;
  options.title = "<b>Shop & \"Co\"</b>";
  options.dashboardSummaryJson = R"({"note": "</script><script>alert(2)</script>"})";
  std::string page = renderViewerPage(graph, graph.analysis, options);

  EXPECT_EQ(page.find(kScriptName), std::string::npos);
  EXPECT_EQ(page.find(kTemplateName), std::string::npos);
  EXPECT_EQ(page.find("<img"), std::string::npos);
  EXPECT_EQ(page.find("alert(2)</script>"), std::string::npos);
  EXPECT_EQ(page.find("\u2028"), std::string::npos);
  // Only the page's own two script elements open and close.
  EXPECT_EQ(count(page, "<script"), 2U);
  EXPECT_EQ(count(page, "</script>"), 2U);
  EXPECT_NE(page.find("<title>&lt;b&gt;Shop &amp; &quot;Co&quot;&lt;/b&gt;</title>"),
            std::string::npos);
  EXPECT_NE(page.find(R"(Repository\u003cUser\u003e)"), std::string::npos);
  EXPECT_NE(page.find(R"(Line\u2028Break)"), std::string::npos);

  // The escapes are JSON escapes: the data reads back as the original texts.
  json data = pageData(page);
  EXPECT_EQ(data["title"], options.title);
  ASSERT_EQ(data["nodes"].size(), 4U);
  EXPECT_EQ(data["nodes"][0]["id"], kScriptName);
  EXPECT_EQ(data["nodes"][1]["id"], kTemplateName);
  EXPECT_EQ(data["nodes"][2]["id"], kSeparatorName);
  EXPECT_EQ(data["nodes"][0]["metadata"]["note"], "a & b <i>");
  EXPECT_EQ(data["edges"][2]["to"], kScriptName);
  EXPECT_EQ(data["dashboard"]["summary"], *options.dashboardSummaryJson);
  EXPECT_TRUE(data["dashboard"]["url"].is_null());
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
  options.dashboardSummaryJson = "{}";
  options.dashboardUrl = "http://127.0.0.1:8080/base";
  page = renderViewerPage(graph, analysis, options);
  data = pageData(page);

  const std::vector<std::pair<std::string, std::string>> expected = {
      {"mermaid", DiagramGenerators::generateMermaid(graph)},
      {"graphviz", DiagramGenerators::generateGraphviz(graph)},
      {"json", DiagramGenerators::generateJSONVisualization(graph, analysis)},
      {"tree", DiagramGenerators::generateTreeVisualization(graph, 2)},
      {"network", DiagramGenerators::generateNetworkVisualization(graph)},
      {"hierarchical", DiagramGenerators::generateHierarchicalVisualization(graph)},
      {"circular", DiagramGenerators::generateCircularVisualization(graph)},
      {"layered", DiagramGenerators::generateLayeredVisualization(graph)}};
  ASSERT_EQ(data["diagrams"].size(), expected.size());
  for (std::size_t i = 0; i < expected.size(); ++i) {
    EXPECT_EQ(data["diagrams"][i]["type"], expected[i].first);
    EXPECT_EQ(data["diagrams"][i]["text"], expected[i].second) << expected[i].first;
  }
  EXPECT_EQ(data["analysis"]["maxDepth"], 7);
  EXPECT_EQ(data["cycleAnalysis"]["recommendations"], json::array({"Fix it"}));
  EXPECT_EQ(data["measured"]["Logger"], (json{{"resolutionCount", 4},
                                              {"cacheHits", 3},
                                              {"latestResolutionTime", 0.25},
                                              {"lastResolved", nullptr}}));
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

// Registers T with a factory that resolves D and wraps it.
template <class T, class D>
void registerWrapping(AdvancedDIContainerImpl& c, DependencyScope scope) {
  c.registerAsync<T>(scope, [](AdvancedDIContainer& c) -> asio::awaitable<std::shared_ptr<T>> {
    auto dependency = co_await c.resolve<D>();
    co_return std::make_shared<T>(T{dependency});
  });
}

TEST_F(RenderViewerTest, AddsTheContainersOwnFigures) {
  using namespace sample;
  auto container = makeContainer();
  LineRecorder quiet;
  registerWrapping<UserViewModel, LoadUserUseCase>(*container, DependencyScope::lazy);
  registerWrapping<LoadUserUseCase, UserRepository>(*container, DependencyScope::transient);
  registerWrapping<UserRepository, UserAPI>(*container, DependencyScope::singleton);
  container->registerSync<UserAPI>(
      DependencyScope::singleton, [](AdvancedDIContainer&) { return std::make_shared<UserAPI>(); });
  (void)run(container->resolve<UserViewModel>());
  (void)run(container->resolve<UserAPI>());  // a second resolution: served from the cache

  DependencyVisualizer visualizer(
      container, VisualizationConfig{VisualizationType::tree, OutputFormat::html, true, true, true,
                                     true, true, true, 1, true, false, false});
  ViewerOptions options;
  options.title = "Sample";
  const json data = pageData(run(visualizer.renderViewer(options)));

  ASSERT_EQ(data["nodes"].size(), 4U);
  EXPECT_EQ(data["measured"].size(), 4U);
  EXPECT_EQ(data["measured"]["UserAPI"]["resolutionCount"], 2);
  EXPECT_EQ(data["measured"]["UserAPI"]["cacheHits"], 1);
  EXPECT_EQ(data["measured"]["UserViewModel"]["resolutionCount"], 1);
  EXPECT_TRUE(data["measured"]["UserViewModel"]["latestResolutionTime"].is_number());
  EXPECT_EQ(data["cycleAnalysis"]["totalCycles"], 0);
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
