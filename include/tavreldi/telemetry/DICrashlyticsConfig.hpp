#pragma once

/// \file
/// Crash-reporting configuration.

#include <array>
#include <map>
#include <string>
#include <string_view>

#include "tavreldi/core/Enum.hpp"

namespace tavreldi {

/// The least severe level a crash-reporting back end should keep.
enum class CrashlyticsLogLevel { debug, info, warning, error, fatal };

template <>
struct EnumTraits<CrashlyticsLogLevel> {
  static constexpr std::array<std::string_view, 5> rawValues{"debug", "info", "warning", "error",
                                                             "fatal"};
};

/// How crash reporting is configured. An immutable value; carried, never interpreted by the
/// framework itself (a back end may honour it).
class DICrashlyticsConfig {
 public:
  /// A configuration of the given values.
  DICrashlyticsConfig(bool enabled, CrashlyticsLogLevel logLevel, bool autoCrashReporting,
                      std::map<std::string, std::string> customKeys)
      : enabled_(enabled),
        logLevel_(logLevel),
        autoCrashReporting_(autoCrashReporting),
        customKeys_(std::move(customKeys)) {}

  /// Enabled, level `warning`, automatic crash reporting on, no custom keys.
  [[nodiscard]] static DICrashlyticsConfig defaultConfig() {
    return {true, CrashlyticsLogLevel::warning, true, {}};
  }

  /// Whether crash reporting is on.
  [[nodiscard]] bool enabled() const noexcept { return enabled_; }
  /// The least level to report.
  [[nodiscard]] CrashlyticsLogLevel logLevel() const noexcept { return logLevel_; }
  /// Whether crashes are reported automatically.
  [[nodiscard]] bool autoCrashReporting() const noexcept { return autoCrashReporting_; }
  /// Keys to attach to every report.
  [[nodiscard]] const std::map<std::string, std::string>& customKeys() const noexcept {
    return customKeys_;
  }

 private:
  bool enabled_;
  CrashlyticsLogLevel logLevel_;
  bool autoCrashReporting_;
  std::map<std::string, std::string> customKeys_;
};

}  // namespace tavreldi
