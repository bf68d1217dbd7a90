#pragma once

/// \file
/// The failure of a build asked to check its registrations.

#include <exception>
#include <string>

#include "tavreldi/graph/RegistrationReport.hpp"

namespace tavreldi {

/// Thrown by `ContainerBuilder::build()` when it was asked to check the registrations
/// (`validateOnBuild`) and found problems. `what()` lists every problem's message on one line:
/// "2 registration problems: A depends on B, which is not registered; Circular dependency:
/// C -> D -> C".
class RegistrationValidationError : public std::exception {
 public:
  /// Holds `report`, which must have at least one problem.
  explicit RegistrationValidationError(RegistrationReport report);

  /// The problems found.
  [[nodiscard]] const RegistrationReport& report() const noexcept { return report_; }
  /// The count and every problem's message.
  [[nodiscard]] const char* what() const noexcept override { return description_.c_str(); }

 private:
  RegistrationReport report_;
  std::string description_;
};

}  // namespace tavreldi
