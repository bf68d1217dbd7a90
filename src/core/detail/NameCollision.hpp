#pragma once

// Name collisions: service names drop namespaces, so two distinct C++ types (billing::Client,
// crm::Client) can claim one name, and with it one registration slot. Registration warns when
// that happens, and the container remembers it for validateRegistrations.

#include "core/detail/ContainerState.hpp"

namespace tavreldi::detail {

/// Notes that `slot` is being registered for the C++ type of `key`. When the name already
/// stands for another type, registered in this container or (in a child) by the nearest
/// ancestor that registers it and shares this thread, prints one line naming both types:
/// "⚠️ Name collision: Client is already registered for billing::Client; crm::Client now
/// replaces it (register one of them under a key to keep both)". A collision within this
/// container is also recorded in `displacedTypes`.
void noteRegisteredType(ContainerState& state, Slot& slot, const ServiceKey& key);

}  // namespace tavreldi::detail
