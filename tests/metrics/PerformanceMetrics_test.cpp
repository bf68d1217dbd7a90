#include "tavreldi/metrics/PerformanceMetrics.hpp"

#include <gtest/gtest.h>

#include <limits>
#include <nlohmann/json.hpp>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace tavreldi {
namespace {

PerformanceMetrics sample(std::int64_t successful, std::int64_t failed) {
  return PerformanceMetrics{5,
                            successful + failed,
                            1.5,
                            4.25,
                            0.125,
                            2'100'000,
                            0.5,
                            1,
                            failed,
                            successful,
                            *parseIso8601("2024-01-31T12:00:00.125Z"),
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
  EXPECT_DOUBLE_EQ(metrics.successRate(), 2.0 / 3.0);
  EXPECT_DOUBLE_EQ(metrics.failureRate(), 1.0 / 3.0);

  auto idle = sample(0, 0);
  idle.memoryUsage = 0;
  idle.cacheHitRatio = 0.98766;
  idle.averageResolutionTime = 0.004;
  EXPECT_EQ(idle.successRate(), 0.0);
  EXPECT_EQ(idle.failureRate(), 1.0);
  const auto report = idle.description();
  EXPECT_NE(report.find("\n- Success Rate: 0.00%\n"), std::string::npos) << report;
  EXPECT_NE(report.find("\n- Cache Hit Ratio: 98.77%\n"), std::string::npos) << report;
  EXPECT_NE(report.find("\n- Average Resolution Time: 0.00 ms\n"), std::string::npos) << report;
  EXPECT_NE(report.find("\n- Memory Usage: Zero KB\n"), std::string::npos) << report;

  EXPECT_EQ(sample(3, 0).failureRate(), 0.0);
  EXPECT_EQ(sample(0, 4).successRate(), 0.0);
}

// 1000 of a unit is written as the next unit; there are no terabytes.
TEST(PerformanceMetricsTest, ByteCounts) {
  const std::vector<std::pair<std::int64_t, std::string>> cases{
      {0, "Zero KB"},          {1, "1 KB"},
      {999, "1 KB"},           {1'499, "1 KB"},
      {1'500, "2 KB"},         {999'499, "999 KB"},
      {999'500, "1 MB"},       {1'000'000, "1 MB"},
      {2'100'000, "2.1 MB"},   {2'149'999, "2.1 MB"},
      {2'150'000, "2.2 MB"},   {999'949'999, "999.9 MB"},
      {999'950'000, "1 GB"},   {1'250'000'000, "1.3 GB"},
      {3'000'000'000, "3 GB"}, {1'500'000'000'000, "1,500 GB"},
      {-2'100'000, "-2.1 MB"}, {std::numeric_limits<std::int64_t>::min(), "-9,223,372,036.9 GB"}};
  for (const auto& [bytes, text] : cases) EXPECT_EQ(formatByteCount(bytes), text) << bytes;
}

TEST(PerformanceMetricsTest, JsonRoundTripAndStrictDecoding) {
  const auto metrics = sample(2, 1);
  const nlohmann::json encoded = metrics;
  std::set<std::string> keys;
  for (const auto& item : encoded.items()) keys.insert(item.key());
  EXPECT_EQ(keys, (std::set<std::string>{"totalRegistrations", "totalResolutions",
                                         "averageResolutionTime", "maxResolutionTime",
                                         "minResolutionTime", "memoryUsage", "cacheHitRatio",
                                         "circularDependencyCount", "failedResolutions",
                                         "successfulResolutions", "timestamp", "trend"}));
  EXPECT_TRUE(encoded["memoryUsage"].is_number_integer());
  EXPECT_TRUE(encoded["cacheHitRatio"].is_number_float());
  EXPECT_EQ(encoded["timestamp"], "2024-01-31T12:00:00.125Z");
  EXPECT_EQ(encoded["trend"], "improving");

  // Decoding then encoding again gives back every field.
  EXPECT_EQ(nlohmann::json(nlohmann::json::parse(encoded.dump()).get<PerformanceMetrics>()),
            encoded);

  const auto failsNaming = [](const nlohmann::json& document, const std::string& key) {
    try {
      (void)document.get<PerformanceMetrics>();
      ADD_FAILURE() << "decoded without error";
    } catch (const DecodingError& error) {
      EXPECT_NE(std::string(error.what()).find("\"" + key + "\""), std::string::npos)
          << error.what();
    }
  };
  auto bad = encoded;
  bad["trend"] = "Stable";
  failsNaming(bad, "trend");
  bad = encoded;
  bad.erase("timestamp");
  failsNaming(bad, "timestamp");
  bad = encoded;
  bad["timestamp"] = "yesterday";
  failsNaming(bad, "timestamp");
  bad = encoded;
  bad["failedResolutions"] = "1";
  failsNaming(bad, "failedResolutions");
}

}  // namespace
}  // namespace tavreldi
