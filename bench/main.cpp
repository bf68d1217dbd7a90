// Benchmarks of the container's hot paths and of graph analysis at scale.
//
// Run with standard output redirected (the container prints its lines there) and the figures
// written as JSON:
//   tavreldi-bench --benchmark_out=bench.json --benchmark_out_format=json > /dev/null

#include <benchmark/benchmark.h>

#include <array>
#include <asio.hpp>
#include <atomic>
#include <charconv>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <deque>
#include <memory>
#include <new>
#include <random>
#include <string>
#include <typeindex>
#include <unordered_map>

#include "core/detail/ContainerState.hpp"
#include "tavreldi/core/AdvancedDIContainerImpl.hpp"
#include "tavreldi/graph/CriticalPaths.hpp"
#include "tavreldi/visualization/DiagramGenerators.hpp"

// Every allocation in the process (operator new and aligned_alloc) is counted, so that a
// benchmark can report allocations per iteration. Relaxed atomics: the figure is read on the
// benchmark's own thread.
namespace {
std::atomic<std::uint64_t> allocations{0};
}  // namespace

// GCC sees malloc and free in the replaced pair and wrongly reports them as mismatched.
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic ignored "-Wmismatched-new-delete"
#endif
void* operator new(std::size_t size) {
  allocations.fetch_add(1, std::memory_order_relaxed);
  if (void* p = std::malloc(size == 0 ? 1 : size)) return p;
  throw std::bad_alloc();
}
void operator delete(void* p) noexcept { std::free(p); }
// Asio allocates coroutine frames with aligned_alloc.
extern "C" void* aligned_alloc(std::size_t alignment, std::size_t size) noexcept {
  allocations.fetch_add(1, std::memory_order_relaxed);
  void* p = nullptr;
  return posix_memalign(&p, std::max(alignment, sizeof(void*)), size) == 0 ? p : nullptr;
}
void operator delete(void* p, std::size_t /*size*/) noexcept { std::free(p); }

