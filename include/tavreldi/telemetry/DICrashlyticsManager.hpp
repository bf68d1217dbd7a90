#pragma once

/// \file
/// The front that adds the framework's standard keys to crash reports.

#include <exception>
#include <memory>
#include <optional>
#include <string_view>

#include "tavreldi/telemetry/AnalyticsValue.hpp"
#include "tavreldi/telemetry/DICrashlyticsConfig.hpp"
#include "tavreldi/telemetry/DICrashlyticsProvider.hpp"

namespace tavreldi {

/// Forwards the container's errors and events to a `DICrashlyticsProvider`, adding the keys
/// "dependency_type" and "component" (= "TavrelDI") to every map it forwards.
///
/// The forwarded map starts from the caller's map (or an empty one when absent); the manager's
/// keys replace same-named caller entries in place, and the caller's other entries are kept in
/// order. It is always present, so the provider sees at least the two standard keys.
///
/// The configuration is carried, never consulted: every call is forwarded whatever `enabled`,
/// `logLevel`, `autoCrashReporting` or `customKeys` say (a back end may apply them itself).
/// Immutable after construction and callable from any thread. Operations never throw; an
/// exception escaping the provider is swallowed.
class DICrashlyticsManager {
 public:
  /// Makes a manager that forwards to `provider`. There is no argument-less form. A null
  /// `provider` is a programming error: the process writes a message to standard error and
  /// aborts.
  DICrashlyticsManager(std::shared_ptr<DICrashlyticsProvider> provider, DICrashlyticsConfig config);

  /// Forwards `error` to `provider().logError` with the context plus "dependency_type" =
  /// `dependencyType` and "component" = "TavrelDI".
  void logDependencyError(const std::exception& error, std::string_view dependencyType,
                          const OptionalParameters& context = std::nullopt) const noexcept;
  /// Forwards the event "di_registration_" + `event` to `provider().logEvent` with the
  /// parameters plus "dependency_type" and "component".
  void logRegistrationEvent(std::string_view event, std::string_view dependencyType,
                            const OptionalParameters& parameters = std::nullopt) const noexcept;
  /// Forwards the event "di_resolution_" + `event` to `provider().logEvent` with the
  /// parameters plus "dependency_type" and "component".
  void logResolutionEvent(std::string_view event, std::string_view dependencyType,
                          const OptionalParameters& parameters = std::nullopt) const noexcept;
  /// Forwards the event "di_performance_issue" to `provider().logEvent` with the metrics plus
  /// "issue" = `issue`, "dependency_type" and "component", set in that order.
  void logPerformanceIssue(std::string_view issue, std::string_view dependencyType,
                           const OptionalParameters& metrics = std::nullopt) const noexcept;

  /// Where reports go (never null).
  [[nodiscard]] const std::shared_ptr<DICrashlyticsProvider>& provider() const noexcept {
    return provider_;
  }
  /// The configuration given at creation.
  [[nodiscard]] const DICrashlyticsConfig& config() const noexcept { return config_; }

 private:
  // Const, so that a copy or move never leaves a manager without its provider.
  const std::shared_ptr<DICrashlyticsProvider> provider_;
  const DICrashlyticsConfig config_;
};

}  // namespace tavreldi
