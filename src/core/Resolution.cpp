// Resolution: the path from a name to an instance, with its lines, caching, shared creations,
// cycle checks and telemetry.

#include <fmt/format.h>

#include <asio/bind_executor.hpp>
#include <asio/dispatch.hpp>
#include <asio/this_coro.hpp>
#include <asio/use_awaitable.hpp>
#include <chrono>
#include <exception>
#include <new>
#include <optional>
#include <stdexcept>

#include "core/detail/ChildContainer.hpp"
#include "core/detail/ContainerState.hpp"
#include "core/detail/HomeThread.hpp"
#include "core/detail/Output.hpp"
#include "core/detail/ResolutionContext.hpp"
#include "core/detail/SharedCreation.hpp"
#include "tavreldi/core/AdvancedDIContainerImpl.hpp"
#include "tavreldi/core/Errors.hpp"
#include "tavreldi/telemetry/DIAnalyticsProvider.hpp"

namespace tavreldi {

using detail::ContainerState;
using detail::printLine;
using detail::Slot;

namespace {

using Clock = std::chrono::steady_clock;
using detail::CreationKey;
using detail::OwnedCreation;
using detail::ResolutionFrame;
using detail::SharedCreation;
constexpr std::string_view kComponent = "TavrelDI";

// The tracking rule only skips a dependency already held in the cache of its own scope;
// container- and custom-scoped instances are always recorded.
bool cachedForTracking(ContainerState& s, const Slot& slot) {
  if (!slot.metadata) return false;
  switch (slot.metadata->scope) {
    case DependencyScope::singleton:
      return static_cast<bool>(slot.singleton);
    case DependencyScope::scoped: {
      const auto* scope = s.currentScopeInstances();
      return scope != nullptr && scope->contains(&slot);
    }
    case DependencyScope::lazy:
      return static_cast<bool>(slot.lazy);
    default:
      return false;
  }
}

bool matches(const AnyInstance& instance, const ServiceKey* key) noexcept {
  if (!instance) return false;
  return key == nullptr || (instance.type != nullptr && *instance.type == *key->type);
}

AnyInstance* scopedCacheEntry(ContainerState& s, const Slot& slot) {
  auto* scope = s.currentScopeInstances();
  if (scope == nullptr) return nullptr;
  const auto it = scope->find(&slot);
  return it == scope->end() ? nullptr : &it->second;
}

// The scopes that share the singleton cache, whose resolutions print their steps.
bool usesSingletonCache(DependencyScope scope) noexcept {
  return scope == DependencyScope::singleton || scope == DependencyScope::container ||
         scope == DependencyScope::custom;
}

// The instance cached for `slot` under `scope`, if any; transient has no cache.
AnyInstance* cachedInstance(ContainerState& s, Slot& slot, DependencyScope scope) {
  if (usesSingletonCache(scope)) return &slot.singleton;
  if (scope == DependencyScope::scoped) return scopedCacheEntry(s, slot);
  if (scope == DependencyScope::lazy) return &slot.lazy;
  return nullptr;
}

void countHit(const ContainerState& s, Slot& slot) noexcept {
  if (s.config.enablePerformanceMetrics()) detail::incrementCounter(slot.cacheHits);
}

// Reports a cycle to the analytics provider and throws it.
[[noreturn]] void failWithCycle(const ContainerState& s, std::vector<std::string> cycle,
                                bool reported) {
  if (DIAnalyticsProvider* provider = s.attachments->provider.get(); provider && reported) {
    const CircularDependencyException report("Circular dependency detected", cycle);
    provider->trackError(report,
                         ParameterMap{{"cycle", AnalyticsValue(cycle)}, {"component", kComponent}});
  }
  auto message = fmt::format("Circular dependency detected: {}", fmt::join(cycle, " -> "));
  throw CircularDependencyException(std::move(message), std::move(cycle));
}

// Where a resolution of `slot` caches its instance; transient has no cache.
std::optional<CreationKey> creationKey(const Slot& slot, DependencyScope scope,
                                       const std::string& scopeId) {
  if (usesSingletonCache(scope)) return CreationKey{&slot, DependencyScope::singleton, {}};
  if (scope == DependencyScope::scoped) return CreationKey{&slot, scope, scopeId};
  if (scope == DependencyScope::lazy) return CreationKey{&slot, scope, {}};
  return std::nullopt;
}

// Records the edge from the resolution that asked for `slot` to it (the dependency map's rule:
// not for an instance already cached in its own scope).
void trackDependency(ContainerState& s, const ResolutionFrame* parent, Slot& slot) {
  if (!s.config.enableDependencyTracking() || parent == nullptr || parent->slot == &slot ||
      cachedForTracking(s, slot)) {
    return;
  }
  s.addDependency(*parent->slot, slot);
  printLine("🔗 Dependency tracked: ", parent->slot->name, " -> ", slot.name);
}

// Tells the provider of a resolution. The event's parameters are built in storage the container
// keeps from one event to the next; a provider that resolves while it handles the event (so that
// the storage is in use) gets parameters of their own.
void trackResolved(ContainerState& s, DIAnalyticsProvider& provider, const Slot& slot,
                   DependencyScope scope, double seconds) {
  provider.trackPerformance("dependency_resolution", seconds * 1000, "ms");
  if (s.resolvedParametersInUse) {
    provider.trackEvent("dependency_resolved", ParameterMap{{"type", slot.name},
                                                            {"scope", toString(scope)},
                                                            {"duration_ms", seconds * 1000},
                                                            {"success", true}});
    return;
  }
  OptionalParameters& parameters = s.resolvedParameters;
  if (parameters) {
    if (s.resolvedParametersSlot != &slot || s.resolvedParametersScope != scope) {
      parameters->valueAt(0).assignText(slot.name);
      parameters->valueAt(1).assignText(toString(scope));
    }
    parameters->valueAt(2) = AnalyticsValue(seconds * 1000);
  } else {
    parameters = ParameterMap{{"type", slot.name},
                              {"scope", toString(scope)},
                              {"duration_ms", seconds * 1000},
                              {"success", true}};
  }
  s.resolvedParametersSlot = &slot;
  s.resolvedParametersScope = scope;
  s.resolvedParametersInUse = true;
  try {
    provider.trackEvent("dependency_resolved", parameters);
  } catch (...) {
    s.resolvedParametersInUse = false;
    throw;
  }
  s.resolvedParametersInUse = false;
}

// What every successful resolution does last: the counters, the telemetry and the
// "✅ Resolved" line. Lines held so far go out before the provider is called.
void finishResolution(ContainerState& s, Slot& slot, DependencyScope scope, Clock::time_point start,
                      detail::HeldLines& lines) {
  const auto end = Clock::now();
  const double duration = std::chrono::duration<double>(end - start).count();
  if (s.config.enablePerformanceMetrics()) {
    slot.latestResolutionTime = duration;
    detail::incrementCounter(slot.resolutionCount);
    slot.lastResolved = end;
  }
  if (DIAnalyticsProvider* provider = s.attachments->provider.get()) {
    lines.release();
    trackResolved(s, *provider, slot, scope, duration);
  }
  char seconds[32];
  printLine("✅ Resolved: ", slot.name, " (took ", detail::formatSeconds(duration, seconds), "s)");
}

// The slot of `key` when its resolution can start here without a suspension: on the home thread,
// registered, and not a name a child leaves to its parent; otherwise null.
Slot* localSlot(ContainerState& s, const ServiceKey& key) noexcept {
  if (!s.onHomeThread() || key.id >= s.byTypeId.size()) return nullptr;
  Slot* slot = s.byTypeId[key.id];
  if (slot == nullptr || !slot->metadata) return nullptr;
  if (s.parentLink != nullptr && !slot->inRegistry) return nullptr;  // the parent's to resolve
  return slot;
}

// The cached instance a resolution of `slot` (found by `localSlot`) within `parent`'s chain would
// hand out at once, found printing and changing nothing; null when the resolution has more to do
// (or fails). Same decisions, in the same order, as resolveOnHome.
AnyInstance* servableFromCache(ContainerState& s, Slot& slot, const ServiceKey& key,
                               const ResolutionFrame* parent) {
  if (!s.config.enableCaching()) return nullptr;
  const DependencyScope scope = slot.metadata->scope;
  AnyInstance* cache = cachedInstance(s, slot, scope);
  if (cache == nullptr || !matches(*cache, &key)) return nullptr;
  if (s.config.enableCircularDependencyDetection()) {
    for (const ResolutionFrame* f = parent; f != nullptr; f = f->parent) {
      if (f->slot == &slot) return nullptr;
    }
  }
  if (!s.creations.empty()) {
    const auto creation = creationKey(slot, scope, s.scopeId);
    if (creation && s.creations.contains(*creation)) return nullptr;
  }
  return cache;
}

// What resolveOnHome does for an instance it finds cached, with no suspension to allow for.
AnyInstance serveCached(ContainerState& s, Slot& slot, const AnyInstance& cached,
                        const ResolutionFrame* parent) {
  const auto start = Clock::now();
  const DependencyScope scope = slot.metadata->scope;
  detail::HeldLines lines;
  printLine("🔍 Resolving: ", slot.name);
  trackDependency(s, parent, slot);
  if (usesSingletonCache(scope)) {
    printLine("🔄 resolveSingleton called for: ", slot.name);
    printLine("   ✅ Found cached instance for: ", slot.name);
  }
  countHit(s, slot);
  AnyInstance instance = cached;  // the lines and the edge above leave the caches alone
  finishResolution(s, slot, scope, start, lines);
  return instance;
}

// Fails with the cycle when `slot` is already being resolved in the chain ending at `parent`
// (the occurrence nearest the top of the chain starts the reported loop).
void failOnCycle(const ContainerState& s, const ResolutionFrame* parent, const Slot& slot,
                 detail::HeldLines& lines) {
  if (!s.config.enableCircularDependencyDetection()) return;
  const ResolutionFrame* first = nullptr;
  for (const ResolutionFrame* f = parent; f != nullptr; f = f->parent) {
    if (f->slot == &slot) first = f;
  }
  if (first == nullptr) return;
  auto cycle = detail::pathNames(parent, first);
  cycle.push_back(slot.name);
  lines.release();
  failWithCycle(s, std::move(cycle), true);
}

// One resolution from its "🔍 Resolving" line on: what it needs across the factory call. It
// lives where the resolution is awaited (a coroutine frame of the container's, or the caller's
// PendingResolution), and never moves: the frame is linked to by the resolutions its factory
// makes and by the creation it runs.
struct ResolutionRecord {
  ResolutionRecord(AdvancedDIContainerImpl& container, ContainerState& state, Slot& resolved,
                   const ServiceKey* requested, const ResolutionFrame* parent,
                   Clock::time_point started) noexcept
      : self(container),
        s(state),
        slot(resolved),
        key(requested),
        frame{&resolved, parent},
        start(started),
        scope(resolved.metadata->scope),
        lifetime(resolved.metadata->lifetime) {}

