// Telemetry values, map text, and the two console analytics providers.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "support/RecordingProvider.hpp"
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

// Texts, true and lists of texts are covered through everyKind() in the provider lines below.
TEST(AnalyticsValue, TextFormsOfValuesAndMaps) {
  // A value, its plain text and its quoted text.
  const std::vector<std::tuple<AnalyticsValue, std::string, std::string>> cases{
      {std::numeric_limits<std::int64_t>::max(), "9223372036854775807", "9223372036854775807"},
      {0.0, "0.0", "0.0"},
      {0.1 + 0.2, "0.30000000000000004", "0.30000000000000004"},
      {1e20, "1e+20", "1e+20"},
      {std::numeric_limits<double>::infinity(), "inf", "inf"},
      {std::numeric_limits<double>::quiet_NaN(), "nan", "nan"},
      {std::vector<std::string>{}, "[]", "[]"},
      {AnalyticsValue::List{1, 0.5, 12.0, "x", false, AnalyticsValue::List{"y", 3}},
       R"([1, 0.5, 12.0, "x", false, ["y", 3]])", R"([1, 0.5, 12.0, "x", false, ["y", 3]])"},
      {"say \"hi\"\n", "say \"hi\"\n", R"("say \"hi\"\n")"},
      {"a\\b's", "a\\b's", R"("a\\b\'s")"}};
  for (const auto& [value, plain, quoted] : cases) {
    EXPECT_EQ(value.toString(), plain);
    EXPECT_EQ(value.toQuotedString(), quoted);
  }

  // Maps keep insertion order; setting a present key replaces its value in place.
  ParameterMap map{{"b", 1}, {"a", 2}};
  map.set("c", 3);
  map.set("b", "replaced");
  EXPECT_EQ(map.toString(), R"(["b": "replaced", "a": 2, "c": 3])");
  ASSERT_NE(map.find("a"), nullptr);
  EXPECT_EQ(*map.find("a"), AnalyticsValue(2));
  EXPECT_EQ(map.find("missing"), nullptr);
  EXPECT_EQ((ParameterMap{{"k", 1}, {"other", 2}, {"k", 3}}),
            (ParameterMap{{"k", 3}, {"other", 2}}));
}

// The lines of the same calls on any provider: absent, empty and full parameters, errors of
// two types, performance with the default, a given and an empty unit.
std::vector<std::string> linesOf(DIAnalyticsProvider& provider) {
  LineRecorder lines;
  provider.trackEvent("dependency_registered", std::nullopt);
  provider.trackEvent("started", ParameterMap{});
  provider.trackEvent("dependency_resolved", everyKind());
  provider.trackError(std::runtime_error("boom"), std::nullopt);
  provider.trackError(std::runtime_error("bang"), ParameterMap{});
  provider.trackError(DependencyResolutionError::notRegistered("UserService"),
                      ParameterMap{{"dependency_type", "UserService"}, {"retry", false}});
  provider.trackPerformance("resolve", 2.5, std::nullopt);
  provider.trackPerformance("memory", 0.5, "MB");
  provider.trackPerformance("count", 3, "");
  return lines.lines();
}

// The default provider prints a parameter line for present parameters ("[:]" when empty); the
// console one prints one line per entry, in map order, after the header.
TEST(AnalyticsProviders, Lines) {
  DefaultDIAnalyticsProvider d;
  EXPECT_THAT(linesOf(d),
              ElementsAre("📊 Analytics Event: dependency_registered", "📊 Analytics Event: started",
                          "📊 Parameters: [:]", "📊 Analytics Event: dependency_resolved",
                          R"(📊 Parameters: ["type": "UserService", "count": 2, "ratio": 0.5, )"
                          R"("duration_ms": 12.0, "success": true, "stack": ["A", "B"]])",
                          "❌ Analytics Error: boom", "❌ Analytics Error: bang", "❌ Context: [:]",
                          "❌ Analytics Error: Type not registered: UserService",
                          R"(❌ Context: ["dependency_type": "UserService", "retry": false])",
                          "⚡ Performance: resolve = 2.5 ms", "⚡ Performance: memory = 0.5 MB",
                          "⚡ Performance: count = 3.0 "));
  ConsoleDIAnalyticsProvider c;
  EXPECT_THAT(
      linesOf(c),
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
                  "📈 [DI Analytics] Performance: memory = 0.5 MB",
                  "📈 [DI Analytics] Performance: count = 3.0 "));
  // Operations never fail: none of them may throw.
  const std::runtime_error error("x");
  static_assert(noexcept(d.trackEvent("e", std::nullopt), d.trackError(error, std::nullopt),
                         d.trackPerformance("m", 1.0, std::nullopt)));
  static_assert(noexcept(c.trackEvent("e", std::nullopt), c.trackError(error, std::nullopt),
                         c.trackPerformance("m", 1.0, std::nullopt)));
}

// The shared instances are process-wide, and may be used from many threads at once.
TEST(AnalyticsProviders, SharedInstancesServeManyThreadsAtOnce) {
  constexpr int kThreads = 8, kCalls = 200;
  std::vector<std::vector<std::string>> perThread(kThreads);
  std::vector<const DefaultDIAnalyticsProvider*> instances(kThreads);
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([t, &perThread, &instances] {
      LineRecorder lines;  // each thread records only its own lines
      instances[t] = DefaultDIAnalyticsProvider::shared().get();
      for (int i = 0; i < kCalls; ++i) {
        DefaultDIAnalyticsProvider::shared()->trackEvent("e", ParameterMap{{"thread", t}});
        ConsoleDIAnalyticsProvider::shared()->trackPerformance("m", 0.5, std::nullopt);
      }
      perThread[t] = lines.lines();
    });
  }
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(ConsoleDIAnalyticsProvider::shared(), ConsoleDIAnalyticsProvider::shared());
  for (int t = 0; t < kThreads; ++t) {
    EXPECT_EQ(instances[t], DefaultDIAnalyticsProvider::shared().get());
    ASSERT_EQ(perThread[t].size(), 3u * kCalls);
    EXPECT_EQ(perThread[t][0], "📊 Analytics Event: e");
    EXPECT_EQ(perThread[t][1], "📊 Parameters: [\"thread\": " + std::to_string(t) + "]");
    EXPECT_EQ(perThread[t][2], "📈 [DI Analytics] Performance: m = 0.5 ms");
  }
}

}  // namespace
}  // namespace tavreldi