namespace {

using tavreldi::AdvancedDIContainer;
using tavreldi::AdvancedDIContainerImpl;
using tavreldi::DependencyScope;
using tavreldi::DIContainerConfig;

struct Leaf {};
struct Middle {
  std::shared_ptr<Leaf> leaf;
};
struct Top {
  std::shared_ptr<Middle> middle;
};
struct Generated {};
struct Consumer {
  std::shared_ptr<Leaf> leaf;
};

// Reports the allocations made per iteration since `before` was read.
void reportAllocations(benchmark::State& state, std::uint64_t before) {
  const auto made = allocations.load(std::memory_order_relaxed) - before;
  state.counters["allocations"] =
      static_cast<double>(made) /
      static_cast<double>(std::max<std::int64_t>(state.iterations(), 1));
}

// An analytics provider that does nothing: the cost of the telemetry calls themselves.
class NullProvider final : public tavreldi::DIAnalyticsProvider {
 public:
  void trackEvent(std::string_view, const tavreldi::OptionalParameters&) override {}
  void trackError(const std::exception&, const tavreldi::OptionalParameters&) override {}
  void trackPerformance(std::string_view, double, std::optional<std::string_view>) override {}
};

template <class T>
T runOn(asio::io_context& io, asio::awaitable<T> awaitable) {
  auto future = asio::co_spawn(io, std::move(awaitable), asio::use_future);
  io.restart();
  io.run();
  return future.get();
}

std::shared_ptr<AdvancedDIContainerImpl> makeContainer(asio::io_context& io, bool withProvider) {
  auto container =
      std::make_shared<AdvancedDIContainerImpl>(DIContainerConfig::strict(), io.get_executor());
  if (withProvider) container->configureAnalytics(std::make_shared<NullProvider>());
  return container;
}

void registerChain(AdvancedDIContainer& c, DependencyScope scope) {
  c.registerSync<Leaf>(scope, [](AdvancedDIContainer&) { return std::make_shared<Leaf>(); });
  c.registerAsync<Middle>(scope,
                          [](AdvancedDIContainer& c) -> asio::awaitable<std::shared_ptr<Middle>> {
                            auto leaf = co_await c.resolve<Leaf>();
                            co_return std::make_shared<Middle>(Middle{leaf});
                          });
  c.registerAsync<Top>(scope, [](AdvancedDIContainer& c) -> asio::awaitable<std::shared_ptr<Top>> {
    auto middle = co_await c.resolve<Middle>();
    co_return std::make_shared<Top>(Top{middle});
  });
}

// The least any container can do: a hash lookup by type and a shared_ptr copy.
void BM_Floor_TypeIndexLookup(benchmark::State& state) {
  std::unordered_map<std::type_index, std::shared_ptr<void>> cache;
  cache[typeid(Leaf)] = std::make_shared<Leaf>();
  cache[typeid(Middle)] = std::make_shared<Middle>();
  cache[typeid(Top)] = std::make_shared<Top>();
  for (auto _ : state) {
    auto instance = std::static_pointer_cast<Leaf>(cache.find(typeid(Leaf))->second);
    benchmark::DoNotOptimize(instance);
  }
}
BENCHMARK(BM_Floor_TypeIndexLookup);

// Appends `parts` and a line feed to `line` and writes it with one call, as a plain logger would.
template <class... Parts>
void writeOneLine(std::string& line, const Parts&... parts) {
  line.clear();
  (line.append(parts), ...);
  line.push_back('\n');
  std::fwrite(line.data(), 1, line.size(), stdout);
}

// The floor of a cached `resolveSync`: the lookup plus the one line it prints.
void BM_Floor_LookupAndOneLine(benchmark::State& state) {
  std::unordered_map<std::type_index, std::shared_ptr<void>> cache;
  cache[typeid(Leaf)] = std::make_shared<Leaf>();
  const std::string name = "Leaf";
  std::string line;
  for (auto _ : state) {
    writeOneLine(line, "🔍 Resolving synchronously: ", name);
    auto instance = std::static_pointer_cast<Leaf>(cache.find(typeid(Leaf))->second);
    benchmark::DoNotOptimize(instance);
  }
}
BENCHMARK(BM_Floor_LookupAndOneLine);

// The floor of a cached `resolve`: the lookup plus its four lines, each written on its own as a
// plain logger would, the last with the time taken between two clock reads.
void BM_Floor_LookupAndFourLines(benchmark::State& state) {
  std::unordered_map<std::type_index, std::shared_ptr<void>> cache;
  cache[typeid(Leaf)] = std::make_shared<Leaf>();
  const std::string name = "Leaf";
  std::string line;
  for (auto _ : state) {
    const auto start = std::chrono::steady_clock::now();
    writeOneLine(line, "🔍 Resolving: ", name);
    writeOneLine(line, "🔄 resolveSingleton called for: ", name);
    auto instance = std::static_pointer_cast<Leaf>(cache.find(typeid(Leaf))->second);
    writeOneLine(line, "   ✅ Found cached instance for: ", name);
    const std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
    char seconds[32];
    const auto printed =
        std::to_chars(seconds, seconds + sizeof seconds, took.count(), std::chars_format::fixed, 3);
    writeOneLine(line, "✅ Resolved: ", name, " (took ",
                 std::string_view(seconds, printed.ptr - seconds), "s)");
    benchmark::DoNotOptimize(instance);
  }
}
BENCHMARK(BM_Floor_LookupAndFourLines);

// The floor of a transient chain of five (`Resolve_TransientChain5_*`): per level a lookup, an
// instance made with make_shared, two clock reads and the level's lines ("🔍 Resolving", the
// "🔗 Dependency tracked" edge from the level above, "✅ Resolved" with the time taken), written
// as a chain must write them: the lines before each factory together, each "✅ Resolved" on its
// own; 14 lines in 10 writes.
void BM_Floor_ChainOfFive(benchmark::State& state) {
  struct Level {
    std::shared_ptr<Level> next;
  };
  std::unordered_map<std::type_index, std::shared_ptr<void>> registry;
  const std::array<std::string, 5> names{"Link<0>", "Link<1>", "Link<2>", "Link<3>", "Link<4>"};
  const std::array<std::type_index, 5> keys{typeid(char), typeid(short), typeid(int), typeid(long),
                                            typeid(float)};
  for (int i = 0; i < 5; ++i) registry[keys[i]] = std::make_shared<int>(i);
  std::string line;
  std::array<std::chrono::steady_clock::time_point, 5> starts;
  for (auto _ : state) {
    for (int i = 4; i >= 0; --i) {
      starts[i] = std::chrono::steady_clock::now();
      line.clear();
      line.append("🔍 Resolving: ").append(names[i]).push_back('\n');
      if (i < 4) {
        line.append("🔗 Dependency tracked: ").append(names[i + 1]).append(" -> ").append(names[i]);
        line.push_back('\n');
      }
      std::fwrite(line.data(), 1, line.size(), stdout);
      benchmark::DoNotOptimize(registry.find(keys[i])->second);
    }
    std::shared_ptr<Level> made;
    for (int i = 0; i < 5; ++i) {
      made = std::make_shared<Level>(Level{std::move(made)});
      // The time in whole milliseconds, written with three decimals: the cheapest form.
      const auto millis = std::chrono::round<std::chrono::milliseconds>(
                              std::chrono::steady_clock::now() - starts[i])
                              .count();
      char seconds[32];
      const auto whole = std::to_chars(seconds, seconds + sizeof seconds, millis / 1000);
      char* end = whole.ptr;
      *end++ = '.';
      for (int divisor = 100; divisor > 0; divisor /= 10)
        *end++ = char('0' + millis / divisor % 10);
      writeOneLine(line, "✅ Resolved: ", names[i], " (took ",
                   std::string_view(seconds, end - seconds), "s)");
    }
    benchmark::DoNotOptimize(made);
  }
}
BENCHMARK(BM_Floor_ChainOfFive);

void resolveSyncCached(benchmark::State& state, bool withProvider) {
  asio::io_context io;
  auto c = makeContainer(io, withProvider);
  registerChain(*c, DependencyScope::singleton);
  (void)runOn(io, c->resolve<Leaf>());
  for (auto _ : state) {
    auto leaf = c->resolveSync<Leaf>();
    benchmark::DoNotOptimize(leaf);
  }
}
void BM_ResolveSync_CachedSingleton(benchmark::State& state) { resolveSyncCached(state, false); }
void BM_ResolveSync_CachedSingleton_NullProvider(benchmark::State& state) {
  resolveSyncCached(state, true);
}
BENCHMARK(BM_ResolveSync_CachedSingleton);
BENCHMARK(BM_ResolveSync_CachedSingleton_NullProvider);

template <class T>
asio::awaitable<int> resolveLoop(benchmark::State& state, AdvancedDIContainerImpl& c) {
  const auto before = allocations.load(std::memory_order_relaxed);
  for (auto _ : state) {
    auto instance = co_await c.resolve<T>();
    benchmark::DoNotOptimize(instance);
  }
  reportAllocations(state, before);
  co_return 0;
}

template <class T>
void resolveAwaited(benchmark::State& state, DependencyScope scope, bool withProvider) {
  asio::io_context io;
  auto c = makeContainer(io, withProvider);
  registerChain(*c, scope);
  (void)runOn(io, c->resolve<T>());
  (void)runOn(io, resolveLoop<T>(state, *c));
}
void BM_Resolve_CachedSingleton(benchmark::State& state) {
  resolveAwaited<Leaf>(state, DependencyScope::singleton, false);
}
void BM_Resolve_CachedSingleton_NullProvider(benchmark::State& state) {
  resolveAwaited<Leaf>(state, DependencyScope::singleton, true);
}
void BM_Resolve_TransientChain3(benchmark::State& state) {
  resolveAwaited<Top>(state, DependencyScope::transient, false);
}
void BM_Resolve_TransientChain3_NullProvider(benchmark::State& state) {
  resolveAwaited<Top>(state, DependencyScope::transient, true);
}
BENCHMARK(BM_Resolve_CachedSingleton);
BENCHMARK(BM_Resolve_CachedSingleton_NullProvider);
BENCHMARK(BM_Resolve_TransientChain3);
BENCHMARK(BM_Resolve_TransientChain3_NullProvider);

// A transient whose one dependency, a singleton, is cached: hand-written or auto-wired.
void transientWithCachedDependency(benchmark::State& state, bool autoWired) {
  asio::io_context io;
  auto c = makeContainer(io, false);
  c->registerSync<Leaf>(DependencyScope::singleton,
                        [](AdvancedDIContainer&) { return std::make_shared<Leaf>(); });
  if (autoWired) {
    c->registerType<Consumer, tavreldi::Dependencies<Leaf>>(DependencyScope::transient);
  } else {
    c->registerAsync<Consumer>(
        DependencyScope::transient,
        [](AdvancedDIContainer& c) -> asio::awaitable<std::shared_ptr<Consumer>> {
          auto leaf = co_await c.resolve<Leaf>();
          co_return std::make_shared<Consumer>(Consumer{leaf});
        });
  }
  (void)runOn(io, c->resolve<Consumer>());
  (void)runOn(io, resolveLoop<Consumer>(state, *c));
}
void BM_Resolve_TransientWithCachedDependency_HandWritten(benchmark::State& state) {
  transientWithCachedDependency(state, false);
}
void BM_Resolve_TransientWithCachedDependency_AutoWired(benchmark::State& state) {
  transientWithCachedDependency(state, true);
}
BENCHMARK(BM_Resolve_TransientWithCachedDependency_HandWritten);
BENCHMARK(BM_Resolve_TransientWithCachedDependency_AutoWired);

// `state.range(0)` resolutions of one singleton started at once on a fresh container; its
// factory suspends once (a post through the executor), so all but the first await its creation.
void BM_Resolve_ConcurrentAwaiters(benchmark::State& state) {
  const auto count = static_cast<std::size_t>(state.range(0));
  for (auto _ : state) {
    asio::io_context io;
    auto c = makeContainer(io, false);
    c->registerAsync<Leaf>(DependencyScope::singleton,
                           [](AdvancedDIContainer& c) -> asio::awaitable<std::shared_ptr<Leaf>> {
                             co_await asio::post(c.executor(), asio::use_awaitable);
                             co_return std::make_shared<Leaf>();
                           });
    std::size_t resolved = 0;
    for (std::size_t i = 0; i < count; ++i) {
      asio::co_spawn(io, c->resolve<Leaf>(),
                     [&resolved](const std::exception_ptr& error, const std::shared_ptr<Leaf>&) {
                       if (!error) ++resolved;
                     });
    }
    io.run();
    if (resolved != count) state.SkipWithError("a resolution failed");
  }
  state.SetItemsProcessed(state.iterations() * state.range(0));
}
BENCHMARK(BM_Resolve_ConcurrentAwaiters)->Arg(10000)->Unit(benchmark::kMillisecond);

// A transient chain of five, Link<4> down to Link<0>, auto-wired or with hand-written factories
// that resolve the same dependency: what auto-wiring costs over writing the factory.
template <int I>
struct Link {
  std::shared_ptr<Link<I - 1>> next;
};
template <>
struct Link<0> {};

template <int I>
asio::awaitable<std::shared_ptr<Link<I>>> makeLink(AdvancedDIContainer& c) {
  if constexpr (I == 0) {
    co_return std::make_shared<Link<0>>();
  } else {
    auto next = co_await c.resolve<Link<I - 1>>();
    co_return std::make_shared<Link<I>>(Link<I>{next});
  }
}

template <int... Is>
void registerLinks(AdvancedDIContainer& c, bool autoWired,
                   std::integer_sequence<int, Is...> /*unused*/) {
  if (autoWired) {
    (c.registerType<Link<Is>>(DependencyScope::transient), ...);
  } else {
    (c.registerAsync<Link<Is>>(DependencyScope::transient, makeLink<Is>), ...);
  }
}

void resolveLinks(benchmark::State& state, bool autoWired) {
  asio::io_context io;
  auto c = makeContainer(io, false);
  registerLinks(*c, autoWired, std::make_integer_sequence<int, 5>{});
  (void)runOn(io, c->resolve<Link<4>>());
  (void)runOn(io, resolveLoop<Link<4>>(state, *c));
}
void BM_Resolve_TransientChain5_HandWritten(benchmark::State& state) { resolveLinks(state, false); }
void BM_Resolve_TransientChain5_AutoWired(benchmark::State& state) { resolveLinks(state, true); }
BENCHMARK(BM_Resolve_TransientChain5_HandWritten);
BENCHMARK(BM_Resolve_TransientChain5_AutoWired);

void BM_RegisterSync(benchmark::State& state) {
  asio::io_context io;
  auto c = makeContainer(io, false);
  std::int64_t n = 0;
  for (auto _ : state) {
    c->registerSync<Leaf>(DependencyScope::singleton,
                          [](AdvancedDIContainer&) { return std::make_shared<Leaf>(); });
    if (++n % 4096 == 0) {  // run the posted analytics tasks now and then
      state.PauseTiming();
      io.restart();
      io.poll();
      state.ResumeTiming();
    }
  }
}
BENCHMARK(BM_RegisterSync);

// A generated layered app: fifths of view models, use cases, repositories, APIs and plain
// services; each service depends on three of the layer below (plain services on earlier plain
// services), and a few back edges close short cycles.
//
// The names are the benchmark's own bookkeeping (an app has its type names already); the type
// keys, registrations and observed edges are made by `populate()`, which the constructor calls
// unless asked not to, so that memory can be measured around it alone.
class GeneratedApp {
 public:
  GeneratedApp(asio::io_context& io, std::size_t count, bool populateNow = true)
      : container(std::make_shared<AdvancedDIContainerImpl>(DIContainerConfig::strict(),
                                                            io.get_executor())),
        io_(io) {
    static constexpr const char* kRoles[] = {"Logger", "UserAPI", "UserRepository",
                                             "LoadUserUseCase", "UserViewModel"};
    const std::size_t perLayer = std::max<std::size_t>(count / 5, 1);
    for (std::size_t i = 0; i < count; ++i) {
      const std::size_t layer = std::min<std::size_t>(i / perLayer, 4);
      names_.push_back(std::string(kRoles[layer]) + std::to_string(i));
    }
    if (populateNow) populate();
  }

