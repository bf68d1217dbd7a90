#include <gtest/gtest.h>

#include <asio/steady_timer.hpp>
#include <thread>

#include "support/AsyncTest.hpp"
#include "support/SampleServices.hpp"
#include "tavreldi/core/Errors.hpp"
#include "tavreldi/core/LineWriter.hpp"

namespace tavreldi {
namespace {

using namespace sample;
using testing::normaliseDurations;
using Lines = std::vector<std::string>;

// Resolves D through the container, then makes a T holding it when T can hold one.
template <class T, class D>
asio::awaitable<std::shared_ptr<T>> resolving(AdvancedDIContainer& c) {
  auto dependency = co_await c.resolve<D>();
  if constexpr (requires { T{dependency}; }) {
    co_return std::make_shared<T>(T{dependency});
  } else {
    co_return std::make_shared<T>();
  }
}

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
  EXPECT_EQ(recorder.lines(),
            (Lines{"🔧 Registered UserRepository with scope: singleton and dependencies: []",
                   "🔧 Registered UserAPI with scope: singleton and dependencies: []",
                   "🔧 Registered Logger with scope: transient and dependencies: []"}));
  EXPECT_EQ(c->getRegisteredServicesCount(), 3);
  c->registerSync<Logger>(DependencyScope::lazy, DependencyLifetime::session,
                          [](AdvancedDIContainer&) { return std::make_shared<Logger>(); });
  EXPECT_EQ(c->getRegisteredServicesCount(), 3);
  const auto metadata = c->getMetadata<Logger>();
  ASSERT_TRUE(metadata);
  EXPECT_EQ(metadata->scope, DependencyScope::lazy);
  EXPECT_EQ(metadata->lifetime, DependencyLifetime::session);
  EXPECT_EQ(metadata->typeName, "Logger");
  EXPECT_FALSE(c->getMetadata("Nothing"));
  EXPECT_FALSE(c->isRegistered<UserViewModel>());

