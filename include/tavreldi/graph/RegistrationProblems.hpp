#pragma once

/// \file
/// The check behind `validateRegistrations` and `tavreldi report`: registration problems found
/// from names, scopes and dependencies alone.

#include <span>
#include <string_view>

#include "tavreldi/core/DependencyScope.hpp"
#include "tavreldi/graph/RegistrationReport.hpp"

namespace tavreldi {

/// A registered service as `findRegistrationProblems` sees it.
struct RegisteredService {
  /// The service's type name.
  std::string_view name;
  /// Its scope.
  DependencyScope scope = DependencyScope::singleton;
  /// The fully qualified C++ type registered under the name, when known (empty otherwise).
  std::string_view type = {};
};

/// One dependency: `from` depends on `to`.
struct ServiceDependency {
  /// The dependent service.
  std::string_view from;
  /// The service it depends on.
  std::string_view to;
};

/// Checks `services` (in registration order; a repeated name counts once, with its first
/// scope) against `dependencies` (in order; repeats count once, and those of unregistered
/// services are ignored):
///
/// - a name given again with a `type` that differs from every type given before for it (both
///   non-empty) is a name collision, reported with the first type given and the new one;
/// - a dependency on a name that is not among `services` is a missing dependency;
/// - a `singleton`, `container`, `custom` or `lazy` service depending on a `scoped` one is a
///   captive dependency;
/// - services that depend on each other in a circle give one circular-dependency problem per
///   circle (a group in which each reaches every other): the shortest loop from the group's
///   first service in registration order, whatever loop and rotation the edges were seen in.
///   A group that holds several loops is reported once; fixing its loop shows the next.
///
/// Time and memory are linear in the number of services and dependencies. Thread-safe; never
/// throws except `std::bad_alloc`.
[[nodiscard]] RegistrationReport findRegistrationProblems(
    std::span<const RegisteredService> services, std::span<const ServiceDependency> dependencies);

}  // namespace tavreldi
