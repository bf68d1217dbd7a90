// Container state and registration; the container's operations that lead elsewhere (resolution,
// scopes, preloading, children) are in files of their own.

#include "tavreldi/core/AdvancedDIContainerImpl.hpp"

#include <asio/bind_executor.hpp>
#include <asio/post.hpp>
#include <asio/use_awaitable.hpp>
#include <chrono>

#include "core/detail/ChildContainer.hpp"
#include "core/detail/ContainerState.hpp"
#include "core/detail/NameCollision.hpp"
#include "core/detail/Output.hpp"
#include "core/detail/ResolutionContext.hpp"
#include "tavreldi/telemetry/DefaultDIAnalyticsProvider.hpp"

namespace tavreldi {

using detail::ContainerState;
using detail::printLine;
using detail::Slot;

namespace {
using Clock = std::chrono::steady_clock;
}  // namespace

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

AnyInstance AdvancedDIContainerImpl::startResolution(const ServiceKey& key,
                                                     detail::PendingResolution& pending) {
  return detail::startWithin(*this, *state_, key, nullptr, pending);
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
