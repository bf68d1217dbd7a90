#pragma once

/// \file
/// The analytics provider interface the container reports to.

#include <exception>
#include <optional>
#include <string_view>

#include "tavreldi/telemetry/AnalyticsValue.hpp"

namespace tavreldi {

/// Receives the container's analytics: events, errors and timings.
///
/// Implementations must not throw (the container calls them inline on its resolution path) and
/// must tolerate calls from any thread.
class DIAnalyticsProvider {
 public:
  virtual ~DIAnalyticsProvider() = default;
  /// Records the event `name` with optional parameters.
  virtual void trackEvent(std::string_view name, const OptionalParameters& parameters) = 0;
  /// Records an error (its description is `error.what()`) with optional context.
  virtual void trackError(const std::exception& error, const OptionalParameters& context) = 0;
  /// Records a timing or other figure; an absent unit means "ms".
  virtual void trackPerformance(std::string_view metric, double value,
                                std::optional<std::string_view> unit) = 0;
};

}  // namespace tavreldi
