#include <gtest/gtest.h>

#include <stdexcept>

#include "support/AsyncTest.hpp"
#include "support/SampleServices.hpp"
#include "tavreldi/core/Errors.hpp"
#include "tavreldi/core/LineWriter.hpp"

namespace tavreldi {
namespace {

using namespace sample;
using testing::normaliseDurations;
using Lines = std::vector<std::string>;

struct PaymentService {};
struct PaymentAPIRepository {};
struct AuditProtocol {};

// A singleton's registration record naming `typeName` (no factory of its own).
DependencyMetadata metadataFor(const AdvancedDIContainerImpl& c, std::string typeName) {
  return c.getMetadata<Logger>()->with({.typeName = std::move(typeName)});
}

asio::awaitable<std::shared_ptr<PaymentService>> failingPayment(AdvancedDIContainer&) {
  throw std::runtime_error("payment gateway down");
  co_return nullptr;
}

class Preloading : public testing::AsyncTest {
 protected:
  // Every scope once, no factory resolving anything: one failing factory (PaymentService), one
  // transient (LoadUserUseCase) and one registration without a factory (AuditProtocol).
  std::shared_ptr<AdvancedDIContainerImpl> flatApp() {
    auto c = makeContainer();
    c->registerAsync<UserViewModel>(DependencyScope::lazy, make<UserViewModel>);
    c->registerAsync<PaymentService>(DependencyScope::singleton, failingPayment);
    c->registerSync<Logger>(DependencyScope::singleton, makeNow<Logger>);
    c->registerAsync<UserAPI>(DependencyScope::custom, make<UserAPI>);
    c->registerSync<LoadUserUseCase>(DependencyScope::transient, [this](AdvancedDIContainer&) {
      ++useCasesMade;
      return std::make_shared<LoadUserUseCase>();
    });
    c->registerAsync<UserRepository>(DependencyScope::scoped, make<UserRepository>);
    c->registerSync<PaymentAPIRepository>(DependencyScope::container,
                                          makeNow<PaymentAPIRepository>);
    c->registerWithMetadata<AuditProtocol>(metadataFor(*c, "AuditProtocol"));
    return c;
  }

  // UserViewModel -> LoadUserUseCase -> UserRepository -> UserAPI -> Logger, each factory
  // resolving the next through the container; dependents registered first.
  std::shared_ptr<AdvancedDIContainerImpl> chainApp() {
    auto c = makeContainer();
    c->registerAsync<UserViewModel>(DependencyScope::lazy,
                                    resolving<UserViewModel, LoadUserUseCase>);
    c->registerAsync<LoadUserUseCase>(DependencyScope::transient,
                                      resolving<LoadUserUseCase, UserRepository>);
    c->registerAsync<UserRepository>(DependencyScope::scoped, resolving<UserRepository, UserAPI>);
    c->registerAsync<UserAPI>(DependencyScope::custom, resolving<UserAPI, Logger>);
    c->registerSync<Logger>(DependencyScope::singleton, makeNow<Logger>);
    return c;
  }

  template <class T>
  bool availableSync(AdvancedDIContainerImpl& c) {
    try {
      return c.resolveSync<T>() != nullptr;
    } catch (const DependencyResolutionError& error) {
      EXPECT_STREQ(error.what(),
                   "Factory error: Instance not available for synchronous resolution");
      return false;
    }
  }

  // Those of the types T that resolveSync hands out, in the order given.
  template <class... T>
  Lines availableSyncOf(AdvancedDIContainerImpl& c) {
    Lines names;
    for (const auto& [available, name] : {std::pair{availableSync<T>(c), typeName<T>()}...}) {
      if (available) names.emplace_back(name);
    }
    return names;
  }

