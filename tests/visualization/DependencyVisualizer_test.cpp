#include "tavreldi/visualization/DependencyVisualizer.hpp"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "support/AsyncTest.hpp"
#include "support/SampleServices.hpp"
#include "tavreldi/core/LineWriter.hpp"
#include "tavreldi/visualization/DiagramGenerators.hpp"

namespace tavreldi {
namespace {

using Steps = std::vector<std::int64_t>;
using VT = VisualizationType;

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
      return DiagramGenerators::generateMermaid(graph);
    case VT::graphviz:
      return DiagramGenerators::generateGraphviz(graph);
    case VT::tree:
      return DiagramGenerators::generateTreeVisualization(graph, maxDepth);
    case VT::network:
      return DiagramGenerators::generateNetworkVisualization(graph);
    case VT::hierarchical:
      return DiagramGenerators::generateHierarchicalVisualization(graph);
    case VT::circular:
      return DiagramGenerators::generateCircularVisualization(graph);
    case VT::layered:
      return DiagramGenerators::generateLayeredVisualization(graph);
    case VT::json:
      break;
  }
  ADD_FAILURE() << "no fixed text for json";
  return {};
}

class DependencyVisualizerTest : public testing::AsyncTest {
 protected:
  // UserRepository -> UserAPI -> Logger, resolved once so that the edges are observed.
  void SetUp() override {
    using namespace sample;
    container = makeContainer();
    LineRecorder quiet;
    container->registerAsync<UserRepository>(
        DependencyScope::singleton,
        [](AdvancedDIContainer& c) -> asio::awaitable<std::shared_ptr<UserRepository>> {
          auto api = co_await c.resolve<UserAPI>();
          co_return std::make_shared<UserRepository>(UserRepository{api});
        });
    container->registerAsync<UserAPI>(
        DependencyScope::scoped,
        [](AdvancedDIContainer& c) -> asio::awaitable<std::shared_ptr<UserAPI>> {
          auto logger = co_await c.resolve<Logger>();
          co_return std::make_shared<UserAPI>(UserAPI{logger});
        });
    container->registerSync<Logger>(DependencyScope::transient, [](AdvancedDIContainer&) {
      return std::make_shared<Logger>();
    });
    (void)run(container->resolve<UserRepository>());
  }

  std::string visualize(DependencyVisualizer& visualizer) {
    LineRecorder quiet;
    return run(visualizer.visualize());
  }
  std::string visualizeAsync(DependencyVisualizer& visualizer, VisualizationType type,
                             Progress* progress) {
    LineRecorder quiet;
    return run(visualizer.visualizeAsync(type, progress));
  }
  DependencyGraph graph() {
    LineRecorder quiet;
    return run(container->getDependencyGraph());
  }

  std::shared_ptr<AdvancedDIContainerImpl> container;
};

TEST_F(DependencyVisualizerTest, VisualizeChoosesTheGeneratorByConfiguredType) {
  const auto current = graph();
  for (const auto type : allCases<VisualizationType>()) {
    if (type == VT::json) continue;
    DependencyVisualizer visualizer(container, configFor(type, 1));
    EXPECT_EQ(visualize(visualizer), expectedText(type, current, 1)) << toString(type);
  }
  // The observed chain has the single root UserRepository, and one node per layer (Logger 0,
  // UserAPI 1, UserRepository 2 by their names).
  DependencyVisualizer tree(container, configFor(VT::tree, 1));
  EXPECT_EQ(visualize(tree),
            "Dependency Tree:\n================\n\n"
            "└─ UserRepository (singleton)\n  └─ ... (max depth reached)\n\n");
  DependencyVisualizer layers(container, configFor(VT::hierarchical));
  EXPECT_EQ(visualize(layers),
            "Hierarchical Structure:\n======================\n\n"
            "Layer 0:\n  - Logger (transient)\n\nLayer 1:\n  - UserAPI (scoped)\n\n"
            "Layer 2:\n  - UserRepository (singleton)\n\n");
  DependencyVisualizer deep(container, configFor(VT::tree, 6));
  EXPECT_EQ(visualize(deep), expectedText(VT::tree, current, 6));

  DependencyVisualizer json(container, configFor(VT::json));
  const auto data = nlohmann::json::parse(visualize(json)).get<VisualizationData>();
  ASSERT_EQ(data.nodes.size(), current.nodes.size());
  for (std::size_t i = 0; i < data.nodes.size(); ++i) {
    EXPECT_EQ(data.nodes[i].id, current.nodes[i].id);
  }
  EXPECT_EQ(data.edges.size(), current.edges.size());
  EXPECT_EQ(data.metadata.size(), 7U);
}

TEST_F(DependencyVisualizerTest, VisualizeAsyncUsesTheGivenTypeAndReportsProgress) {
  const auto current = graph();
  Steps steps;
  Progress progress(100, [&](std::int64_t completed, std::int64_t) { steps.push_back(completed); });
  DependencyVisualizer visualizer(container, configFor(VT::mermaid, 2));

  for (const auto type : {VT::tree, VT::network, VT::hierarchical, VT::circular, VT::layered}) {
    steps.clear();
    EXPECT_EQ(visualizeAsync(visualizer, type, &progress), expectedText(type, current, 2))
        << toString(type);
    EXPECT_EQ(steps, (Steps{50, 100})) << toString(type);
    EXPECT_EQ(visualizeAsync(visualizer, type, nullptr), expectedText(type, current, 2));
  }

  for (const auto type : {VT::mermaid, VT::graphviz}) {
    steps.clear();
    EXPECT_EQ(visualizeAsync(visualizer, type, &progress), expectedText(type, current, 2));
    ASSERT_GE(steps.size(), 2U);
    EXPECT_EQ(steps.front(), 0);
    EXPECT_EQ(steps.back(), 100);
    EXPECT_TRUE(std::is_sorted(steps.begin(), steps.end()));
  }

  steps.clear();
  const auto data = nlohmann::json::parse(visualizeAsync(visualizer, VT::json, &progress))
                        .get<VisualizationData>();
  EXPECT_EQ(steps, (Steps{30, 80, 100}));
  EXPECT_EQ(data.nodes.size(), current.nodes.size());
  EXPECT_EQ(progress.completedUnitCount(), 100);
}

}  // namespace
}  // namespace tavreldi
