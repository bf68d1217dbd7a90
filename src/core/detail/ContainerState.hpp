#pragma once

// The container's state, shared by the source files of AdvancedDIContainerImpl.
//
// Every name the container has seen (registered, or observed as a dependency) has one Slot that
// holds what each of the container's maps holds under that name: its metadata (typeRegistry),
// factory (factories), cached singleton/lazy instances, counters and observed dependencies
// (dependencyMap). One lookup per resolution finds everything. Slots are never removed, so
// pointers to them stay valid; the per-map insertion orders are kept as lists of slots.

#include <algorithm>
#include <asio/any_io_executor.hpp>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <thread>
#include <typeinfo>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

#include "tavreldi/core/AnyInstance.hpp"
#include "tavreldi/core/DIContainerConfig.hpp"
#include "tavreldi/core/DependencyMetadata.hpp"
#include "tavreldi/core/DependencyScope.hpp"
#include "tavreldi/core/TypeName.hpp"
#include "tavreldi/telemetry/DIAnalyticsProvider.hpp"
#include "tavreldi/telemetry/DICrashlyticsConfig.hpp"

namespace tavreldi::detail {

struct GraphStructure;   // graph/detail/GraphBuilding.hpp
struct SharedCreation;   // core/detail/SharedCreation.hpp
struct ResolutionFrame;  // core/detail/ResolutionContext.hpp
struct ParentLink;       // core/detail/ChildContainer.hpp

struct Slot {
  Slot(std::string slotName, std::uint32_t slotIndex)
      : name(std::move(slotName)), index(slotIndex) {}

  /// Whether `dependency` is among the observed dependencies.
  [[nodiscard]] bool dependsOn(const Slot* dependency) const {
    if (dependencies.size() <= kLinearDependencyScan) {
      return std::find(dependencies.begin(), dependencies.end(), dependency) != dependencies.end();
    }
    return dependencySet->contains(dependency);
  }

  /// Up to this many dependencies are searched in order; past it, `dependencySet` is kept.
  static constexpr std::size_t kLinearDependencyScan = 8;

  std::string name;
  std::uint32_t index;                         // position in ContainerState::slots
  std::optional<DependencyMetadata> metadata;  // typeRegistry[name]
  FactoryType factory;                         // factories[name]
  AnyInstance singleton;                       // singletons[name]
  AnyInstance lazy;                            // lazyInstances[name]
  std::optional<double> latestResolutionTime;  // performanceMetrics[name]
  std::int64_t resolutionCount = 0;            // resolutionCounts[name]
  std::int64_t cacheHits = 0;                  // cacheHits[name]
  // When the latest successful resolution finished, on the steady clock the resolution timer
  // already reads (converted to wall-clock time only when asked for).
  std::optional<std::chrono::steady_clock::time_point> lastResolved;
  // The C++ type the latest registration of the name was made for (see NameCollision.hpp).
  const std::type_info* registeredType = nullptr;
  bool inFactories = false;
  bool inRegistry = false;
  bool inDependencyMap = false;
  std::vector<Slot*> dependencies;  // dependencyMap[name], in the order first seen
  // Membership, made once there are more than kLinearDependencyScan dependencies.
  std::unique_ptr<std::unordered_set<const Slot*>> dependencySet;
};

/// Telemetry attachments and a liveness flag, shared with the tasks the container posts: a
/// registration's analytics task reads the provider when it runs, and a posted convenience
/// registration runs only while the container still exists.
struct Attachments {
  std::shared_ptr<DIAnalyticsProvider> provider;
  std::optional<DICrashlyticsConfig> crashlytics;
  bool alive = true;
};

/// Where a creation in progress will store its instance: a slot's singleton or lazy cache, or a
/// scope's map (then `scopeId` names the scope).
struct CreationKey {
  const Slot* slot = nullptr;
  DependencyScope cache = DependencyScope::singleton;
  std::string scopeId;
  friend bool operator==(const CreationKey&, const CreationKey&) = default;
};

struct CreationKeyHash {
  std::size_t operator()(const CreationKey& key) const noexcept {
    const std::size_t h = std::hash<const void*>{}(key.slot) ^ static_cast<std::size_t>(key.cache);
    return key.scopeId.empty() ? h : h ^ (std::hash<std::string>{}(key.scopeId) << 1);
  }
};

// Shared with every resolution in progress (each holds it across its suspensions), so a
// resolution that resumes after the container was destroyed still finds its state.
struct ContainerState {
  ContainerState(DIContainerConfig cfg, asio::any_io_executor exec)
      : config(cfg), executor(std::move(exec)), homeThread(std::this_thread::get_id()) {}

  DIContainerConfig config;
  asio::any_io_executor executor;
  std::thread::id homeThread;

  std::deque<Slot> slots;
  std::unordered_map<std::string_view, Slot*> byName;  // keys view Slot::name
  std::vector<Slot*> byTypeId;                         // indexed by ServiceKey::id

  std::vector<Slot*> registryOrder;       // typeRegistry keys, in insertion order
  std::vector<Slot*> factoryOrder;        // factories keys, in insertion order
  std::vector<Slot*> dependencyMapOrder;  // dependencyMap keys, in insertion order

