#include "tavreldi/telemetry/ConsoleDIAnalyticsProvider.hpp"

#include "telemetry/detail/Lines.hpp"

namespace tavreldi {

using telemetry::detail::describe;
using telemetry::detail::writeFormattedLine;
using telemetry::detail::writeTaggedLines;

const std::shared_ptr<ConsoleDIAnalyticsProvider>& ConsoleDIAnalyticsProvider::shared() {
  static const auto instance = std::make_shared<ConsoleDIAnalyticsProvider>();
  return instance;
}

void ConsoleDIAnalyticsProvider::trackEvent(std::string_view name,
                                            const OptionalParameters& parameters) noexcept {
  try {
    writeTaggedLines("🔍 [DI Analytics]", "Event", name, parameters);
  } catch (...) {
    // Telemetry never fails its caller; lines that cannot be written are dropped.
  }
}

void ConsoleDIAnalyticsProvider::trackError(const std::exception& error,
                                            const OptionalParameters& context) noexcept {
  try {
    writeTaggedLines("🚨 [DI Analytics]", "Error", describe(error), context);
  } catch (...) {
    // Telemetry never fails its caller; lines that cannot be written are dropped.
  }
}

void ConsoleDIAnalyticsProvider::trackPerformance(std::string_view metric, double value,
                                                  std::optional<std::string_view> unit) noexcept {
  try {
    writeFormattedLine("📈 [DI Analytics] Performance: {} = {} {}", metric,
                       AnalyticsValue(value).toString(), unit.value_or("ms"));
  } catch (...) {
    // Telemetry never fails its caller; a line that cannot be written is dropped.
  }
}

}  // namespace tavreldi
