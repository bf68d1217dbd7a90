#pragma once

/// \file
/// The container implementation.

#include "tavreldi/core/Config.hpp"
// (first: the Asio headers below read the settings it makes)

#include <asio/any_io_executor.hpp>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tavreldi/core/AdvancedDIContainer.hpp"
#include "tavreldi/core/DIContainerConfig.hpp"
#include "tavreldi/graph/CircularDependencyAnalysis.hpp"
#include "tavreldi/telemetry/DIAnalyticsProvider.hpp"
#include "tavreldi/telemetry/DICrashlyticsConfig.hpp"

namespace tavreldi {

namespace detail {
struct ContainerState;
}

/// What the container measured for one type (read-only view for dashboards and viewers).
struct ServiceStatistics {
  /// The type name.
  std::string name;
  /// How many resolutions of the type completed (cache hits included).
  std::int64_t resolutionCount = 0;
  /// How many of them were served from a cache.
  std::int64_t cacheHits = 0;
  /// Seconds taken by the latest successful resolution, when there was one.
  std::optional<double> latestResolutionTime;
  /// When the latest successful resolution finished, when there was one.
  std::optional<Timestamp> lastResolved;
};

/// The container. See `AdvancedDIContainer` for the threading rules: the thread that constructs
/// it is its home thread, and `executor` must run there.
class AdvancedDIContainerImpl final : public AdvancedDIContainer {
 public:
  /// Makes an empty container with its own copy of `config`, bound to `executor` (which must
  /// run on the calling thread). No telemetry is attached.
  AdvancedDIContainerImpl(DIContainerConfig config, asio::any_io_executor executor);
  ~AdvancedDIContainerImpl() override;
  AdvancedDIContainerImpl(const AdvancedDIContainerImpl&) = delete;
  AdvancedDIContainerImpl& operator=(const AdvancedDIContainerImpl&) = delete;

  /// Attaches telemetry: `provider`, or `DefaultDIAnalyticsProvider::shared()` when null, and
  /// `crashlytics`, or `DICrashlyticsConfig::defaultConfig()` when absent. Home thread only.
  void configureAnalytics(std::shared_ptr<DIAnalyticsProvider> provider = nullptr,
                          std::optional<DICrashlyticsConfig> crashlytics = std::nullopt);
  /// The attached analytics provider, or null.
  [[nodiscard]] std::shared_ptr<DIAnalyticsProvider> analyticsProvider() const;
  /// The attached crash-reporting configuration, or nothing.
  [[nodiscard]] std::optional<DICrashlyticsConfig> crashlyticsConfig() const;
  /// The container's configuration.
  [[nodiscard]] const DIContainerConfig& config() const noexcept;
  /// The resident memory of the whole process in bytes; 0 when it cannot be read. Home thread.
  [[nodiscard]] std::uint64_t getMemoryUsage() const;
  /// What the container measured for `name` (zeros when nothing). Home thread only.
  [[nodiscard]] ServiceStatistics getServiceStatistics(std::string_view name) const;

  // ---- Child containers (see docs/child-containers.md) --------------------------------

  /// Makes a child container with this container's configuration and executor. The child
  /// resolves its own registrations first and leaves every other name to this container (its
  /// parent): instances the parent caches are the parent's, made once and shared, while what
  /// the child makes for its own registrations stays in the child. Registering a name in the
  /// child overrides the parent's registration for the child's next resolution, even when the
  /// parent has an instance cached; the parent is never changed by its child. A transient
  /// registration of the parent is made by the child, so its dependencies see the overrides.
  /// The child starts without telemetry. It refers to its parent without owning it: keep the
  /// parent for as long as its children resolve through it (once the parent is destroyed, the
  /// child's resolutions of inherited services throw `DependencyResolutionError`, "Container
  /// was destroyed while resolving X"). Home thread only.
  [[nodiscard]] std::shared_ptr<AdvancedDIContainerImpl> createChild();
  /// As `createChild()`, with `config` instead of this container's configuration.
  [[nodiscard]] std::shared_ptr<AdvancedDIContainerImpl> createChild(DIContainerConfig config);
  /// As `createChild(config)`, bound to `executor`, which must run on the calling thread (the
  /// child's home thread, which may be another than the parent's). The child reads the parent
  /// only on the parent's thread: its resolutions of inherited services move there and back.
  [[nodiscard]] std::shared_ptr<AdvancedDIContainerImpl> createChild(
      DIContainerConfig config, asio::any_io_executor executor);
  /// Whether this container was made by `createChild`.
  [[nodiscard]] bool isChild() const noexcept;

  // AdvancedDIContainer
  void registerFactory(const ServiceKey& key, DependencyScope scope, DependencyLifetime lifetime,
                       FactoryType factory) override;
  void registerMetadata(const ServiceKey& key, DependencyMetadata metadata) override;
  [[nodiscard]] asio::awaitable<AnyInstance> resolveInstance(const ServiceKey& key) override;
  [[nodiscard]] AnyInstance resolveCachedInstance(const ServiceKey& key) override;
  [[nodiscard]] AnyInstance startResolution(const ServiceKey& key,
                                            detail::PendingResolution& pending) override;
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

