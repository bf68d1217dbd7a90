// Telemetry values, map text, and the two console analytics providers.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <type_traits>
#include <typeindex>
#include <vector>

#include "support/RecordingAnalyticsProvider.hpp"
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

// ---------------------------------------------------------------------------------------------
// Values and maps

TEST(AnalyticsValue, WholeNumbersAreDigits) {
  EXPECT_EQ(AnalyticsValue(2).toString(), "2");
  EXPECT_EQ(AnalyticsValue(-17).toString(), "-17");
  EXPECT_EQ(AnalyticsValue(std::numeric_limits<std::int64_t>::max()).toString(),
            "9223372036854775807");
}

TEST(AnalyticsValue, DoublesAreShortestAndKeepPointZero) {
  EXPECT_EQ(AnalyticsValue(0.5).toString(), "0.5");
  EXPECT_EQ(AnalyticsValue(12.0).toString(), "12.0");
  EXPECT_EQ(AnalyticsValue(2.5).toString(), "2.5");
  EXPECT_EQ(AnalyticsValue(0.0).toString(), "0.0");
  EXPECT_EQ(AnalyticsValue(-3.0).toString(), "-3.0");
  EXPECT_EQ(AnalyticsValue(0.1 + 0.2).toString(), "0.30000000000000004");
  EXPECT_EQ(AnalyticsValue(1e20).toString(), "1e+20");
  EXPECT_EQ(AnalyticsValue(std::numeric_limits<double>::infinity()).toString(), "inf");
  EXPECT_EQ(AnalyticsValue(std::numeric_limits<double>::quiet_NaN()).toString(), "nan");
}

TEST(AnalyticsValue, TextBooleansAndLists) {
  EXPECT_EQ(AnalyticsValue("UserService").toString(), "UserService");
  EXPECT_EQ(AnalyticsValue(std::string_view("view")).toString(), "view");
  EXPECT_EQ(AnalyticsValue(true).toString(), "true");
  EXPECT_EQ(AnalyticsValue(false).toString(), "false");
  EXPECT_EQ(AnalyticsValue(std::vector<std::string>{"A", "B", "A"}).toString(),
            R"(["A", "B", "A"])");
  EXPECT_EQ(AnalyticsValue(std::vector<std::string>{}).toString(), "[]");
  const AnalyticsValue mixed(
      AnalyticsValue::List{1, 0.5, 12.0, "x", false, AnalyticsValue::List{"y", 3}});
  EXPECT_EQ(mixed.toString(), R"([1, 0.5, 12.0, "x", false, ["y", 3]])");
}

