#include "tavreldi/metrics/PerformanceMetrics.hpp"

#include <gtest/gtest.h>

#include <limits>
#include <nlohmann/json.hpp>
#include <string>
#include <utility>
#include <vector>

namespace tavreldi {
namespace {

PerformanceMetrics sample(std::int64_t successful, std::int64_t failed) {
  return PerformanceMetrics{5, successful + failed, 1.5, 4.25, 0.125, 2'100'000, 0.5, 1,
                            // failed and successful resolutions, time stamp, trend
                            failed, successful, *parseIso8601("2024-01-31T12:00:00.125Z"),
                            PerformanceTrend::improving};
}

TEST(PerformanceMetricsTest, ReportAndRates) {
  const auto metrics = sample(2, 1);
  EXPECT_EQ(metrics.description(),
            "Performance Metrics:\n"
            "- Total Registrations: 5\n"
            "- Total Resolutions: 3\n"
            "- Success Rate: 66.67%\n"
            "- Average Resolution Time: 1.50 ms\n"
            "- Cache Hit Ratio: 50.00%\n"
            "- Memory Usage: 2.1 MB\n"
            "- Circular Dependencies: 1\n"
            "- Trend: improving");
  EXPECT_DOUBLE_EQ(metrics.failureRate(), 1.0 / 3.0);
  EXPECT_EQ(sample(3, 0).failureRate(), 0.0);
  EXPECT_EQ(sample(0, 4).successRate(), 0.0);

  // No resolutions: success rate 0 (in the report), failure rate 1; figures round to two places.
  auto idle = sample(0, 0);
  idle.cacheHitRatio = 0.98766;
  idle.averageResolutionTime = 0.004;
  EXPECT_EQ(idle.failureRate(), 1.0);
  const auto report = idle.description();
  EXPECT_NE(report.find("\n- Success Rate: 0.00%\n- Average Resolution Time: 0.00 ms\n"
                        "- Cache Hit Ratio: 98.77%\n"),
            std::string::npos)
      << report;
}

// 1000 of a unit is written as the next unit; there are no terabytes.
TEST(PerformanceMetricsTest, ByteCounts) {
  const std::vector<std::pair<std::int64_t, std::string>> cases{
      {0, "Zero KB"},          {1, "1 KB"},
      {999, "1 KB"},           {1'499, "1 KB"},
      {1'500, "2 KB"},         {999'499, "999 KB"},
      {999'500, "1 MB"},       {2'149'999, "2.1 MB"},
      {2'150'000, "2.2 MB"},   {999'949'999, "999.9 MB"},
      {999'950'000, "1 GB"},   {1'234'567'890, "1.23 GB"},
      {1'004'999'999, "1 GB"}, {1'201'000'000, "1.2 GB"},
      {3'000'000'000, "3 GB"}, {1'500'000'000'000, "1,500 GB"},
      {-2'100'000, "-2.1 MB"}, {std::numeric_limits<std::int64_t>::min(), "-9,223,372,036.85 GB"}};
  for (const auto& [bytes, text] : cases) EXPECT_EQ(formatByteCount(bytes), text) << bytes;
}

// Strict decoding is the shared reader's, whose errors GraphModelJson's test pins.
TEST(PerformanceMetricsTest, JsonForm) {
  const nlohmann::json encoded = sample(2, 1);
  // Every key once; counts and bytes as integers, times and ratios as floating point.
  EXPECT_EQ(encoded.dump(),
            R"({"averageResolutionTime":1.5,"cacheHitRatio":0.5,"circularDependencyCount":1,)"
            R"("failedResolutions":1,"maxResolutionTime":4.25,"memoryUsage":2100000,)"
            R"("minResolutionTime":0.125,"successfulResolutions":2,)"
            R"("timestamp":"2024-01-31T12:00:00.125Z","totalRegistrations":5,)"
            R"("totalResolutions":3,"trend":"improving"})");
  // Decoding then encoding again gives back every field.
  EXPECT_EQ(nlohmann::json(nlohmann::json::parse(encoded.dump()).get<PerformanceMetrics>()),
            encoded);
}

}  // namespace
}  // namespace tavreldi
