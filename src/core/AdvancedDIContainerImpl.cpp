// Container state, registration and resolution.

#include "tavreldi/core/AdvancedDIContainerImpl.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <asio/bind_executor.hpp>
#include <asio/dispatch.hpp>
#include <asio/post.hpp>
#include <asio/use_awaitable.hpp>
#include <chrono>
#include <exception>
#include <stdexcept>

#include "core/detail/ContainerState.hpp"
#include "core/detail/Output.hpp"
#include "tavreldi/core/Errors.hpp"
#include "tavreldi/telemetry/DefaultDIAnalyticsProvider.hpp"

namespace tavreldi {

using detail::ContainerState;
using detail::printLine;
using detail::Slot;

namespace {

using Clock = std::chrono::steady_clock;
constexpr std::string_view kComponent = "TavrelDI";

std::vector<std::string> stackNames(const std::vector<Slot*>& stack, std::size_t from = 0) {
  std::vector<std::string> names;
  names.reserve(stack.size() - from + 1);
  for (std::size_t i = from; i < stack.size(); ++i) names.push_back(stack[i]->name);
  return names;
}

// Removes the topmost entry of `slot` from the stack. Without interleaved resolutions that is
// the top itself; with an asynchronous factory suspended, another resolution may have pushed
// above it, and its entry must stay.
void popEntry(std::vector<Slot*>& stack, const Slot& slot) noexcept {
  for (auto it = stack.rbegin(); it != stack.rend(); ++it) {
    if (*it == &slot) {
      stack.erase(std::next(it).base());
      return;
    }
  }
}

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

void countHit(const ContainerState& s, Slot& slot) noexcept {
  if (s.config.enablePerformanceMetrics()) detail::incrementCounter(slot.cacheHits);
}

// Runs the registration's factory and checks what it made.
asio::awaitable<AnyInstance> createInstance(AdvancedDIContainerImpl& self, Slot& slot,
                                            const ServiceKey* key) {
  const FactoryType factory = slot.factory;  // keeps the factory alive across the call
  if (!factory) {
    throw DependencyResolutionError::factoryError("No factory found for " + slot.name);
  }
  AnyInstance instance;
  if (factory.isAsync()) {
    instance = co_await (*factory.asyncFactory())(self);
  } else {
    instance = (*factory.syncFactory())(self);
  }
  // A C++ factory can hand back an empty pointer; caching or returning it would only move the
  // failure to the caller's first use, so it fails here.
  if (!instance) {
    throw DependencyResolutionError::factoryError("Factory returned no instance for " + slot.name);
  }
  if (key != nullptr && !matches(instance, key)) {
    throw DependencyResolutionError::typeMismatch(fmt::format("Factory returned {} but expected {}",
                                                              detail::demangle(*instance.type),
                                                              key->qualifiedName));
  }
  co_return instance;
}

// The whole resolution path; `key` is null for resolution by name, which checks no type and
// caches silently.
asio::awaitable<AnyInstance> resolveCore(AdvancedDIContainerImpl& self, const ServiceKey* key,
                                         std::string name) {
  ContainerState& s = self.state();
  if (!s.onHomeThread()) {
    co_await asio::dispatch(asio::bind_executor(s.executor, asio::use_awaitable));
  }
  const auto start = Clock::now();
  Slot& slot = key != nullptr ? s.obtain(*key) : s.obtain(name);
  const std::string& n = slot.name;
  const DIContainerConfig& config = s.config;
  printLine("🔍 Resolving: ", n);

  auto& stack = s.resolutionStack;
  if (config.enableCircularDependencyDetection()) {
    const auto first = std::find(stack.begin(), stack.end(), &slot);
    if (first != stack.end()) {
      auto cycle = stackNames(stack, static_cast<std::size_t>(first - stack.begin()));
      cycle.push_back(n);
      if (DIAnalyticsProvider* provider = s.attachments->provider.get()) {
        const CircularDependencyException report("Circular dependency detected", cycle);
        provider->trackError(
            report, ParameterMap{{"cycle", AnalyticsValue(cycle)}, {"component", kComponent}});
      }
      auto message = fmt::format("Circular dependency detected: {}", fmt::join(cycle, " -> "));
      throw CircularDependencyException(std::move(message), std::move(cycle));
    }
  }

  Slot* parent = stack.empty() ? nullptr : stack.back();
  stack.push_back(&slot);

  if (config.enableDependencyTracking() && parent != nullptr && parent != &slot &&
      !cachedForTracking(s, slot)) {
    s.addDependency(*parent, slot);
    printLine("🔗 Dependency tracked: ", parent->name, " -> ", n);
  }

  if (!slot.metadata) {
    popEntry(stack, slot);
    throw DependencyResolutionError::notRegistered(n);
  }
  const DependencyScope scope = slot.metadata->scope;
  const DependencyLifetime lifetime = slot.metadata->lifetime;
  const bool caching = config.enableCaching();

  AnyInstance instance;
  try {
    switch (scope) {
      case DependencyScope::singleton:
      case DependencyScope::container:
      case DependencyScope::custom:
        printLine("🔄 resolveSingleton called for: ", n);
        if (caching && matches(slot.singleton, key)) {
          printLine("   ✅ Found cached instance for: ", n);
          countHit(s, slot);
          instance = slot.singleton;
          break;
        }
        printLine("   🔄 Creating new instance for: ", n);
        instance = co_await createInstance(self, slot, key);
        if (caching) {
          if (key != nullptr) printLine("   💾 Caching instance for: ", n);
          slot.singleton = instance;
          if (key != nullptr) printLine("   ✅ Instance cached successfully for: ", n);
        } else {
          printLine("   ⚠️ Caching disabled for: ", n);
        }
        break;
      case DependencyScope::scoped:
        if (caching) {
          if (const AnyInstance* cached = scopedCacheEntry(s, slot);
              cached && matches(*cached, key)) {
            countHit(s, slot);
            instance = *cached;
            break;
          }
        }
        instance = co_await createInstance(self, slot, key);
        if (caching) s.scopedInstances[s.scopeId][&slot] = instance;
        break;
      case DependencyScope::lazy:
        if (caching && matches(slot.lazy, key)) {
          countHit(s, slot);
          instance = slot.lazy;
          break;
        }
        instance = co_await createInstance(self, slot, key);
        if (caching) slot.lazy = instance;
        break;
      case DependencyScope::transient:
        instance = co_await createInstance(self, slot, key);
        break;
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
    printLine("❌ Failed to resolve ", n, ": ", text);
    if (DIAnalyticsProvider* provider = s.attachments->provider.get()) {
      provider->trackError(*error, ParameterMap{{"dependency_type", n},
                                                {"scope", toString(scope)},
                                                {"lifetime", toString(lifetime)},
                                                {"resolution_stack", stackNames(stack)},
                                                {"component", kComponent}});
    }
    popEntry(stack, slot);
    throw;
  }

  const auto end = Clock::now();
  const double duration = std::chrono::duration<double>(end - start).count();
  if (config.enablePerformanceMetrics()) {
    slot.latestResolutionTime = duration;
    detail::incrementCounter(slot.resolutionCount);
    slot.lastResolved = end;
  }
  if (DIAnalyticsProvider* provider = s.attachments->provider.get()) {
    provider->trackPerformance("dependency_resolution", duration * 1000, "ms");
    provider->trackEvent("dependency_resolved", ParameterMap{{"type", n},
                                                             {"scope", toString(scope)},
                                                             {"duration_ms", duration * 1000},
                                                             {"success", true}});
  }
  char seconds[32];
  printLine("✅ Resolved: ", n, " (took ", detail::formatSeconds(duration, seconds), "s)");
  popEntry(stack, slot);
  co_return instance;
}

}  // namespace

AdvancedDIContainerImpl::AdvancedDIContainerImpl(DIContainerConfig config,
                                                 asio::any_io_executor executor)
    : state_(std::make_unique<ContainerState>(config, std::move(executor))) {}

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
  slot.metadata = std::move(metadata);
  s.addToRegistry(slot);
}

asio::awaitable<AnyInstance> AdvancedDIContainerImpl::resolveInstance(const ServiceKey& key) {
  return resolveCore(*this, &key, {});
}

asio::awaitable<AnyInstance> AdvancedDIContainerImpl::resolveByName(std::string name) {
  return resolveCore(*this, nullptr, std::move(name));
}

AnyInstance AdvancedDIContainerImpl::resolveInstanceSync(const ServiceKey& key) {
  ContainerState& s = *state_;
  s.requireHomeThread("resolveSync");
  Slot& slot = s.obtain(key);
  printLine("🔍 Resolving synchronously: ", slot.name);
  auto& stack = s.resolutionStack;
  if (s.config.enableCircularDependencyDetection() &&
      std::find(stack.begin(), stack.end(), &slot) != stack.end()) {
    // Unlike `resolve`, the reported cycle is the whole stack.
    auto cycle = stackNames(stack);
    cycle.push_back(slot.name);
    auto message = fmt::format("Circular dependency detected: {}", fmt::join(cycle, " -> "));
    throw CircularDependencyException(std::move(message), std::move(cycle));
  }
  if (!slot.metadata) throw DependencyResolutionError::notRegistered(slot.name);

  if (s.config.enableCaching()) {
    const AnyInstance* cached = nullptr;
    switch (slot.metadata->scope) {
      case DependencyScope::singleton:
      case DependencyScope::container:
      case DependencyScope::custom:
        cached = &slot.singleton;
        break;
      case DependencyScope::scoped:
        cached = scopedCacheEntry(s, slot);
        break;
      case DependencyScope::lazy:
        cached = &slot.lazy;
        break;
      case DependencyScope::transient:
        break;
    }
    if (cached != nullptr && matches(*cached, &key)) {
      countHit(s, slot);
      return *cached;
    }
  }
  throw DependencyResolutionError::factoryError(
      "Instance not available for synchronous resolution");
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
  const Slot* slot = state_->find(name);
  if (slot == nullptr || !slot->metadata) return std::nullopt;
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
