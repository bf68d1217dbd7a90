#pragma once

// Child containers. A child's state links to its parent's (ParentLink). A name the child
// registers is the child's own; for any other name the child looks for the nearest ancestor that
// registers it, reading each ancestor on that ancestor's thread:
//
// - a registration with a cache (every scope but transient) is resolved by the container that
//   holds it, as a chain of its own there, so the child shares that container's instance and its
//   one creation; the child prints none of its own lines then, except the edge it records;
// - a transient registration is borrowed: the child runs the holder's factory itself, in the
//   child's chain, so the factory's resolutions see the child's registrations;
// - a name that no ancestor registers fails in the child as any unregistered name does.
//
// An ancestor's resolutions never reach into a child, so neither a cycle nor a wait that would
// never end can cross the link: the searches for them stay among one container's frames.

#include <asio/awaitable.hpp>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <typeinfo>
#include <vector>

#include "core/detail/ContainerState.hpp"

namespace tavreldi {
class AdvancedDIContainerImpl;
}

namespace tavreldi::detail {

struct ResolutionFrame;

/// A child's link to its parent.
struct ParentLink {
  /// The parent's state, kept alive by the link; read only on the parent's home thread.
  std::shared_ptr<ContainerState> state;
  /// The parent, valid while `state->attachments->alive` (the child does not own it).
  AdvancedDIContainerImpl* container = nullptr;
};

/// Called by the resolution of a name that the child `child` does not register, before it
/// prints anything. Returns the instance when an ancestor resolved it, and nothing when the
/// child goes on resolving it itself: `slot` then holds the holder's transient registration, or
/// no registration when no ancestor has one. Returns on the child's thread.
[[nodiscard]] asio::awaitable<std::optional<AnyInstance>> resolveInherited(
    AdvancedDIContainerImpl& child, Slot& slot, const ServiceKey* key, const ResolutionFrame* from);

/// The same for `resolveSync`: the holder's answer, or nothing when the child answers itself.
[[nodiscard]] std::optional<AnyInstance> resolveSyncInherited(ContainerState& child, Slot& slot,
                                                              const ServiceKey& key);

/// Makes a registration in a child take effect at once: drops every instance the child has
/// cached for `slot`, and keeps the creations in progress from caching theirs.
void forgetOverridden(ContainerState& child, Slot& slot);

/// The type that the nearest ancestor registering `name` registered it for; null when there is
/// none, or when an ancestor on the way lives on another thread (it cannot be read from here).
[[nodiscard]] const std::type_info* inheritedType(const ContainerState& child,
                                                  std::string_view name);

/// A registration that a child inherits.
struct InheritedRegistration {
  std::string name;
  DependencyMetadata metadata;
  std::vector<std::string> observed;  // the holder's observed dependencies, in order
  const std::type_info* type = nullptr;
};

/// What a child of `link` inherits: the parent's registrations in registry order, then those of
/// the grandparent that the parent does not register, and so on. Reads each ancestor on its
/// own thread; the caller moves back to its own afterwards. A destroyed ancestor, and those
/// above it, give nothing.
[[nodiscard]] asio::awaitable<std::vector<InheritedRegistration>> inheritedRegistrations(
    std::shared_ptr<const ParentLink> link);

}  // namespace tavreldi::detail
