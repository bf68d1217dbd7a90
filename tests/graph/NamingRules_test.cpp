#include "graph/detail/NamingRules.hpp"

#include <gtest/gtest.h>

#include <set>

namespace tavreldi::detail {
namespace {

using Tags = std::vector<std::string>;

TEST(NamingRules, NodeClassificationFromNames) {
  EXPECT_EQ(layerFor("UserAPIService"), 1);
  EXPECT_EQ(nodeTypeFor("UserAPIService"), NodeType::service);
  EXPECT_EQ(nodeCategoryFor("UserAPIService"), NodeCategory::networking);
  EXPECT_EQ(tagsFor("UserAPIService"), Tags{"api"});

  EXPECT_EQ(layerFor("ProfileViewModel"), 4);
  EXPECT_EQ(nodeTypeFor("ProfileViewModel"), NodeType::presentation);
  EXPECT_EQ(nodeCategoryFor("ProfileViewModel"), NodeCategory::presentation);
  EXPECT_EQ(tagsFor("ProfileViewModel"), Tags{"viewmodel"});

  // The "API" test comes before "Repository" in every rule; tags collect both.
  EXPECT_EQ(layerFor("UserRepositoryAPI"), 1);
  EXPECT_EQ(nodeTypeFor("UserRepositoryAPI"), NodeType::service);
  EXPECT_EQ(nodeCategoryFor("UserRepositoryAPI"), NodeCategory::networking);
  EXPECT_EQ(tagsFor("UserRepositoryAPI"), (Tags{"api", "repository"}));

  for (const std::string_view name : {"Logger", "apiClient"}) {
    EXPECT_EQ(layerFor(name), 0) << name;
    EXPECT_EQ(nodeTypeFor(name), NodeType::component) << name;
    EXPECT_EQ(nodeCategoryFor(name), NodeCategory::infrastructure) << name;
    EXPECT_EQ(tagsFor(name), Tags{}) << name;
  }

  EXPECT_EQ(layerFor("OrderRepository"), 2);
  EXPECT_EQ(layerFor("LoadUserUseCase"), 3);
  EXPECT_EQ(nodeTypeFor("OrderRepository"), NodeType::repository);
  EXPECT_EQ(nodeTypeFor("CheckoutInteractor"), NodeType::useCase);
  EXPECT_EQ(nodeTypeFor("OrderPresenter"), NodeType::presentation);
  EXPECT_EQ(nodeTypeFor("DeepLinkHandler"), NodeType::manager);
  EXPECT_EQ(nodeTypeFor("RepositoryManager"), NodeType::repository);
  EXPECT_EQ(nodeCategoryFor("NetworkStorage"), NodeCategory::networking);
  EXPECT_EQ(nodeCategoryFor("UserDatabaseView"), NodeCategory::data);
  EXPECT_EQ(nodeCategoryFor("SettingsUI"), NodeCategory::presentation);
  EXPECT_EQ(nodeCategoryFor("DomainRules"), NodeCategory::business);
  EXPECT_EQ(nodeCategoryFor("OrderPresenter"), NodeCategory::infrastructure);
  EXPECT_EQ(tagsFor("ViewModelUseCaseRepositoryAPI"),
            (Tags{"api", "repository", "usecase", "viewmodel"}));
}

TEST(NamingRules, ComplexityBoundariesAndPositions) {
  EXPECT_EQ(complexityFor(0), ComplexityLevel::low);
  EXPECT_EQ(complexityFor(2), ComplexityLevel::low);
  EXPECT_EQ(complexityFor(3), ComplexityLevel::medium);
  EXPECT_EQ(complexityFor(5), ComplexityLevel::medium);
  EXPECT_EQ(complexityFor(6), ComplexityLevel::high);

  // At least three columns, 150 points apart, rows 100 apart, from (100, 100).
  EXPECT_EQ(positionFor(0, 0), (Point{100, 100}));
  EXPECT_EQ(positionFor(0, 1), (Point{100, 100}));
  EXPECT_EQ(positionFor(2, 1), (Point{400, 100}));
  EXPECT_EQ(positionFor(3, 1), (Point{100, 200}));
  EXPECT_EQ(positionFor(3, 4), (Point{100, 200}));
  EXPECT_EQ(positionFor(4, 15), (Point{250, 200}));  // ⌊√15⌋ = 3 columns
  EXPECT_EQ(positionFor(4, 16), (Point{100, 200}));  // √16 = 4 columns
  EXPECT_EQ(positionFor(5, 16), (Point{250, 200}));
  EXPECT_EQ(positionFor(15, 16), (Point{550, 400}));
}

TEST(NamingRules, EdgeClassification) {
  EXPECT_EQ(relationshipTypeFor("ProfileViewModel", "LoadProfileUseCase"),
            RelationshipType::presentation);
  EXPECT_EQ(strengthFor("ProfileViewModel", "LoadProfileUseCase"), RelationshipStrength::weak);
  EXPECT_EQ(impactFor("LoadProfileUseCase"), PerformanceImpact::low);

  EXPECT_EQ(relationshipTypeFor("UserRepository", "UserAPI"), RelationshipType::dataFlow);
  EXPECT_EQ(strengthFor("UserRepository", "UserAPI"), RelationshipStrength::strong);
  EXPECT_EQ(impactFor("UserAPI"), PerformanceImpact::high);

  EXPECT_EQ(relationshipTypeFor("OrderUseCase", "OrderRepository"), RelationshipType::dependency);
  EXPECT_EQ(strengthFor("OrderUseCase", "OrderRepository"), RelationshipStrength::medium);
  EXPECT_EQ(impactFor("OrderRepository"), PerformanceImpact::medium);

  // The repository-to-API rule wins over the use-case-to-repository rule.
  EXPECT_EQ(relationshipTypeFor("RepositoryUseCase", "RepositoryAPI"), RelationshipType::dataFlow);
  EXPECT_EQ(strengthFor("RepositoryUseCase", "RepositoryAPI"), RelationshipStrength::strong);
  EXPECT_EQ(relationshipTypeFor("UserAPI", "UserRepository"), RelationshipType::dependency);
  EXPECT_EQ(strengthFor("UserAPI", "UserRepository"), RelationshipStrength::weak);
  EXPECT_EQ(impactFor("OrdersDatabase"), PerformanceImpact::high);
  EXPECT_EQ(impactFor("apiClient"), PerformanceImpact::low);
}

TEST(NamingRules, MetadataUsesBuildTime) {
  const Timestamp registered = *parseIso8601("2020-05-01T08:00:00Z");
  const Timestamp now = *parseIso8601("2024-01-31T12:00:00.750Z");
  const DependencyMetadata metadata{DependencyScope::scoped,
                                    DependencyLifetime::session,
                                    false,
                                    true,
                                    {},
                                    {},
                                    registered,
                                    "OrderRepository",
                                    true,
                                    0,
                                    {},
                                    ThreadSafety::conditionallySafe};
  const std::map<std::string, std::string> nodeExpected{{"scope", "scoped"},
                                                        {"lifetime", "session"},
                                                        {"threadSafety", "ConditionallySafe"},
                                                        {"created_at", "2024-01-31T12:00:00Z"}};
  EXPECT_EQ(nodeMetadataFor(metadata, now), nodeExpected);

  const std::map<std::string, std::string> edgeExpected{{"created_at", "2024-01-31T12:00:00Z"},
                                                        {"relationship_type", "DataFlow"},
                                                        {"strength", "Strong"}};
  EXPECT_EQ(edgeMetadataFor(RelationshipType::dataFlow, RelationshipStrength::strong, now),
            edgeExpected);
}

TEST(NamingRules, SampleFiguresStayInTheirRanges) {
  const Timestamp now = *parseIso8601("2024-01-31T12:00:00Z");
  std::set<double> times;
  std::set<std::int64_t> counts;
  for (int i = 0; i < 500; ++i) {
    const auto sample = samplePerformanceMetrics(now);
    EXPECT_GE(sample.resolutionTime, 0.001);
    EXPECT_LE(sample.resolutionTime, 0.01);
    EXPECT_GE(sample.memoryFootprint, 1024.0);
    EXPECT_LE(sample.memoryFootprint, 10240.0);
    EXPECT_GE(sample.cacheHitRate, 0.7);
    EXPECT_LE(sample.cacheHitRate, 0.95);
    EXPECT_GE(sample.resolutionCount, 1);
    EXPECT_LE(sample.resolutionCount, 100);
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
