#pragma once

/// \file
/// The container's performance snapshot and its text report.

#include <array>
#include <cstdint>
#include <nlohmann/json_fwd.hpp>
#include <string>
#include <string_view>

#include "tavreldi/core/Enum.hpp"
#include "tavreldi/core/Timestamp.hpp"

namespace tavreldi {

/// Direction of performance.
enum class PerformanceTrend { improving, stable, degrading, unknown };

template <>
struct EnumTraits<PerformanceTrend> {
  static constexpr std::array<std::string_view, 4> rawValues{"improving", "stable", "degrading",
                                                             "unknown"};
};

/// A snapshot of a container's counters and timings. An immutable value.
struct PerformanceMetrics {
  /// The number of registered names.
  std::int64_t totalRegistrations;
  /// Resolutions completed, cache hits included.
  std::int64_t totalResolutions;
  /// Mean over the types of each one's latest resolution time, in seconds.
  double averageResolutionTime;
  /// The greatest of those times, in seconds.
  double maxResolutionTime;
  /// The smallest of those times, in seconds.
  double minResolutionTime;
  /// A nominal estimate of the container's footprint (cached entries × 0.001), not the process
  /// size.
  std::int64_t memoryUsage;
  /// Cache hits ÷ resolutions, 0 to 1 (0 before any resolution).
  double cacheHitRatio;
  /// The number of cycles among the observed dependencies.
  std::int64_t circularDependencyCount;
  /// Failed resolutions (the container reports 0).
  std::int64_t failedResolutions;
  /// Successful resolutions (the container reports `totalResolutions`).
  std::int64_t successfulResolutions;
  /// When the snapshot was taken.
  Timestamp timestamp;
  /// The trend (the container reports `stable`).
  PerformanceTrend trend;

  /// successful ÷ (successful + failed), 0 when there were none. Aborts on counter overflow.
  [[nodiscard]] double successRate() const;
  /// 1 − `successRate()` (so 1 when there were no resolutions at all).
  [[nodiscard]] double failureRate() const;
  /// The nine-line report ("Performance Metrics:\n- Total Registrations: ..."), no trailing
  /// line feed.
  [[nodiscard]] std::string description() const;
};

/// Writes a byte count the way a file-size formatter limited to KB, MB and GB does (1000-based):
/// "Zero KB" for 0, "1 KB" for 999, "2.1 MB" for 2,100,000, "3 GB" for 3,000,000,000.
/// Below 1 MB the figure is whole kilobytes rounded half up (at least 1 KB for any non-zero
/// count); megabytes have one decimal and gigabytes two ("1.23 GB" for 1,234,567,890), rounded
/// half up, with trailing zero decimals dropped ("1.2 GB", "3 GB"). A figure that rounds up to
/// 1000 of its unit is written in the next unit ("1 MB" for 999,500 bytes, "1 GB" for
/// 999,950,000); GB is the largest unit, its whole part grouped by "," in thousands.
/// Negative counts are written with a leading minus sign.
[[nodiscard]] std::string formatByteCount(std::int64_t bytes);

/// Writes the twelve keys; dates as ISO 8601 text with milliseconds.
void to_json(nlohmann::json& json, const PerformanceMetrics& metrics);
/// Reads the twelve keys (all required); throws `DecodingError` naming the faulty key.
void from_json(const nlohmann::json& json, PerformanceMetrics& metrics);

}  // namespace tavreldi
