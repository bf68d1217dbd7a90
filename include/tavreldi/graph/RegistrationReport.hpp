#pragma once

/// \file
/// What a check of the registrations found: dependencies that are not registered, scoped
/// services held by longer-lived ones, and cycles.

#include <array>
#include <nlohmann/json_fwd.hpp>
#include <string>
#include <string_view>
#include <vector>

#include "tavreldi/core/Enum.hpp"

namespace tavreldi {

/// The kinds of problem a registration can have.
enum class RegistrationProblemKind {
  /// It depends on a service that is not registered.
  missingDependency,
  /// It is kept beyond one scope (`singleton`, `container`, `custom` or `lazy`) and depends on a
  /// `scoped` service, which it would keep past the end of that service's scope.
  captiveDependency,
  /// It lies on a cycle of dependencies.
  circularDependency,
  /// Two distinct C++ types were registered under its name, which drops namespaces (e.g.
  /// `billing::Client` and `crm::Client` as `Client`): only one of them can be resolved.
  nameCollision
};

template <>
struct EnumTraits<RegistrationProblemKind> {
  static constexpr std::array<std::string_view, 4> rawValues{
      "missingDependency", "captiveDependency", "circularDependency", "nameCollision"};
};

/// One problem of one registration.
struct RegistrationProblem {
  /// What is wrong.
  RegistrationProblemKind kind = RegistrationProblemKind::missingDependency;
  /// The registration the problem belongs to (for a cycle, its first member in registration
  /// order).
  std::string service;
  /// The service and the dependency; for a cycle, the loop from `service` back to it, e.g.
  /// `A, B, A`; for a name collision, the two fully qualified types, the earlier first.
  std::vector<std::string> path;
  /// One line saying what is wrong, e.g. "UserRepository depends on HttpClient, which is not
  /// registered".
  std::string message;

  /// Equal when every field is equal.
  friend bool operator==(const RegistrationProblem&, const RegistrationProblem&) = default;
};

/// The result of checking every registration.
struct RegistrationReport {
  /// The problems, in registration order of their `service`: for each service its name
  /// collisions, its missing and captive dependencies in dependency order, then the cycle it
  /// begins, if any.
  std::vector<RegistrationProblem> problems;

  /// True when no problem was found.
  [[nodiscard]] bool ok() const noexcept { return problems.empty(); }

  /// Equal when every field is equal.
  friend bool operator==(const RegistrationReport&, const RegistrationReport&) = default;
};

/// `{"kind": "captiveDependency", "service": ..., "path": [...], "message": ...}`.
void to_json(nlohmann::json& json, const RegistrationProblem& problem);
/// Reads the four keys, all required; throws `DecodingError` naming the faulty key.
void from_json(const nlohmann::json& json, RegistrationProblem& problem);
/// `{"problems": [...]}`.
void to_json(nlohmann::json& json, const RegistrationReport& report);
/// Reads the one key, required; throws `DecodingError` naming the faulty key.
void from_json(const nlohmann::json& json, RegistrationReport& report);

}  // namespace tavreldi