  // From "Creating new instance" to the factory: calls a synchronous factory (into `instance`)
  // and returns false; returns true when an asynchronous one is to be awaited (see `created`).
  bool create(detail::HeldLines& lines, AnyInstance& instance) {
    if (usesSingletonCache(scope)) printLine("   🔄 Creating new instance for: ", slot.name);
    factory = slot.factory;  // keeps the factory alive across the call
    if (!factory) {
      throw DependencyResolutionError::factoryError("No factory found for " + slot.name);
    }
    if (!keep && factory.isAsync()) keep = self.sharedState();  // only those suspend
    if (s.config.enableCaching() && !cacheKey) cacheKey = creationKey(slot, scope, s.scopeId);
    if (cacheKey) owned.emplace(s, *cacheKey, frame);
    // The factory runs with the container seen from this resolution's frame.
    context.emplace(self, s, &frame);
    lines.release();
    if (factory.isAsync()) return true;
    try {
      instance = (*factory.syncFactory())(*context);
    } catch (...) {
      if (owned) owned->fail();
      throw;
    }
    return false;
  }

  // What the factory made (or threw: `error`), checked, cached as the scope says and handed to
  // the creation's waiters. On the home thread.
  AnyInstance created(AnyInstance instance, const std::exception_ptr& error,
                      detail::HeldLines& lines) {
    try {
      if (error) std::rethrow_exception(error);
      if (factory.isAsync() && !s.attachments->alive) throw detail::containerDestroyed(slot.name);
      // A C++ factory can hand back an empty pointer; caching or returning it would only move
      // the failure to the caller's first use, so it fails here.
      if (!instance) {
        throw DependencyResolutionError::factoryError("Factory returned no instance for " +
                                                      slot.name);
      }
      if (key != nullptr && !matches(instance, key)) {
        throw DependencyResolutionError::typeMismatch(fmt::format(
            "Factory returned {} but expected {}", detail::demangle(*instance.type), key->name));
      }
    } catch (...) {
      if (owned) owned->fail();
      throw;
    }
    lines.hold();
    // cleanup(), or for a scoped instance a change of its scope's map, while the factory ran
    // forgot the creation: the instance is handed out but not kept.
    const bool keepIt = owned && owned->listed();
    const std::string& n = slot.name;
    if (usesSingletonCache(scope)) {
      if (!s.config.enableCaching()) {
        printLine("   ⚠️ Caching disabled for: ", n);
      } else if (keepIt) {
        if (key != nullptr) printLine("   💾 Caching instance for: ", n);
        slot.singleton = instance;
        if (key != nullptr) printLine("   ✅ Instance cached successfully for: ", n);
      }
    } else if (keepIt && scope == DependencyScope::scoped) {
      s.scopedInstances[cacheKey->scopeId][&slot] = instance;
    } else if (keepIt && scope == DependencyScope::lazy) {
      slot.lazy = instance;
    }
    if (owned) owned->succeed(instance);
    return instance;
  }

