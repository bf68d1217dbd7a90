#include <gmock/gmock.h>

#include <thread>

#include "support/AsyncTest.hpp"
#include "support/SampleServices.hpp"
#include "tavreldi/core/Errors.hpp"
#include "tavreldi/core/LineWriter.hpp"

namespace tavreldi {
namespace {

using namespace sample;
using testing::caught;
using testing::normaliseDurations;
using Lines = std::vector<std::string>;
using E = DependencyResolutionError;

class Resolution : public testing::AsyncTest {
 protected:
  // UserRepository -> UserAPI -> Logger (transient, counted), each factory resolving the next.
  void registerChain(AdvancedDIContainerImpl& c) {
    c.registerAsync<UserRepository>(DependencyScope::singleton, resolving<UserRepository, UserAPI>);
    c.registerAsync<UserAPI>(DependencyScope::singleton, resolving<UserAPI, Logger>);
    c.registerSync<Logger>(DependencyScope::transient, [this](AdvancedDIContainer&) {
      ++loggersMade;
      return std::make_shared<Logger>();
    });
  }
  int loggersMade = 0;
};

TEST_F(Resolution, RegistrationLinesCountsAndMetadata) {
  auto c = makeContainer();
  LineRecorder recorder;
  registerChain(*c);
  EXPECT_EQ(c->getRegisteredServicesCount(), 3);
  c->registerSync<Logger>(DependencyScope::lazy, DependencyLifetime::session, makeNow<Logger>);
  EXPECT_EQ(recorder.lines(),
            (Lines{"🔧 Registered UserRepository with scope: singleton and dependencies: []",
                   "🔧 Registered UserAPI with scope: singleton and dependencies: []",
                   "🔧 Registered Logger with scope: transient and dependencies: []",
                   "🔧 Registered Logger with scope: lazy and dependencies: []"}));
  EXPECT_EQ(c->getRegisteredServicesCount(), 3);
  const auto metadata = c->getMetadata<Logger>();
  ASSERT_TRUE(metadata);
  EXPECT_EQ(std::tuple(metadata->scope, metadata->lifetime, metadata->typeName),
            std::tuple(DependencyScope::lazy, DependencyLifetime::session, "Logger"));
  EXPECT_FALSE(c->getMetadata("Nothing") || c->isRegistered<UserViewModel>());

  // Metadata alone registers the type, silently, but gives it no factory.
  recorder.clear();
  c->registerWithMetadata<UserViewModel>(metadata->with({.typeName = "UserViewModel"}));
  EXPECT_TRUE(c->isRegistered<UserViewModel>());
  EXPECT_EQ(c->getRegisteredServicesCount(), 3);
  EXPECT_TRUE(recorder.lines().empty());
  EXPECT_EQ(caught<E>([&] { (void)run(c->resolve<UserViewModel>()); }),
            E::factoryError("No factory found for UserViewModel"));
}

TEST_F(Resolution, ThreeLevelChainLinesAndDependencyMap) {
  auto c = makeContainer();
  registerChain(*c);
  LineRecorder recorder;
  const auto repository = run(c->resolve<UserRepository>());
  ASSERT_TRUE(repository && repository->api && repository->api->logger);
  EXPECT_EQ(testing::joined(normaliseDurations(recorder.lines())),
            "🔍 Resolving: UserRepository\n🔄 resolveSingleton called for: UserRepository\n"
            "   🔄 Creating new instance for: UserRepository\n🔍 Resolving: UserAPI\n"
            "🔗 Dependency tracked: UserRepository -> UserAPI\n"
            "🔄 resolveSingleton called for: UserAPI\n   🔄 Creating new instance for: UserAPI\n"
            "🔍 Resolving: Logger\n🔗 Dependency tracked: UserAPI -> Logger\n"
            "✅ Resolved: Logger (took T)\n   💾 Caching instance for: UserAPI\n"
            "   ✅ Instance cached successfully for: UserAPI\n✅ Resolved: UserAPI (took T)\n"
            "   💾 Caching instance for: UserRepository\n"
            "   ✅ Instance cached successfully for: UserRepository\n"
            "✅ Resolved: UserRepository (took T)\n");
  const DependencyMap expected({{"UserRepository", {"UserAPI"}}, {"UserAPI", {"Logger"}}});
  EXPECT_EQ(c->getDependencyMap(), expected);

  // Served from the cache: same object, no new edges, one hit.
  recorder.clear();
  EXPECT_EQ(run(c->resolve<UserRepository>()), repository);
  EXPECT_EQ(normaliseDurations(recorder.lines()),
            (Lines{"🔍 Resolving: UserRepository", "🔄 resolveSingleton called for: UserRepository",
                   "   ✅ Found cached instance for: UserRepository",
                   "✅ Resolved: UserRepository (took T)"}));
  EXPECT_EQ(c->getDependencyMap(), expected);
  const auto stats = c->getServiceStatistics("UserRepository");
  EXPECT_EQ(std::tie(stats.resolutionCount, stats.cacheHits), std::tuple(2, 1));
  EXPECT_EQ(loggersMade, 1);

  // The cached singleton is what resolveSync hands out, counting a cache hit.
  recorder.clear();
  EXPECT_EQ(c->resolveSync<UserRepository>(), repository);
  EXPECT_EQ(recorder.lines(), (Lines{"🔍 Resolving synchronously: UserRepository"}));
  EXPECT_EQ(c->getServiceStatistics("UserRepository").cacheHits, 2);

  // A dependency already cached when its dependent resolves it gets no edge.
  auto fresh = makeContainer();
  registerChain(*fresh);
  (void)run(fresh->resolve<UserAPI>());
  (void)run(fresh->resolve<UserRepository>());
  EXPECT_EQ(fresh->getDependencyMap(), DependencyMap({{"UserAPI", Lines{"Logger"}}}));
}

TEST_F(Resolution, CachingByScopeOnBothPaths) {
  using S = DependencyScope;
  // Scope, caching, and whether a second resolve (and resolveSync) gives the first instance.
  using Case = std::tuple<S, bool, bool>;
  for (const auto& [scope, caching, reused] :
       {Case{S::singleton, true, true}, Case{S::container, true, true}, Case{S::custom, true, true},
        Case{S::scoped, true, true}, Case{S::lazy, true, true}, Case{S::transient, true, false},
        Case{S::singleton, false, false}, Case{S::scoped, false, false},
        Case{S::lazy, false, false}}) {
    SCOPED_TRACE(std::string(toString(scope)) + (caching ? " caching" : " not caching"));
    auto c = makeContainer(DIContainerConfig(2, true, true, true, caching));
    int made = 0;
    c->registerSync<Logger>(scope, [&made](AdvancedDIContainer&) {
      ++made;
      return std::make_shared<Logger>();
    });
    const auto first = run(c->resolve<Logger>());
    LineRecorder recorder;
    EXPECT_EQ(run(c->resolve<Logger>()) == first, reused);
    EXPECT_EQ(made, reused ? 1 : 2);
    EXPECT_EQ(c->getServiceStatistics("Logger").cacheHits, reused ? 1 : 0);
    if ((scope == S::singleton || scope == S::container || scope == S::custom) && !caching) {
      EXPECT_EQ(recorder.lines().at(3), "   ⚠️ Caching disabled for: Logger");
    }
    if (reused) {
      EXPECT_EQ(c->resolveSync<Logger>(), first);
    } else {
      EXPECT_THROW((void)c->resolveSync<Logger>(), DependencyResolutionError);
    }
  }
}

TEST_F(Resolution, ScopedInstancesLiveInTheirScope) {
  auto c = makeContainer();
  c->registerSync<Logger>(DependencyScope::scoped, makeNow<Logger>);
  const auto inDefault = run(c->resolve<Logger>());
  run(c->setCurrentScope("request-1"));
  const auto inRequest = run(c->resolve<Logger>());
  EXPECT_NE(inDefault, inRequest);
  EXPECT_EQ(run(c->resolve<Logger>()), inRequest);
  EXPECT_EQ(c->resolveSync<Logger>(), inRequest);
  run(c->setCurrentScope("default"));
  EXPECT_EQ(c->resolveSync<Logger>(), inDefault);
  EXPECT_EQ(c->getCurrentScope(), "default");

  LineRecorder recorder;
  run(c->createScope("default"));  // recreating drops what the scope held
  run(c->disposeScope("request-1"));
  run(c->disposeScope("never-made"));
  EXPECT_EQ(recorder.lines(),
            (Lines{"🔧 Created scope: default", "🗑️ Disposed scope: request-1",
                   "🗑️ Disposed scope: never-made"}));
  EXPECT_THROW((void)c->resolveSync<Logger>(), DependencyResolutionError);
  run(c->setCurrentScope("request-1"));
  EXPECT_NE(run(c->resolve<Logger>()), inRequest);
}

// Each failure kind leaves the resolution stack as it was: a later resolution that would find
// a stale entry would report a false cycle or a wrong "Dependency tracked" parent.
TEST_F(Resolution, FailuresRestoreTheStack) {
  auto c = makeContainer();
  c->registerAsync<UserAPI>(DependencyScope::singleton,
                            [](AdvancedDIContainer&) -> asio::awaitable<std::shared_ptr<UserAPI>> {
                              throw std::runtime_error("backend down");
                              co_return nullptr;
                            });
  c->registerWithMetadata<UserRepository>(*c->getMetadata<UserAPI>());
  c->registerSync<other::Logger>(DependencyScope::singleton, makeNow<other::Logger>);
  c->registerSync<CycleA>(DependencyScope::transient, makeNow<CycleA>);

  // The factory's own error, unchanged.
  const auto backendDown = caught<std::runtime_error>([&] { (void)run(c->resolve<UserAPI>()); });
  EXPECT_STREQ(backendDown.value().what(), "backend down");

  LineRecorder recorder;  // a type never registered fails without a line of its own
  EXPECT_THROW((void)run(c->resolve<UserViewModel>()), DependencyResolutionError);
  EXPECT_EQ(recorder.lines(), (Lines{"🔍 Resolving: UserViewModel"}));

  EXPECT_THROW((void)run(c->resolve<UserRepository>()), DependencyResolutionError);

  // sample::Logger shares the name "Logger" with other::Logger, whose factory is registered.
  EXPECT_EQ(caught<E>([&] { (void)run(c->resolve<Logger>()); }),
            E::typeMismatch("Factory returned other::Logger but expected Logger"));

  EXPECT_THROW((void)c->resolveSync<UserViewModel>(), DependencyResolutionError);
  EXPECT_THROW((void)c->resolveSync<CycleA>(), DependencyResolutionError);

  // Nothing was left on the stack: a fresh resolution has no parent and no cycle.
  recorder.clear();
  EXPECT_TRUE(run(c->resolve<CycleA>()));
  EXPECT_EQ(normaliseDurations(recorder.lines()),
            (Lines{"🔍 Resolving: CycleA", "✅ Resolved: CycleA (took T)"}));
  EXPECT_TRUE(c->getDependencyMap().empty());
}

TEST_F(Resolution, CyclesAreCaughtOnBothPaths) {
  auto c = makeContainer();
  c->registerAsync<CycleA>(DependencyScope::singleton, resolving<CycleA, CycleB>);
  c->registerAsync<CycleB>(DependencyScope::singleton, resolving<CycleB, CycleA>);
  LineRecorder recorder;
  const std::string message = "Circular dependency detected: CycleA -> CycleB -> CycleA";
  EXPECT_EQ(caught<CircularDependencyException>([&] { (void)run(c->resolve<CycleA>()); }),
            CircularDependencyException(message, {"CycleA", "CycleB", "CycleA"}));
  EXPECT_THAT(recorder.lines(),
              ::testing::Contains("❌ Failed to resolve CycleB: Circular Dependency: " + message));
  // The closing edge is never recorded: the cycle check comes before dependency tracking.
  EXPECT_EQ(c->getDependencyMap(), DependencyMap({{"CycleA", Lines{"CycleB"}}}));

  // The synchronous path reports the whole stack.
  c->registerAsync<UserAPI>(DependencyScope::singleton, resolving<UserAPI, Logger>);
  c->registerSync<Logger>(DependencyScope::singleton, [](AdvancedDIContainer& c) {
    (void)c.resolveSync<UserAPI>();
    return std::make_shared<Logger>();
  });
  EXPECT_EQ(
      caught<CircularDependencyException>([&] { (void)run(c->resolve<UserAPI>()); }),
      CircularDependencyException("Circular dependency detected: UserAPI -> Logger -> UserAPI",
                                  {"UserAPI", "Logger", "UserAPI"}));
}

TEST_F(Resolution, SynchronousCallOffTheHomeThreadAborts) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  auto c = makeContainer();
  EXPECT_DEATH(std::thread([&c] { (void)c->getRegisteredServicesCount(); }).join(),
               "called off the container's thread");
}

}  // namespace
}  // namespace tavreldi
