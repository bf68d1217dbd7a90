#include "graph/detail/NamingRules.hpp"

#include <gtest/gtest.h>

#include <set>
#include <tuple>

namespace tavreldi::detail {
namespace {

using Tags = std::vector<std::string>;

TEST(NamingRules, NodeClassificationFromNames) {
  using T = NodeType;
  using C = NodeCategory;
  using Case = std::tuple<std::string_view, std::int64_t, NodeType, NodeCategory, Tags>;
  // The "API" test comes before "Repository" in every rule; tags collect every match.
  const std::vector<Case> cases{
      {"UserAPIService", 1, T::service, C::networking, {"api"}},
      {"ProfileViewModel", 4, T::presentation, C::presentation, {"viewmodel"}},
      {"UserRepositoryAPI", 1, T::service, C::networking, {"api", "repository"}},
      {"Logger", 0, T::component, C::infrastructure, {}},
      {"apiClient", 0, T::component, C::infrastructure, {}},  // case-sensitive
      {"OrderRepository", 2, T::repository, C::infrastructure, {"repository"}},
      {"LoadUserUseCase", 3, T::useCase, C::infrastructure, {"usecase"}},
      {"CheckoutInteractor", 0, T::useCase, C::infrastructure, {}},
      {"OrderPresenter", 0, T::presentation, C::infrastructure, {}},
      {"DeepLinkHandler", 0, T::manager, C::infrastructure, {}},
      {"RepositoryManager", 2, T::repository, C::infrastructure, {"repository"}},
      {"NetworkStorage", 0, T::component, C::networking, {}},
      {"UserDatabaseView", 0, T::component, C::data, {}},
      {"SettingsUI", 0, T::component, C::presentation, {}},
      {"DomainRules", 0, T::component, C::business, {}},
      {"ViewModelUseCaseRepositoryAPI",
       1,
       T::service,
       C::networking,
       {"api", "repository", "usecase", "viewmodel"}},
  };
  for (const auto& [name, layer, type, category, tags] : cases) {
    const NameTraits traits = traitsOf(name);
    EXPECT_EQ(std::tie(traits.layer, traits.type, traits.category), std::tie(layer, type, category))
        << name;
    EXPECT_EQ(tagsFor(traits.roles), tags) << name;
  }
}

TEST(NamingRules, ComplexityBoundariesAndPositions) {
  using L = ComplexityLevel;
  const ComplexityLevel levels[] = {L::low,    L::low,    L::low, L::medium,
                                    L::medium, L::medium, L::high};
  for (std::size_t n = 0; n < 7; ++n) EXPECT_EQ(complexityFor(n), levels[n]) << n;

  // At least three columns (else ⌊√count⌋), 150 points apart, rows 100 apart, from (100, 100).
  const std::vector<std::tuple<std::size_t, std::size_t, Point>> places{
      {0, 0, {100, 100}},  {0, 1, {100, 100}},  {2, 1, {400, 100}},
      {3, 1, {100, 200}},  {3, 4, {100, 200}},  {4, 15, {250, 200}},
      {4, 16, {100, 200}}, {5, 16, {250, 200}}, {15, 16, {550, 400}}};
  for (const auto& [index, count, place] : places) {
    EXPECT_EQ(positionFor(index, count), place) << index << " of " << count;
  }
}

TEST(NamingRules, EdgeClassification) {
  using R = RelationshipType;
  using S = RelationshipStrength;
  using I = PerformanceImpact;
  // From, to, type, strength, and the impact of the target alone. The repository-to-API rule
  // wins over the use-case-to-repository rule.
  using Case = std::tuple<std::string_view, std::string_view, R, S, I>;
  const std::vector<Case> cases{
      {"ProfileViewModel", "LoadProfileUseCase", R::presentation, S::weak, I::low},
      {"UserRepository", "UserAPI", R::dataFlow, S::strong, I::high},
      {"OrderUseCase", "OrderRepository", R::dependency, S::medium, I::medium},
      {"RepositoryUseCase", "RepositoryAPI", R::dataFlow, S::strong, I::high},
      {"UserAPI", "UserRepository", R::dependency, S::weak, I::medium},
      {"Reporter", "OrdersDatabase", R::dependency, S::weak, I::high},
      {"Reporter", "apiClient", R::dependency, S::weak, I::low},
  };
  for (const auto& [fromName, toName, type, strength, impact] : cases) {
    const Roles from = traitsOf(fromName).roles;
    const Roles to = traitsOf(toName).roles;
    EXPECT_EQ(std::tuple(relationshipTypeFor(from, to), strengthFor(from, to), impactFor(to)),
              std::tie(type, strength, impact))
        << fromName << " " << toName;
  }
}

TEST(NamingRules, MetadataUsesBuildTime) {
  DependencyMetadata metadata{};
  metadata.scope = DependencyScope::scoped;
  metadata.lifetime = DependencyLifetime::session;
  metadata.threadSafety = ThreadSafety::conditionallySafe;
  metadata.registrationTime = *parseIso8601("2020-05-01T08:00:00Z");
  const Timestamp now = *parseIso8601("2024-01-31T12:00:00.750Z");
  EXPECT_EQ(nodeMetadataFor(metadata, now),
            (std::map<std::string, std::string>{{"scope", "scoped"},
                                                {"lifetime", "session"},
                                                {"threadSafety", "ConditionallySafe"},
                                                {"created_at", "2024-01-31T12:00:00Z"}}));
  EXPECT_EQ(edgeMetadataFor(RelationshipType::dataFlow, RelationshipStrength::strong, now),
            (std::map<std::string, std::string>{{"created_at", "2024-01-31T12:00:00Z"},
                                                {"relationship_type", "DataFlow"},
                                                {"strength", "Strong"}}));
}

TEST(NamingRules, SampleFiguresStayInTheirRanges) {
  const Timestamp now = *parseIso8601("2024-01-31T12:00:00Z");
  std::set<double> times;
  std::set<std::int64_t> counts;
  const auto within = [](double value, double low, double high) {
    return low <= value && value <= high;
  };
  for (int i = 0; i < 500; ++i) {
    const auto sample = samplePerformanceMetrics(now);
    EXPECT_PRED3(within, sample.resolutionTime, 0.001, 0.01);
    EXPECT_PRED3(within, sample.memoryFootprint, 1024.0, 10240.0);
    EXPECT_PRED3(within, sample.cacheHitRate, 0.7, 0.95);
    EXPECT_PRED3(within, static_cast<double>(sample.resolutionCount), 1.0, 100.0);
    EXPECT_EQ(sample.lastResolved, now);
    times.insert(sample.resolutionTime);
    counts.insert(sample.resolutionCount);
  }
  // Drawn anew each time: 500 draws cannot all coincide.
  EXPECT_GT(times.size(), 400u);
  EXPECT_GT(counts.size(), 50u);
}

}  // namespace
}  // namespace tavreldi::detail
