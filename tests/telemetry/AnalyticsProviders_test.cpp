// Telemetry values, map text, and the two console analytics providers.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

#include "support/TelemetryPrinters.hpp"
#include "tavreldi/core/Errors.hpp"
#include "tavreldi/core/LineWriter.hpp"
#include "tavreldi/telemetry/AnalyticsValue.hpp"
#include "tavreldi/telemetry/ConsoleDIAnalyticsProvider.hpp"
#include "tavreldi/telemetry/DefaultDIAnalyticsProvider.hpp"

namespace tavreldi {
namespace {

using ::testing::ElementsAre;

// One entry of every kind, in a deliberate (unsorted) order.
ParameterMap everyKind() {
  return ParameterMap{{"type", "UserService"}, {"count", 2},
                      {"ratio", 0.5},          {"duration_ms", 12.0},
                      {"success", true},       {"stack", std::vector<std::string>{"A", "B"}}};
}

TEST(AnalyticsValue, PlainAndQuotedTextForms) {
  struct Case {
    AnalyticsValue value;
    std::string plain;
    std::string quoted;
  };
  const std::vector<Case> cases{
      {2, "2", "2"},
      {-17, "-17", "-17"},
      {std::numeric_limits<std::int64_t>::max(), "9223372036854775807", "9223372036854775807"},
      {0.5, "0.5", "0.5"},
      {12.0, "12.0", "12.0"},
      {0.0, "0.0", "0.0"},
      {-3.0, "-3.0", "-3.0"},
      {0.1 + 0.2, "0.30000000000000004", "0.30000000000000004"},
      {1e20, "1e+20", "1e+20"},
      {std::numeric_limits<double>::infinity(), "inf", "inf"},
      {std::numeric_limits<double>::quiet_NaN(), "nan", "nan"},
      {"UserService", "UserService", R"("UserService")"},
      {true, "true", "true"},
      {false, "false", "false"},
      {std::vector<std::string>{"A", "B", "A"}, R"(["A", "B", "A"])", R"(["A", "B", "A"])"},
      {std::vector<std::string>{}, "[]", "[]"},
      {AnalyticsValue::List{1, 0.5, 12.0, "x", false, AnalyticsValue::List{"y", 3}},
       R"([1, 0.5, 12.0, "x", false, ["y", 3]])", R"([1, 0.5, 12.0, "x", false, ["y", 3]])"},
      {"say \"hi\"\n", "say \"hi\"\n", R"("say \"hi\"\n")"},
      {"a\\b's", "a\\b's", R"("a\\b\'s")"}};
  for (const auto& [value, plain, quoted] : cases) {
    EXPECT_EQ(value.toString(), plain);
    EXPECT_EQ(value.toQuotedString(), quoted);
  }
}

TEST(ParameterMap, InsertionOrderReplacementAndTextForm) {
  ParameterMap map{{"b", 1}, {"a", 2}};
  map.set("c", 3);
  map.set("b", "replaced");
  EXPECT_EQ(map.toString(), R"(["b": "replaced", "a": 2, "c": 3])");
  ASSERT_NE(map.find("a"), nullptr);
  EXPECT_EQ(*map.find("a"), AnalyticsValue(2));
  EXPECT_EQ(map.find("missing"), nullptr);
  EXPECT_EQ((ParameterMap{{"k", 1}, {"other", 2}, {"k", 3}}),
            (ParameterMap{{"k", 3}, {"other", 2}}));
  EXPECT_EQ(ParameterMap{}.toString(), "[:]");
  EXPECT_EQ(everyKind().toString(),
            R"(["type": "UserService", "count": 2, "ratio": 0.5, "duration_ms": 12.0, )"
            R"("success": true, "stack": ["A", "B"]])");
  EXPECT_NE(OptionalParameters(), OptionalParameters(ParameterMap{}));
}

// Absent parameters print no parameter line, empty ones print the header and "[:]".
TEST(DefaultDIAnalyticsProvider, Lines) {
  LineRecorder lines;
  DefaultDIAnalyticsProvider provider;
  provider.trackEvent("dependency_registered", std::nullopt);
  provider.trackEvent("started", ParameterMap{});
  provider.trackEvent("dependency_resolved", everyKind());
  const auto error = DependencyResolutionError::notRegistered("UserService");
  provider.trackError(error, std::nullopt);
  provider.trackError(error, ParameterMap{});
  provider.trackError(error, ParameterMap{{"dependency_type", "UserService"}, {"attempt", 2}});
  provider.trackPerformance("resolve", 2.5, std::nullopt);
  provider.trackPerformance("dependency_resolution", 12.0, "ms");
  provider.trackPerformance("memory", 0.5, "MB");
  provider.trackPerformance("count", 3, "");
  EXPECT_THAT(lines.lines(),
              ElementsAre("📊 Analytics Event: dependency_registered", "📊 Analytics Event: started",
                          "📊 Parameters: [:]", "📊 Analytics Event: dependency_resolved",
                          R"(📊 Parameters: ["type": "UserService", "count": 2, "ratio": 0.5, )"
                          R"("duration_ms": 12.0, "success": true, "stack": ["A", "B"]])",
                          "❌ Analytics Error: Type not registered: UserService",
                          "❌ Analytics Error: Type not registered: UserService", "❌ Context: [:]",
                          "❌ Analytics Error: Type not registered: UserService",
                          R"(❌ Context: ["dependency_type": "UserService", "attempt": 2])",
                          "⚡ Performance: resolve = 2.5 ms",
                          "⚡ Performance: dependency_resolution = 12.0 ms",
                          "⚡ Performance: memory = 0.5 MB", "⚡ Performance: count = 3.0 "));
}

// Absent or empty parameters print only the header; entries follow in map order.
TEST(ConsoleDIAnalyticsProvider, Lines) {
  LineRecorder lines;
  ConsoleDIAnalyticsProvider provider;
  provider.trackEvent("dependency_registered", std::nullopt);
  provider.trackEvent("started", ParameterMap{});
  provider.trackEvent("dependency_resolved", everyKind());
  provider.trackError(std::runtime_error("boom"), std::nullopt);
  provider.trackError(std::runtime_error("bang"), ParameterMap{});
  provider.trackError(DependencyResolutionError::notRegistered("UserService"),
                      ParameterMap{{"dependency_type", "UserService"}, {"retry", false}});
  provider.trackPerformance("resolve", 2.5, std::nullopt);
  provider.trackPerformance("memory", 0.5, "MB");
  EXPECT_THAT(
      lines.lines(),
      ElementsAre("🔍 [DI Analytics] Event: dependency_registered",
                  "🔍 [DI Analytics] Event: started", "🔍 [DI Analytics] Event: dependency_resolved",
                  "🔍 [DI Analytics]   type: UserService", "🔍 [DI Analytics]   count: 2",
                  "🔍 [DI Analytics]   ratio: 0.5", "🔍 [DI Analytics]   duration_ms: 12.0",
                  "🔍 [DI Analytics]   success: true", R"(🔍 [DI Analytics]   stack: ["A", "B"])",
                  "🚨 [DI Analytics] Error: boom", "🚨 [DI Analytics] Error: bang",
                  "🚨 [DI Analytics] Error: Type not registered: UserService",
                  "🚨 [DI Analytics]   dependency_type: UserService",
                  "🚨 [DI Analytics]   retry: false",
                  "📈 [DI Analytics] Performance: resolve = 2.5 ms",
                  "📈 [DI Analytics] Performance: memory = 0.5 MB"));
}

TEST(AnalyticsProviders, SharedInstancesAreProcessWideAndOperationsNoexcept) {
  const std::shared_ptr<DIAnalyticsProvider> viaInterface = DefaultDIAnalyticsProvider::shared();
  EXPECT_EQ(viaInterface, DefaultDIAnalyticsProvider::shared());
  EXPECT_EQ(ConsoleDIAnalyticsProvider::shared().get(), ConsoleDIAnalyticsProvider::shared().get());
  const DefaultDIAnalyticsProvider* fromOtherThread = nullptr;
  std::thread([&] { fromOtherThread = DefaultDIAnalyticsProvider::shared().get(); }).join();
  EXPECT_EQ(fromOtherThread, DefaultDIAnalyticsProvider::shared().get());

  DefaultDIAnalyticsProvider d;
  ConsoleDIAnalyticsProvider c;
  const std::runtime_error error("x");
  // Operations never fail: none of them may throw.
  static_assert(noexcept(d.trackEvent("e", std::nullopt), d.trackError(error, std::nullopt),
                         d.trackPerformance("m", 1.0, std::nullopt)));
  static_assert(noexcept(c.trackEvent("e", std::nullopt), c.trackError(error, std::nullopt),
                         c.trackPerformance("m", 1.0, std::nullopt)));
}

TEST(AnalyticsProviders, CallableFromManyThreadsAtOnce) {
  constexpr int kThreads = 8;
  constexpr int kCalls = 200;
  std::vector<std::vector<std::string>> perThread(kThreads);
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([t, &perThread] {
      LineRecorder lines;  // each thread records only its own lines
      for (int i = 0; i < kCalls; ++i) {
        DefaultDIAnalyticsProvider::shared()->trackEvent("e", ParameterMap{{"thread", t}});
        ConsoleDIAnalyticsProvider::shared()->trackPerformance("m", 0.5, std::nullopt);
      }
      perThread[t] = lines.lines();
    });
  }
  for (auto& thread : threads) thread.join();
  for (int t = 0; t < kThreads; ++t) {
    ASSERT_EQ(perThread[t].size(), 3u * kCalls);
    EXPECT_EQ(perThread[t][0], "📊 Analytics Event: e");
    EXPECT_EQ(perThread[t][1], "📊 Parameters: [\"thread\": " + std::to_string(t) + "]");
    EXPECT_EQ(perThread[t][2], "📈 [DI Analytics] Performance: m = 0.5 ms");
  }
}

}  // namespace
}  // namespace tavreldi
