// The registration check of a container: its registrations, their declared and observed
// dependencies and its name collisions, handed to the shared check.

#include <deque>
#include <string>
#include <unordered_map>
#include <vector>

#include "core/detail/ContainerState.hpp"
#include "core/detail/HomeThread.hpp"
#include "graph/detail/ChildGraph.hpp"
#include "tavreldi/core/AdvancedDIContainerImpl.hpp"
#include "tavreldi/graph/RegistrationProblems.hpp"

namespace tavreldi {

RegistrationReport detail::registrationReport(const ContainerState& s) {
  // The types displaced from a name, per slot, in order: each collision gives the check the
  // name once more, with another type.
  std::unordered_map<const Slot*, std::vector<std::string>> displaced;
  for (const auto& [slot, type] : s.displacedTypes) displaced[slot].push_back(demangle(*type));
  std::deque<std::string> latestTypes;
  std::vector<RegisteredService> services;
  services.reserve(s.registryOrder.size() + s.displacedTypes.size());
  std::vector<ServiceDependency> dependencies;
  for (const Slot* slot : s.registryOrder) {
    const DependencyScope scope = slot->metadata->scope;
    if (const auto types = displaced.find(slot); types != displaced.end()) {
      for (const std::string& type : types->second) services.push_back({slot->name, scope, type});
      const std::string& latest = latestTypes.emplace_back(
          slot->registeredType != nullptr ? demangle(*slot->registeredType) : std::string());
      services.push_back({slot->name, scope, latest});
    } else {
      services.push_back({slot->name, scope});
    }
    // Declared first, in declaration order; then what was seen beyond them.
    for (const std::string& name : slot->metadata->dependencies) {
      dependencies.push_back({slot->name, name});
    }
    for (const Slot* dependency : slot->dependencies) {
      dependencies.push_back({slot->name, dependency->name});
    }
  }
  return findRegistrationProblems(services, dependencies);
}

asio::awaitable<RegistrationReport> AdvancedDIContainerImpl::validateRegistrations() {
  co_await detail::switchToHomeThread(*state_);
  if (state_->parentLink != nullptr) {
    const detail::ChildGraphView view = co_await detail::childGraphView(*this);
    co_return detail::registrationReport(*view.state);
  }
  co_return detail::registrationReport(*state_);
}

}  // namespace tavreldi