  void populate() {
    const std::size_t count = names_.size();
    const std::size_t perLayer = std::max<std::size_t>(count / 5, 1);
    for (std::size_t i = 0; i < count; ++i) {
      const std::size_t layer = std::min<std::size_t>(i / perLayer, 4);
      keys_.push_back(
          {tavreldi::detail::nextServiceTypeId(), names_[i], names_[i], &typeid(Generated)});
      const DependencyScope scope = layer == 4   ? DependencyScope::lazy
                                    : layer == 3 ? DependencyScope::transient
                                    : layer == 2 ? DependencyScope::scoped
                                                 : DependencyScope::singleton;
      container->registerFactory(keys_.back(), scope, tavreldi::DependencyLifetime::application,
                                 tavreldi::FactoryType::sync([](AdvancedDIContainer&) {
                                   return tavreldi::AnyInstance::of(std::make_shared<Generated>());
                                 }));
    }
    auto& state = container->state();
    std::mt19937 random(42);
    for (std::size_t i = 0; i < count; ++i) {
      const std::size_t layer = std::min<std::size_t>(i / perLayer, 4);
      const std::size_t lowStart = layer == 0 ? 0 : (layer - 1) * perLayer;
      const std::size_t lowEnd = layer == 0 ? i : std::min(layer * perLayer, count);
      if (lowEnd <= lowStart) continue;
      for (int d = 0; d < 3; ++d) {
        const std::size_t target = lowStart + random() % (lowEnd - lowStart);
        state.addDependency(state.obtain(names_[i]), state.obtain(names_[target]));
      }
    }
    // A few short cycles: a plain service's first dependency depends back on it.
    for (std::size_t c = 0; c < std::max<std::size_t>(count / 1000, 1) && perLayer > 1; ++c) {
      auto& from = state.obtain(names_[1 + random() % (perLayer - 1)]);
      if (!from.dependencies.empty()) state.addDependency(*from.dependencies.front(), from);
    }
    io_.restart();
    io_.poll();
  }

