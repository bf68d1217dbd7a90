// The container as a factory sees it: resolutions carry the factory's chain, everything else
// goes to the container.

#include "core/detail/ResolutionContext.hpp"

#include <algorithm>

namespace tavreldi::detail {

void appendPathNames(std::vector<std::string>& names, const ResolutionFrame* bottom,
                     const ResolutionFrame* top) {
  const std::size_t from = names.size();
  for (const ResolutionFrame* f = bottom; f != nullptr; f = f->parent) {
    names.push_back(f->slot->name);
    if (f == top) break;
  }
  std::reverse(names.begin() + static_cast<std::ptrdiff_t>(from), names.end());
}

DependencyResolutionError containerDestroyed(std::string_view resolving) {
  if (resolving.empty()) return DependencyResolutionError::factoryError("Container was destroyed");
  return DependencyResolutionError::factoryError("Container was destroyed while resolving " +
                                                 std::string(resolving));
}

AdvancedDIContainerImpl& ResolutionContext::container() const {
  if (!state_.attachments->alive) throw containerDestroyed();
  return container_;
}

void ResolutionContext::registerFactory(const ServiceKey& key, DependencyScope scope,
                                        DependencyLifetime lifetime, FactoryType factory) {
  container().registerFactory(key, scope, lifetime, std::move(factory));
}

void ResolutionContext::registerMetadata(const ServiceKey& key, DependencyMetadata metadata) {
  container().registerMetadata(key, std::move(metadata));
}

asio::awaitable<AnyInstance> ResolutionContext::resolveInstance(const ServiceKey& key) {
  return resolveWithin(container(), &key, {}, frame_);
}

AnyInstance ResolutionContext::resolveCachedInstance(const ServiceKey& key) {
  (void)container();
  return resolveCachedWithin(state_, key, frame_);
}

AnyInstance ResolutionContext::startResolution(const ServiceKey& key, PendingResolution& pending) {
  return startWithin(container(), state_, key, frame_, pending);
}

AnyInstance ResolutionContext::resolveInstanceSync(const ServiceKey& key) {
  (void)container();
  return resolveSyncWithin(state_, key, frame_);
}

asio::awaitable<AnyInstance> ResolutionContext::resolveByName(std::string name) {
  return resolveWithin(container(), nullptr, std::move(name), frame_);
}

void ResolutionContext::runOnContainerThread(std::function<void(AdvancedDIContainer&)> task) {
  container().runOnContainerThread(std::move(task));
}

asio::awaitable<void> ResolutionContext::awaitPendingRegistrations() {
  return container().awaitPendingRegistrations();
}

const asio::any_io_executor& ResolutionContext::executor() const noexcept {
  return state_.executor;
}

asio::awaitable<void> ResolutionContext::createScope(std::string id) {
  return container().createScope(std::move(id));
}

asio::awaitable<void> ResolutionContext::disposeScope(std::string id) {
  return container().disposeScope(std::move(id));
}

asio::awaitable<void> ResolutionContext::setCurrentScope(std::string id) {
  return container().setCurrentScope(std::move(id));
}

std::string ResolutionContext::getCurrentScope() const { return container().getCurrentScope(); }

asio::awaitable<void> ResolutionContext::cleanup() { return container().cleanup(); }

std::optional<DependencyMetadata> ResolutionContext::getMetadata(std::string_view name) const {
  return container().getMetadata(name);
}

DependencyMap ResolutionContext::getDependencyMap() const { return container().getDependencyMap(); }

std::int64_t ResolutionContext::getRegisteredServicesCount() const {
  return container().getRegisteredServicesCount();
}

void ResolutionContext::debugPrintMetadata() const { container().debugPrintMetadata(); }

void ResolutionContext::debugPrintFactories() const { container().debugPrintFactories(); }

asio::awaitable<PerformanceMetrics> ResolutionContext::getPerformanceMetrics() {
  return container().getPerformanceMetrics();
}

asio::awaitable<void> ResolutionContext::validateDependencies() {
  return container().validateDependencies();
}

asio::awaitable<RegistrationReport> ResolutionContext::validateRegistrations() {
  return container().validateRegistrations();
}

asio::awaitable<DependencyGraph> ResolutionContext::getDependencyGraph() {
  return container().getDependencyGraph();
}

asio::awaitable<GraphAnalysis> ResolutionContext::analyzeDependencyGraph() {
  return container().analyzeDependencyGraph();
}

asio::awaitable<GraphAnalysis> ResolutionContext::analyzeDependencyGraphWithMetrics() {
  return container().analyzeDependencyGraphWithMetrics();
}

asio::awaitable<void> ResolutionContext::preloadDependencies() {
  return container().preloadDependencies();
}

asio::awaitable<void> ResolutionContext::preloadAllGeneric() {
  return container().preloadAllGeneric();
}

asio::awaitable<void> ResolutionContext::preloadSmart() { return container().preloadSmart(); }

asio::awaitable<void> ResolutionContext::preloadViewModelsOnly() {
  return container().preloadViewModelsOnly();
}

}  // namespace tavreldi::detail
