#include "tavreldi/telemetry/DefaultDIAnalyticsProvider.hpp"

#include "tavreldi/core/LineWriter.hpp"
#include "telemetry/detail/Lines.hpp"

namespace tavreldi {

using telemetry::detail::describe;
using telemetry::detail::writeFormattedLine;

const std::shared_ptr<DefaultDIAnalyticsProvider>& DefaultDIAnalyticsProvider::shared() {
  static const auto instance = std::make_shared<DefaultDIAnalyticsProvider>();
  return instance;
}

void DefaultDIAnalyticsProvider::trackEvent(std::string_view name,
                                            const OptionalParameters& parameters) noexcept {
  try {
    writeFormattedLine("📊 Analytics Event: {}", name);
    if (parameters) writeFormattedLine("📊 Parameters: {}", parameters->toString());
  } catch (...) {
    // Telemetry never fails its caller; a line that cannot be written is dropped.
  }
}

void DefaultDIAnalyticsProvider::trackError(const std::exception& error,
                                            const OptionalParameters& context) noexcept {
  try {
    writeFormattedLine("❌ Analytics Error: {}", describe(error));
    if (context) writeFormattedLine("❌ Context: {}", context->toString());
  } catch (...) {
    // Telemetry never fails its caller; a line that cannot be written is dropped.
  }
}

void DefaultDIAnalyticsProvider::trackPerformance(std::string_view metric, double value,
                                                  std::optional<std::string_view> unit) noexcept {
  try {
    writeFormattedLine("⚡ Performance: {} = {} {}", metric, AnalyticsValue(value).toString(),
                       unit.value_or("ms"));
  } catch (...) {
    // Telemetry never fails its caller; a line that cannot be written is dropped.
  }
}

}  // namespace tavreldi