  std::shared_ptr<AdvancedDIContainerImpl> container;

 private:
  asio::io_context& io_;
  std::deque<std::string> names_;
  std::deque<tavreldi::ServiceKey> keys_;
};

// `afterChange`: what the container keeps between builds (cycles, greatest depth, name traits)
// is made anew every time, as after a change to the observed dependencies.
void graphWithAnalysis(benchmark::State& state, bool afterChange) {
  asio::io_context io;
  GeneratedApp app(io, static_cast<std::size_t>(state.range(0)));
  for (auto _ : state) {
    if (afterChange) ++app.container->state().structureVersion;
    auto graph = runOn(io, app.container->getDependencyGraph());
    benchmark::DoNotOptimize(graph);
  }
  state.counters["services"] = static_cast<double>(state.range(0));
}
void BM_GraphWithAnalysis(benchmark::State& state) { graphWithAnalysis(state, false); }
void BM_GraphWithAnalysis_AfterChange(benchmark::State& state) { graphWithAnalysis(state, true); }
BENCHMARK(BM_GraphWithAnalysis)->Arg(100)->Arg(1000)->Arg(10000)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_GraphWithAnalysis_AfterChange)
    ->Arg(100)
    ->Arg(1000)
    ->Arg(10000)
    ->Unit(benchmark::kMillisecond);

