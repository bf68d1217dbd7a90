#include "tavreldi/metrics/PerformanceMetrics.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <nlohmann/json.hpp>

#include "core/detail/JsonForm.hpp"

namespace tavreldi {
namespace {

constexpr std::uint64_t kKilo = 1000;
constexpr std::uint64_t kMega = kKilo * kKilo;
constexpr std::uint64_t kGiga = kMega * kKilo;

// Whole part with "," between thousands, as the formatter writes large figures.
std::string groupThousands(std::uint64_t value) {
  std::string digits = fmt::format("{}", value);
  for (auto pos = static_cast<std::ptrdiff_t>(digits.size()) - 3; pos > 0; pos -= 3) {
    digits.insert(static_cast<std::size_t>(pos), 1, ',');
  }
  return digits;
}

// A figure kept in tenths or hundredths of its unit; trailing zero decimals are dropped.
std::string decimalText(std::uint64_t scaled, std::uint64_t scale, std::string_view unit) {
  std::uint64_t fraction = scaled % scale;
  int digits = scale == 100 ? 2 : 1;
  if (fraction == 0) return fmt::format("{} {}", groupThousands(scaled / scale), unit);
  if (digits == 2 && fraction % 10 == 0) {
    fraction /= 10;
    digits = 1;
  }
  return fmt::format("{}.{:0{}} {}", groupThousands(scaled / scale), fraction, digits, unit);
}

}  // namespace

double PerformanceMetrics::successRate() const {
  std::int64_t total = 0;
  if (__builtin_add_overflow(successfulResolutions, failedResolutions, &total)) {
    std::fputs("TavrelDI: resolution counter overflow in PerformanceMetrics::successRate\n",
               stderr);
    std::abort();
  }
  if (total < 1) return 0.0;
  return static_cast<double>(successfulResolutions) / static_cast<double>(total);
}

double PerformanceMetrics::failureRate() const { return 1.0 - successRate(); }

std::string PerformanceMetrics::description() const {
  return fmt::format(
      "Performance Metrics:\n"
      "- Total Registrations: {}\n"
      "- Total Resolutions: {}\n"
      "- Success Rate: {:.2f}%\n"
      "- Average Resolution Time: {:.2f} ms\n"
      "- Cache Hit Ratio: {:.2f}%\n"
      "- Memory Usage: {}\n"
      "- Circular Dependencies: {}\n"
      "- Trend: {}",
      totalRegistrations, totalResolutions, successRate() * 100, averageResolutionTime,
      cacheHitRatio * 100, formatByteCount(memoryUsage), circularDependencyCount, toString(trend));
}

std::string formatByteCount(std::int64_t bytes) {
  if (bytes == 0) return "Zero KB";
  const std::string sign = bytes < 0 ? "-" : "";
  // Magnitude in unsigned arithmetic, so that the most negative count has one too.
  const std::uint64_t magnitude = bytes < 0 ? std::uint64_t{0} - static_cast<std::uint64_t>(bytes)
                                            : static_cast<std::uint64_t>(bytes);
  if (magnitude < kMega) {
    const std::uint64_t kilobytes = std::max<std::uint64_t>((magnitude + kKilo / 2) / kKilo, 1);
    // 999,500 bytes and up round to 1,000 KB, which is written as the next unit.
    if (kilobytes < kKilo) return fmt::format("{}{} KB", sign, kilobytes);
  }
  if (magnitude < kGiga) {
    const std::uint64_t tenths = (magnitude + kMega / 20) / (kMega / 10);
    if (tenths < 10 * kKilo) return sign + decimalText(tenths, 10, "MB");
  }
  return sign + decimalText((magnitude + kGiga / 200) / (kGiga / 100), 100, "GB");
}

TAVRELDI_JSON_FORM(PerformanceMetrics, totalRegistrations, totalResolutions, averageResolutionTime,
                   maxResolutionTime, minResolutionTime, memoryUsage, cacheHitRatio,
                   circularDependencyCount, failedResolutions, successfulResolutions, timestamp,
                   trend)

}  // namespace tavreldi
