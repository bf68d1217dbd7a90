#pragma once

/// \file
/// The crash-reporting back end interface.

#include <exception>
#include <string_view>

#include "tavreldi/telemetry/AnalyticsValue.hpp"

namespace tavreldi {

/// Receives errors, events, the user identifier and custom values for crash reports.
///
/// Implementations must not throw and must tolerate calls from any thread. Whether a back end
/// honours a `DICrashlyticsConfig` is up to it; the framework applies none.
class DICrashlyticsProvider {
 public:
  virtual ~DICrashlyticsProvider() = default;
  /// Records an error (its description is `error.what()`) with optional context.
  virtual void logError(const std::exception& error, const OptionalParameters& context) = 0;
  /// Records the event `name` with optional parameters.
  virtual void logEvent(std::string_view name, const OptionalParameters& parameters) = 0;
  /// Sets the identifier of the user that later reports belong to.
  virtual void setUserIdentifier(std::string_view identifier) = 0;
  /// Sets the custom value `value` under `key` for later reports.
  virtual void setCustomValue(const AnalyticsValue& value, std::string_view key) = 0;
};

}  // namespace tavreldi