  // ---- Graph building and validation --------------------------------------------------

  /// The cycles among the observed dependencies, each a list of names (no closing repeat).
  /// Home thread only.
  [[nodiscard]] std::vector<std::vector<std::string>> findCircularDependencies() const;
  /// The depth of `name`'s observed dependency chain. Home thread only.
  [[nodiscard]] std::int64_t getDependencyDepth(std::string_view name) const;

  // ---- Graph metrics ------------------------------------------------------------------

  /// Complexity figures of the graph made of `nodes` and `edges`: cyclomatic complexity
  /// E − N + 2 (0 when negative), coupling E ÷ N, fixed cohesion 0.7 and abstractness 0.5.
  [[nodiscard]] ComplexityMetrics createComplexityMetrics(
      const std::vector<DependencyNode>& nodes, const std::vector<DependencyEdge>& edges) const;
  /// A score in 0…1 from the edges per node, the share of circular edges and the share of
  /// nodes of `high` complexity (0 for an empty graph or one without edges).
  [[nodiscard]] double calculateComplexityScore(const std::vector<DependencyNode>& nodes,
                                                const std::vector<DependencyEdge>& edges) const;
  /// Layer violations, single-responsibility violations (nodes with six or more
  /// dependencies) and the compliance derived from both.
  [[nodiscard]] ArchitectureMetrics createArchitectureMetrics(
      const std::vector<DependencyNode>& nodes, const std::vector<DependencyEdge>& edges) const;
  /// The health score of the graph (see `HealthScore`); `testability` reads the container's
  /// resolution and cache-hit counters. Home thread only.
  [[nodiscard]] HealthScore createHealthScore(const std::vector<DependencyNode>& nodes,
                                              const std::vector<DependencyEdge>& edges) const;
  /// Means and extremes of the nodes' performance figures, the bottlenecks (nodes slower
  /// than twice the mean) and the process's memory use.
  [[nodiscard]] GraphPerformanceMetrics createGraphPerformanceMetrics(
      const std::vector<DependencyNode>& nodes) const;
  /// One cluster per node category present, in order of first appearance, with its nodes.
  [[nodiscard]] std::vector<NodeCluster> createNodeClusters(
      const std::vector<DependencyNode>& nodes) const;
  /// The paths of `findCriticalPaths` under the default `CriticalPathBudget`.
  [[nodiscard]] std::vector<CriticalPath> createCriticalPaths(
      const std::vector<DependencyNode>& nodes, const std::vector<DependencyEdge>& edges) const;
  /// Advice: one recommendation when edges are circular, one when nodes have `high`
  /// complexity, in that order.
  [[nodiscard]] std::vector<Recommendation> createRecommendations(
      const std::vector<DependencyNode>& nodes, const std::vector<DependencyEdge>& edges) const;

  // ---- Cycle analysis -----------------------------------------------------------------

  /// The cycles of `findCircularDependencies`, each with its severity, impact and
  /// suggestions. Home thread only.
  [[nodiscard]] std::vector<CircularDependency> findCircularDependenciesDetailed() const;
  /// The severity of a cycle from its length: `low` up to 2 names, `medium` up to 4, `high`
  /// beyond. Home thread only.
  [[nodiscard]] CircularDependencySeverity calculateCycleSeverity(
      const std::vector<std::string>& cycle) const;
  /// The impact of a cycle: `critical` when one of its names is registered as a singleton,
  /// otherwise `medium` up to 3 names and `high` beyond. Home thread only.
  [[nodiscard]] CircularDependencyImpact calculateCycleImpact(
      const std::vector<std::string>& cycle) const;
  /// The fixed advice texts for breaking `cycle` (a singleton to make transient, interfaces to
  /// introduce, events, factories). Home thread only.
  [[nodiscard]] std::vector<std::string> generateCycleSuggestions(
      const std::vector<std::string>& cycle) const;
  /// The detailed cycles with their counts by severity and impact, lengths and overall
  /// advice. Home thread only.
  [[nodiscard]] CircularDependencyAnalysis analyzeCircularDependencies() const;
  /// The fixed advice texts for a whole set of `cycles` ("No circular dependencies found.
  /// Great job!" when there are none). Home thread only.
  [[nodiscard]] std::vector<std::string> generateOverallRecommendations(
      const std::vector<CircularDependency>& cycles) const;

  /// The internal state, for the container's own source files.
  [[nodiscard]] detail::ContainerState& state() noexcept { return *state_; }
  /// The internal state, for the container's own source files.
  [[nodiscard]] const detail::ContainerState& state() const noexcept { return *state_; }
  /// The internal state as the resolutions in progress hold it.
  [[nodiscard]] const std::shared_ptr<detail::ContainerState>& sharedState() const noexcept {
    return state_;
  }

 private:
  // Shared with the resolutions in progress, which may outlive the container.
  std::shared_ptr<detail::ContainerState> state_;
};

}  // namespace tavreldi