  // What a failed resolution prints and reports; rethrows the error being handled. Call only
  // inside a catch block.
  [[noreturn]] void failed(detail::HeldLines& lines) {
    std::string text = "unknown error";
    const std::runtime_error unknown(text);
    const std::exception* error = &unknown;
    try {
      throw;
    } catch (const std::exception& e) {
      error = &e;
      text = e.what();
    } catch (...) {
    }
    lines.hold();
    printLine("❌ Failed to resolve ", slot.name, ": ", text);
    lines.release();
    if (DIAnalyticsProvider* provider = s.attachments->provider.get()) {
      provider->trackError(*error, ParameterMap{{"dependency_type", slot.name},
                                                {"scope", toString(scope)},
                                                {"lifetime", toString(lifetime)},
                                                {"resolution_stack", detail::pathNames(&frame)},
                                                {"component", kComponent}});
    }
    throw;
  }

  AdvancedDIContainerImpl& self;
  ContainerState& s;
  Slot& slot;
  const ServiceKey* key;  // null for resolution by name, which checks no type and caches silently
  ResolutionFrame frame;
  Clock::time_point start;
  DependencyScope scope;
  DependencyLifetime lifetime;
  // Held only once the resolution is about to suspend: a cached one never does.
  std::shared_ptr<ContainerState> keep;
  // Where the instance will be cached: fixed when the resolution starts (the current scope may
  // change while it waits), worked out only when a creation is in progress or one is needed.
  std::optional<CreationKey> cacheKey;
  std::optional<OwnedCreation> owned;
  FactoryType factory;
  std::optional<detail::ResolutionContext> context;
};

static_assert(sizeof(ResolutionRecord) <= detail::PendingResolution::kStorageSize &&
              alignof(ResolutionRecord) <= alignof(std::max_align_t));

// The whole resolution path on the home thread; `key` is null for resolution by name, which
// checks no type and caches silently.
asio::awaitable<AnyInstance> resolveOnHome(AdvancedDIContainerImpl& self, const ServiceKey* key,
                                           std::string name, const ResolutionFrame* parent) {
  ContainerState& s = self.state();
  std::shared_ptr<ContainerState> keep;
  if (!s.onHomeThread()) {  // awaited elsewhere than where it was made
    keep = self.sharedState();
    co_await detail::switchToHomeThread(s);
    if (!s.attachments->alive) throw detail::containerDestroyed(key ? key->name : name);
  }
  const auto start = Clock::now();
  Slot& slot = key != nullptr ? s.obtain(*key) : s.obtain(name);
  if (s.parentLink != nullptr && !slot.inRegistry) {  // a child's name it may inherit
    std::optional<AnyInstance> inherited =
        co_await detail::resolveInherited(self, slot, key, parent);
    if (inherited) co_return std::move(*inherited);
  }
  const std::string& n = slot.name;
  const DIContainerConfig& config = s.config;
  detail::HeldLines lines;  // released before every suspension and every call of user code
  printLine("🔍 Resolving: ", n);
  failOnCycle(s, parent, slot, lines);

  if (!slot.metadata) {
    trackDependency(s, parent, slot);
    throw DependencyResolutionError::notRegistered(n);
  }
  ResolutionRecord run(self, s, slot, key, parent, start);
  run.keep = std::move(keep);
  const bool caching = config.enableCaching();
  // A creation of the same instance in progress, unless awaiting it would wait for ever (it
  // waits, through other chains, for this one). With cycle detection on, such a wait is a
  // cycle; with it off, this resolution runs the factory itself, as it would in sequence.
  std::shared_ptr<SharedCreation> inProgress;
  if (caching && !s.creations.empty()) {
    run.cacheKey = creationKey(slot, run.scope, s.scopeId);
    const auto it = run.cacheKey ? s.creations.find(*run.cacheKey) : s.creations.end();
    if (it != s.creations.end()) {
      auto loop = detail::waitCycle(s, run.frame, *it->second);
      if (loop.empty()) {
        inProgress = it->second;
      } else if (config.enableCircularDependencyDetection()) {
        lines.release();
        failWithCycle(s, std::move(loop), true);
      }
    }
  }
  trackDependency(s, parent, slot);

  AnyInstance instance;
  try {
    const bool singletonFamily = usesSingletonCache(run.scope);
    if (singletonFamily) printLine("🔄 resolveSingleton called for: ", n);
    AnyInstance* cache = cachedInstance(s, slot, run.scope);
    bool served = caching && cache != nullptr && matches(*cache, key);
    if (served) {
      instance = *cache;
    } else if (inProgress) {
      run.keep = self.sharedState();
      lines.release();
      instance = co_await detail::awaitCreation(s, std::move(inProgress), run.frame);
      if (!s.attachments->alive) throw detail::containerDestroyed(n);
      lines.hold();
      served = matches(instance, key);  // another type of the same name made it: make one
    }
    if (served) {
      if (singletonFamily) printLine("   ✅ Found cached instance for: ", n);
      countHit(s, slot);
    } else if (run.create(lines, instance)) {
      // An asynchronous factory is awaited, after which this resolution continues on the home
      // thread whatever thread the factory finished on.
      std::exception_ptr error;
      try {
        AnyInstance made = co_await (*run.factory.asyncFactory())(*run.context);
        instance = std::move(made);
      } catch (...) {
        error = std::current_exception();
      }
      if (!s.onHomeThread()) co_await detail::switchToHomeThread(s);
      instance = run.created(std::move(instance), error, lines);
    } else {
      instance = run.created(std::move(instance), nullptr, lines);
    }
  } catch (...) {
    run.failed(lines);
  }
  finishResolution(s, slot, run.scope, start, lines);
  co_return instance;
}

// A resolution awaited off the home thread: it runs on the home thread, and the caller goes on
// on its own executor afterwards, with the instance or the error.
asio::awaitable<AnyInstance> resolveFromElsewhere(AdvancedDIContainerImpl& self,
                                                  std::shared_ptr<ContainerState> state,
                                                  const ServiceKey* key, std::string name,
                                                  const ResolutionFrame* parent) {
  const asio::any_io_executor caller = co_await asio::this_coro::executor;
  co_await asio::dispatch(asio::bind_executor(state->executor, asio::use_awaitable));
  AnyInstance instance;
  std::exception_ptr error;
  if (!state->attachments->alive) {
    error = std::make_exception_ptr(detail::containerDestroyed(key ? key->name : name));
  } else {
    try {
      instance = co_await resolveOnHome(self, key, std::move(name), parent);
    } catch (...) {
      error = std::current_exception();
    }
  }
  co_await asio::dispatch(asio::bind_executor(caller, asio::use_awaitable));
  if (error) std::rethrow_exception(error);
  co_return instance;
}

}  // namespace

namespace detail {

asio::awaitable<AnyInstance> resolveWithin(AdvancedDIContainerImpl& container,
                                           const ServiceKey* key, std::string name,
                                           const ResolutionFrame* parent) {
  ContainerState& s = container.state();
  if (s.onHomeThread()) return resolveOnHome(container, key, std::move(name), parent);
  return resolveFromElsewhere(container, container.sharedState(), key, std::move(name), parent);
}

AnyInstance resolveCachedWithin(ContainerState& s, const ServiceKey& key,
                                const ResolutionFrame* parent) {
  Slot* slot = localSlot(s, key);
  if (slot == nullptr) return {};
  const AnyInstance* cached = servableFromCache(s, *slot, key, parent);
  return cached != nullptr ? serveCached(s, *slot, *cached, parent) : AnyInstance{};
}

AnyInstance startWithin(AdvancedDIContainerImpl& self, ContainerState& s, const ServiceKey& key,
                        const ResolutionFrame* parent, PendingResolution& pending) {
  // Declined, having done nothing: what may suspend before its factory is called (off the home
  // thread, a name a child may inherit, a creation of the same instance in progress) and what
  // fails before it (no registration).
  Slot* found = localSlot(s, key);
  if (found == nullptr) return {};
  Slot& slot = *found;
  if (const AnyInstance* cached = servableFromCache(s, slot, key, parent)) {
    return serveCached(s, slot, *cached, parent);
  }
  std::optional<CreationKey> cacheKey;
  if (s.config.enableCaching() && !s.creations.empty()) {
    cacheKey = creationKey(slot, slot.metadata->scope, s.scopeId);
    if (cacheKey && s.creations.contains(*cacheKey)) return {};
  }
  // From here on, what resolveOnHome does when it does not suspend before the factory. (A
  // cached instance it would serve was served above: only a cycle stops that, and it throws.)
  const auto start = Clock::now();
  HeldLines lines;
  printLine("🔍 Resolving: ", slot.name);
  failOnCycle(s, parent, slot, lines);
  auto* run = new (pending.storage()) ResolutionRecord(self, s, slot, &key, parent, start);
  pending.started(false);
  run->cacheKey = std::move(cacheKey);
  trackDependency(s, parent, slot);
  AnyInstance instance;
  try {
    if (usesSingletonCache(run->scope)) printLine("🔄 resolveSingleton called for: ", slot.name);
    if (run->create(lines, instance)) {
      pending.started(true);
      return {};
    }
    instance = run->created(std::move(instance), nullptr, lines);
  } catch (...) {
    run->failed(lines);
  }
  finishResolution(s, slot, run->scope, start, lines);
  return instance;
}

namespace {

ResolutionRecord& recordIn(PendingResolution& pending) noexcept {
  return *std::launder(static_cast<ResolutionRecord*>(pending.storage()));
}
const ResolutionRecord& recordIn(const PendingResolution& pending) noexcept {
  return recordIn(const_cast<PendingResolution&>(pending));  // the storage is the object's own
}

}  // namespace

void PendingResolution::destroyRecord() noexcept {
  if (!holdsRecord_) return;
  recordIn(*this).~ResolutionRecord();
  holdsRecord_ = false;
  awaitsFactory_ = false;
}

const FactoryType& PendingResolution::factory() const noexcept { return recordIn(*this).factory; }

AdvancedDIContainer& PendingResolution::context() noexcept { return *recordIn(*this).context; }

bool PendingResolution::awayFromHome() const noexcept { return !recordIn(*this).s.onHomeThread(); }

asio::awaitable<void> PendingResolution::returnHome() const {
  return switchToHomeThread(recordIn(*this).s);
}

AnyInstance PendingResolution::finish(AnyInstance made, std::exception_ptr error) {
  ResolutionRecord& run = recordIn(*this);
  awaitsFactory_ = false;
  HeldLines lines;
  AnyInstance instance;
  try {
    instance = run.created(std::move(made), error, lines);
  } catch (...) {
    run.failed(lines);
  }
  finishResolution(run.s, run.slot, run.scope, run.start, lines);
  destroyRecord();
  return instance;
}

AnyInstance resolveSyncWithin(ContainerState& s, const ServiceKey& key,
                              const ResolutionFrame* parent) {
  s.requireHomeThread("resolveSync");
  Slot& slot = s.obtain(key);
  if (s.parentLink != nullptr && !slot.inRegistry) {  // a child's name it may inherit
    if (std::optional<AnyInstance> inherited = resolveSyncInherited(s, slot, key))
      return *inherited;
  }
  printLine("🔍 Resolving synchronously: ", slot.name);
  if (s.config.enableCircularDependencyDetection()) {
    for (const ResolutionFrame* f = parent; f != nullptr; f = f->parent) {
      if (f->slot != &slot) continue;
      // Unlike `resolve`, the reported cycle is the whole chain; no telemetry.
      auto cycle = pathNames(parent);
      cycle.push_back(slot.name);
      failWithCycle(s, std::move(cycle), false);
    }
  }
  if (!slot.metadata) throw DependencyResolutionError::notRegistered(slot.name);

  if (s.config.enableCaching()) {
    const AnyInstance* cached = cachedInstance(s, slot, slot.metadata->scope);
    if (cached != nullptr && matches(*cached, &key)) {
      countHit(s, slot);
      return *cached;
    }
  }
  throw DependencyResolutionError::factoryError(
      "Instance not available for synchronous resolution");
}

}  // namespace detail

AnyInstance AdvancedDIContainer::startResolution(const ServiceKey& key,
                                                 detail::PendingResolution& /*pending*/) {
  return resolveCachedInstance(key);
}

}  // namespace tavreldi
