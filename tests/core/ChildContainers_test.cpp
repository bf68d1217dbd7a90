// Child containers, overrides for tests, keyed registrations and name collisions.

#include <gtest/gtest.h>

#include <asio/steady_timer.hpp>
#include <nlohmann/json.hpp>
#include <thread>

#include "support/AsyncTest.hpp"
#include "tavreldi/core/ContainerBuilder.hpp"
#include "tavreldi/core/Errors.hpp"
#include "tavreldi/core/LineWriter.hpp"

namespace billing {
struct Client {};
}  // namespace billing
namespace crm {
struct Client {};
}  // namespace crm

namespace tavreldi {
namespace {

using testing::caught;
using testing::normaliseDurations;
using Lines = std::vector<std::string>;
using S = DependencyScope;
using E = DependencyResolutionError;
template <class T>
using P = std::shared_ptr<T>;

struct Clock {
  long value = 1;
};
struct FakeClock : Clock {
  FakeClock() : Clock{42} {}
};
struct Logger {};
struct Greeter {
  P<Logger> logger;
};

P<Clock> clock42(AdvancedDIContainer& /*unused*/) { return std::make_shared<Clock>(Clock{42}); }
asio::awaitable<P<Clock>> asyncClock42(AdvancedDIContainer& c) { co_return clock42(c); }

using ChildContainers = testing::AsyncTest;

// Each way of replacing a registration counts from the child's next resolution, although the
// parent has the original cached, which the parent keeps; a second override counts at once too.
TEST_F(ChildContainers, OverridesTakeEffectAtTheNextResolution) {
  for (int way = 0; way < 5; ++way) {
    SCOPED_TRACE(way);
    LineRecorder quiet;
    auto parent = makeContainer();
    parent->registerType<Clock>(S::singleton);
    const auto original = run(parent->resolve<Clock>());
    auto child = parent->createChild();
    if (way == 0) child->registerType<Clock, FakeClock>(S::singleton);
    if (way == 1) child->registerAsync<Clock>(S::lazy, asyncClock42);
    if (way == 2) child->registerSync<Clock>(S::scoped, clock42);
    if (way == 3) child->registerInstance(clock42(*child), S::singleton);
    if (way == 4) {
      ContainerBuilder builder(parent);
      builder.registerSync<Clock>(S::container, DependencyLifetime::application, clock42);
      child = std::static_pointer_cast<AdvancedDIContainerImpl>(run(builder.build()));
    }
    run(child->awaitPendingRegistrations());
    const auto fake = run(child->resolve<Clock>());
    EXPECT_EQ(fake->value, 42);
    EXPECT_EQ(child->resolveSync<Clock>(), fake);  // cached in the child
    EXPECT_EQ(run(parent->resolve<Clock>()), original);
    child->registerSync<Clock>(
        S::singleton, [](AdvancedDIContainer&) { return std::make_shared<Clock>(Clock{7}); });
    EXPECT_EQ(run(child->resolve<Clock>())->value, 7);
    EXPECT_EQ(parent->resolveSync<Clock>(), original);
  }
}

// The child's own service depends on the parent's: the parent makes it (its lines, cache, counts),
// the child records the edge; cached by the parent, it is the child's too, synchronously as well.
TEST_F(ChildContainers, InheritedServicesAreTheParentsInstances) {
  auto parent = makeContainer();
  parent->registerSync<Logger>(S::singleton, makeNow<Logger>);
  auto child = parent->createChild();
  child->registerType<Greeter>(S::singleton);
  LineRecorder recorder;
  const auto greeter = run(child->resolve<Greeter>());
  EXPECT_EQ(testing::joined(normaliseDurations(recorder.lines())),
            "🔍 Resolving: Greeter\n🔄 resolveSingleton called for: Greeter\n"
            "   🔄 Creating new instance for: Greeter\n🔗 Dependency tracked: Greeter -> Logger\n"
            "🔍 Resolving: Logger\n🔄 resolveSingleton called for: Logger\n"
            "   🔄 Creating new instance for: Logger\n   💾 Caching instance for: Logger\n"
            "   ✅ Instance cached successfully for: Logger\n✅ Resolved: Logger (took T)\n"
            "   💾 Caching instance for: Greeter\n"
            "   ✅ Instance cached successfully for: Greeter\n✅ Resolved: Greeter (took T)\n");
  EXPECT_EQ(parent->resolveSync<Logger>(), greeter->logger);
  EXPECT_EQ(child->resolveSync<Logger>(), greeter->logger);
  EXPECT_EQ(child->getDependencyMap(), DependencyMap({{"Greeter", Lines{"Logger"}}}));
  EXPECT_TRUE(parent->getDependencyMap().empty());
  EXPECT_EQ(parent->getServiceStatistics("Logger").resolutionCount, 1);
  EXPECT_EQ(child->getServiceStatistics("Logger").resolutionCount, 0);
  EXPECT_FALSE(child->isRegistered<Logger>());

  // The child's cleanup and its children's destruction leave the parent as it was. The child
  // does not keep its parent, whose services it can no longer reach once the parent is gone.
  run(child->cleanup());
  const auto again = run(child->resolve<Greeter>());
  EXPECT_NE(again, greeter);
  EXPECT_EQ(again->logger, greeter->logger);
  parent.reset();
  EXPECT_EQ(caught<E>([&] { (void)run(child->resolve<Logger>()); }),
            E::factoryError("Container was destroyed while resolving Logger"));
  EXPECT_EQ(run(child->resolve<Greeter>()), again);  // its own cache is the child's
}

// One creation of the parent's singleton serves the parent and two children resolving it at
// once; a child on another thread reaches the parent only on the parent's thread.
TEST_F(ChildContainers, InheritedCreationsAreSharedAcrossTheLinkAndThreads) {
  LineRecorder quiet;
  auto parent = makeContainer();
  int runs = 0;
  std::thread::id factoryThread;
  parent->registerAsync<Logger>(
      S::singleton, [&](AdvancedDIContainer& c) -> asio::awaitable<P<Logger>> {
        ++runs;
        factoryThread = std::this_thread::get_id();
        asio::steady_timer timer(c.executor(), std::chrono::milliseconds(5));
        co_await timer.async_wait(asio::use_awaitable);
        co_return std::make_shared<Logger>();
      });
  asio::thread_pool pool(1);
  auto onPool = asio::co_spawn(
      pool,
      [&]() -> asio::awaitable<P<Logger>> {
        auto child = parent->createChild(DIContainerConfig::strict(), pool.get_executor());
        const auto logger = co_await child->resolve<Logger>();
        EXPECT_TRUE(pool.get_executor().running_in_this_thread());
        co_return logger;
      },
      asio::use_future);
  const auto first = parent->createChild();
  const auto second = parent->createChild();
  std::vector<std::future<P<Logger>>> futures;
  for (const auto& c : {parent, first, second}) {
    futures.push_back(asio::co_spawn(io, c->resolve<Logger>(), asio::use_future));
  }
  drive(onPool);
  const auto logger = onPool.get();
  for (auto& future : futures) {
    drive(future);
    EXPECT_EQ(future.get(), logger);
  }
  EXPECT_EQ(runs, 1);
  EXPECT_EQ(factoryThread, std::this_thread::get_id());
  pool.join();
}

// Keys make side-by-side registrations of one type, named "Client[crm]" in lines, maps and the
// graph; a malformed key is refused before anything happens.
TEST_F(ChildContainers, KeyedRegistrationsLiveSideBySide) {
  auto c = makeContainer();
  LineRecorder recorder;
  c->registerType<crm::Client>("billing", S::singleton);
  c->registerInstance("crm", std::make_shared<crm::Client>(), S::lazy);
  run(c->awaitPendingRegistrations());
  c->registerType<crm::Client>(S::singleton);
  c->registerAsync<Greeter>(S::transient,
                            [](AdvancedDIContainer& c) -> asio::awaitable<P<Greeter>> {
                              const auto client = co_await c.resolve<crm::Client>("crm");
                              co_return client ? std::make_shared<Greeter>() : nullptr;
                            });
  const auto billing = run(c->resolve<crm::Client>("billing"));
  (void)run(c->resolve<Greeter>());
  EXPECT_NE(billing, run(c->resolve<crm::Client>()));
  EXPECT_NE(billing, c->resolveSync<crm::Client>("crm"));
  EXPECT_EQ(c->resolveSync<crm::Client>("billing"), billing);
  EXPECT_EQ(recorder.lines().front(),
            "🔧 Registered Client[billing] with scope: singleton and dependencies: []");
  EXPECT_EQ(c->getDependencyMap(), DependencyMap({{"Greeter", Lines{"Client[crm]"}}}));
  EXPECT_EQ(run(c->getDependencyGraph()).nodes.at(1).id, "Client[crm]");
  EXPECT_EQ(serviceKey<billing::Client>("x").qualifiedName, "billing::Client[x]");

  for (const std::string& key : {std::string(), std::string("a]"), std::string("[a"),
                                 std::string("x\ny"), std::string(129, 'k')}) {
    EXPECT_EQ(caught<E>([&] { c->registerType<Logger>(key, S::singleton); }),
              E::validationError("Invalid service key: a key is 1 to 128 bytes, without control "
                                 "characters, '[' or ']'"));
  }
  EXPECT_TRUE(isValidServiceKey(std::string(128, 'k')));
  EXPECT_FALSE(c->isRegistered<Logger>());
}

// Two C++ types under one service name: one warning naming both, and a problem of its own kind.
TEST_F(ChildContainers, SameNamedTypesNeverCollideSilently) {
  auto c = makeContainer();
  LineRecorder recorder;
  c->registerType<billing::Client>(S::singleton);
  c->registerType<billing::Client>(S::singleton);  // the same type again: no warning
  c->registerType<crm::Client>(S::transient);
  c->registerType<billing::Client>("billing", S::singleton);  // a key keeps them apart
  c->registerType<crm::Client>("crm", S::singleton);
  const std::string warning =
      "⚠️ Name collision: Client is already registered for billing::Client; crm::Client now "
      "replaces it (register one of them under a key to keep both)";
  EXPECT_EQ(recorder.lines(),
            (Lines{"🔧 Registered Client with scope: singleton and dependencies: []",
                   "🔧 Registered Client with scope: singleton and dependencies: []", warning,
                   "🔧 Registered Client with scope: transient and dependencies: []",
                   "🔧 Registered Client[billing] with scope: singleton and dependencies: []",
                   "🔧 Registered Client[crm] with scope: singleton and dependencies: []"}));
  const RegistrationProblem collision{
      RegistrationProblemKind::nameCollision, "Client", Lines{"billing::Client", "crm::Client"},
      "Client names two types, billing::Client and crm::Client; only one of them can be resolved"};
  EXPECT_EQ(run(c->validateRegistrations()), RegistrationReport{{collision}});
  EXPECT_EQ(nlohmann::json(collision)["kind"], "nameCollision");

  // Across the link: the child's crm::Client overrides the parent's billing::Client.
  auto parent = makeContainer();
  parent->registerType<billing::Client>(S::singleton);
  auto child = parent->createChild();
  recorder.clear();
  child->registerType<crm::Client>(S::singleton);
  EXPECT_EQ(recorder.lines().at(0), warning);
  EXPECT_EQ(run(child->validateRegistrations()), RegistrationReport{{collision}});
  EXPECT_TRUE(run(parent->validateRegistrations()).ok());
}

// A child's graph shows its own registrations, then the inherited ones, marked in the nodes'
// metadata; the parent's graph carries no mark; both keep the graph's JSON form.
TEST_F(ChildContainers, ChildGraphMarksInheritedAndOverridingNodes) {
  LineRecorder quiet;
  auto parent = makeContainer();
  parent->registerType<Logger>(S::singleton);
  parent->registerType<Clock>(S::singleton);
  parent->registerType<Greeter>(S::transient);
  auto child = parent->createChild();
  child->registerType<Clock, FakeClock>(S::singleton);
  child->registerType<Greeter>("mine", S::singleton);
  const auto graph = run(child->getDependencyGraph());
  Lines nodes;
  for (const auto& node : graph.nodes) {
    const auto origin = node.metadata.find("origin");
    nodes.push_back(node.id + ":" + (origin == node.metadata.end() ? "" : origin->second));
  }
  EXPECT_EQ(nodes,
            (Lines{"Clock:override", "Greeter[mine]:", "Logger:inherited", "Greeter:inherited"}));
  EXPECT_EQ(graph.edges.size(), 2U);  // Greeter[mine] -> Logger, Greeter -> Logger
  EXPECT_TRUE(run(child->validateRegistrations()).ok());  // Logger is there, inherited
  EXPECT_EQ(nlohmann::json(graph).get<DependencyGraph>().nodes[2].metadata.at("origin"),
            "inherited");
  for (const auto& node : run(parent->getDependencyGraph()).nodes) {
    EXPECT_FALSE(node.metadata.contains("origin")) << node.id.str();
  }
}

}  // namespace
}  // namespace tavreldi