// Runs `work` on the graph of a generated app of `state.range(0)` services, built once.
template <class Work>
void onBuiltGraph(benchmark::State& state, Work work) {
  asio::io_context io;
  GeneratedApp app(io, static_cast<std::size_t>(state.range(0)));
  const auto graph = runOn(io, app.container->getDependencyGraph());
  for (auto _ : state) {
    auto result = work(graph);
    benchmark::DoNotOptimize(result);
  }
}

// The floor for the graph: copying the finished graph value and freeing the copy, the least any
// operation that hands out a fresh graph of this size has to do.
void BM_GraphValueCopy(benchmark::State& state) {
  onBuiltGraph(state, [](const tavreldi::DependencyGraph& graph) { return graph; });
}
BENCHMARK(BM_GraphValueCopy)->Arg(100)->Arg(1000)->Arg(10000)->Unit(benchmark::kMillisecond);

void BM_AnalyzeCircularDependencies(benchmark::State& state) {
  asio::io_context io;
  GeneratedApp app(io, static_cast<std::size_t>(state.range(0)));
  for (auto _ : state) {
    // The cycle list is kept between calls until the structure changes: measure the search.
    ++app.container->state().structureVersion;
    auto analysis = app.container->analyzeCircularDependencies();
    benchmark::DoNotOptimize(analysis);
  }
}
BENCHMARK(BM_AnalyzeCircularDependencies)
    ->Arg(100)
    ->Arg(1000)
    ->Arg(10000)
    ->Unit(benchmark::kMillisecond);

