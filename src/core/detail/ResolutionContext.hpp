#pragma once

// Resolution chains. A top-level `resolve` starts a chain; every resolution that a factory of
// the chain makes belongs to it. Each resolution in progress is a ResolutionFrame in its own
// coroutine frame, linked to the resolution whose factory asked for it, so a chain's path is
// read by walking `parent` links; there is no stack shared between chains. A factory receives a
// ResolutionContext: the container, seen from the resolution that runs the factory.

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "core/detail/ContainerState.hpp"
#include "tavreldi/core/AdvancedDIContainerImpl.hpp"
#include "tavreldi/core/Errors.hpp"

namespace tavreldi::detail {

/// One resolution in progress.
struct ResolutionFrame {
  Slot* slot = nullptr;
  /// The resolution whose factory asked for this one; null at the top of a chain.
  const ResolutionFrame* parent = nullptr;
  /// The creation this resolution runs, while other resolutions may await it.
  SharedCreation* creating = nullptr;
  /// The creation this resolution awaits.
  SharedCreation* awaiting = nullptr;
  // Scratch of the search for a wait that would never end (see SharedCreation.cpp).
  mutable std::uint64_t mark = 0;
  mutable const ResolutionFrame* blockedVia = nullptr;
};

/// Appends the names on the path from `top` down to `bottom` (`top` is `bottom` or one of its
/// ancestors; null: the top of the chain).
void appendPathNames(std::vector<std::string>& names, const ResolutionFrame* bottom,
                     const ResolutionFrame* top = nullptr);

/// The names on the path from `top` (null: the top of the chain) down to `frame`.
[[nodiscard]] inline std::vector<std::string> pathNames(const ResolutionFrame* frame,
                                                        const ResolutionFrame* top = nullptr) {
  std::vector<std::string> names;
  appendPathNames(names, frame, top);
  return names;
}

/// The container as a factory sees it: resolutions made through it belong to the chain of the
/// resolution that runs the factory (none: preloading's factories start chains of their own).
/// Valid while that factory runs. Every operation but
/// resolution goes to the container itself; after the container is destroyed, each fails with
/// `DependencyResolutionError` ("Container was destroyed").
class ResolutionContext final : public AdvancedDIContainer {
 public:
  /// `state` must outlive the view: the resolution running the factory holds it.
  ResolutionContext(AdvancedDIContainerImpl& container, ContainerState& state,
                    const ResolutionFrame* frame) noexcept
      : container_(container), state_(state), frame_(frame) {}

  void registerFactory(const ServiceKey& key, DependencyScope scope, DependencyLifetime lifetime,
                       FactoryType factory) override;
  void registerMetadata(const ServiceKey& key, DependencyMetadata metadata) override;
  [[nodiscard]] asio::awaitable<AnyInstance> resolveInstance(const ServiceKey& key) override;
  [[nodiscard]] AnyInstance resolveCachedInstance(const ServiceKey& key) override;
  [[nodiscard]] AnyInstance startResolution(const ServiceKey& key,
                                            PendingResolution& pending) override;
  [[nodiscard]] AnyInstance resolveInstanceSync(const ServiceKey& key) override;
  [[nodiscard]] asio::awaitable<AnyInstance> resolveByName(std::string name) override;
  void runOnContainerThread(std::function<void(AdvancedDIContainer&)> task) override;
  [[nodiscard]] asio::awaitable<void> awaitPendingRegistrations() override;
  [[nodiscard]] const asio::any_io_executor& executor() const noexcept override;

  [[nodiscard]] asio::awaitable<void> createScope(std::string id) override;
  [[nodiscard]] asio::awaitable<void> disposeScope(std::string id) override;
  [[nodiscard]] asio::awaitable<void> setCurrentScope(std::string id) override;
  [[nodiscard]] std::string getCurrentScope() const override;
  [[nodiscard]] asio::awaitable<void> cleanup() override;
  [[nodiscard]] std::optional<DependencyMetadata> getMetadata(std::string_view name) const override;
  using AdvancedDIContainer::getMetadata;
  [[nodiscard]] DependencyMap getDependencyMap() const override;
  [[nodiscard]] std::int64_t getRegisteredServicesCount() const override;
  void debugPrintMetadata() const override;
  void debugPrintFactories() const override;
  [[nodiscard]] asio::awaitable<PerformanceMetrics> getPerformanceMetrics() override;

  [[nodiscard]] asio::awaitable<void> validateDependencies() override;
  [[nodiscard]] asio::awaitable<RegistrationReport> validateRegistrations() override;
  [[nodiscard]] asio::awaitable<DependencyGraph> getDependencyGraph() override;
  [[nodiscard]] asio::awaitable<GraphAnalysis> analyzeDependencyGraph() override;
  [[nodiscard]] asio::awaitable<GraphAnalysis> analyzeDependencyGraphWithMetrics() override;

  [[nodiscard]] asio::awaitable<void> preloadDependencies() override;
  [[nodiscard]] asio::awaitable<void> preloadAllGeneric() override;
  [[nodiscard]] asio::awaitable<void> preloadSmart() override;
  [[nodiscard]] asio::awaitable<void> preloadViewModelsOnly() override;

 private:
  // The container, once checked to be alive.
  [[nodiscard]] AdvancedDIContainerImpl& container() const;

  AdvancedDIContainerImpl& container_;
  ContainerState& state_;
  const ResolutionFrame* frame_;
};

/// Resolves `key` (null: by `name`, no type check) within the chain ending at `parent` (null:
/// a chain of its own).
[[nodiscard]] asio::awaitable<AnyInstance> resolveWithin(AdvancedDIContainerImpl& container,
                                                         const ServiceKey* key, std::string name,
                                                         const ResolutionFrame* parent);

/// Resolves `key` within the chain ending at `parent` when that needs no suspension (see
/// `AdvancedDIContainer::resolveCachedInstance`); otherwise an empty instance.
[[nodiscard]] AnyInstance resolveCachedWithin(ContainerState& state, const ServiceKey& key,
                                              const ResolutionFrame* parent);

/// Starts resolving `key` within the chain ending at `parent` for a caller that awaits the
/// factory itself (see `AdvancedDIContainer::startResolution`).
[[nodiscard]] AnyInstance startWithin(AdvancedDIContainerImpl& container, ContainerState& state,
                                      const ServiceKey& key, const ResolutionFrame* parent,
                                      PendingResolution& pending);

/// Hands out a cached instance of `key` within the chain ending at `parent` (null: none).
[[nodiscard]] AnyInstance resolveSyncWithin(ContainerState& state, const ServiceKey& key,
                                            const ResolutionFrame* parent);

/// The error of an operation reached after the container was destroyed.
[[nodiscard]] DependencyResolutionError containerDestroyed(std::string_view resolving = {});

}  // namespace tavreldi::detail