  using ScopeInstances = std::unordered_map<const Slot*, AnyInstance>;
  std::unordered_map<std::string, ScopeInstances> scopedInstances;
  std::string scopeId = "default";

  // Creations of cacheable instances in progress; other resolutions of the same instance await
  // them instead of running the factory again. cleanup() forgets them all, and making or
  // dropping a scope forgets that scope's: a creation no longer listed keeps nothing.
  std::unordered_map<CreationKey, std::shared_ptr<SharedCreation>, CreationKeyHash> creations;
  // Marks the resolutions visited by one search for a wait that would never end.
  std::uint64_t searchGeneration = 0;

  // Bumped whenever a name or an observed dependency is added and on every registration. What
  // graph building derives from those alone (cycles, greatest depth, what the names tell,
  // scopes, declared dependencies) is kept in `graphStructure` and made anew only when this has
  // moved on.
  std::uint64_t structureVersion = 0;
  mutable std::shared_ptr<const GraphStructure> graphStructure;
  std::shared_ptr<Attachments> attachments = std::make_shared<Attachments>();
  // The parameters of the latest "dependency_resolved" event, kept so that the next one reuses
  // their storage.
  OptionalParameters resolvedParameters;
  bool resolvedParametersInUse = false;
  // The service and scope `resolvedParameters` names: only the duration changes between
  // resolutions of the same one.
  const Slot* resolvedParametersSlot = nullptr;
  DependencyScope resolvedParametersScope = DependencyScope::transient;

  // A child container's link to its parent (see ChildContainer.hpp); null for a root. Set when
  // the child is made, never changed.
  std::shared_ptr<const ParentLink> parentLink;
  // Name collisions, in the order they happened: a slot and a C++ type that a registration of
  // another type displaced from it.
  std::vector<std::pair<const Slot*, const std::type_info*>> displacedTypes;

  [[nodiscard]] bool onHomeThread() const noexcept {
    return std::this_thread::get_id() == homeThread;
  }

  /// Aborts with a message on standard error when called off the home thread.
  void requireHomeThread(const char* operation) const noexcept {
    if (!onHomeThread()) {
      std::fprintf(stderr,
                   "TavrelDI: AdvancedDIContainerImpl::%s called off the container's thread\n",
                   operation);
      std::abort();
    }
  }

  /// The slot of `name`, or null.
  [[nodiscard]] Slot* find(std::string_view name) const noexcept {
    const auto it = byName.find(name);
    return it == byName.end() ? nullptr : it->second;
  }

  /// The slot of `name`, made when missing.
  Slot& obtain(std::string_view name) {
    if (Slot* slot = find(name)) return *slot;
    Slot& slot = slots.emplace_back(std::string(name), static_cast<std::uint32_t>(slots.size()));
    byName.emplace(slot.name, &slot);
    ++structureVersion;
    return slot;
  }

  /// The slot of a typed key, made when missing; remembered by type number.
  Slot& obtain(const ServiceKey& key) {
    if (key.id < byTypeId.size() && byTypeId[key.id] != nullptr) return *byTypeId[key.id];
    Slot& slot = obtain(key.name);
    if (key.id >= byTypeId.size()) byTypeId.resize(key.id + 1, nullptr);
    byTypeId[key.id] = &slot;
    return slot;
  }

  /// Adds `slot` to the registry's keys unless it is there already. Called on every
  /// registration, new or replacing one.
  void addToRegistry(Slot& slot) {
    ++structureVersion;  // the registration is part of the structure
    if (slot.inRegistry) return;
    slot.inRegistry = true;
    registryOrder.push_back(&slot);
  }

  /// Scoped instances of the current scope, or null when the scope has no map.
  [[nodiscard]] ScopeInstances* currentScopeInstances() {
    const auto it = scopedInstances.find(scopeId);
    return it == scopedInstances.end() ? nullptr : &it->second;
  }

  /// Adds `dependency` to `owner`'s observed set; false when it was there already.
  bool addDependency(Slot& owner, Slot& dependency) {
    if (!owner.inDependencyMap) {
      owner.inDependencyMap = true;
      dependencyMapOrder.push_back(&owner);
    }
    if (owner.dependsOn(&dependency)) return false;
    owner.dependencies.push_back(&dependency);
    ++structureVersion;
    if (owner.dependencySet) {
      owner.dependencySet->insert(&dependency);
    } else if (owner.dependencies.size() > Slot::kLinearDependencyScan) {
      owner.dependencySet = std::make_unique<std::unordered_set<const Slot*>>(
          owner.dependencies.begin(), owner.dependencies.end());
    }
    return true;
  }
};

/// Aborts when `counter + 1` would overflow; otherwise increments it.
inline void incrementCounter(std::int64_t& counter) noexcept {
  if (__builtin_add_overflow(counter, 1, &counter)) {
    std::fputs("TavrelDI: counter overflow\n", stderr);
    std::abort();
  }
}

/// Adds with an overflow check (aborts on overflow).
inline std::int64_t checkedAdd(std::int64_t a, std::int64_t b) noexcept {
  std::int64_t result = 0;
  if (__builtin_add_overflow(a, b, &result)) {
    std::fputs("TavrelDI: counter overflow\n", stderr);
    std::abort();
  }
  return result;
}

}  // namespace tavreldi::detail
