#pragma once

// Fills a container's registry and observed dependencies directly, for shapes real resolutions
// cannot produce (cycles with detection on, unregistered owners, ...); makes graph records.

#include <chrono>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "core/detail/ContainerState.hpp"
#include "tavreldi/core/AdvancedDIContainerImpl.hpp"

namespace tavreldi::testing {

/// Registers `name` (metadata only, no factory) with the given scope and declared dependencies.
inline void registerName(AdvancedDIContainerImpl& container, std::string_view name,
                         DependencyScope scope = DependencyScope::transient,
                         std::vector<std::string> declared = {}) {
  detail::ContainerState& state = container.state();
  detail::Slot& slot = state.obtain(name);
  slot.metadata =
      DependencyMetadata{scope, DependencyLifetime::application, false, true,
                         // no tags or custom data
                         std::vector<std::string>(), std::map<std::string, std::string>(),
                         std::chrono::system_clock::now(), std::string(name), true, 0,
                         std::move(declared), ThreadSafety::safe};
  state.addToRegistry(slot);
}

/// Records that `from` was seen resolving each of `to`, in order.
inline void observe(AdvancedDIContainerImpl& container, std::string_view from,
                    const std::vector<std::string_view>& to) {
  detail::ContainerState& state = container.state();
  for (const std::string_view name : to) {
    state.addDependency(state.obtain(from), state.obtain(name));
  }
}

/// A node with the given fields.
inline DependencyNode node(Name id, DependencyScope scope = DependencyScope::singleton,
                           NameList dependencies = {}, std::int64_t layer = 0,
                           bool circular = false) {
  DependencyNode n;
  n.id = std::move(id);
  n.scope = scope;
  n.dependencies = std::move(dependencies);
  n.layer = layer;
  n.isCircular = circular;
  return n;
}

/// An edge with the given fields.
inline DependencyEdge edge(Name from, Name to, bool circular = false, std::string relationship = {},
                           RelationshipType type = RelationshipType::dependency) {
  DependencyEdge e;
  e.from = std::move(from);
  e.to = std::move(to);
  e.isCircular = circular;
  e.relationship = std::move(relationship);
  e.relationshipType = type;
  return e;
}

}  // namespace tavreldi::testing
