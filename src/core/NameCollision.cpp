// The warning when two C++ types claim one service name.

#include "core/detail/NameCollision.hpp"

#include "core/detail/ChildContainer.hpp"
#include "core/detail/Output.hpp"

namespace tavreldi::detail {

void noteRegisteredType(ContainerState& state, Slot& slot, const ServiceKey& key) {
  const std::type_info* held = slot.registeredType;
  if (held == nullptr && state.parentLink != nullptr) held = inheritedType(state, slot.name);
  if (held != nullptr && *held != *key.type) {
    printLine("⚠️ Name collision: ", slot.name, " is already registered for ", demangle(*held),
              "; ", demangle(*key.type),
              " now replaces it (register one of them under a key to keep both)");
    if (slot.registeredType != nullptr) state.displacedTypes.emplace_back(&slot, held);
  }
  slot.registeredType = key.type;
}

}  // namespace tavreldi::detail
