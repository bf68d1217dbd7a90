#include "graph/detail/GraphBuilding.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdlib>
#include <functional>
#include <map>
#include <random>
#include <set>
#include <string>
#include <tuple>
#include <vector>

#include "support/AsyncTest.hpp"
#include "support/GraphFixture.hpp"
#include "tavreldi/core/LineWriter.hpp"

namespace tavreldi {
namespace {

using testing::observe;
using testing::registerName;
using Names = std::vector<std::string>;
using Cycles = std::vector<Names>;

class GraphBuilding : public testing::AsyncTest {};

// Ordered registry and dependency map, read by the straightforward recursive definitions below.
struct Model {
  Names registry;
  std::vector<std::pair<std::string, Names>> observed;  // in insertion order
  std::map<std::string, Names> declared;

  [[nodiscard]] Names deps(const std::string& name) const {
    for (const auto& [owner, set] : observed) {
      if (owner == name) return set;
    }
    return {};
  }
};

Cycles referenceCycles(const Model& m) {
  std::set<std::string> visited, onStack;
  Names path;
  Cycles cycles;
  std::function<void(const std::string&)> visit = [&](const std::string& n) {
    visited.insert(n);
    onStack.insert(n);
    path.push_back(n);
    for (const auto& d : m.deps(n)) {
      if (!visited.contains(d)) {
        visit(d);
      } else if (onStack.contains(d)) {
        cycles.emplace_back(std::find(path.begin(), path.end(), d), path.end());
      }
    }
    onStack.erase(n);
    path.pop_back();
  };
  for (const auto& name : m.registry) {
    if (!visited.contains(name)) {
      path.clear();
      visit(name);
    }
  }
  return cycles;
}

std::int64_t referenceDepth(const Model& m, const std::string& name) {
  std::set<std::string> visited;
  std::function<std::int64_t(const std::string&)> depth = [&](const std::string& n) {
    if (!visited.insert(n).second) return std::int64_t{0};
    const Names deps = m.deps(n);
    if (deps.empty()) return std::int64_t{0};
    std::int64_t best = 0;
    for (const auto& d : deps) best = std::max(best, depth(d));
    return 1 + best;
  };
  return depth(name);
}

bool referenceEdgeCircular(const Cycles& cycles, const std::string& f, const std::string& t) {
  for (const auto& cycle : cycles) {
    const auto p = std::find(cycle.begin(), cycle.end(), f) - cycle.begin();
    const auto q = std::find(cycle.begin(), cycle.end(), t) - cycle.begin();
    const auto last = static_cast<std::ptrdiff_t>(cycle.size()) - 1;
    if (p > last || q > last) continue;
    if (std::abs(p - q) == 1 || (p == 0 && q == last) || (q == 0 && p == last)) return true;
  }
  return false;
}

TEST_F(GraphBuilding, NodesAndEdgesFromRegistryAndObservations) {
  auto c = makeContainer();
  registerName(*c, "UserAPIService", DependencyScope::singleton);
  registerName(*c, "ProfileViewModel", DependencyScope::lazy, {"LoadProfileUseCase", "Ghost"});
  registerName(*c, "UserRepositoryAPI", DependencyScope::scoped);
  registerName(*c, "Logger");
  observe(*c, "ProfileViewModel", {"LoadProfileUseCase"});
  observe(*c, "UserRepository", {"UserAPI"});  // an owner that is not registered
  observe(*c, "Logger", {"A", "B", "C", "D", "E", "F"});
  const auto before = std::chrono::system_clock::now();
  const DependencyGraph graph = run(c->getDependencyGraph());

  ASSERT_EQ(graph.nodes.size(), 4u);
  // The naming rules' classification reaches the node; the metadata carries the build time.
  // (The scope, the tags and the observed dependencies are checked by the tests below.)
  const auto& api = graph.nodes[0];
  EXPECT_EQ(std::tie(api.layer, api.type, api.category),
            std::tuple(1, NodeType::service, NodeCategory::networking));
  EXPECT_GE(parseIso8601(api.metadata.at("created_at")).value(),
            std::chrono::floor<std::chrono::seconds>(before));
  // Complexity counts the observed dependencies (six), not the declared ones.
  EXPECT_EQ(graph.nodes[3].complexity, ComplexityLevel::high);
  // Four nodes: three columns.
  const std::vector<Point> positions{{100, 100}, {250, 100}, {400, 100}, {100, 200}};
  for (std::size_t i = 0; i < 4; ++i) {
    EXPECT_EQ(graph.nodes[i].position, positions[i]) << i;
    EXPECT_TRUE(graph.nodes[i].performanceMetrics.lastResolved.has_value());
  }

  // Observed edges first, then the declared ones ("Ghost" has no node): the list itself is
  // checked on random graphs below.
  ASSERT_EQ(graph.edges.size(), 9U);
  for (const auto& e : graph.edges) {
    EXPECT_EQ(e.relationship, "depends_on");
    EXPECT_EQ(e.direction, EdgeDirection::unidirectional);
  }
  const auto& flow = graph.edges[1];  // UserRepository -> UserAPI
  EXPECT_EQ(std::tie(flow.relationshipType, flow.strength, flow.performanceImpact),
            std::tuple(RelationshipType::dataFlow, RelationshipStrength::strong,
                       PerformanceImpact::high));
  EXPECT_EQ(flow.metadata.at("relationship_type"), "DataFlow");
}

// What a build derives is kept for the next one, which must show each kind of change: a name
// registered after being observed, a new observed dependency or name, a replaced registration.
TEST_F(GraphBuilding, EveryChangeShowsInTheNextBuild) {
  auto c = makeContainer();
  const auto check = [&](std::size_t nodes, std::int64_t maxDepth, std::int64_t violations,
                         const Cycles& cycles) {
    const auto g = run(c->getDependencyGraph());
    EXPECT_EQ(g.nodes.size(), nodes);
    EXPECT_EQ(g.analysis.maxDepth, maxDepth);
    EXPECT_EQ(g.analysis.architectureMetrics.layerViolations, violations);
    EXPECT_EQ(g.analysis.circularDependencyChains, cycles);
    EXPECT_EQ(c->findCircularDependencies(), cycles);
    EXPECT_EQ(c->analyzeCircularDependencies().totalCycles, std::ssize(cycles));
    return g;
  };
  registerName(*c, "UserAPI");
  observe(*c, "UserAPI", {"LoadUserUseCase"});
  check(1, 1, 0, {});  // the use case has no node yet: layer 0
  registerName(*c, "LoadUserUseCase");
  check(2, 1, 1, {});  // layer 1 depends on layer 3
  observe(*c, "LoadUserUseCase", {"UserAPI"});
  check(2, 2, 1, {{"UserAPI", "LoadUserUseCase"}});
  observe(*c, "LoadUserUseCase", {"Logger"});
  auto g = check(2, 2, 1, {{"UserAPI", "LoadUserUseCase"}});
  EXPECT_EQ(g.edges.size(), 3U);
  EXPECT_FALSE(g.edges.back().isCircular);
  EXPECT_EQ(g.nodes.front().scope, DependencyScope::transient);
  // Registering again replaces the scope and the declared dependencies.
  registerName(*c, "UserAPI", DependencyScope::singleton, {"Ghost"});
  g = check(2, 2, 1, {{"UserAPI", "LoadUserUseCase"}});
  EXPECT_EQ(g.nodes.front().scope, DependencyScope::singleton);
  EXPECT_EQ(g.nodes.front().metadata.at("scope"), "singleton");
  ASSERT_EQ(g.edges.size(), 4U);
  EXPECT_EQ(g.edges.back().from + ">" + g.edges.back().to, "UserAPI>Ghost");
}

// A graph's names point into one block of the container's; they stay readable after the
// container has rebuilt its structure and after it is gone (the sanitizer build checks this).
TEST_F(GraphBuilding, NamesAreSharedAndOutliveTheContainer) {
  auto c = makeContainer();
  registerName(*c, "LoadUserUseCase");
  registerName(*c, "UserRepository");
  registerName(*c, "OrderRepository");
  observe(*c, "LoadUserUseCase", {"UserRepository", "OrderRepository"});
  observe(*c, "UserRepository", {"Ghost"});
  const DependencyGraph g = run(c->getDependencyGraph());
  ASSERT_EQ(g.nodes.size(), 3U);
  ASSERT_EQ(g.edges.size(), 3U);
  const DependencyNode& useCase = g.nodes[0];
  EXPECT_EQ(useCase.dependencies, (Names{"UserRepository", "OrderRepository"}));
  EXPECT_EQ(useCase.dependencies[0].data(), g.nodes[1].id.data());
  EXPECT_EQ(useCase.dependencies[1].data(), g.nodes[2].id.data());
  EXPECT_EQ(g.edges[0].from.data(), useCase.id.data());
  EXPECT_EQ(g.edges[1].to.data(), g.nodes[2].id.data());
  EXPECT_EQ(g.nodes[1].tags, (Names{"repository"}));
  EXPECT_EQ(g.nodes[1].tags.data(), g.nodes[2].tags.data());  // one list per set of roles

  const DependencyGraph again = run(c->getDependencyGraph());
  EXPECT_EQ(again.nodes[0].id.data(), useCase.id.data());  // same structure, same block
  observe(*c, "OrderRepository", {"Logger"});
  const DependencyGraph changed = run(c->getDependencyGraph());
  EXPECT_NE(changed.nodes[0].id.data(), useCase.id.data());
  c.reset();
  EXPECT_EQ(useCase.id + ">" + useCase.dependencies[1], "LoadUserUseCase>OrderRepository");
  EXPECT_EQ(g.edges[2].from + ">" + g.edges[2].to, "UserRepository>Ghost");
  EXPECT_EQ(changed.nodes[2].dependencies, (Names{"Logger"}));
}

TEST_F(GraphBuilding, EmptyContainerAndValidation) {
  auto c = makeContainer();
  const auto g = run(c->getDependencyGraph());
  EXPECT_TRUE(g.nodes.empty() && g.edges.empty() && c->findCircularDependencies().empty());
  EXPECT_EQ(g.analysis.maxDepth, 0);
  EXPECT_EQ(c->getDependencyDepth("Anything"), 0);
  LineRecorder recorder;
  run(c->validateDependencies());
  registerName(*c, "A");
  observe(*c, "A", {"A", "Unregistered"});
  run(c->validateDependencies());
  EXPECT_EQ(recorder.lines(), (Names{"✅ All dependencies are properly registered",
                                     "✅ All dependencies are properly registered"}));
}

// Random registries and maps, with cycles and unregistered names, against the literal definitions
// (cycles, flags, edges, every depth, the greatest also without reachability sets); the last
// rounds are larger, so that some cycles are too large to have their depths computed ahead.
TEST_F(GraphBuilding, AgreesWithLiteralDefinitionsOnRandomGraphs) {
  std::mt19937 rng(20240131);
  const auto chance = [&](double p) { return std::uniform_real_distribution<>(0, 1)(rng) < p; };
  for (int round = 0; round < 500; ++round) {
    const int n = round < 400 ? 1 + static_cast<int>(rng() % (round < 200 ? 7 : 14))
                              : 20 + static_cast<int>(rng() % 40);
    const double density = round < 400 ? std::array{0.1, 0.2, 0.35, 0.6}[rng() % 4]
                                       : std::array{0.03, 0.05, 0.08}[rng() % 3];
    Names all;
    for (int i = 0; i < n; ++i) {  // names of every layer, for the layer figures
      all.push_back(
          std::array{"S", "UserAPI", "UserRepository", "LoadUseCase", "ViewModel"}[i % 5] +
          std::to_string(i));
    }
    Model m;
    for (const auto& name : all) {
      if (chance(0.85)) m.registry.push_back(name);
    }
    std::shuffle(m.registry.begin(), m.registry.end(), rng);
    Names owners = all;
    std::shuffle(owners.begin(), owners.end(), rng);
    for (const auto& owner : owners) {
      Names deps;
      for (const auto& d : all) {
        if (chance(density)) deps.push_back(d);
      }
      std::shuffle(deps.begin(), deps.end(), rng);
      if (!deps.empty()) m.observed.emplace_back(owner, deps);
    }
    for (const auto& name : m.registry) {
      if (chance(0.2)) m.declared[name] = {all[rng() % all.size()], "Ghost"};
    }
    auto c = makeContainer();
    for (const auto& name : m.registry)
      registerName(*c, name, DependencyScope::transient, m.declared[name]);
    for (const auto& [owner, deps] : m.observed) {
      observe(*c, owner, std::vector<std::string_view>(deps.begin(), deps.end()));
    }
    const Cycles cycles = referenceCycles(m);
    ASSERT_EQ(c->findCircularDependencies(), cycles) << round;
    const DependencyGraph g = run(c->getDependencyGraph());
    ASSERT_EQ(g.analysis.circularDependencyChains, cycles);
    ASSERT_EQ(g.nodes.size(), m.registry.size());
    // Figures counted while building agree with the public functions over the built lists.
    EXPECT_EQ(g.analysis.architectureMetrics.layerViolations,
              c->createArchitectureMetrics(g.nodes, g.edges).layerViolations);
    EXPECT_EQ(g.analysis.healthScore.overall, c->createHealthScore(g.nodes, g.edges).overall);
    EXPECT_EQ(g.analysis.recommendations, c->createRecommendations(g.nodes, g.edges));
    std::int64_t maxDepth = 0;
    for (std::size_t i = 0; i < m.registry.size(); ++i) {
      const auto& id = m.registry[i];
      EXPECT_EQ(g.nodes[i].id, id);
      EXPECT_EQ(g.nodes[i].dependencies, m.deps(id));
      const bool circular = std::any_of(cycles.begin(), cycles.end(), [&](const Names& cycle) {
        return std::find(cycle.begin(), cycle.end(), id) != cycle.end();
      });
      EXPECT_EQ(g.nodes[i].isCircular, circular) << round << " " << id;
      maxDepth = std::max(maxDepth, referenceDepth(m, id));
    }
    for (const auto& name : all) EXPECT_EQ(c->getDependencyDepth(name), referenceDepth(m, name));
    EXPECT_EQ(g.analysis.maxDepth, maxDepth) << round;
    EXPECT_EQ(detail::maxDependencyDepth(detail::ObservedGraph(c->state()), 0), maxDepth) << round;

    std::vector<std::tuple<std::string, std::string, bool>> expected;
    std::set<std::pair<std::string, std::string>> seen;
    const auto add = [&](const std::string& f, const std::string& t) {
      if (seen.emplace(f, t).second)
        expected.emplace_back(f, t, referenceEdgeCircular(cycles, f, t));
    };
    for (const auto& [owner, deps] : m.observed) {
      for (const auto& d : deps) add(owner, d);
    }
    for (const auto& name : m.registry) {
      for (const auto& d : m.declared[name]) add(name, d);
    }
    std::vector<std::tuple<std::string, std::string, bool>> actual;
    for (const auto& e : g.edges) actual.emplace_back(e.from, e.to, e.isCircular);
    ASSERT_EQ(actual, expected) << round;
  }
}

// Layered apps of a few hundred names (each on a few of the layer below, the bottom layer on its
// own earlier names, small cycles and one too large to have its depths computed ahead): the
// greatest depth is the greatest getDependencyDepth, with and without reachability sets.
TEST_F(GraphBuilding, MaxDepthAgreesWithEveryNameSearchedOnLayeredApps) {
  std::mt19937 rng(7);
  for (int round = 0; round < 12; ++round) {
    const int perLayer = 40 + static_cast<int>(rng() % 60);
    const int fanOut = 1 + static_cast<int>(rng() % 4);
    auto c = makeContainer();
    Names names;
    for (int i = 0; i < 5 * perLayer; ++i) names.push_back("S" + std::to_string(i));
    for (const auto& name : names) {
      if (rng() % 10 != 0) registerName(*c, name);
    }
    for (int i = 0; i < 5 * perLayer; ++i) {
      const int layer = i / perLayer;
      const int low = layer == 0 ? 0 : (layer - 1) * perLayer;
      const int high = layer == 0 ? i : layer * perLayer;
      if (high <= low) continue;
      for (int k = 0; k < fanOut; ++k) {
        observe(*c, names[i], {names[low + static_cast<int>(rng() % (high - low))]});
      }
    }
    for (int k = 0; k < round % 4; ++k) {  // small cycles in the bottom layer
      const int from = 1 + static_cast<int>(rng() % (perLayer - 1));
      observe(*c, names[static_cast<int>(rng() % from)], {names[from]});
    }
    if (round % 3 == 0) {  // a cycle through twenty names of the second layer
      for (int k = 0; k < 20; ++k) {
        observe(*c, names[perLayer + k], {names[perLayer + (k + 1) % 20]});
      }
    }
    std::int64_t expected = 0;
    for (const detail::Slot* slot : c->state().registryOrder) {
      expected = std::max(expected, c->getDependencyDepth(slot->name));
    }
    const detail::ObservedGraph graph(c->state());
    EXPECT_EQ(detail::maxDependencyDepth(graph), expected) << round;
    EXPECT_EQ(detail::maxDependencyDepth(graph, 0), expected) << round;
  }
}

// Long chains are searched without recursion.
TEST_F(GraphBuilding, HundredThousandDeepChain) {
  constexpr int kLength = 100000;
  auto c = makeContainer();
  Names names;
  for (int i = 0; i < kLength; ++i) names.push_back("N" + std::to_string(i));
  for (const auto& name : names) registerName(*c, name);
  for (int i = 0; i + 1 < kLength; ++i) observe(*c, names[i], {names[i + 1]});
  EXPECT_TRUE(c->findCircularDependencies().empty());
  EXPECT_EQ(c->getDependencyDepth("N0"), kLength - 1);
  EXPECT_EQ(detail::maxDependencyDepth(detail::ObservedGraph(c->state())), kLength - 1);

  observe(*c, names.back(), {"N0"});
  const auto cycles = c->findCircularDependencies();
  ASSERT_EQ(cycles.size(), 1u);
  EXPECT_EQ(cycles[0], names);
  EXPECT_EQ(c->getDependencyDepth("N0"), kLength);  // the closing edge counts
  const auto detailed = c->findCircularDependenciesDetailed();
  EXPECT_EQ(detailed.size(), 1u);
  EXPECT_EQ(detail::maxDependencyDepth(detail::ObservedGraph(c->state())), kLength);
  // With a budget of 1000 edges the first search stops at N1000, which counts 1001.
  EXPECT_EQ(detail::maxDependencyDepth(detail::ObservedGraph(c->state()),
                                       detail::kDefaultReachBudget, 1000),
            1001);
}

}  // namespace
}  // namespace tavreldi
