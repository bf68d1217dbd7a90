#include "tavreldi/core/DependencyMetadata.hpp"

#include <fmt/format.h>

#include <functional>

#include "core/detail/JsonForm.hpp"

namespace tavreldi {

bool DependencyMetadata::canBeCached() const noexcept { return supportsCaching(scope) && !isLazy; }

bool DependencyMetadata::shouldPreload() const noexcept {
  return scope == DependencyScope::singleton && !isLazy;
}

std::string DependencyMetadata::description() const {
  return fmt::format(
      "Dependency Metadata:\n- Type: {}\n- Scope: {}\n- Lifetime: {}\n- Lazy: {}\n- Thread-Safe: "
      "{}\n- Priority: {}\n- Tags: {}\n- Registration Time: {}",
      typeName, toString(scope), toString(lifetime), isLazy, isThreadSafe, priority,
      fmt::join(tags, ", "), toIso8601WithMilliseconds(registrationTime));
}

DependencyMetadata DependencyMetadata::with(const Changes& changes) const {
  DependencyMetadata copy = *this;
  if (changes.scope) copy.scope = *changes.scope;
  if (changes.lifetime) copy.lifetime = *changes.lifetime;
  if (changes.isLazy) copy.isLazy = *changes.isLazy;
  if (changes.isThreadSafe) copy.isThreadSafe = *changes.isThreadSafe;
  if (changes.tags) copy.tags = *changes.tags;
  if (changes.customData) copy.customData = *changes.customData;
  if (changes.typeName) copy.typeName = *changes.typeName;
  if (changes.supportsCircularDetection) {
    copy.supportsCircularDetection = *changes.supportsCircularDetection;
  }
  if (changes.priority) copy.priority = *changes.priority;
  copy.dependencies.clear();
  copy.threadSafety = ThreadSafety::safe;
  return copy;
}

bool operator==(const DependencyMetadata& a, const DependencyMetadata& b) {
  return a.scope == b.scope && a.lifetime == b.lifetime && a.isLazy == b.isLazy &&
         a.isThreadSafe == b.isThreadSafe && a.tags == b.tags && a.customData == b.customData &&
         a.typeName == b.typeName && a.supportsCircularDetection == b.supportsCircularDetection &&
         a.priority == b.priority;
}

TAVRELDI_JSON_FORM(DependencyMetadata, scope, lifetime, isLazy, isThreadSafe, tags, customData,
                   registrationTime, typeName, supportsCircularDetection, priority, dependencies,
                   threadSafety)

}  // namespace tavreldi

std::size_t std::hash<tavreldi::DependencyMetadata>::operator()(
    const tavreldi::DependencyMetadata& m) const noexcept {
  std::size_t seed = 0;
  const auto mix = [&seed](std::size_t h) {
    seed ^= h + 0x9e3779b97f4a7c15ULL + (seed << 6) + (seed >> 2);
  };
  const std::hash<std::string_view> text;
  mix(text(tavreldi::toString(m.scope)));
  mix(text(tavreldi::toString(m.lifetime)));
  mix(std::hash<bool>{}(m.isLazy));
  mix(std::hash<bool>{}(m.isThreadSafe));
  for (const auto& tag : m.tags) mix(text(tag));
  for (const auto& [key, value] : m.customData) {
    mix(text(key));
    mix(text(value));
  }
  mix(text(m.typeName));
  mix(std::hash<bool>{}(m.supportsCircularDetection));
  mix(std::hash<std::int64_t>{}(m.priority));
  return seed;
}