  // Metadata alone registers the type but gives it no factory.
  c->registerWithMetadata<UserViewModel>(metadata->with({.typeName = "UserViewModel"}));
  EXPECT_TRUE(c->isRegistered<UserViewModel>());
  EXPECT_EQ(c->getRegisteredServicesCount(), 3);
  EXPECT_EQ(recorder.lines().size(), 4u);
  try {
    (void)run(c->resolve<UserViewModel>());
    FAIL();
  } catch (const DependencyResolutionError& error) {
    EXPECT_EQ(error.kind(), ResolutionErrorKind::factoryError);
    EXPECT_STREQ(error.what(), "Factory error: No factory found for UserViewModel");
  }
}

TEST_F(Resolution, ThreeLevelChainLinesAndDependencyMap) {
  auto c = makeContainer();
  registerChain(*c);
  LineRecorder recorder;
  const auto repository = run(c->resolve<UserRepository>());
  ASSERT_TRUE(repository && repository->api && repository->api->logger);
  EXPECT_EQ(
      normaliseDurations(recorder.lines()),
      (Lines{"🔍 Resolving: UserRepository", "🔄 resolveSingleton called for: UserRepository",
             "   🔄 Creating new instance for: UserRepository", "🔍 Resolving: UserAPI",
             "🔗 Dependency tracked: UserRepository -> UserAPI",
             "🔄 resolveSingleton called for: UserAPI", "   🔄 Creating new instance for: UserAPI",
             "🔍 Resolving: Logger", "🔗 Dependency tracked: UserAPI -> Logger",
             "✅ Resolved: Logger (took T)", "   💾 Caching instance for: UserAPI",
             "   ✅ Instance cached successfully for: UserAPI", "✅ Resolved: UserAPI (took T)",
             "   💾 Caching instance for: UserRepository",
             "   ✅ Instance cached successfully for: UserRepository",
             "✅ Resolved: UserRepository (took T)"}));
  const DependencyMap expected({{"UserRepository", {"UserAPI"}}, {"UserAPI", {"Logger"}}});
  EXPECT_EQ(c->getDependencyMap(), expected);

  // Served from the cache: same object, no new edges, one hit.
  recorder.clear();
  const auto again = run(c->resolve<UserRepository>());
  EXPECT_EQ(again, repository);
  EXPECT_EQ(normaliseDurations(recorder.lines()),
            (Lines{"🔍 Resolving: UserRepository", "🔄 resolveSingleton called for: UserRepository",
                   "   ✅ Found cached instance for: UserRepository",
                   "✅ Resolved: UserRepository (took T)"}));
  EXPECT_EQ(c->getDependencyMap(), expected);
  const auto stats = c->getServiceStatistics("UserRepository");
  EXPECT_EQ(stats.resolutionCount, 2);
  EXPECT_EQ(stats.cacheHits, 1);
  EXPECT_EQ(loggersMade, 1);

  // The cached singleton is what resolveSync hands out; the transient never is.
  recorder.clear();
  EXPECT_EQ(c->resolveSync<UserRepository>(), repository);
  EXPECT_EQ(recorder.lines(), (Lines{"🔍 Resolving synchronously: UserRepository"}));
  try {
    (void)c->resolveSync<Logger>();
    FAIL();
  } catch (const DependencyResolutionError& error) {
    EXPECT_STREQ(error.what(), "Factory error: Instance not available for synchronous resolution");
  }
  EXPECT_EQ(c->getServiceStatistics("UserRepository").cacheHits, 2);
}

TEST_F(Resolution, EdgesAreRecordedOnlyTowardsUncachedDependencies) {
  auto c = makeContainer();
  registerChain(*c);
  (void)run(c->resolve<UserAPI>());  // caches UserAPI before anyone depends on it
  LineRecorder recorder;
  (void)run(c->resolve<UserRepository>());
  const auto map = c->getDependencyMap();
  EXPECT_EQ(map.find("UserRepository"), nullptr);
  EXPECT_EQ(*map.find("UserAPI"), Lines{"Logger"});
}

struct CachingCase {
  DependencyScope scope;
  bool caching;
  bool reused;     // a second resolve returns the first instance
  bool syncWorks;  // resolveSync hands out the cached instance
};

class CachingByScope : public testing::AsyncTest,
                       public ::testing::WithParamInterface<CachingCase> {};

TEST_P(CachingByScope, BothPaths) {
  const auto [scope, caching, reused, syncWorks] = GetParam();
  auto c = makeContainer(DIContainerConfig(2, true, true, true, caching));
  int made = 0;
  c->registerSync<Logger>(scope, [&made](AdvancedDIContainer&) {
    ++made;
    return std::make_shared<Logger>();
  });
  const auto first = run(c->resolve<Logger>());
  LineRecorder recorder;
  const auto second = run(c->resolve<Logger>());
  EXPECT_EQ(first == second, reused);
  EXPECT_EQ(made, reused ? 1 : 2);
  EXPECT_EQ(c->getServiceStatistics("Logger").cacheHits, reused ? 1 : 0);
  const bool singletonProcedure = scope == DependencyScope::singleton ||
                                  scope == DependencyScope::container ||
                                  scope == DependencyScope::custom;
  if (singletonProcedure && !caching) {
    EXPECT_EQ(recorder.lines().at(3), "   ⚠️ Caching disabled for: Logger");
  }
  if (syncWorks) {
    EXPECT_EQ(c->resolveSync<Logger>(), first);
  } else {
    EXPECT_THROW((void)c->resolveSync<Logger>(), DependencyResolutionError);
  }
}

INSTANTIATE_TEST_SUITE_P(
    Scopes, CachingByScope,
    ::testing::Values(CachingCase{DependencyScope::singleton, true, true, true},
                      CachingCase{DependencyScope::container, true, true, true},
                      CachingCase{DependencyScope::custom, true, true, true},
                      CachingCase{DependencyScope::scoped, true, true, true},
                      CachingCase{DependencyScope::lazy, true, true, true},
                      CachingCase{DependencyScope::transient, true, false, false},
                      CachingCase{DependencyScope::singleton, false, false, false},
                      CachingCase{DependencyScope::scoped, false, false, false},
                      CachingCase{DependencyScope::lazy, false, false, false}));

TEST_F(Resolution, ScopedInstancesLiveInTheirScope) {
  auto c = makeContainer();
  c->registerSync<Logger>(DependencyScope::scoped,
                          [](AdvancedDIContainer&) { return std::make_shared<Logger>(); });
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
TEST_F(Resolution, FailuresRestoreTheStackAndPrintTheirLine) {
  auto c = makeContainer();
  c->registerAsync<UserAPI>(DependencyScope::singleton,
                            [](AdvancedDIContainer&) -> asio::awaitable<std::shared_ptr<UserAPI>> {
                              throw std::runtime_error("backend down");
                              co_return nullptr;
                            });
  c->registerWithMetadata<UserRepository>(*c->getMetadata<UserAPI>());
  c->registerSync<other::Logger>(DependencyScope::singleton, [](AdvancedDIContainer&) {
    return std::make_shared<other::Logger>();
  });
  c->registerSync<CycleA>(DependencyScope::transient,
                          [](AdvancedDIContainer&) { return std::make_shared<CycleA>(); });

  LineRecorder recorder;
  try {
    (void)run(c->resolve<UserAPI>());
    FAIL();
  } catch (const std::runtime_error& error) {
    EXPECT_STREQ(error.what(), "backend down");  // the factory's own error, unchanged
  }
  EXPECT_EQ(normaliseDurations(recorder.lines()),
            (Lines{"🔍 Resolving: UserAPI", "🔄 resolveSingleton called for: UserAPI",
                   "   🔄 Creating new instance for: UserAPI",
                   "❌ Failed to resolve UserAPI: backend down"}));

  recorder.clear();
  EXPECT_THROW((void)run(c->resolve<UserViewModel>()), DependencyResolutionError);
  EXPECT_EQ(recorder.lines(), (Lines{"🔍 Resolving: UserViewModel"}));

  EXPECT_THROW((void)run(c->resolve<UserRepository>()), DependencyResolutionError);

  // sample::Logger shares the name "Logger" with other::Logger, whose factory is registered.
  recorder.clear();
  try {
    (void)run(c->resolve<Logger>());
    FAIL();
  } catch (const DependencyResolutionError& error) {
    EXPECT_EQ(error.kind(), ResolutionErrorKind::typeMismatch);
    EXPECT_STREQ(error.what(),
                 "Type mismatch: Factory returned other::Logger but expected sample::Logger");
  }
  EXPECT_EQ(recorder.lines().back(),
            "❌ Failed to resolve Logger: Type mismatch: Factory returned other::Logger but "
            "expected sample::Logger");

  EXPECT_THROW((void)c->resolveSync<UserViewModel>(), DependencyResolutionError);
  EXPECT_THROW((void)c->resolveSync<CycleA>(), DependencyResolutionError);

  // Nothing was left on the stack: a fresh resolution has no parent and no cycle.
  recorder.clear();
  EXPECT_TRUE(run(c->resolve<CycleA>()));
  EXPECT_EQ(recorder.lines().size(), 2u);
  EXPECT_TRUE(c->getDependencyMap().empty());
}

TEST_F(Resolution, CyclesAreCaughtOnBothPaths) {
  auto c = makeContainer();
  c->registerAsync<CycleA>(DependencyScope::singleton, resolving<CycleA, CycleB>);
  c->registerAsync<CycleB>(DependencyScope::singleton, resolving<CycleB, CycleA>);
  LineRecorder recorder;
  try {
    (void)run(c->resolve<CycleA>());
    FAIL();
  } catch (const CircularDependencyException& error) {
    EXPECT_EQ(error.message(), "Circular dependency detected: CycleA -> CycleB -> CycleA");
    EXPECT_EQ(error.cycle(), (Lines{"CycleA", "CycleB", "CycleA"}));
  }
  const auto lines = recorder.lines();
  EXPECT_NE(std::find(lines.begin(), lines.end(),
                      "❌ Failed to resolve CycleB: Circular Dependency: Circular dependency "
                      "detected: CycleA -> CycleB -> CycleA"),
            lines.end());
  // The closing edge is never recorded: the cycle check comes before dependency tracking.
  EXPECT_EQ(*c->getDependencyMap().find("CycleA"), Lines{"CycleB"});
  EXPECT_EQ(c->getDependencyMap().find("CycleB"), nullptr);

  // The synchronous path reports the whole stack.
  c->registerAsync<UserAPI>(DependencyScope::singleton, resolving<UserAPI, Logger>);
  c->registerSync<Logger>(DependencyScope::singleton, [](AdvancedDIContainer& c) {
    (void)c.resolveSync<UserAPI>();
    return std::make_shared<Logger>();
  });
  try {
    (void)run(c->resolve<UserAPI>());
    FAIL();
  } catch (const CircularDependencyException& error) {
    EXPECT_EQ(error.cycle(), (Lines{"UserAPI", "Logger", "UserAPI"}));
  }

  // With detection off the container raises no cycle error of its own: the recursion is
  // stopped here by a factory that gives up on the second visit.
  auto lenient = makeContainer(DIContainerConfig::disabled());
  int depth = 0;
  lenient->registerAsync<CycleA>(
      DependencyScope::transient,
      [&depth](AdvancedDIContainer& c) -> asio::awaitable<std::shared_ptr<CycleA>> {
        if (++depth > 3) throw std::logic_error("deep enough");
        (void)co_await c.resolve<CycleA>();
        co_return std::make_shared<CycleA>();
      });
  EXPECT_THROW((void)run(lenient->resolve<CycleA>()), std::logic_error);
  EXPECT_EQ(depth, 4);
}

asio::awaitable<std::shared_ptr<UserAPI>> slowApi(AdvancedDIContainer& c) {
  asio::steady_timer timer(c.executor(), std::chrono::milliseconds(5));
  co_await timer.async_wait(asio::use_awaitable);
  co_return std::make_shared<UserAPI>();
}

TEST_F(Resolution, ResolveFromAnotherThreadRunsOnTheHomeThread) {
  auto c = makeContainer();
  std::thread::id factoryThread;
  c->registerAsync<UserAPI>(DependencyScope::singleton, [&factoryThread](AdvancedDIContainer& c) {
    factoryThread = std::this_thread::get_id();
    return slowApi(c);
  });
  asio::thread_pool pool(1);
  auto future = asio::co_spawn(pool, c->resolve<UserAPI>(), asio::use_future);
  drive(future);
  EXPECT_TRUE(future.get());
  EXPECT_EQ(factoryThread, std::this_thread::get_id());
  pool.join();
}

TEST_F(Resolution, SynchronousCallOffTheHomeThreadAborts) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  auto c = makeContainer();
  EXPECT_DEATH(std::thread([&c] { (void)c->getRegisteredServicesCount(); }).join(),
               "called off the container's thread");
}

}  // namespace
}  // namespace tavreldi
