// Container state, registration and resolution.

#include "tavreldi/core/AdvancedDIContainerImpl.hpp"

#include <fmt/format.h>

#include <asio/bind_executor.hpp>
#include <asio/dispatch.hpp>
#include <asio/post.hpp>
#include <asio/this_coro.hpp>
#include <asio/use_awaitable.hpp>
#include <chrono>
#include <exception>
#include <optional>
#include <stdexcept>

#include "core/detail/ChildContainer.hpp"
#include "core/detail/ContainerState.hpp"
#include "core/detail/HomeThread.hpp"
#include "core/detail/NameCollision.hpp"
#include "core/detail/Output.hpp"
#include "core/detail/ResolutionContext.hpp"
#include "core/detail/SharedCreation.hpp"
#include "tavreldi/core/Errors.hpp"
#include "tavreldi/telemetry/DefaultDIAnalyticsProvider.hpp"

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
    parameters->valueAt(0).assignText(slot.name);
    parameters->valueAt(1).assignText(toString(scope));
    parameters->valueAt(2) = AnalyticsValue(seconds * 1000);
  } else {
    parameters = ParameterMap{{"type", slot.name},
                              {"scope", toString(scope)},
                              {"duration_ms", seconds * 1000},
                              {"success", true}};
  }
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

// The cached instance a resolution of `key` within `parent`'s chain would hand out at once, found
// printing and changing nothing; null when the resolution has more to do (or fails). Same
// decisions, in the same order, as resolveOnHome.
AnyInstance* servableFromCache(ContainerState& s, const ServiceKey& key,
                               const ResolutionFrame* parent) {
  if (!s.onHomeThread() || !s.config.enableCaching()) return nullptr;
  if (key.id >= s.byTypeId.size()) return nullptr;
  Slot* slot = s.byTypeId[key.id];
  if (slot == nullptr || !slot->metadata) return nullptr;
  if (s.parentLink != nullptr && !slot->inRegistry) return nullptr;  // the parent's to resolve
  const DependencyScope scope = slot->metadata->scope;
  AnyInstance* cache = cachedInstance(s, *slot, scope);
  if (cache == nullptr || !matches(*cache, &key)) return nullptr;
  if (s.config.enableCircularDependencyDetection()) {
    for (const ResolutionFrame* f = parent; f != nullptr; f = f->parent) {
      if (f->slot == slot) return nullptr;
    }
  }
  if (!s.creations.empty()) {
    const auto creation = creationKey(*slot, scope, s.scopeId);
    if (creation && s.creations.contains(*creation)) return nullptr;
  }
  return cache;
}

