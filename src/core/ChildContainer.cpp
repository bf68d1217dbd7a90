// Child containers: making them, and resolving through the link to the parent.

#include "core/detail/ChildContainer.hpp"

#include <algorithm>
#include <asio/bind_executor.hpp>
#include <asio/dispatch.hpp>
#include <asio/use_awaitable.hpp>
#include <exception>
#include <unordered_set>
#include <utility>

#include "core/detail/HomeThread.hpp"
#include "core/detail/Output.hpp"
#include "core/detail/ResolutionContext.hpp"
#include "tavreldi/core/AdvancedDIContainerImpl.hpp"
#include "tavreldi/core/Errors.hpp"

namespace tavreldi {

namespace detail {

namespace {

// The nearest ancestor registering a name, and what it registered.
struct Holder {
  std::shared_ptr<const ParentLink> link;  // null when no ancestor registers the name
  std::optional<DependencyMetadata> metadata;
  FactoryType factory;
  bool destroyed = false;  // an ancestor on the way was destroyed
};

// Reads the ancestors nearest first, each on its own thread; ends on the thread it read last.
asio::awaitable<Holder> findHolder(std::shared_ptr<const ParentLink> link, std::string name) {
  Holder holder;
  for (; link != nullptr; link = link->state->parentLink) {
    const ContainerState& ancestor = *link->state;
    if (!ancestor.onHomeThread()) co_await switchToHomeThread(ancestor);
    if (!ancestor.attachments->alive) {
      holder.destroyed = true;
      break;
    }
    if (const Slot* slot = ancestor.find(name); slot != nullptr && slot->inRegistry) {
      holder.link = link;
      holder.metadata = slot->metadata;
      holder.factory = slot->factory;
      break;
    }
  }
  co_return holder;
}

// Resolves `name` in the container of `link`, as a chain of its own, on that container's thread;
// comes back to `home` (the child's executor) when it had to leave it.
asio::awaitable<AnyInstance> resolveInAncestor(const ParentLink& link, const ServiceKey* key,
                                               std::string name,
                                               const asio::any_io_executor& home) {
  ContainerState& ancestor = *link.state;
  if (ancestor.onHomeThread()) {
    if (!ancestor.attachments->alive) throw containerDestroyed(name);
    AnyInstance instance = co_await resolveWithin(*link.container, key, std::move(name), nullptr);
    co_return instance;
  }
  co_await asio::dispatch(asio::bind_executor(ancestor.executor, asio::use_awaitable));
  AnyInstance instance;
  std::exception_ptr error;
  if (!ancestor.attachments->alive) {
    error = std::make_exception_ptr(containerDestroyed(name));
  } else {
    try {
      instance = co_await resolveWithin(*link.container, key, std::move(name), nullptr);
    } catch (...) {
      error = std::current_exception();
    }
  }
  co_await asio::dispatch(asio::bind_executor(home, asio::use_awaitable));
  if (error) std::rethrow_exception(error);
  co_return instance;
}

}  // namespace

asio::awaitable<std::optional<AnyInstance>> resolveInherited(AdvancedDIContainerImpl& child,
                                                             Slot& slot, const ServiceKey* key,
                                                             const ResolutionFrame* from) {
  // A copy, held across the suspensions below: the child may be destroyed meanwhile.
  // NOLINTNEXTLINE(performance-unnecessary-copy-initialization)
  const std::shared_ptr<ContainerState> keep = child.sharedState();
  ContainerState& s = *keep;
  std::string name = slot.name;
  Holder holder = co_await findHolder(s.parentLink, name);
  if (!s.onHomeThread()) co_await switchToHomeThread(s);
  if (!s.attachments->alive || holder.destroyed) throw containerDestroyed(name);
  if (holder.link == nullptr || holder.metadata->scope == DependencyScope::transient) {
    // The child resolves it: with the borrowed registration, or as an unregistered name.
    slot.metadata = std::move(holder.metadata);
    slot.factory = std::move(holder.factory);
    co_return std::nullopt;
  }
  slot.metadata.reset();
  slot.factory = {};
  // The edge from the child's own service to the inherited one, the first time it is seen.
  if (from != nullptr && s.config.enableDependencyTracking() && from->slot != &slot &&
      s.addDependency(*from->slot, slot)) {
    printLine("🔗 Dependency tracked: ", from->slot->name, " -> ", name);
  }
  AnyInstance instance = co_await resolveInAncestor(*holder.link, key, name, s.executor);
  if (!s.attachments->alive) throw containerDestroyed(name);
  co_return instance;
}

std::optional<AnyInstance> resolveSyncInherited(ContainerState& child, Slot& slot,
                                                const ServiceKey& key) {
  for (const ParentLink* link = child.parentLink.get(); link != nullptr;
       link = link->state->parentLink.get()) {
    ContainerState& ancestor = *link->state;
    if (!ancestor.onHomeThread()) {  // it cannot be read synchronously from here
      printLine("🔍 Resolving synchronously: ", slot.name);
      throw DependencyResolutionError::factoryError(
          "Instance not available for synchronous resolution");
    }
    if (!ancestor.attachments->alive) throw containerDestroyed(slot.name);
    if (const Slot* held = ancestor.find(slot.name); held != nullptr && held->inRegistry) {
      return resolveSyncWithin(ancestor, key, nullptr);
    }
  }
  slot.metadata.reset();
  slot.factory = {};
  return std::nullopt;
}

void forgetOverridden(ContainerState& child, Slot& slot) {
  slot.singleton = {};
  slot.lazy = {};
  for (auto& [id, instances] : child.scopedInstances) instances.erase(&slot);
  std::erase_if(child.creations, [&slot](const auto& entry) { return entry.first.slot == &slot; });
}

const std::type_info* inheritedType(const ContainerState& child, std::string_view name) {
  for (const ParentLink* link = child.parentLink.get(); link != nullptr;
       link = link->state->parentLink.get()) {
    const ContainerState& ancestor = *link->state;
    if (!ancestor.onHomeThread() || !ancestor.attachments->alive) return nullptr;
    if (const Slot* held = ancestor.find(name); held != nullptr && held->inRegistry) {
      return held->registeredType;
    }
  }
  return nullptr;
}

asio::awaitable<std::vector<InheritedRegistration>> inheritedRegistrations(
    std::shared_ptr<const ParentLink> link) {
  std::vector<InheritedRegistration> inherited;
  std::unordered_set<std::string> seen;  // the names in `inherited`
  for (; link != nullptr; link = link->state->parentLink) {
    const ContainerState& ancestor = *link->state;
    if (!ancestor.onHomeThread()) co_await switchToHomeThread(ancestor);
    if (!ancestor.attachments->alive) break;
    for (const Slot* slot : ancestor.registryOrder) {
      if (!seen.insert(slot->name).second) continue;
      std::vector<std::string> observed;
      observed.reserve(slot->dependencies.size());
      for (const Slot* dependency : slot->dependencies) observed.push_back(dependency->name);
      inherited.push_back({slot->name, *slot->metadata, std::move(observed), slot->registeredType});
    }
  }
  co_return inherited;
}

}  // namespace detail

std::shared_ptr<AdvancedDIContainerImpl> AdvancedDIContainerImpl::createChild() {
  return createChild(state_->config);
}

std::shared_ptr<AdvancedDIContainerImpl> AdvancedDIContainerImpl::createChild(
    DIContainerConfig config) {
  state_->requireHomeThread("createChild");
  return createChild(config, state_->executor);
}

std::shared_ptr<AdvancedDIContainerImpl> AdvancedDIContainerImpl::createChild(
    DIContainerConfig config, asio::any_io_executor executor) {
  auto child = std::make_shared<AdvancedDIContainerImpl>(config, std::move(executor));
  child->state_->parentLink =
      std::make_shared<const detail::ParentLink>(detail::ParentLink{state_, this});
  return child;
}

bool AdvancedDIContainerImpl::isChild() const noexcept { return state_->parentLink != nullptr; }

}  // namespace tavreldi
