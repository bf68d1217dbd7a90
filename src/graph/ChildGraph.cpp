// The graph and the registration check of a child container, over its own registrations and
// the inherited ones.

#include "graph/detail/ChildGraph.hpp"

#include <chrono>
#include <string>
#include <unordered_map>
#include <utility>

#include "core/detail/ChildContainer.hpp"
#include "core/detail/HomeThread.hpp"
#include "core/detail/ResolutionContext.hpp"
#include "graph/detail/GraphBuilding.hpp"
#include "tavreldi/core/AdvancedDIContainerImpl.hpp"

namespace tavreldi::detail {

namespace {

// Makes `name` a registration of the view.
Slot& addRegistration(ContainerState& view, const std::string& name,
                      const DependencyMetadata& metadata, const std::type_info* type) {
  Slot& slot = view.obtain(name);
  slot.metadata = metadata;
  slot.registeredType = type;
  view.addToRegistry(slot);
  return slot;
}

}  // namespace

asio::awaitable<ChildGraphView> childGraphView(AdvancedDIContainerImpl& child) {
  // A copy, held across the suspensions below: the child may be destroyed meanwhile.
  // NOLINTNEXTLINE(performance-unnecessary-copy-initialization)
  const std::shared_ptr<ContainerState> keep = child.sharedState();
  const ContainerState& s = *keep;
  const std::vector<InheritedRegistration> inherited =
      co_await inheritedRegistrations(s.parentLink);
  if (!s.onHomeThread()) co_await switchToHomeThread(s);
  if (!s.attachments->alive) throw containerDestroyed();

  ChildGraphView result{std::make_unique<ContainerState>(s.config, s.executor), {}};
  ContainerState& view = *result.state;
  std::unordered_map<std::string_view, const InheritedRegistration*> inheritedByName;
  for (const InheritedRegistration& registration : inherited) {
    inheritedByName.emplace(registration.name, &registration);
  }
  for (const Slot* own : s.registryOrder) {
    Slot& slot = addRegistration(view, own->name, *own->metadata, own->registeredType);
    const auto replaced = inheritedByName.find(own->name);
    result.origins.emplace_back(replaced == inheritedByName.end() ? "" : "override");
    // An override made for another C++ type collides with the registration it replaces.
    if (replaced != inheritedByName.end() && replaced->second->type != nullptr &&
        own->registeredType != nullptr && *replaced->second->type != *own->registeredType) {
      view.displacedTypes.emplace_back(&slot, replaced->second->type);
    }
  }
  for (const auto& [slot, type] : s.displacedTypes) {
    view.displacedTypes.emplace_back(view.find(slot->name), type);
  }
  std::vector<std::pair<Slot*, const InheritedRegistration*>> kept;
  for (const InheritedRegistration& registration : inherited) {
    if (const Slot* own = view.find(registration.name); own != nullptr && own->inRegistry) continue;
    kept.emplace_back(
        &addRegistration(view, registration.name, registration.metadata, registration.type),
        &registration);
    result.origins.emplace_back("inherited");
  }

  // Observed dependencies: the child's own; those of the inherited services, with what the
  // child saw the borrowed transient ones resolve.
  for (const Slot* own : s.registryOrder) {
    Slot& slot = *view.find(own->name);
    for (const Slot* dependency : own->dependencies) {
      view.addDependency(slot, view.obtain(dependency->name));
    }
  }
  for (const auto& [slot, registration] : kept) {
    for (const std::string& dependency : registration->observed) {
      view.addDependency(*slot, view.obtain(dependency));
    }
    if (const Slot* borrowed = s.find(registration->name)) {
      for (const Slot* dependency : borrowed->dependencies) {
        view.addDependency(*slot, view.obtain(dependency->name));
      }
    }
  }
  co_return result;
}

asio::awaitable<DependencyGraph> childDependencyGraph(AdvancedDIContainerImpl& child) {
  const auto start = std::chrono::steady_clock::now();
  const ChildGraphView view = co_await childGraphView(child);
  NodesAndEdges built = buildNodesAndEdges(*view.state);
  for (std::size_t i = 0; i < built.nodes.size(); ++i) {
    if (!view.origins[i].empty()) {
      built.nodes[i].metadata.insert_or_assign("origin", std::string(view.origins[i]));
    }
  }
  GraphAnalysis analysis = analyseGraph(child, built, start);
  co_return DependencyGraph{std::move(built.nodes), std::move(built.edges), std::move(analysis)};
}

}  // namespace tavreldi::detail