// The whole resolution path on the home thread; `key` is null for resolution by name, which
// checks no type and caches silently.
asio::awaitable<AnyInstance> resolveOnHome(AdvancedDIContainerImpl& self, const ServiceKey* key,
                                           std::string name, const ResolutionFrame* parent) {
  ContainerState& s = self.state();
  // Held only once this resolution is about to suspend: a cached one never does.
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

  if (config.enableCircularDependencyDetection()) {
    const ResolutionFrame* first = nullptr;  // the occurrence nearest the top of the chain
    for (const ResolutionFrame* f = parent; f != nullptr; f = f->parent) {
      if (f->slot == &slot) first = f;
    }
    if (first != nullptr) {
      auto cycle = detail::pathNames(parent, first);
      cycle.push_back(n);
      lines.release();
      failWithCycle(s, std::move(cycle), true);
    }
  }

  ResolutionFrame frame{&slot, parent};
  const bool caching = config.enableCaching();
  // Where the instance will be cached: fixed when the resolution starts (the current scope may
  // change while it waits), worked out only when a creation is in progress or one is needed.
  std::optional<CreationKey> cacheKey;
  // A creation of the same instance in progress, unless awaiting it would wait for ever (it
  // waits, through other chains, for this one). With cycle detection on, such a wait is a
  // cycle; with it off, this resolution runs the factory itself, as it would in sequence.
  std::shared_ptr<SharedCreation> inProgress;
  if (caching && slot.metadata && !s.creations.empty()) {
    cacheKey = creationKey(slot, slot.metadata->scope, s.scopeId);
    const auto it = cacheKey ? s.creations.find(*cacheKey) : s.creations.end();
    if (it != s.creations.end()) {
      auto loop = detail::waitCycle(s, frame, *it->second);
      if (loop.empty()) {
        inProgress = it->second;
      } else if (config.enableCircularDependencyDetection()) {
        lines.release();
        failWithCycle(s, std::move(loop), true);
      }
    }
  }

  trackDependency(s, parent, slot);

  if (!slot.metadata) throw DependencyResolutionError::notRegistered(n);
  const DependencyScope scope = slot.metadata->scope;
  const DependencyLifetime lifetime = slot.metadata->lifetime;
  const bool announce = key != nullptr;  // resolution by name caches silently

  AnyInstance instance;
  try {
    const bool singletonFamily = usesSingletonCache(scope);
    if (singletonFamily) printLine("🔄 resolveSingleton called for: ", n);
    AnyInstance* cache = cachedInstance(s, slot, scope);
    bool served = caching && cache != nullptr && matches(*cache, key);
    if (served) {
      instance = *cache;
    } else if (inProgress) {
      keep = self.sharedState();
      lines.release();
      instance = co_await detail::awaitCreation(s, std::move(inProgress), frame);
      if (!s.attachments->alive) throw detail::containerDestroyed(n);
      lines.hold();
      served = matches(instance, key);  // another type of the same name made it: make one
    }
    if (served) {
      if (singletonFamily) printLine("   ✅ Found cached instance for: ", n);
      countHit(s, slot);
    } else {
      if (singletonFamily) printLine("   🔄 Creating new instance for: ", n);
      const FactoryType factory = slot.factory;  // keeps the factory alive across the call
      if (!factory) {
        throw DependencyResolutionError::factoryError("No factory found for " + slot.name);
      }
      if (!keep && factory.isAsync()) keep = self.sharedState();  // only those suspend
      if (caching && !cacheKey) cacheKey = creationKey(slot, scope, s.scopeId);
      std::optional<OwnedCreation> owned;
      if (cacheKey) owned.emplace(s, *cacheKey, frame);
      // The factory runs with the container seen from this resolution's frame: a synchronous
      // one is called directly; an asynchronous one is awaited, after which this resolution
      // continues on the home thread whatever thread the factory finished on.
      detail::ResolutionContext context(self, s, &frame);
      lines.release();
      try {
        if (factory.isAsync()) {
          instance = co_await (*factory.asyncFactory())(context);
          if (!s.onHomeThread()) co_await detail::switchToHomeThread(s);
          if (!s.attachments->alive) throw detail::containerDestroyed(slot.name);
        } else {
          instance = (*factory.syncFactory())(context);
        }
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
      if (singletonFamily) {
        if (!caching) {
          printLine("   ⚠️ Caching disabled for: ", n);
        } else if (keepIt) {
          if (announce) printLine("   💾 Caching instance for: ", n);
          slot.singleton = instance;
          if (announce) printLine("   ✅ Instance cached successfully for: ", n);
        }
      } else if (keepIt && scope == DependencyScope::scoped) {
        s.scopedInstances[cacheKey->scopeId][&slot] = instance;
      } else if (keepIt && scope == DependencyScope::lazy) {
        slot.lazy = instance;
      }
      if (owned) owned->succeed(instance);
    }
  } catch (...) {
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
    printLine("❌ Failed to resolve ", n, ": ", text);
    lines.release();
    if (DIAnalyticsProvider* provider = s.attachments->provider.get()) {
      provider->trackError(*error, ParameterMap{{"dependency_type", n},
                                                {"scope", toString(scope)},
                                                {"lifetime", toString(lifetime)},
                                                {"resolution_stack", detail::pathNames(&frame)},
                                                {"component", kComponent}});
    }
    throw;
  }
  finishResolution(s, slot, scope, start, lines);
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
  AnyInstance* cached = servableFromCache(s, key, parent);
  if (cached == nullptr) return {};
  Slot* slot = s.byTypeId[key.id];
  // What resolveOnHome does for an instance it finds cached, with no suspension to allow for.
  const auto start = Clock::now();
  const DependencyScope scope = slot->metadata->scope;
  HeldLines lines;
  printLine("🔍 Resolving: ", slot->name);
  trackDependency(s, parent, *slot);
  if (usesSingletonCache(scope)) {
    printLine("🔄 resolveSingleton called for: ", slot->name);
    printLine("   ✅ Found cached instance for: ", slot->name);
  }
  countHit(s, *slot);
  AnyInstance instance = *cached;  // the lines and the edge above leave the caches alone
  finishResolution(s, *slot, scope, start, lines);
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

AdvancedDIContainerImpl::AdvancedDIContainerImpl(DIContainerConfig config,
                                                 asio::any_io_executor executor)
    : state_(std::make_shared<ContainerState>(config, std::move(executor))) {}

AdvancedDIContainerImpl::~AdvancedDIContainerImpl() { state_->attachments->alive = false; }

void AdvancedDIContainerImpl::configureAnalytics(std::shared_ptr<DIAnalyticsProvider> provider,
                                                 std::optional<DICrashlyticsConfig> crashlytics) {
  state_->requireHomeThread("configureAnalytics");
  auto& attachments = *state_->attachments;
  attachments.provider = provider ? std::move(provider) : DefaultDIAnalyticsProvider::shared();
  attachments.crashlytics =
      crashlytics ? std::move(crashlytics) : DICrashlyticsConfig::defaultConfig();
}

std::shared_ptr<DIAnalyticsProvider> AdvancedDIContainerImpl::analyticsProvider() const {
  return state_->attachments->provider;
}

std::optional<DICrashlyticsConfig> AdvancedDIContainerImpl::crashlyticsConfig() const {
  return state_->attachments->crashlytics;
}

const DIContainerConfig& AdvancedDIContainerImpl::config() const noexcept { return state_->config; }

const asio::any_io_executor& AdvancedDIContainerImpl::executor() const noexcept {
  return state_->executor;
}

void AdvancedDIContainerImpl::registerFactory(const ServiceKey& key, DependencyScope scope,
                                              DependencyLifetime lifetime, FactoryType factory) {
  ContainerState& s = *state_;
  s.requireHomeThread("register");
  Slot& slot = s.obtain(key);
  detail::noteRegisteredType(s, slot, key);
  if (s.parentLink != nullptr) detail::forgetOverridden(s, slot);
  slot.metadata = DependencyMetadata{scope,
                                     lifetime,
                                     false,
                                     true,
                                     {},
                                     {},
                                     std::chrono::system_clock::now(),
                                     slot.name,
                                     true,
                                     0,
                                     {},
                                     ThreadSafety::safe};
  s.addToRegistry(slot);
  slot.factory = std::move(factory);
  if (!slot.inFactories) {
    slot.inFactories = true;
    s.factoryOrder.push_back(&slot);
  }
  // The event goes out from a task of its own, which reads the provider when it runs.
  asio::post(s.executor, [attachments = s.attachments, name = slot.name, scope, lifetime] {
    if (DIAnalyticsProvider* provider = attachments->provider.get()) {
      provider->trackEvent("dependency_registered", ParameterMap{{"type", name},
                                                                 {"scope", toString(scope)},
                                                                 {"lifetime", toString(lifetime)}});
    }
  });
  printLine("🔧 Registered ", slot.name, " with scope: ", toString(scope), " and dependencies: []");
}

void AdvancedDIContainerImpl::registerMetadata(const ServiceKey& key, DependencyMetadata metadata) {
  ContainerState& s = *state_;
  s.requireHomeThread("registerWithMetadata");
  Slot& slot = s.obtain(key);
  detail::noteRegisteredType(s, slot, key);
  if (s.parentLink != nullptr) detail::forgetOverridden(s, slot);
  slot.metadata = std::move(metadata);
  s.addToRegistry(slot);
}

asio::awaitable<AnyInstance> AdvancedDIContainerImpl::resolveInstance(const ServiceKey& key) {
  return detail::resolveWithin(*this, &key, {}, nullptr);
}

asio::awaitable<AnyInstance> AdvancedDIContainerImpl::resolveByName(std::string name) {
  return detail::resolveWithin(*this, nullptr, std::move(name), nullptr);
}

AnyInstance AdvancedDIContainerImpl::resolveCachedInstance(const ServiceKey& key) {
  return detail::resolveCachedWithin(*state_, key, nullptr);
}

AnyInstance AdvancedDIContainerImpl::resolveInstanceSync(const ServiceKey& key) {
  return detail::resolveSyncWithin(*state_, key, nullptr);
}

void AdvancedDIContainerImpl::runOnContainerThread(std::function<void(AdvancedDIContainer&)> task) {
  asio::post(state_->executor, [attachments = state_->attachments, this, task = std::move(task)] {
    if (attachments->alive) task(*this);
  });
}

asio::awaitable<void> AdvancedDIContainerImpl::awaitPendingRegistrations() {
  // Tasks run in the order they were posted: once this one has run, every earlier one has.
  co_await asio::post(asio::bind_executor(state_->executor, asio::use_awaitable));
}

std::optional<DependencyMetadata> AdvancedDIContainerImpl::getMetadata(
    std::string_view name) const {
  state_->requireHomeThread("getMetadata");
  const Slot* slot = state_->find(name);  // a child's borrowed registration is not its own
  if (slot == nullptr || !slot->inRegistry || !slot->metadata) return std::nullopt;
  return slot->metadata;
}

DependencyMap AdvancedDIContainerImpl::getDependencyMap() const {
  state_->requireHomeThread("getDependencyMap");
  std::vector<DependencyMap::Entry> entries;
  entries.reserve(state_->dependencyMapOrder.size());
  for (const Slot* slot : state_->dependencyMapOrder) {
    std::vector<std::string> names;
    names.reserve(slot->dependencies.size());
    for (const Slot* dependency : slot->dependencies) names.push_back(dependency->name);
    entries.emplace_back(slot->name, std::move(names));
  }
  return DependencyMap(std::move(entries));
}

std::int64_t AdvancedDIContainerImpl::getRegisteredServicesCount() const {
  state_->requireHomeThread("getRegisteredServicesCount");
  return static_cast<std::int64_t>(state_->factoryOrder.size());
}

ServiceStatistics AdvancedDIContainerImpl::getServiceStatistics(std::string_view name) const {
  state_->requireHomeThread("getServiceStatistics");
  ServiceStatistics statistics{std::string(name), 0, 0, std::nullopt, std::nullopt};
  if (const Slot* slot = state_->find(name)) {
    statistics.resolutionCount = slot->resolutionCount;
    statistics.cacheHits = slot->cacheHits;
    statistics.latestResolutionTime = slot->latestResolutionTime;
    if (slot->lastResolved) {
      const auto age = Clock::now() - *slot->lastResolved;
      statistics.lastResolved =
          std::chrono::time_point_cast<Timestamp::duration>(std::chrono::system_clock::now() - age);
    }
  }
  return statistics;
}

bool AdvancedDIContainer::isDevelopmentBuild() noexcept {
#ifdef TAVRELDI_DEVELOPMENT
  return true;
#else
  return false;
#endif
}

}  // namespace tavreldi
