#pragma once

/// \file
/// The analytics provider that writes short lines to standard output.

#include <exception>
#include <memory>
#include <optional>
#include <string_view>

#include "tavreldi/telemetry/AnalyticsValue.hpp"
#include "tavreldi/telemetry/DIAnalyticsProvider.hpp"

namespace tavreldi {

/// Writes each report as one or two short lines through `writeLine`:
///
///     📊 Analytics Event: dependency_resolved
///     📊 Parameters: ["type": "UserService", "success": true]
///     ❌ Analytics Error: Type not registered: UserService
///     ❌ Context: ["dependency_type": "UserService"]
///     ⚡ Performance: dependency_resolution = 2.5 ms
///
/// The parameter and context lines appear only when the map is present (an empty map is
/// written `[:]`). Stateless: callable from any thread, instances are interchangeable; lines of
/// concurrent calls may interleave, but each line is written whole. Never throws.
class DefaultDIAnalyticsProvider : public DIAnalyticsProvider {
 public:
  DefaultDIAnalyticsProvider() = default;

  /// The process-wide instance, made on first use (thread-safe).
  [[nodiscard]] static const std::shared_ptr<DefaultDIAnalyticsProvider>& shared();

  /// Writes "📊 Analytics Event: " + name, then "📊 Parameters: " + the map's text form when
  /// `parameters` are present.
  void trackEvent(std::string_view name, const OptionalParameters& parameters) noexcept override;
  /// Writes "❌ Analytics Error: " + `error.what()`, then "❌ Context: " + the map's text form
  /// when `context` is present.
  void trackError(const std::exception& error, const OptionalParameters& context) noexcept override;
  /// Writes "⚡ Performance: " + metric + " = " + value + " " + unit; an absent unit is "ms".
  void trackPerformance(std::string_view metric, double value,
                        std::optional<std::string_view> unit) noexcept override;
};

}  // namespace tavreldi