  int useCasesMade = 0;
};

TEST_F(Preloading, DependenciesResolveEachNonTransientEntryInRegistrationOrder) {
  auto c = flatApp();
  LineRecorder recorder;
  run(c->preloadDependencies());
  EXPECT_EQ(testing::joined(normaliseDurations(recorder.lines())),
            "🚀 Preloading critical dependencies...\n🔍 Resolving: UserViewModel\n"
            "✅ Resolved: UserViewModel (took T)\n✅ Preloaded lazy: UserViewModel\n"
            "🔍 Resolving: PaymentService\n🔄 resolveSingleton called for: PaymentService\n"
            "   🔄 Creating new instance for: PaymentService\n"
            "❌ Failed to resolve PaymentService: payment gateway down\n"
            "⚠️ Failed to preload: PaymentService - payment gateway down\n"
            "🔍 Resolving: Logger\n🔄 resolveSingleton called for: Logger\n"
            "   🔄 Creating new instance for: Logger\n✅ Resolved: Logger (took T)\n"
            "✅ Preloaded singleton: Logger\n🔍 Resolving: UserAPI\n"
            "🔄 resolveSingleton called for: UserAPI\n   🔄 Creating new instance for: UserAPI\n"
            "✅ Resolved: UserAPI (took T)\n✅ Preloaded custom: UserAPI\n"
            "⏭️ Skipped transient: LoadUserUseCase\n🔍 Resolving: UserRepository\n"
            "✅ Resolved: UserRepository (took T)\n✅ Preloaded scoped: UserRepository\n"
            "🔍 Resolving: PaymentAPIRepository\n"
            "🔄 resolveSingleton called for: PaymentAPIRepository\n"
            "   🔄 Creating new instance for: PaymentAPIRepository\n"
            "✅ Resolved: PaymentAPIRepository (took T)\n"
            "✅ Preloaded container: PaymentAPIRepository\n🔍 Resolving: AuditProtocol\n"
            "🔄 resolveSingleton called for: AuditProtocol\n"
            "   🔄 Creating new instance for: AuditProtocol\n"
            "❌ Failed to resolve AuditProtocol: Factory error: No factory found for AuditProtocol\n"
            "⚠️ Failed to preload: AuditProtocol - Factory error: No factory found for "
            "AuditProtocol\n"
            "✅ Dependency preloading completed\n");
  EXPECT_EQ(useCasesMade, 0);
  EXPECT_EQ(c->getServiceStatistics("Logger").resolutionCount, 1);
}

TEST_F(Preloading, AllGenericCachesByScopeAndSkipsMissingFactoriesSilently) {
  auto c = flatApp();
  LineRecorder recorder;
  run(c->preloadAllGeneric());
  EXPECT_EQ(testing::joined(recorder.lines()),
            "🚀 Starting generic preloading...\n Preloading: UserViewModel with scope: lazy\n"
            "✅ Cached lazy: UserViewModel\n Preloading: PaymentService with scope: singleton\n"
            "⚠️ Failed to preload: PaymentService - payment gateway down\n"
            " Preloading: Logger with scope: singleton\n✅ Cached singleton: Logger\n"
            " Preloading: UserAPI with scope: custom\n✅ Cached custom: UserAPI\n"
            " Preloading: LoadUserUseCase with scope: transient\n"
            "⏭️ Skipping transient: LoadUserUseCase\n"
            " Preloading: UserRepository with scope: scoped\n✅ Cached scoped: UserRepository\n"
            " Preloading: PaymentAPIRepository with scope: container\n"
            "✅ Cached container: PaymentAPIRepository\n"
            " Preloading: AuditProtocol with scope: singleton\n✅ Generic preloading completed\n");
  EXPECT_EQ(useCasesMade, 0);
  // Direct creation counts nothing.
  EXPECT_EQ(c->getServiceStatistics("Logger").resolutionCount, 0);
}

TEST_F(Preloading, SmartGroupsFactoriesByFirstMatchingCategory) {
  auto c = flatApp();
  LineRecorder recorder;
  run(c->preloadSmart());
  // Categories in the order first met; PaymentAPIRepository joins UserAPI under "APIs"; the
  // metadata-only AuditProtocol has no factory and is not walked at all.
  EXPECT_EQ(recorder.lines(),
            (Lines{"🚀 Smart preloading - analyzing dependency tree...",
                   "🔄 Preloading ViewModels (1 items)...", "   ✅ UserViewModel",
                   "🔄 Preloading Core Services (1 items)...",
                   "   ❌ PaymentService - payment gateway down", "🔄 Preloading Other (1 items)...",
                   "   ✅ Logger", "🔄 Preloading APIs (2 items)...", "   ✅ UserAPI",
                   "   ✅ PaymentAPIRepository", "🔄 Preloading Use Cases (1 items)...",
                   "   ✅ LoadUserUseCase", "🔄 Preloading Repositories (1 items)...",
                   "   ✅ UserRepository", "✅ Smart preloading complete!"}));
  EXPECT_EQ(useCasesMade, 1);  // scopes are not looked at: the transient is made too
  EXPECT_EQ((availableSyncOf<Logger, UserViewModel>(*c)), Lines{});
}

TEST_F(Preloading, ViewModelsOnlyCreatesEveryOtherGroupFirst) {
  auto c = flatApp();
  LineRecorder recorder;
  run(c->preloadViewModelsOnly());
  EXPECT_EQ(testing::joined(recorder.lines()),
            "🚀 Preloading ViewModels and their dependencies...\n"
            "   ❌ PaymentService - payment gateway down\n   ✅ Logger\n   ✅ UserAPI\n"
            "   ✅ PaymentAPIRepository\n   ✅ LoadUserUseCase\n   ✅ UserRepository\n"
            "   ✅ UserViewModel\n✅ ViewModels preloaded - resolveSync works everywhere!\n");
}

TEST_F(Preloading, DirectCreationUsesTheFactoryNamedByTheMetadata) {
  auto c = makeContainer();
  c->registerSync<Logger>(DependencyScope::singleton, makeNow<Logger>);
  c->registerAsync<UserAPI>(DependencyScope::singleton, make<UserAPI>);
  // Logger's record now names a type without a factory, UserAPI's names Logger.
  c->registerWithMetadata<Logger>(metadataFor(*c, "LegacyLogger"));
  c->registerWithMetadata<UserAPI>(metadataFor(*c, "Logger"));
  LineRecorder recorder;
  run(c->preloadSmart());
  EXPECT_EQ(
      recorder.lines(),
      (Lines{"🚀 Smart preloading - analyzing dependency tree...", "🔄 Preloading Other (1 items)...",
             "   ❌ Logger - Type not registered: LegacyLogger", "🔄 Preloading APIs (1 items)...",
             "   ✅ UserAPI", "✅ Smart preloading complete!"}));
}

TEST_F(Preloading, ResolveSyncWorksAfterFillingPreloads) {
  const auto available = [this](AdvancedDIContainerImpl& c) {
    return availableSyncOf<UserViewModel, LoadUserUseCase, UserRepository, UserAPI, Logger>(c);
  };
  {
    auto c = chainApp();
    run(c->preloadAllGeneric());
    EXPECT_EQ(available(*c), (Lines{"UserViewModel", "UserRepository", "UserAPI", "Logger"}));
    // The preloaded instance is the one handed out, by both paths.
    EXPECT_EQ(run(c->resolve<UserViewModel>()), c->resolveSync<UserViewModel>());
    // Scoped instances live in the scope that was current while preloading.
    run(c->setCurrentScope("session"));
    EXPECT_FALSE(availableSync<UserRepository>(*c));
    run(c->setCurrentScope("default"));
    EXPECT_TRUE(availableSync<UserRepository>(*c));
  }
  {
    auto c = chainApp();
    run(c->preloadDependencies());
    EXPECT_EQ(available(*c), (Lines{"UserViewModel", "UserRepository", "UserAPI", "Logger"}));
    // Resolution by name records the edges it walked.
    EXPECT_EQ(c->getDependencyMap(), DependencyMap({{"UserViewModel", {"LoadUserUseCase"}},
                                                    {"LoadUserUseCase", {"UserRepository"}},
                                                    {"UserRepository", {"UserAPI"}},
                                                    {"UserAPI", {"Logger"}}}));
  }
  {
    auto c = chainApp();
    run(c->preloadViewModelsOnly());
    // What the factories resolved went through resolution and is cached; what preloading made
    // itself was dropped.
    EXPECT_EQ(available(*c), (Lines{"UserRepository", "UserAPI", "Logger"}));
    EXPECT_EQ(c->getServiceStatistics("UserViewModel").resolutionCount, 0);
  }
}

}  // namespace
}  // namespace tavreldi
