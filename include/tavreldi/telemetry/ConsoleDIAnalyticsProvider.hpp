#pragma once

/// \file
/// The analytics provider that writes tagged lines, one per parameter, to standard output.

#include <exception>
#include <memory>
#include <optional>
#include <string_view>

#include "tavreldi/telemetry/AnalyticsValue.hpp"
#include "tavreldi/telemetry/DIAnalyticsProvider.hpp"

namespace tavreldi {

/// Writes each report as a tagged header line followed by one indented line per parameter,
/// through `writeLine`:
///
///     🔍 [DI Analytics] Event: dependency_resolved
///     🔍 [DI Analytics]   type: UserService
///     🚨 [DI Analytics] Error: Type not registered: UserService
///     🚨 [DI Analytics]   dependency_type: UserService
///     📈 [DI Analytics] Performance: dependency_resolution = 2.5 ms
///
/// Entries follow the map's own order and show the value's plain text (`AnalyticsValue::
/// toString`). An absent map adds no lines, nor does an empty one. Stateless: callable from any
/// thread, instances are interchangeable; lines of concurrent calls may interleave, but each
/// line is written whole. Never throws.
class ConsoleDIAnalyticsProvider : public DIAnalyticsProvider {
 public:
  ConsoleDIAnalyticsProvider() = default;

  /// The process-wide instance, made on first use (thread-safe).
  [[nodiscard]] static const std::shared_ptr<ConsoleDIAnalyticsProvider>& shared();

  /// Writes "🔍 [DI Analytics] Event: " + name, then "🔍 [DI Analytics]   " + key + ": " +
  /// value for each parameter.
  void trackEvent(std::string_view name, const OptionalParameters& parameters) noexcept override;
  /// Writes "🚨 [DI Analytics] Error: " + `error.what()`, then "🚨 [DI Analytics]   " + key +
  /// ": " + value for each context entry.
  void trackError(const std::exception& error, const OptionalParameters& context) noexcept override;
  /// Writes "📈 [DI Analytics] Performance: " + metric + " = " + value + " " + unit; an absent
  /// unit is "ms".
  void trackPerformance(std::string_view metric, double value,
                        std::optional<std::string_view> unit) noexcept override;
};

}  // namespace tavreldi
