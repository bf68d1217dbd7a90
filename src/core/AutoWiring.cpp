// Declared dependencies of auto-wired registrations.

#include "tavreldi/core/AutoWiring.hpp"

#include <optional>
#include <string>
#include <utility>

#include "tavreldi/core/AdvancedDIContainer.hpp"

namespace tavreldi::detail {

void declareDependencies(AdvancedDIContainer& container, const ServiceKey& key,
                         std::span<const ServiceKey* const> dependencies) {
  if (dependencies.empty()) return;
  std::optional<DependencyMetadata> metadata = container.getMetadata(key.name);
  if (!metadata) return;
  metadata->dependencies.clear();
  metadata->dependencies.reserve(dependencies.size());
  for (const ServiceKey* dependency : dependencies) {
    metadata->dependencies.emplace_back(dependency->name);
  }
  container.registerMetadata(key, std::move(*metadata));
}

}  // namespace tavreldi::detail
