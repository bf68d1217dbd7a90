#include "tavreldi/telemetry/DefaultDICrashlyticsProvider.hpp"

#include "telemetry/detail/Lines.hpp"

namespace tavreldi {

using telemetry::detail::describe;
using telemetry::detail::writeFormattedLine;
using telemetry::detail::writeTaggedLines;

const std::shared_ptr<DefaultDICrashlyticsProvider>& DefaultDICrashlyticsProvider::shared() {
  static const auto instance = std::make_shared<DefaultDICrashlyticsProvider>();
  return instance;
}

void DefaultDICrashlyticsProvider::logError(const std::exception& error,
                                            const OptionalParameters& context) noexcept {
  try {
    writeTaggedLines("💥 [Crashlytics]", "Error", describe(error), context);
  } catch (...) {
    // Telemetry never fails its caller; lines that cannot be written are dropped.
  }
}

void DefaultDICrashlyticsProvider::logEvent(std::string_view name,
                                            const OptionalParameters& parameters) noexcept {
  try {
    writeTaggedLines("📝 [Crashlytics]", "Event", name, parameters);
  } catch (...) {
    // Telemetry never fails its caller; lines that cannot be written are dropped.
  }
}

void DefaultDICrashlyticsProvider::setUserIdentifier(std::string_view identifier) noexcept {
  try {
    writeFormattedLine("👤 [Crashlytics] User ID: {}", identifier);
  } catch (...) {
    // Telemetry never fails its caller; a line that cannot be written is dropped.
  }
}

void DefaultDICrashlyticsProvider::setCustomValue(const AnalyticsValue& value,
                                                  std::string_view key) noexcept {
  try {
    writeFormattedLine("🔧 [Crashlytics] Custom Value: {} = {}", key, value.toString());
  } catch (...) {
    // Telemetry never fails its caller; a line that cannot be written is dropped.
  }
}

}  // namespace tavreldi
