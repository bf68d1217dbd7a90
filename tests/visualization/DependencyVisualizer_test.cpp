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

VisualizationConfig configFor(VisualizationType type, std::int64_t maxDepth) {
  return VisualizationConfig{
      type, OutputFormat::mermaid, true, true, true, true, true, false, maxDepth, true, true, true};
}

using DependencyVisualizerTest = testing::AsyncTest;

// The generators' own dispatch (`DiagramGenerators::generate`) is checked against fixed texts
// with the generators, so it serves as the expected text here.
TEST_F(DependencyVisualizerTest, RendersTheConfiguredOrGivenTypeAndReportsProgress) {
  // UserRepository -> UserAPI -> Logger: one root, three layers, so the tree's depth limit shows.
  auto container = makeContainer();
  testing::registerName(*container, "UserRepository", DependencyScope::singleton);
  testing::registerName(*container, "UserAPI", DependencyScope::scoped);
  testing::registerName(*container, "Logger");
  testing::observe(*container, "UserRepository", {"UserAPI"});
  testing::observe(*container, "UserAPI", {"Logger"});
  const DependencyGraph current = run(container->getDependencyGraph());
  ASSERT_EQ(current.nodes.size(), 3U);
  Steps steps;
  Progress progress(100, [&](std::int64_t completed, std::int64_t) { steps.push_back(completed); });
  // Configured for JSON, so a text of another type shows that the given type was used.
  DependencyVisualizer given(container, configFor(VT::json, 2));
  // Three nodes, then two edges: 0, the floors of 50/3, 100/3, 150/3, then 75, 100, and 100.
  const Steps perItem{0, 16, 33, 50, 75, 100, 100};
  for (const auto type : allCases<VisualizationType>()) {
    if (type == VT::json) continue;
    SCOPED_TRACE(toString(type));
    const std::string text = G::generate(type, current, current.analysis, 2);
    DependencyVisualizer configured(container, configFor(type, 2));
    EXPECT_EQ(run(configured.visualize()), text);
    steps.clear();
    EXPECT_EQ(run(given.visualizeAsync(type, &progress)), text);
    EXPECT_EQ(steps, (type == VT::mermaid || type == VT::graphviz ? perItem : Steps{50, 100}));
    EXPECT_EQ(run(given.visualizeAsync(type, nullptr)), text);
  }
  // An empty graph goes straight from 0 to 100.
  steps.clear();
  EXPECT_EQ(run(G::generateMermaidAsync({}, &progress)), "graph TD\n");
  EXPECT_EQ(steps, (Steps{0, 100}));
  // The depth limit shows in this graph's tree, so the tree above used the configured limit.
  EXPECT_NE(G::generateTreeVisualization(current, 6), G::generateTreeVisualization(current, 2));

  // The JSON metadata carries timings, so only the nodes, edges and metadata keys are compared.
  steps.clear();
  const std::string jsonAsync = run(given.visualizeAsync(VT::json, &progress));
  EXPECT_EQ(steps, (Steps{30, 80, 100}));
  const auto expected = nlohmann::json::parse(G::generate(VT::json, current, current.analysis, 2));
  // Each build stamps its records with its own time, which may lie in the next second.
  const auto untimed = [](nlohmann::json records) {
    for (auto& record : records) {
      if (record.contains("metadata")) record["metadata"].erase("created_at");
    }
    return records;
  };
  for (const std::string& text : {run(given.visualize()), jsonAsync}) {
    const auto data = nlohmann::json::parse(text);
    EXPECT_EQ(untimed(data["nodes"]), untimed(expected["nodes"]));
    EXPECT_EQ(untimed(data["edges"]), untimed(expected["edges"]));
    EXPECT_EQ(data["metadata"].size(), 7U);
  }
}

}  // namespace
}  // namespace tavreldi
