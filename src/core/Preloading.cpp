// Preloading: creating registered instances ahead of their first use.
//
// Every walk takes a snapshot of the order list it walks when it starts and re-reads each slot
// when it reaches it: a factory may suspend and other work (even new registrations) may run on
// the container's thread meanwhile. Slots are never removed, so the snapshot stays valid.

#include <exception>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "core/detail/ContainerState.hpp"
#include "core/detail/HomeThread.hpp"
#include "core/detail/Output.hpp"
#include "core/detail/ResolutionContext.hpp"
#include "tavreldi/core/AdvancedDIContainerImpl.hpp"
#include "tavreldi/core/Errors.hpp"

namespace tavreldi {

using detail::ContainerState;
using detail::printFormatted;
using detail::printLine;
using detail::Slot;

namespace {

// The text of the exception being handled: `what()`, or "unknown error" for anything that is
// not a std::exception. Call only inside a catch block.
std::string currentErrorText() {
  try {
    throw;
  } catch (const std::exception& error) {
    return error.what();
  } catch (...) {
    return "unknown error";
  }
}

// Runs a factory with the container (its resolutions start chains of their own), awaiting it
// when it is asynchronous, and comes back to the container's thread (an asynchronous factory may
// finish elsewhere). Fails when the container was destroyed meanwhile.
asio::awaitable<AnyInstance> callFactory(AdvancedDIContainerImpl& self, FactoryType factory,
                                         std::string_view name) {
  ContainerState& state = self.state();  // kept alive by the preloading walk
  detail::ResolutionContext context(self, state, nullptr);
  AnyInstance instance;
  if (factory.isAsync()) {
    instance = co_await (*factory.asyncFactory())(context);
    co_await detail::switchToHomeThread(state);
    if (!state.attachments->alive) throw detail::containerDestroyed(name);
  } else {
    instance = (*factory.syncFactory())(context);
  }
  // As in resolution: an empty pointer is a failure of the factory, not an instance.
  if (!instance) {
    throw DependencyResolutionError::factoryError("Factory returned no instance for " +
                                                  std::string(name));
  }
  co_return instance;
}

// Makes an instance of `name` without resolution: the registry record, then the factory stored
// under the record's type name. Nothing is cached, counted or reported.
asio::awaitable<AnyInstance> createDirectly(AdvancedDIContainerImpl& self, std::string name) {
  const ContainerState& s = self.state();
  const Slot* slot = s.find(name);
  if (slot == nullptr || !slot->metadata) throw DependencyResolutionError::notRegistered(name);
  std::string typeName = slot->metadata->typeName;
  const Slot* factorySlot = s.find(typeName);
  if (factorySlot == nullptr || !factorySlot->factory) {
    throw DependencyResolutionError::notRegistered(std::move(typeName));
  }
  AnyInstance instance = co_await callFactory(self, factorySlot->factory, typeName);
  co_return instance;
}

// Creates and drops the instance of `name`, printing "   ✅ name" or "   ❌ name - error".
asio::awaitable<void> createAndReport(AdvancedDIContainerImpl& self, std::string name) {
  bool created = false;
  try {
    (void)co_await createDirectly(self, name);
    created = true;
  } catch (...) {
    printFormatted("   ❌ {} - {}", name, currentErrorText());
  }
  if (created) printFormatted("   ✅ {}", name);
}

// The preloading category of a type name: the first rule whose text the name contains.
std::string_view categoryOf(std::string_view name) noexcept {
  struct Rule {
    std::string_view text;
    std::string_view category;
  };
  static constexpr Rule kRules[] = {
      {"Service", "Core Services"},   {"Protocol", "Core Services"}, {"API", "APIs"},
      {"Repository", "Repositories"}, {"UseCase", "Use Cases"},      {"ViewModel", "ViewModels"}};
  for (const Rule& rule : kRules) {
    if (name.find(rule.text) != std::string_view::npos) return rule.category;
  }
  return "Other";
}

struct Category {
  std::string_view name;
  std::vector<std::string> members;
};

// The names of `factories`, in insertion order, grouped by category; categories in the order
// they are first met.
std::vector<Category> groupFactoriesByCategory(const ContainerState& s) {
  std::vector<Category> groups;
  for (const Slot* slot : s.factoryOrder) {
    const std::string_view category = categoryOf(slot->name);
    auto group = groups.begin();
    while (group != groups.end() && group->name != category) ++group;
    if (group == groups.end()) group = groups.insert(groups.end(), Category{category, {}});
    group->members.push_back(slot->name);
  }
  return groups;
}

}  // namespace

asio::awaitable<void> AdvancedDIContainerImpl::preloadDependencies() {
  const std::shared_ptr<ContainerState> keep = state_;  // the walk may outlive the container
  ContainerState& s = *keep;
  co_await detail::switchToHomeThread(s);
  printLine("🚀 Preloading critical dependencies...");
  const std::vector<Slot*> order = s.registryOrder;
  for (std::size_t i = 0; i < order.size(); ++i) {
    const Slot& slot = *order[i];
    if (!slot.metadata) continue;
    const DependencyScope scope = slot.metadata->scope;
    std::string name = slot.name;
    if (scope == DependencyScope::transient) {
      printFormatted("⏭️ Skipped transient: {}", name);
      continue;
    }
    bool preloaded = false;
    try {
      (void)co_await resolveByName(name);
      preloaded = true;
    } catch (...) {
      printFormatted("⚠️ Failed to preload: {} - {}", name, currentErrorText());
    }
    co_await detail::switchToHomeThread(s);
    if (!s.attachments->alive) co_return;
    if (preloaded) printFormatted("✅ Preloaded {}: {}", toString(scope), name);
  }
  printLine("✅ Dependency preloading completed");
}

asio::awaitable<void> AdvancedDIContainerImpl::preloadAllGeneric() {
  const std::shared_ptr<ContainerState> keep = state_;
  ContainerState& s = *keep;
  co_await detail::switchToHomeThread(s);
  printLine("🚀 Starting generic preloading...");
  const std::vector<Slot*> order = s.registryOrder;
  for (std::size_t i = 0; i < order.size(); ++i) {
    Slot& slot = *order[i];
    if (!slot.metadata) continue;
    const DependencyScope scope = slot.metadata->scope;
    printFormatted(" Preloading: {} with scope: {}", slot.name, toString(scope));
    if (scope == DependencyScope::transient) {
      printFormatted("⏭️ Skipping transient: {}", slot.name);
      continue;
    }
    if (!slot.factory) continue;

    AnyInstance instance;
    try {
      instance = co_await callFactory(*this, slot.factory, slot.name);
    } catch (...) {
      if (!s.attachments->alive) co_return;
      printFormatted("⚠️ Failed to preload: {} - {}", slot.name, currentErrorText());
      continue;
    }
    switch (scope) {
      case DependencyScope::singleton:
      case DependencyScope::container:
      case DependencyScope::custom:
        slot.singleton = std::move(instance);
        break;
      case DependencyScope::scoped:
        s.scopedInstances[s.scopeId][&slot] = std::move(instance);
        break;
      case DependencyScope::lazy:
        slot.lazy = std::move(instance);
        break;
      case DependencyScope::transient:
        break;
    }
    printFormatted("✅ Cached {}: {}", toString(scope), slot.name);
  }
  printLine("✅ Generic preloading completed");
}

asio::awaitable<void> AdvancedDIContainerImpl::preloadSmart() {
  const std::shared_ptr<ContainerState> keep = state_;
  const ContainerState& s = *keep;
  co_await detail::switchToHomeThread(s);
  printLine("🚀 Smart preloading - analyzing dependency tree...");
  const std::vector<Category> groups = groupFactoriesByCategory(s);
  for (const Category& group : groups) {
    printFormatted("🔄 Preloading {} ({} items)...", group.name, group.members.size());
    for (std::size_t i = 0; i < group.members.size(); ++i) {
      const std::string& name = group.members[i];
      const Slot* slot = s.find(name);
      if (slot == nullptr || !slot->metadata) continue;
      co_await createAndReport(*this, name);
      if (!s.attachments->alive) co_return;
    }
  }
  printLine("✅ Smart preloading complete!");
}

asio::awaitable<void> AdvancedDIContainerImpl::preloadViewModelsOnly() {
  const std::shared_ptr<ContainerState> keep = state_;
  co_await detail::switchToHomeThread(*keep);
  printLine("🚀 Preloading ViewModels and their dependencies...");
  std::vector<std::string> dependencies;
  std::vector<std::string> viewModels;
  for (Category& group : groupFactoriesByCategory(*keep)) {
    auto& target = group.name == "ViewModels" ? viewModels : dependencies;
    for (std::string& name : group.members) target.push_back(std::move(name));
  }
  for (std::size_t i = 0; i < dependencies.size() && keep->attachments->alive; ++i) {
    co_await createAndReport(*this, dependencies[i]);
  }
  for (std::size_t i = 0; i < viewModels.size() && keep->attachments->alive; ++i) {
    co_await createAndReport(*this, viewModels[i]);
  }
  if (!keep->attachments->alive) co_return;
  printLine("✅ ViewModels preloaded - resolveSync works everywhere!");
}

}  // namespace tavreldi
