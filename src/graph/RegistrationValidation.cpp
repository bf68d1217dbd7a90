// The registration check of a container: its registrations, their declared and observed
// dependencies, handed to the shared check.

#include <vector>

#include "core/detail/ContainerState.hpp"
#include "core/detail/HomeThread.hpp"
#include "tavreldi/core/AdvancedDIContainerImpl.hpp"
#include "tavreldi/graph/RegistrationProblems.hpp"

namespace tavreldi {

asio::awaitable<RegistrationReport> AdvancedDIContainerImpl::validateRegistrations() {
  co_await detail::switchToHomeThread(*state_);
  const detail::ContainerState& s = *state_;
  std::vector<RegisteredService> services;
  services.reserve(s.registryOrder.size());
  std::vector<ServiceDependency> dependencies;
  for (const detail::Slot* slot : s.registryOrder) {
    services.push_back({slot->name, slot->metadata->scope});
    // Declared first, in declaration order; then what was seen beyond them.
    for (const std::string& name : slot->metadata->dependencies) {
      dependencies.push_back({slot->name, name});
    }
    for (const detail::Slot* dependency : slot->dependencies) {
      dependencies.push_back({slot->name, dependency->name});
    }
  }
  co_return findRegistrationProblems(services, dependencies);
}

}  // namespace tavreldi
