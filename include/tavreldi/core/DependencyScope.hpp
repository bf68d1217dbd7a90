#pragma once

/// \file
/// How registrations share instances (`DependencyScope`), how long they are meant to live
/// (`DependencyLifetime`) and their declared thread-safety class (`ThreadSafety`).

#include <array>
#include <string_view>

#include "tavreldi/core/Enum.hpp"

namespace tavreldi {

/// How instances of a registration are shared.
enum class DependencyScope { singleton, transient, scoped, lazy, container, custom };

template <>
struct EnumTraits<DependencyScope> {
  static constexpr std::array<std::string_view, 6> rawValues{"singleton", "transient", "scoped",
                                                             "lazy",      "container", "custom"};
};

/// True for `singleton`, `scoped`, `lazy` and `container`.
[[nodiscard]] constexpr bool supportsCaching(DependencyScope scope) noexcept {
  return scope != DependencyScope::transient && scope != DependencyScope::custom;
}

/// True for `transient` and `custom` (the two scopes that do not support caching).
[[nodiscard]] constexpr bool createsNewInstance(DependencyScope scope) noexcept {
  return !supportsCaching(scope);
}

/// How long a shared instance is meant to live.
enum class DependencyLifetime { application, request, session, scope, custom, ephemeral };

template <>
struct EnumTraits<DependencyLifetime> {
  static constexpr std::array<std::string_view, 6> rawValues{"application", "request", "session",
                                                             "scope",       "custom",  "ephemeral"};
};

/// True for `application`, `session` and `scope`.
[[nodiscard]] constexpr bool supportsLongTermStorage(DependencyLifetime lifetime) noexcept {
  return lifetime == DependencyLifetime::application || lifetime == DependencyLifetime::session ||
         lifetime == DependencyLifetime::scope;
}

/// Declared thread-safety class of a service (raw values are capitalised).
enum class ThreadSafety { safe, unsafe, conditionallySafe, unknown };

template <>
struct EnumTraits<ThreadSafety> {
  static constexpr std::array<std::string_view, 4> rawValues{"Safe", "Unsafe", "ConditionallySafe",
                                                             "Unknown"};
};

}  // namespace tavreldi
