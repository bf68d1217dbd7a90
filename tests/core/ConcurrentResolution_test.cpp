// Resolutions whose factories suspend, interleaved on the container's thread.

#include <gtest/gtest.h>

#include <algorithm>
#include <asio/steady_timer.hpp>
#include <atomic>
#include <thread>

#include "support/AsyncTest.hpp"
#include "tavreldi/core/Errors.hpp"
#include "tavreldi/core/LineWriter.hpp"

namespace tavreldi {
namespace {

struct A {};
struct B {};
struct C {};
struct D {};

asio::awaitable<void> pause(AdvancedDIContainer& c, int ms = 2) {
  asio::steady_timer timer(c.executor(), std::chrono::milliseconds(ms));
  co_await timer.async_wait(asio::use_awaitable);
}

// A factory that pauses, resolves each of Ds in turn (pausing after each), and counts its runs.
template <class T, class... Ds>
auto pausing(int& runs) {
  return [&runs](AdvancedDIContainer& c) -> asio::awaitable<std::shared_ptr<T>> {
    ++runs;
    co_await pause(c);
    ((co_await c.resolve<Ds>(), co_await pause(c)), ...);
    co_return std::make_shared<T>();
  };
}

class ConcurrentResolution : public testing::AsyncTest {
 protected:
  // Starts `count` resolutions of T at once; returns their futures.
  template <class T>
  std::vector<std::future<std::shared_ptr<T>>> spawn(AdvancedDIContainer& c, int count) {
    std::vector<std::future<std::shared_ptr<T>>> futures;
    for (int i = 0; i < count; ++i) {
      futures.push_back(asio::co_spawn(io, c.resolve<T>(), asio::use_future));
    }
    for (auto& future : futures) drive(future);
    return futures;
  }
  // Runs handlers until `runs` factories have started.
  void startFactories(const int& runs, int count) {
    while (runs < count) {
      io.restart();
      io.run_one();
    }
  }
};

TEST_F(ConcurrentResolution, OneCreationPerCachedInstance) {
  using S = DependencyScope;
  for (const S scope : {S::singleton, S::container, S::custom, S::lazy, S::scoped}) {
    SCOPED_TRACE(toString(scope));
    auto c = makeContainer();
    int runs = 0;
    c->registerAsync<A>(scope, pausing<A>(runs));
    LineRecorder recorder;
    std::vector<std::shared_ptr<A>> instances;
    for (auto& future : spawn<A>(*c, 1000)) instances.push_back(future.get());
    const auto first = instances[0];
    EXPECT_EQ(std::count(instances.begin(), instances.end(), first), 1000);
    EXPECT_EQ(runs, 1);
    EXPECT_EQ(c->getServiceStatistics("A").cacheHits, 999);
    const auto& lines = recorder.lines();
    const bool singletonFamily = scope != S::lazy && scope != S::scoped;
    EXPECT_EQ(std::count(lines.begin(), lines.end(), "   ✅ Found cached instance for: A"),
              singletonFamily ? 999 : 0);
    EXPECT_EQ(std::count(lines.begin(), lines.end(), "🔍 Resolving: A"), 1000);
    EXPECT_EQ(c->resolveSync<A>(), first);
  }
}

TEST_F(ConcurrentResolution, ASharedFailureIsNotCached) {
  auto c = makeContainer();
  int runs = 0;
  c->registerAsync<A>(DependencyScope::singleton,
                      [&runs](AdvancedDIContainer& c) -> asio::awaitable<std::shared_ptr<A>> {
                        co_await pause(c);
                        if (++runs == 1) throw std::runtime_error("backend down");
                        co_return std::make_shared<A>();
                      });
  for (auto& future : spawn<A>(*c, 10)) {
    const auto error = testing::caught<std::runtime_error>([&] { future.get(); });
    EXPECT_STREQ(error.value().what(), "backend down");
  }
  EXPECT_EQ(runs, 1);
  EXPECT_TRUE(run(c->resolve<A>()));
  EXPECT_EQ(runs, 2);
}

// Interleaved chains record their own edges and see no cycle; a second chain that needs an
// instance the first is still making awaits it, and its edge is recorded too.
TEST_F(ConcurrentResolution, ChainsKeepTheirOwnPaths) {
  auto c = makeContainer();
  int runs = 0;
  c->registerAsync<A>(DependencyScope::transient, pausing<A, B>(runs));
  c->registerAsync<B>(DependencyScope::transient, pausing<B>(runs));
  c->registerAsync<C>(DependencyScope::transient, pausing<C, D, B>(runs));
  c->registerAsync<D>(DependencyScope::singleton, pausing<D>(runs));
  auto a = asio::co_spawn(io, c->resolve<A>(), asio::use_future);
  auto chains = spawn<C>(*c, 3);
  drive(a);
  EXPECT_TRUE(a.get());
  for (auto& chain : chains) EXPECT_TRUE(chain.get());
  EXPECT_EQ(c->getDependencyMap(), DependencyMap({{"A", {"B"}}, {"C", {"D", "B"}}}));
  EXPECT_EQ(runs, 1 + 1 + 3 + 3 + 1);  // A, its B; three Cs and their Bs; one D
}

// Chain 1 makes A and needs B while chain 2 makes B and needs A.
TEST_F(ConcurrentResolution, ACycleAcrossChainsFails) {
  auto c = makeContainer();
  int runs = 0;
  c->registerAsync<A>(DependencyScope::singleton, pausing<A, B>(runs));
  c->registerAsync<B>(DependencyScope::singleton, pausing<B, A>(runs));
  auto first = asio::co_spawn(io, c->resolve<A>(), asio::use_future);
  auto second = asio::co_spawn(io, c->resolve<B>(), asio::use_future);
  drive(first);
  drive(second);
  const CircularDependencyException expected("Circular dependency detected: A -> B -> A",
                                             {"A", "B", "A"});
  EXPECT_EQ(testing::caught<CircularDependencyException>([&] { first.get(); }), expected);
  EXPECT_EQ(testing::caught<CircularDependencyException>([&] { second.get(); }), expected);
}

// Callers here and on a pool, of a factory that finishes elsewhere: each resolution runs on the
// container's thread (its lines reach this thread's recorder); each caller goes on on its own.
TEST_F(ConcurrentResolution, EveryResolutionRunsOnTheHomeThread) {
  auto c = makeContainer();
  asio::thread_pool pool(2);
  const auto home = std::this_thread::get_id();
  std::atomic<int> factoriesAway = 0;
  std::atomic<int> made = 0;
  c->registerAsync<A>(DependencyScope::transient,
                      [&](AdvancedDIContainer&) -> asio::awaitable<std::shared_ptr<A>> {
                        if (std::this_thread::get_id() != home) ++factoriesAway;
                        co_await asio::post(asio::bind_executor(pool, asio::use_awaitable));
                        // Every fourth fails on the pool's thread: reported from the home one.
                        if (++made % 4 == 0) throw std::runtime_error("lost");
                        co_return std::make_shared<A>();
                      });
  std::atomic<int> callersOnTheirThread = 0;
  auto resolveFrom = [&](bool fromPool) -> asio::awaitable<std::shared_ptr<A>> {
    auto a = co_await c->resolve<A>();
    if ((std::this_thread::get_id() == home) != fromPool) ++callersOnTheirThread;
    co_return a;
  };
  LineRecorder recorder;
  std::vector<std::future<std::shared_ptr<A>>> futures;
  for (int i = 0; i < 400; ++i) {
    const bool fromPool = i % 2 == 1;
    futures.push_back(fromPool ? asio::co_spawn(pool, resolveFrom(true), asio::use_future)
                               : asio::co_spawn(io, resolveFrom(false), asio::use_future));
  }
  int failed = 0;
  for (auto& future : futures) {
    drive(future);
    try {
      EXPECT_TRUE(future.get());
    } catch (const std::runtime_error& e) {
      failed += std::string_view(e.what()) == "lost" ? 1 : 0;
    }
  }
  const auto& lines = recorder.lines();
  const auto count = [&lines](std::string_view start) {
    return std::count_if(lines.begin(), lines.end(),
                         [start](const std::string& l) { return l.starts_with(start); });
  };
  EXPECT_EQ(std::tuple(count("✅ Resolved: A"), count("❌ Failed to resolve A: lost"), failed),
            std::tuple(300, 100, 100));
  EXPECT_EQ(callersOnTheirThread, 300);
  EXPECT_EQ(factoriesAway, 0);
  pool.join();
}

TEST_F(ConcurrentResolution, ContainerDestroyedOrChangedMidResolution) {
  int runs = 0;
  {  // Destroyed while the factory is suspended: the resolution fails when it resumes.
    auto c = makeContainer();
    c->registerAsync<A>(DependencyScope::singleton, pausing<A>(runs));
    auto future = asio::co_spawn(io, c->resolve<A>(), asio::use_future);
    startFactories(runs, 1);
    c.reset();
    drive(future);
    EXPECT_EQ(testing::caught<DependencyResolutionError>([&] { future.get(); }),
              DependencyResolutionError::factoryError("Container was destroyed while resolving A"));
  }
  // A scoped instance is kept in the scope that was current when its resolution started.
  auto c = makeContainer();
  c->registerAsync<A>(DependencyScope::scoped, pausing<A>(runs));
  c->registerAsync<B>(DependencyScope::singleton, pausing<B>(runs));
  auto scoped = asio::co_spawn(io, c->resolve<A>(), asio::use_future);
  startFactories(runs, 2);
  run(c->setCurrentScope("other"));
  drive(scoped);
  EXPECT_THROW((void)c->resolveSync<A>(), DependencyResolutionError);
  run(c->setCurrentScope("default"));
  EXPECT_EQ(c->resolveSync<A>(), scoped.get());

  // cleanup() while an instance is being made keeps it out of the cache.
  auto single = asio::co_spawn(io, c->resolve<B>(), asio::use_future);
  startFactories(runs, 3);
  run(c->cleanup());
  drive(single);
  EXPECT_THROW((void)c->resolveSync<B>(), DependencyResolutionError);
  EXPECT_NE(run(c->resolve<B>()), single.get());
}

}  // namespace
}  // namespace tavreldi
