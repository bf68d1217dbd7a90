#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <nlohmann/json.hpp>
#include <random>
#include <set>
#include <string>
#include <tuple>
#include <vector>

#include "support/AsyncTest.hpp"
#include "support/GraphFixture.hpp"
#include "support/SampleServices.hpp"
#include "tavreldi/graph/CriticalPaths.hpp"

namespace tavreldi {
namespace {

using Names = std::vector<std::string>;
using Nodes = std::vector<DependencyNode>;
using Edges = std::vector<DependencyEdge>;
using testing::edge;

class GraphMetrics : public testing::AsyncTest {};

DependencyNode node(std::string id, std::int64_t layer = 0,
                    ComplexityLevel complexity = ComplexityLevel::low, std::size_t deps = 0) {
  DependencyNode n =
      testing::node(std::move(id), DependencyScope::singleton, Names(deps, "X"), layer);
  n.complexity = complexity;
  return n;
}

Nodes nodes(int count) {
  Nodes out;
  for (int i = 0; i < count; ++i) out.push_back(node("N" + std::to_string(i)));
  return out;
}

// The literal longest-path search: the excluded set is copied into every branch.
Names literalLongest(const std::string& n, std::set<std::string> excluded, const Edges& edges) {
  if (excluded.contains(n)) return {n};
  excluded.insert(n);
  Names best;
  for (const auto& e : edges) {
    if (e.from != n) continue;
    Names path = literalLongest(e.to.str(), excluded, edges);
    if (path.size() > best.size()) best = std::move(path);
  }
  best.insert(best.begin(), n);
  return best;
}

std::vector<Names> literalCriticalPaths(const Nodes& ns, const Edges& edges) {
  std::vector<Names> kept;
  for (const auto& n : ns) {
    Names path = literalLongest(n.id.str(), {}, edges);
    if (path.size() >= 4) kept.push_back(std::move(path));
  }
  std::stable_sort(kept.begin(), kept.end(),
                   [](const Names& a, const Names& b) { return a.size() > b.size(); });
  if (kept.size() > 5) kept.resize(5);
  return kept;
}

// The whole analysis of an empty graph, which also pins the analysis's JSON keys and kinds.
TEST_F(GraphMetrics, EmptyGraphFigures) {
  auto c = makeContainer();
  GraphAnalysis a = run(c->analyzeDependencyGraph());
  // Measured figures aside, the ratios of an empty graph are settled values (no division by
  // zero); the health score's overall is (1 + 1 + 0 + 0.8 + 0.9 + 0.85) / 6.
  EXPECT_GT(a.analysisTime, 0);
  EXPECT_GT(a.memoryUsage, 0);
  EXPECT_GT(a.performanceMetrics.totalMemoryFootprint, 0);
  a.analysisTime = a.memoryUsage = a.performanceMetrics.totalMemoryFootprint = 0;
  EXPECT_EQ(
      nlohmann::json(a).dump(),
      R"({"analysisTime":0.0,"architectureMetrics":{"architectureCompliance":1.0,)"
      R"("dependencyInversionViolations":0,"interfaceSegregationViolations":0,"layerViolations":0,)"
      R"("liskovSubstitutionViolations":0,"openClosedViolations":0,)"
      R"("singleResponsibilityViolations":0},"cacheEfficiency":0.0,"circularDependencyChains":[],)"
      R"("complexityMetrics":{"abstractness":0.5,"cohesionScore":0.7,"couplingScore":0.0,)"
      R"("cyclomaticComplexity":2,"distanceFromMainSequence":0.5,"fanIn":0,"fanOut":0,)"
      R"("instability":0.0},"hasCircularDependencies":false,"healthScore":{"maintainability":1.0,)"
      R"("overall":0.7583333333333333,"performance":1.0,"reliability":0.85,"scalability":0.8,)"
      R"("security":0.9,"testability":0.0},"isComplete":true,"maxDepth":0,"memoryUsage":0.0,)"
      R"("performanceMetrics":{"averageResolutionTime":0.0,"bottleneckNodes":[],)"
      R"("cacheHitRate":0.0,"fastestResolution":0.0,"performanceTrend":"stable",)"
      R"("slowestResolution":0.0,"totalMemoryFootprint":0.0},"recommendations":[],)"
      R"("totalDependencies":0,"totalNodes":0})");
  EXPECT_TRUE(c->createNodeClusters({}).empty() && c->createCriticalPaths({}, {}).empty());
}

TEST_F(GraphMetrics, ComplexityScoreAndArchitecture) {
  auto c = makeContainer();
  const Edges three{edge("N0", "N1"), edge("N1", "N2"), edge("N2", "N3")};
  const auto m = c->createComplexityMetrics(nodes(10), three);
  EXPECT_EQ(m.cyclomaticComplexity, 0);  // 3 − 10 + 2 is negative
  EXPECT_DOUBLE_EQ(m.couplingScore, 0.3);
  EXPECT_EQ(std::tie(m.fanIn, m.fanOut), std::tuple(3, 3));
  EXPECT_DOUBLE_EQ(m.instability, 0.3);
  EXPECT_DOUBLE_EQ(m.distanceFromMainSequence, 0.2);

  const Edges four{edge("N0", "N1"), edge("N1", "N0"), edge("N0", "N0"), edge("N1", "N1")};
  EXPECT_DOUBLE_EQ(c->calculateComplexityScore(nodes(2), four), 0.8);
  EXPECT_DOUBLE_EQ(c->createHealthScore(nodes(2), four).performance, 1 - 0.8);
  const Edges five(5, edge("N0", "N0"));
  EXPECT_EQ(c->calculateComplexityScore(nodes(1), five), 1);  // capped
  // 0.4 × 2/4 + 0.4 × 1/2 + 0.2 × 1/4, with one circular edge and one high node.
  Nodes mixed = nodes(4);
  mixed[3].complexity = ComplexityLevel::high;
  const Edges two{edge("N0", "N1", true), edge("N1", "N2")};
  EXPECT_DOUBLE_EQ(c->calculateComplexityScore(mixed, two), 0.45);
  EXPECT_EQ(c->createHealthScore(mixed, two).maintainability, 0);

  // Logger (0) → UserRepository (2) and Missing (0) → UserAPI (1) go up a layer; a repository
  // using an API does not. One node has six dependencies.
  const Nodes layered{node("UserRepository", 2), node("UserAPI", 1), node("Logger", 0),
                      node("Busy", 0, ComplexityLevel::high, 6)};
  const Edges edges{edge("UserRepository", "UserAPI"), edge("Logger", "UserRepository"),
                    edge("Logger", "Nowhere"), edge("Missing", "UserAPI")};
  EXPECT_EQ(nlohmann::json(c->createArchitectureMetrics(layered, edges)).dump(),
            R"({"architectureCompliance":0.25,"dependencyInversionViolations":0,)"
            R"("interfaceSegregationViolations":0,"layerViolations":2,)"
            R"("liskovSubstitutionViolations":0,"openClosedViolations":0,)"
            R"("singleResponsibilityViolations":1})");
  const Edges upward(3, edge("Logger", "UserAPI"));
  EXPECT_EQ(c->createArchitectureMetrics({node("Logger"), node("UserAPI", 1)}, upward)
                .architectureCompliance,
            0);
}

TEST_F(GraphMetrics, RecommendationsClustersAndPerformance) {
  auto c = makeContainer();
  Nodes ns{node("A"), node("B", 0, ComplexityLevel::high), node("C", 0, ComplexityLevel::critical),
           node("D", 0, ComplexityLevel::high)};
  const Edges edges{edge("A", "B"), edge("B", "C", true), edge("C", "B", true),
                    edge("D", "D", true)};
  EXPECT_EQ(
      c->createRecommendations(ns, edges),
      (std::vector<Recommendation>{
          {RecommendationType::architecture, RecommendationPriority::high,
           "Resolve Circular Dependencies", "Found 3 circular dependencies that should be resolved",
           Names{"B", "C", "D"}, "High", EffortLevel::medium},
          {RecommendationType::maintainability, RecommendationPriority::medium,
           "Reduce Node Complexity", "Found 2 nodes with high complexity", Names{"B", "D"},
           "Medium", EffortLevel::high}}));

  ns[0].category = NodeCategory::data;
  ns[0].position = {100, 100};
  ns[1].category = NodeCategory::networking;
  ns[2].category = NodeCategory::data;
  ns[2].position = {400, 200};
  ns[3].category = NodeCategory::unknown;
  const auto clusters = c->createNodeClusters(ns);
  ASSERT_EQ(clusters.size(), 3u);
  const NodeCluster& data = clusters[0];
  EXPECT_EQ(
      std::tie(data.id, data.name, data.nodes, data.center, data.radius, data.color),
      std::tuple("Data_cluster", "Data Cluster", Names{"A", "C"}, Point{250, 150}, 100, "#3498db"));
  EXPECT_EQ(data.metadata, (std::map<std::string, std::string>{{"category", "Data"}}));
  EXPECT_EQ(clusters[1].id, "Networking_cluster");
  EXPECT_EQ(clusters[2].name, "Unknown Cluster");

  const double times[] = {0.001, 0.001, 0.001, 0.01};
  for (int i = 0; i < 4; ++i) {
    ns[i].performanceMetrics.resolutionTime = times[i];
    ns[i].performanceMetrics.cacheHitRate = 0.7 + 0.1 * i;
  }
  const auto p = c->createGraphPerformanceMetrics(ns);
  EXPECT_DOUBLE_EQ(p.averageResolutionTime, 0.00325);
  EXPECT_EQ(std::tie(p.slowestResolution, p.fastestResolution), std::tuple(0.01, 0.001));
  EXPECT_DOUBLE_EQ(p.cacheHitRate, 0.85);
  EXPECT_EQ(p.bottleneckNodes, Names{"D"});  // 0.01 > 2 × 0.00325
}

TEST_F(GraphMetrics, CriticalPaths) {
  auto c = makeContainer();
  // Chains of 5 from A and Q, of 4 from F (the cycle cut where it meets the path) and B. The
  // paths themselves are compared with the literal search on random graphs below.
  const Nodes ns{node("F"), node("A"), node("B"), node("Q")};
  const Edges edges{edge("A", "B"), edge("B", "C"), edge("C", "D"), edge("D", "E"), edge("F", "G"),
                    edge("G", "H"), edge("H", "F"), edge("H", "I"), edge("Q", "B")};
  const auto paths = c->createCriticalPaths(ns, edges);
  ASSERT_EQ(paths.size(), 4u);
  EXPECT_EQ(std::tie(paths[1].id, paths[1].name), std::tuple("critical_path_1", "Critical Path 2"));
  EXPECT_EQ(paths[3].impact, PerformanceImpact::high);
  EXPECT_EQ(paths[3].metadata, (std::map<std::string, std::string>{{"type", "dependency_chain"}}));

  // Random small graphs, cyclic ones and targets that are not nodes included.
  std::mt19937 rng(7);
  for (int round = 0; round < 400; ++round) {
    const int n = 1 + static_cast<int>(rng() % 8);
    Nodes random = nodes(n);
    Edges randomEdges;
    const int e = static_cast<int>(rng() % 20);
    const auto name = [&] {
      const int i = static_cast<int>(rng() % (n + 2));
      return i < n ? "N" + std::to_string(i) : "X" + std::to_string(i - n);
    };
    for (int i = 0; i < e; ++i) randomEdges.push_back(edge(name(), name()));
    const auto expected = literalCriticalPaths(random, randomEdges);
    const auto actual = c->createCriticalPaths(random, randomEdges);
    EXPECT_EQ(findCriticalPaths(random, randomEdges).boundedSearches, 0) << round;
    ASSERT_EQ(actual.size(), expected.size()) << round;
    for (std::size_t i = 0; i < actual.size(); ++i) {
      EXPECT_EQ(actual[i].nodes, expected[i]) << round;
      EXPECT_EQ(actual[i].length, static_cast<std::int64_t>(expected[i].size()));
    }
  }

  // Dense cycles: a both-ways complete bipartite graph of 3 and 5 names has exponentially many
  // paths. A small step budget cuts every search short, deterministically, with the longest
  // path found; with no steps at all a path is its name alone.
  Nodes bipartite;
  Edges bothWays;
  for (int a = 0; a < 3; ++a) {
    for (int b = 0; b < 5; ++b) {
      bothWays.push_back(edge("A" + std::to_string(a), "B" + std::to_string(b)));
      bothWays.push_back(edge("B" + std::to_string(b), "A" + std::to_string(a)));
    }
    bipartite.push_back(node("A" + std::to_string(a)));
  }
  const auto bounded = findCriticalPaths(bipartite, bothWays, {4, 1000});
  EXPECT_EQ(bounded.boundedSearches, 8);
  ASSERT_EQ(bounded.paths.size(), 3u);
  EXPECT_EQ(bounded.paths[0].nodes, (Names{"A0", "B0", "A1", "B1", "A2", "B2", "A0"}));
  EXPECT_EQ(findCriticalPaths(bipartite, bothWays).paths[0].nodes, bounded.paths[0].nodes);
  EXPECT_EQ(findCriticalPaths(bipartite, bothWays).boundedSearches, 0);
  const auto spent = findCriticalPaths(bipartite, bothWays, {1000, 0});
  EXPECT_EQ(std::tuple(spent.paths.size(), spent.boundedSearches), std::tuple(0u, 8));

  // A 100,000-long chain is followed without recursion.
  Nodes chain;
  Edges chainEdges;
  for (int i = 0; i < 100000; ++i) {
    chain.push_back(node("N" + std::to_string(i)));
    if (i > 0) chainEdges.push_back(edge(chain[i - 1].id.str(), chain[i].id.str()));
  }
  const auto chainPaths = c->createCriticalPaths(chain, chainEdges);
  ASSERT_EQ(chainPaths.size(), 5u);
  EXPECT_EQ(chainPaths[0].length, 100000);
  EXPECT_EQ(chainPaths[4].nodes.front(), "N4");
}

// A sample app and one cycle, registered and resolved for real (cycle detection off so that
// the closing edge is recorded).
TEST_F(GraphMetrics, EndToEndAnalysisOfAResolvedApp) {
  using namespace sample;
  auto c = makeContainer(DIContainerConfig(2, false, true, true, true));
  c->registerAsync<UserViewModel>(DependencyScope::lazy, resolving<UserViewModel, LoadUserUseCase>);
  c->registerAsync<LoadUserUseCase>(DependencyScope::transient,
                                    resolving<LoadUserUseCase, UserRepository>);
  c->registerAsync<UserRepository>(DependencyScope::scoped, resolving<UserRepository, UserAPI>);
  c->registerAsync<UserAPI>(DependencyScope::singleton, resolving<UserAPI, Logger>);
  c->registerSync<Logger>(DependencyScope::transient, makeNow<Logger>);
  int visits = 0;
  c->registerAsync<CycleA>(
      DependencyScope::singleton,
      [&visits](AdvancedDIContainer& c) -> asio::awaitable<std::shared_ptr<CycleA>> {
        if (++visits == 1) (void)co_await c.resolve<CycleB>();
        co_return std::make_shared<CycleA>();
      });
  c->registerAsync<CycleB>(DependencyScope::transient,
                           [](AdvancedDIContainer& c) -> asio::awaitable<std::shared_ptr<CycleB>> {
                             (void)co_await c.resolve<CycleA>();
                             co_return std::make_shared<CycleB>();
                           });
  (void)run(c->resolve<UserViewModel>());
  (void)run(c->resolve<CycleA>());
  (void)run(c->resolve<UserViewModel>());  // lazy: served from the cache
  // Resolutions: 5 along the app, CycleA twice, CycleB once, the view model again: 9; 1 hit.

  const DependencyGraph g = run(c->getDependencyGraph());
  const Names ids{"UserViewModel", "LoadUserUseCase", "UserRepository", "UserAPI",
                  "Logger",        "CycleA",          "CycleB"};
  ASSERT_EQ(g.nodes.size(), ids.size());
  for (std::size_t i = 0; i < ids.size(); ++i) EXPECT_EQ(g.nodes[i].id, ids[i]);
  ASSERT_EQ(g.edges.size(), 6u);
  EXPECT_EQ(g.edges[4].from + ">" + g.edges[4].to, "CycleA>CycleB");
  EXPECT_EQ(g.edges[5].from + ">" + g.edges[5].to, "CycleB>CycleA");

  const GraphAnalysis& a = g.analysis;
  EXPECT_TRUE(a.hasCircularDependencies);
  EXPECT_EQ(a.circularDependencyChains, (std::vector<Names>{{"CycleA", "CycleB"}}));
  // Seven nodes, six edges, and UserViewModel down to Logger is the deepest.
  EXPECT_EQ(std::tie(a.totalNodes, a.totalDependencies, a.maxDepth), std::tuple(7, 6, 4));
  EXPECT_DOUBLE_EQ(a.cacheEfficiency, 100.0 / 9);
  EXPECT_DOUBLE_EQ(a.complexityMetrics.couplingScore, 6.0 / 7);
  // The performance figures are those of this graph's own nodes.
  double sum = 0;
  for (const auto& n : g.nodes) sum += n.performanceMetrics.resolutionTime;
  EXPECT_DOUBLE_EQ(a.performanceMetrics.averageResolutionTime, sum / 7);
  // The health score counts this container's resolutions.
  const double score = 0.4 * 6 / 7 + 0.4 * 2 / 6;
  EXPECT_DOUBLE_EQ(a.healthScore.testability, 100.0 / 9);
  EXPECT_DOUBLE_EQ(a.healthScore.overall, (1 - score + 100.0 / 9 + 0.8 + 0.9 + 0.85) / 6);

  // The two analysis entry points agree with the graph's own analysis.
  for (const GraphAnalysis& again :
       {run(c->analyzeDependencyGraph()), run(c->analyzeDependencyGraphWithMetrics())}) {
    EXPECT_EQ(again.circularDependencyChains, a.circularDependencyChains);
    EXPECT_EQ(again.maxDepth, 4);
    EXPECT_DOUBLE_EQ(again.healthScore.testability, 100.0 / 9);
    EXPECT_EQ(again.recommendations, a.recommendations);
  }
}

}  // namespace
}  // namespace tavreldi
