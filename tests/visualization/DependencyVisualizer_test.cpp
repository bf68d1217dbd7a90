#include "tavreldi/visualization/DependencyVisualizer.hpp"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "support/AsyncTest.hpp"
#include "support/GraphFixture.hpp"
#include "tavreldi/visualization/DiagramGenerators.hpp"

namespace tavreldi {
namespace {

using Steps = std::vector<std::int64_t>;
using VT = VisualizationType;
using G = DiagramGenerators;

VisualizationConfig configFor(VisualizationType type, std::int64_t maxDepth = 1) {
  return VisualizationConfig{
      type, OutputFormat::mermaid, true, true, true, true, true, false, maxDepth, true, true, true};
}

// The generator `visualize` must choose for each type whose text depends only on the graph's
// names, scopes, layers and flags (the JSON metadata carries timings, so it is checked apart).
std::string expectedText(VisualizationType type, const DependencyGraph& graph,
                         std::int64_t maxDepth) {
  switch (type) {
    case VT::mermaid:
      return G::generateMermaid(graph);
    case VT::graphviz:
      return G::generateGraphviz(graph);
    case VT::tree:
      return G::generateTreeVisualization(graph, maxDepth);
    case VT::network:
      return G::generateNetworkVisualization(graph);
    case VT::hierarchical:
      return G::generateHierarchicalVisualization(graph);
    case VT::circular:
      return G::generateCircularVisualization(graph);
    case VT::layered:
      return G::generateLayeredVisualization(graph);
    case VT::json:
      break;
  }
  ADD_FAILURE() << "no fixed text for json";
  return {};
}

class DependencyVisualizerTest : public testing::AsyncTest {
 protected:
  // UserRepository -> UserAPI -> Logger: one root, three layers, so the tree's depth limit shows.
  void SetUp() override {
    container = makeContainer();
    testing::registerName(*container, "UserRepository", DependencyScope::singleton);
    testing::registerName(*container, "UserAPI", DependencyScope::scoped);
    testing::registerName(*container, "Logger");
    testing::observe(*container, "UserRepository", {"UserAPI"});
    testing::observe(*container, "UserAPI", {"Logger"});
    current = run(container->getDependencyGraph());
    ASSERT_EQ(current.nodes.size(), 3U);
  }

  std::shared_ptr<AdvancedDIContainerImpl> container;
  DependencyGraph current;
};

TEST_F(DependencyVisualizerTest, VisualizeChoosesTheGeneratorByConfiguredType) {
  for (const auto type : allCases<VisualizationType>()) {
    if (type == VT::json) continue;
    DependencyVisualizer visualizer(container, configFor(type, 1));
    EXPECT_EQ(run(visualizer.visualize()), expectedText(type, current, 1)) << toString(type);
  }
  // The configured depth limit reaches the tree.
  DependencyVisualizer deep(container, configFor(VT::tree, 6));
  EXPECT_EQ(run(deep.visualize()), expectedText(VT::tree, current, 6));
  EXPECT_NE(expectedText(VT::tree, current, 6), expectedText(VT::tree, current, 1));

  DependencyVisualizer json(container, configFor(VT::json));
  const auto data = nlohmann::json::parse(run(json.visualize())).get<VisualizationData>();
  ASSERT_EQ(data.nodes.size(), current.nodes.size());
  for (std::size_t i = 0; i < data.nodes.size(); ++i) {
    EXPECT_EQ(data.nodes[i].id, current.nodes[i].id);
  }
  EXPECT_EQ(data.edges.size(), current.edges.size());
  EXPECT_EQ(data.metadata.size(), 7U);
}

TEST_F(DependencyVisualizerTest, VisualizeAsyncUsesTheGivenTypeAndReportsProgress) {
  Steps steps;
  Progress progress(100, [&](std::int64_t completed, std::int64_t) { steps.push_back(completed); });
  DependencyVisualizer visualizer(container, configFor(VT::mermaid, 2));

  for (const auto type : {VT::tree, VT::network, VT::hierarchical, VT::circular, VT::layered}) {
    steps.clear();
    EXPECT_EQ(run(visualizer.visualizeAsync(type, &progress)), expectedText(type, current, 2))
        << toString(type);
    EXPECT_EQ(steps, (Steps{50, 100})) << toString(type);
    EXPECT_EQ(run(visualizer.visualizeAsync(type, nullptr)), expectedText(type, current, 2));
  }

  for (const auto type : {VT::mermaid, VT::graphviz}) {
    steps.clear();
    EXPECT_EQ(run(visualizer.visualizeAsync(type, &progress)), expectedText(type, current, 2));
    ASSERT_GE(steps.size(), 2U);
    EXPECT_EQ(steps.front(), 0);
    EXPECT_EQ(steps.back(), 100);
    EXPECT_TRUE(std::is_sorted(steps.begin(), steps.end()));
  }

  steps.clear();
  const auto data = nlohmann::json::parse(run(visualizer.visualizeAsync(VT::json, &progress)))
                        .get<VisualizationData>();
  EXPECT_EQ(steps, (Steps{30, 80, 100}));
  EXPECT_EQ(data.nodes.size(), current.nodes.size());
  EXPECT_EQ(progress.completedUnitCount(), 100);
}

}  // namespace
}  // namespace tavreldi
