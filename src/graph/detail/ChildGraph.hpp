#pragma once

// The graph of a child container: its own registrations and those it inherits, gathered into a
// ContainerState made for the occasion, which graph building and the registration check read as
// they read a container's own state.

#include <asio/awaitable.hpp>
#include <memory>
#include <string_view>
#include <vector>

#include "core/detail/ContainerState.hpp"
#include "tavreldi/graph/DependencyGraph.hpp"
#include "tavreldi/graph/RegistrationReport.hpp"

namespace tavreldi {
class AdvancedDIContainerImpl;
}

namespace tavreldi::detail {

/// A child's registrations as its graph shows them.
struct ChildGraphView {
  /// The child's own registrations in registry order, then the inherited ones that it does not
  /// override (nearest ancestor first); their observed dependencies, and name collisions,
  /// including those between a child's registration and the inherited one it overrides.
  std::unique_ptr<ContainerState> state;
  /// Per registry position of `state`: "" for the child's own, "override" for the child's own
  /// that replaces an inherited one, "inherited" for an ancestor's.
  std::vector<std::string_view> origins;
};

/// Gathers the view of `child`, reading each ancestor on its own thread; returns on the child's
/// thread. Throws `DependencyResolutionError` when the child is destroyed meanwhile.
[[nodiscard]] asio::awaitable<ChildGraphView> childGraphView(AdvancedDIContainerImpl& child);

/// The graph of `child`: that of its view, with each inherited node's metadata holding
/// "origin": "inherited" and each overriding node's "origin": "override".
[[nodiscard]] asio::awaitable<DependencyGraph> childDependencyGraph(AdvancedDIContainerImpl& child);

/// The registration check of `state` (what `validateRegistrations` reports).
[[nodiscard]] RegistrationReport registrationReport(const ContainerState& state);

}  // namespace tavreldi::detail
