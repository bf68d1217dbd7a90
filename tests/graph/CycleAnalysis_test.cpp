#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/AsyncTest.hpp"
#include "support/GraphFixture.hpp"

namespace tavreldi {
namespace {

using testing::observe;
using testing::registerName;
using Names = std::vector<std::string>;
using Severity = CircularDependencySeverity;
using Impact = CircularDependencyImpact;

class CycleAnalysis : public testing::AsyncTest {};

const std::string kInterfaces = "Introduce interfaces/protocols to break the cycle";
const std::string kEvents = "Consider using event-driven architecture to decouple dependencies";
const std::string kFactory = "Use factory pattern to create instances when needed";
const Names kFixedOverall{"Implement dependency inversion principle using interfaces",
                          "Consider using event-driven architecture for loose coupling",
                          "Use factory pattern for complex object creation"};

// The given summary lines followed by the three fixed ones.
Names overall(Names first) {
  first.insert(first.end(), kFixedOverall.begin(), kFixedOverall.end());
  return first;
}

TEST_F(CycleAnalysis, GradingSuggestionsAndOverallAdvice) {
  auto c = makeContainer();
  const auto none = c->analyzeCircularDependencies();
  EXPECT_EQ(std::vector({none.totalCycles, none.criticalCycles, none.highImpactCycles,
                         none.mediumImpactCycles, none.averageCycleLength, none.longestCycle}),
            std::vector<std::int64_t>(6, 0));
  EXPECT_TRUE(none.cycles.empty());
  EXPECT_EQ(none.recommendations, Names{"No circular dependencies found. Great job!"});

  registerName(*c, "S", DependencyScope::singleton);
  registerName(*c, "T", DependencyScope::singleton);
  registerName(*c, "Lazy", DependencyScope::lazy);
  // Severity turns medium at 3 members and high at 5; impact turns high at 4.
  const Names members{"A", "B", "C", "D", "E"};
  std::string grades;  // severity/impact for 0 to 5 members
  for (std::size_t n = 0; n <= 5; ++n) {
    const Names cycle(members.begin(), members.begin() + static_cast<std::ptrdiff_t>(n));
    grades += std::string(toString(c->calculateCycleSeverity(cycle))) + "/" +
              std::string(toString(c->calculateCycleImpact(cycle))) + " ";
  }
  EXPECT_EQ(grades, "Low/Medium Low/Medium Low/Medium Medium/Medium Medium/High High/High ");
  EXPECT_EQ(c->calculateCycleImpact({"Lazy", "S"}), Impact::critical);
  EXPECT_EQ(c->calculateCycleImpact({"Lazy", "Unregistered"}), Impact::medium);

  EXPECT_EQ(c->generateCycleSuggestions({}), (Names{kInterfaces, kEvents, kFactory}));
  // Only the first singleton is named; a "Protocol" member drops the interface advice.
  EXPECT_EQ(c->generateCycleSuggestions({"UserProtocol", "S", "T"}),
            (Names{"Consider changing S from singleton to transient scope", kEvents, kFactory}));
  EXPECT_EQ(c->generateCycleSuggestions({"Lazy", "StoreInterface"}), (Names{kEvents, kFactory}));

  // The stored impact counts for the first line, the registry for the second.
  const std::vector<CircularDependency> cycles{{{"A", "B"}, Severity::low, Impact::critical, {}},
                                               {{"B", "S"}, Severity::low, Impact::medium, {}},
                                               {{"S", "A"}, Severity::low, Impact::critical, {}}};
  EXPECT_EQ(c->generateOverallRecommendations(cycles),
            overall({"Priority: Resolve 2 critical circular dependencies",
                     "Consider changing singleton scopes to transient for 2 cycles"}));
  EXPECT_EQ(c->generateOverallRecommendations({{{"A"}, Severity::low, Impact::medium, {}}}),
            kFixedOverall);
}

TEST_F(CycleAnalysis, DetailedSearchAndSummary) {
  auto c = makeContainer();
  registerName(*c, "A", DependencyScope::singleton);
  registerName(*c, "B");
  registerName(*c, "C");
  observe(*c, "A", {"B"});
  observe(*c, "B", {"C"});
  observe(*c, "C", {"A", "B"});  // two back-edges into one loop: two entries
  const auto a = c->analyzeCircularDependencies();
  const std::vector<CircularDependency> expected{
      {{"A", "B", "C"},
       Severity::medium,
       Impact::critical,
       {"Consider changing A from singleton to transient scope", kInterfaces, kEvents, kFactory}},
      {{"B", "C"}, Severity::low, Impact::medium, {kInterfaces, kEvents, kFactory}}};
  EXPECT_EQ(a.cycles, expected);
  EXPECT_EQ(a.cycles, c->findCircularDependenciesDetailed());
  // Total, critical, high, medium, average length (5 / 2, truncated), longest.
  EXPECT_EQ(std::vector({a.totalCycles, a.criticalCycles, a.highImpactCycles, a.mediumImpactCycles,
                         a.averageCycleLength, a.longestCycle}),
            (std::vector<std::int64_t>{2, 1, 0, 1, 2, 3}));
  EXPECT_EQ(a.recommendations,
            overall({"Priority: Resolve 1 critical circular dependencies",
                     "Consider changing singleton scopes to transient for 1 cycles"}));
}

}  // namespace
}  // namespace tavreldi
