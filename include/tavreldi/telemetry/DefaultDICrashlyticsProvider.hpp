#pragma once

/// \file
/// The crash-reporting provider that writes tagged lines to standard output.

#include <exception>
#include <memory>
#include <string_view>

#include "tavreldi/telemetry/AnalyticsValue.hpp"
#include "tavreldi/telemetry/DICrashlyticsProvider.hpp"

namespace tavreldi {

/// Writes each report as tagged lines through `writeLine` and keeps nothing:
///
///     💥 [Crashlytics] Error: Type not registered: UserService
///     💥 [Crashlytics]   dependency_type: UserService
///     📝 [Crashlytics] Event: di_registration_singleton
///     📝 [Crashlytics]   component: TavrelDI
///     👤 [Crashlytics] User ID: user-42
///     🔧 [Crashlytics] Custom Value: build = 12
///
/// Entries follow the map's own order and show the value's plain text (`AnalyticsValue::
/// toString`); an absent or empty map adds no entry lines. Stateless: callable from any thread,
/// instances are interchangeable; lines of concurrent calls may interleave, but each line is
/// written whole. Never throws.
class DefaultDICrashlyticsProvider : public DICrashlyticsProvider {
 public:
  DefaultDICrashlyticsProvider() = default;

  /// The process-wide instance, made on first use (thread-safe).
  [[nodiscard]] static const std::shared_ptr<DefaultDICrashlyticsProvider>& shared();

  /// Writes "💥 [Crashlytics] Error: " + `error.what()`, then "💥 [Crashlytics]   " + key +
  /// ": " + value for each context entry.
  void logError(const std::exception& error, const OptionalParameters& context) noexcept override;
  /// Writes "📝 [Crashlytics] Event: " + name, then "📝 [Crashlytics]   " + key + ": " + value
  /// for each parameter.
  void logEvent(std::string_view name, const OptionalParameters& parameters) noexcept override;
  /// Writes "👤 [Crashlytics] User ID: " + identifier; the identifier is not kept.
  void setUserIdentifier(std::string_view identifier) noexcept override;
  /// Writes "🔧 [Crashlytics] Custom Value: " + key + " = " + value; the value is not kept.
  void setCustomValue(const AnalyticsValue& value, std::string_view key) noexcept override;
};

}  // namespace tavreldi