void BM_MermaidGenerator(benchmark::State& state) {
  onBuiltGraph(state, [](const tavreldi::DependencyGraph& graph) {
    return tavreldi::DiagramGenerators::generateMermaid(graph);
  });
}
BENCHMARK(BM_MermaidGenerator)->Arg(100)->Arg(1000)->Arg(10000)->Unit(benchmark::kMillisecond);

void BM_JsonGenerator(benchmark::State& state) {
  onBuiltGraph(state, [](const tavreldi::DependencyGraph& graph) {
    return tavreldi::DiagramGenerators::generateJSONVisualization(graph, graph.analysis);
  });
}
BENCHMARK(BM_JsonGenerator)->Arg(100)->Arg(1000)->Arg(10000)->Unit(benchmark::kMillisecond);

// Dense cycles, where the longest path is exponential to find: critical paths of a both-ways
// complete bipartite graph of 40 and 80 services (6,400 edges, a 1.4 MB file), whose searches
// stop at their step budget.
void BM_CriticalPaths_DenseCycles(benchmark::State& state) {
  std::vector<tavreldi::DependencyNode> nodes;
  std::vector<tavreldi::DependencyEdge> edges;
  for (int i = 0; i < 120; ++i) {
    nodes.emplace_back().id = std::string(i < 40 ? "A" : "B").append(std::to_string(i));
  }
  for (int a = 0; a < 40; ++a) {
    for (int b = 40; b < 120; ++b) {
      edges.emplace_back().from = nodes[a].id;
      edges.back().to = nodes[b].id;
      edges.emplace_back().from = nodes[b].id;
      edges.back().to = nodes[a].id;
    }
  }
  for (auto _ : state) {
    auto paths = tavreldi::findCriticalPaths(nodes, edges);
    benchmark::DoNotOptimize(paths);
    state.counters["bounded"] = static_cast<double>(paths.boundedSearches);
  }
}
BENCHMARK(BM_CriticalPaths_DenseCycles)->Unit(benchmark::kMillisecond);