TEST(AnalyticsValue, QuotedFormQuotesOnlyText) {
  EXPECT_EQ(AnalyticsValue("UserService").toQuotedString(), R"("UserService")");
  EXPECT_EQ(AnalyticsValue(2).toQuotedString(), "2");
  EXPECT_EQ(AnalyticsValue(12.0).toQuotedString(), "12.0");
  EXPECT_EQ(AnalyticsValue(true).toQuotedString(), "true");
  EXPECT_EQ(AnalyticsValue(std::vector<std::string>{"A"}).toQuotedString(), R"(["A"])");
  EXPECT_EQ(AnalyticsValue("say \"hi\"\n").toQuotedString(), R"("say \"hi\"\n")");
  EXPECT_EQ(AnalyticsValue("a\\b's").toQuotedString(), R"("a\\b\'s")");
}

TEST(ParameterMap, KeepsInsertionOrderAndReplacesInPlace) {
  ParameterMap map{{"b", 1}, {"a", 2}};
  map.set("c", 3);
  map.set("b", "replaced");
  ASSERT_EQ(map.size(), 3u);
  EXPECT_EQ(map.entries()[0].first, "b");
  EXPECT_EQ(map.entries()[0].second, AnalyticsValue("replaced"));
  EXPECT_EQ(map.entries()[1].first, "a");
  EXPECT_EQ(map.entries()[2].first, "c");
  ASSERT_NE(map.find("a"), nullptr);
  EXPECT_EQ(*map.find("a"), AnalyticsValue(2));
  EXPECT_EQ(map.find("missing"), nullptr);

  const ParameterMap repeated{{"k", 1}, {"other", 2}, {"k", 3}};
  EXPECT_EQ(repeated, (ParameterMap{{"k", 3}, {"other", 2}}));
}

TEST(ParameterMap, TextForm) {
  EXPECT_EQ((ParameterMap{{"type", "UserService"}, {"count", 2}}).toString(),
            R"(["type": "UserService", "count": 2])");
  EXPECT_EQ(ParameterMap{}.toString(), "[:]");
  EXPECT_EQ(everyKind().toString(),
            R"(["type": "UserService", "count": 2, "ratio": 0.5, "duration_ms": 12.0, )"
            R"("success": true, "stack": ["A", "B"]])");
}

TEST(OptionalParameters, AbsentAndEmptyDiffer) {
  const OptionalParameters absent;
  const OptionalParameters empty = ParameterMap{};
  EXPECT_NE(absent, empty);
}

// ---------------------------------------------------------------------------------------------
// DefaultDIAnalyticsProvider

TEST(DefaultDIAnalyticsProvider, EventWithAbsentParametersIsOneLine) {
  LineRecorder lines;
  DefaultDIAnalyticsProvider().trackEvent("dependency_registered", std::nullopt);
  EXPECT_THAT(lines.lines(), ElementsAre("📊 Analytics Event: dependency_registered"));
}

TEST(DefaultDIAnalyticsProvider, EventWithEmptyParametersPrintsEmptyMap) {
  LineRecorder lines;
  DefaultDIAnalyticsProvider().trackEvent("started", ParameterMap{});
  EXPECT_THAT(lines.lines(), ElementsAre("📊 Analytics Event: started", "📊 Parameters: [:]"));
}

TEST(DefaultDIAnalyticsProvider, EventWithParametersPrintsMapText) {
  LineRecorder lines;
  DefaultDIAnalyticsProvider().trackEvent("dependency_resolved", everyKind());
  EXPECT_THAT(lines.lines(),
              ElementsAre("📊 Analytics Event: dependency_resolved",
                          R"(📊 Parameters: ["type": "UserService", "count": 2, "ratio": 0.5, )"
                          R"("duration_ms": 12.0, "success": true, "stack": ["A", "B"]])"));
}

TEST(DefaultDIAnalyticsProvider, ErrorLines) {
  LineRecorder lines;
  DefaultDIAnalyticsProvider provider;
  const auto error = DependencyResolutionError::notRegistered("UserService");
  provider.trackError(error, std::nullopt);
  provider.trackError(error, ParameterMap{});
  provider.trackError(error, ParameterMap{{"dependency_type", "UserService"}, {"attempt", 2}});
  EXPECT_THAT(lines.lines(),
              ElementsAre("❌ Analytics Error: Type not registered: UserService",
                          "❌ Analytics Error: Type not registered: UserService", "❌ Context: [:]",
                          "❌ Analytics Error: Type not registered: UserService",
                          R"(❌ Context: ["dependency_type": "UserService", "attempt": 2])"));
}

TEST(DefaultDIAnalyticsProvider, ErrorWithTwoContextEntriesIsTwoLines) {
  LineRecorder lines;
  DefaultDIAnalyticsProvider().trackError(std::runtime_error("boom"),
                                          ParameterMap{{"a", 1}, {"b", 2}});
  EXPECT_EQ(lines.lines().size(), 2u);
}

TEST(DefaultDIAnalyticsProvider, PerformanceLines) {
  LineRecorder lines;
  DefaultDIAnalyticsProvider provider;
  provider.trackPerformance("resolve", 2.5, std::nullopt);
  provider.trackPerformance("dependency_resolution", 12.0, "ms");
  provider.trackPerformance("memory", 0.5, "MB");
  provider.trackPerformance("count", 3, "");
  EXPECT_THAT(lines.lines(),
              ElementsAre("⚡ Performance: resolve = 2.5 ms",
                          "⚡ Performance: dependency_resolution = 12.0 ms",
                          "⚡ Performance: memory = 0.5 MB", "⚡ Performance: count = 3.0 "));
}

// ---------------------------------------------------------------------------------------------
// ConsoleDIAnalyticsProvider

TEST(ConsoleDIAnalyticsProvider, EventWithAbsentParametersIsOneLine) {
  LineRecorder lines;
  ConsoleDIAnalyticsProvider().trackEvent("dependency_registered", std::nullopt);
  EXPECT_THAT(lines.lines(), ElementsAre("🔍 [DI Analytics] Event: dependency_registered"));
}

TEST(ConsoleDIAnalyticsProvider, EventWithEmptyParametersIsHeaderOnly) {
  LineRecorder lines;
  ConsoleDIAnalyticsProvider().trackEvent("started", ParameterMap{});
  EXPECT_THAT(lines.lines(), ElementsAre("🔍 [DI Analytics] Event: started"));
}

TEST(ConsoleDIAnalyticsProvider, EventListsEveryParameterInMapOrder) {
  LineRecorder lines;
  ConsoleDIAnalyticsProvider().trackEvent("dependency_resolved", everyKind());
  EXPECT_THAT(
      lines.lines(),
      ElementsAre("🔍 [DI Analytics] Event: dependency_resolved",
                  "🔍 [DI Analytics]   type: UserService", "🔍 [DI Analytics]   count: 2",
                  "🔍 [DI Analytics]   ratio: 0.5", "🔍 [DI Analytics]   duration_ms: 12.0",
                  "🔍 [DI Analytics]   success: true", R"(🔍 [DI Analytics]   stack: ["A", "B"])"));
}

TEST(ConsoleDIAnalyticsProvider, ErrorLines) {
  LineRecorder lines;
  ConsoleDIAnalyticsProvider provider;
  provider.trackError(std::runtime_error("boom"), std::nullopt);
  provider.trackError(std::runtime_error("bang"), ParameterMap{});
  provider.trackError(DependencyResolutionError::notRegistered("UserService"),
                      ParameterMap{{"dependency_type", "UserService"}, {"retry", false}});
  EXPECT_THAT(lines.lines(),
              ElementsAre("🚨 [DI Analytics] Error: boom", "🚨 [DI Analytics] Error: bang",
                          "🚨 [DI Analytics] Error: Type not registered: UserService",
                          "🚨 [DI Analytics]   dependency_type: UserService",
                          "🚨 [DI Analytics]   retry: false"));
}

TEST(ConsoleDIAnalyticsProvider, ErrorWithTwoContextEntriesIsThreeLines) {
  LineRecorder lines;
  ConsoleDIAnalyticsProvider().trackError(std::runtime_error("boom"),
                                          ParameterMap{{"a", 1}, {"b", 2}});
  EXPECT_EQ(lines.lines().size(), 3u);
}

TEST(ConsoleDIAnalyticsProvider, PerformanceLines) {
  LineRecorder lines;
  ConsoleDIAnalyticsProvider provider;
  provider.trackPerformance("resolve", 2.5, std::nullopt);
  provider.trackPerformance("dependency_resolution", 12.0, "ms");
  provider.trackPerformance("memory", 0.5, "MB");
  EXPECT_THAT(lines.lines(),
              ElementsAre("📈 [DI Analytics] Performance: resolve = 2.5 ms",
                          "📈 [DI Analytics] Performance: dependency_resolution = 12.0 ms",
                          "📈 [DI Analytics] Performance: memory = 0.5 MB"));
}

// ---------------------------------------------------------------------------------------------
// Shared instances, failure isolation, threads

TEST(AnalyticsProviders, SharedInstancesAreProcessWideAndUsableAsTheInterface) {
  const std::shared_ptr<DIAnalyticsProvider> viaInterface = DefaultDIAnalyticsProvider::shared();
  EXPECT_EQ(viaInterface, DefaultDIAnalyticsProvider::shared());
  EXPECT_EQ(ConsoleDIAnalyticsProvider::shared().get(), ConsoleDIAnalyticsProvider::shared().get());

  const DefaultDIAnalyticsProvider* fromOtherThread = nullptr;
  std::thread([&] { fromOtherThread = DefaultDIAnalyticsProvider::shared().get(); }).join();
  EXPECT_EQ(fromOtherThread, DefaultDIAnalyticsProvider::shared().get());

  // Instances are interchangeable: a fresh one prints what the shared one prints.
  LineRecorder lines;
  DefaultDIAnalyticsProvider::shared()->trackEvent("e", std::nullopt);
  DefaultDIAnalyticsProvider().trackEvent("e", std::nullopt);
  EXPECT_EQ(lines.lines()[0], lines.lines()[1]);
}

TEST(AnalyticsProviders, OperationsAreNoexcept) {
  DefaultDIAnalyticsProvider d;
  ConsoleDIAnalyticsProvider c;
  const std::runtime_error error("x");
  static_assert(noexcept(d.trackEvent("e", std::nullopt)));
  static_assert(noexcept(d.trackError(error, std::nullopt)));
  static_assert(noexcept(d.trackPerformance("m", 1.0, std::nullopt)));
  static_assert(noexcept(c.trackEvent("e", std::nullopt)));
  static_assert(noexcept(c.trackError(error, std::nullopt)));
  static_assert(noexcept(c.trackPerformance("m", 1.0, std::nullopt)));
  static_assert(std::is_default_constructible_v<DefaultDIAnalyticsProvider>);
  static_assert(std::is_default_constructible_v<ConsoleDIAnalyticsProvider>);
}

TEST(AnalyticsProviders, CallableFromManyThreadsAtOnce) {
  constexpr int kThreads = 8;
  constexpr int kCalls = 200;
  std::vector<std::vector<std::string>> perThread(kThreads);
  std::vector<std::thread> threads;
  threads.reserve(kThreads);
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

// ---------------------------------------------------------------------------------------------
// The recording provider that the container's tests use

TEST(RecordingAnalyticsProvider, RecordsEveryCallInOrderWithTheErrorsDynamicType) {
  testing::RecordingAnalyticsProvider recorder;
  DIAnalyticsProvider& provider = recorder;
  provider.trackEvent("dependency_registered", ParameterMap{{"type", "A"}});
  provider.trackError(CircularDependencyException("loop", {"A", "B", "A"}), std::nullopt);
  provider.trackPerformance("dependency_resolution", 2.5, std::nullopt);
  provider.trackPerformance("other", 1.0, "s");

  ASSERT_EQ(recorder.calls().size(), 4u);
  EXPECT_TRUE(
      std::holds_alternative<testing::RecordingAnalyticsProvider::Event>(recorder.calls()[0]));
  const auto events = recorder.events();
  ASSERT_EQ(events.size(), 1u);
  EXPECT_EQ(events[0].name, "dependency_registered");
  EXPECT_EQ(events[0].parameters, (ParameterMap{{"type", "A"}}));
  const auto errors = recorder.errors();
  ASSERT_EQ(errors.size(), 1u);
  EXPECT_EQ(errors[0].description, "Circular Dependency: loop");
  EXPECT_EQ(errors[0].type, std::type_index(typeid(CircularDependencyException)));
  EXPECT_FALSE(errors[0].context.has_value());
  const auto performances = recorder.performances();
  ASSERT_EQ(performances.size(), 2u);
  EXPECT_EQ(performances[0].metric, "dependency_resolution");
  EXPECT_EQ(performances[0].value, 2.5);
  EXPECT_FALSE(performances[0].unit.has_value());
  EXPECT_EQ(performances[1].unit, "s");

  recorder.clear();
  EXPECT_TRUE(recorder.calls().empty());
}

TEST(RecordingAnalyticsProvider, IsThreadSafe) {
  testing::RecordingAnalyticsProvider recorder;
  std::vector<std::thread> threads;
  threads.reserve(4);
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&recorder] {
      for (int i = 0; i < 500; ++i) recorder.trackEvent("e", std::nullopt);
    });
  }
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(recorder.events().size(), 2000u);
}

}  // namespace
}  // namespace tavreldi