// A shallow cycle through many services, where the greatest depth needs a search from every
// one: a hub and `state.range(0)` spokes, each depending on the hub and the hub on each.
void BM_GraphWithAnalysis_HubAndSpokes(benchmark::State& state) {
  asio::io_context io;
  GeneratedApp app(io, static_cast<std::size_t>(state.range(0)));
  auto& container = app.container->state();
  const std::vector<tavreldi::detail::Slot*> slots = container.registryOrder;
  for (tavreldi::detail::Slot* spoke : slots) {
    if (spoke == slots.front()) continue;
    container.addDependency(*slots.front(), *spoke);
    container.addDependency(*spoke, *slots.front());
  }
  for (auto _ : state) {
    ++app.container->state().structureVersion;
    auto graph = runOn(io, app.container->getDependencyGraph());
    benchmark::DoNotOptimize(graph);
  }
}
BENCHMARK(BM_GraphWithAnalysis_HubAndSpokes)->Arg(1000)->Arg(20000)->Unit(benchmark::kMillisecond);

// Resident memory per registration: 100,000 registrations (type keys, registrations, three
// observed edges each), their analytics tasks run. Run it in a process of its own: memory
// freed by earlier benchmarks would be reused and hide part of the growth.
void BM_MemoryPerRegistration(benchmark::State& state) {
  for (auto _ : state) {
    asio::io_context io;
    auto probe = makeContainer(io, false);
    GeneratedApp app(io, 100'000, false);
    const auto before = probe->getMemoryUsage();
    app.populate();
    const auto after = probe->getMemoryUsage();
    state.counters["bytes_per_registration"] = static_cast<double>(after - before) / 100'000.0;
  }
}
BENCHMARK(BM_MemoryPerRegistration)->Iterations(1)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
