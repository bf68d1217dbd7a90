// The crash-reporting configuration, the console provider and the manager.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <type_traits>
#include <typeindex>
#include <vector>

#include "support/RecordingCrashlyticsProvider.hpp"
#include "support/TelemetryPrinters.hpp"
#include "tavreldi/core/Errors.hpp"
#include "tavreldi/core/LineWriter.hpp"
#include "tavreldi/telemetry/DICrashlyticsConfig.hpp"
#include "tavreldi/telemetry/DICrashlyticsManager.hpp"
#include "tavreldi/telemetry/DefaultDICrashlyticsProvider.hpp"

namespace tavreldi {
namespace {

using ::testing::ElementsAre;
using Recorder = testing::RecordingCrashlyticsProvider;

DICrashlyticsConfig disabledConfig() {
  return DICrashlyticsConfig(false, CrashlyticsLogLevel::fatal, false, {{"team", "core"}});
}

// A manager over a fresh recording provider.
struct RecordingManager {
  std::shared_ptr<Recorder> recorder = std::make_shared<Recorder>();
  DICrashlyticsManager manager{recorder, DICrashlyticsConfig::defaultConfig()};
};

// ---------------------------------------------------------------------------------------------
// CrashlyticsLogLevel and DICrashlyticsConfig

TEST(CrashlyticsLogLevel, RawValuesInCaseOrder) {
  const auto cases = allCases<CrashlyticsLogLevel>();
  ASSERT_EQ(cases.size(), 5u);
  const std::vector<std::string_view> raw{toString(cases[0]), toString(cases[1]),
                                          toString(cases[2]), toString(cases[3]),
                                          toString(cases[4])};
  EXPECT_THAT(raw, ElementsAre("debug", "info", "warning", "error", "fatal"));
  EXPECT_EQ(fromString<CrashlyticsLogLevel>("warning"), CrashlyticsLogLevel::warning);
  EXPECT_FALSE(fromString<CrashlyticsLogLevel>("Warning"));
  EXPECT_FALSE(fromString<CrashlyticsLogLevel>("critical"));
}

TEST(DICrashlyticsConfig, KeepsWhatItWasGiven) {
  const DICrashlyticsConfig config = disabledConfig();
  EXPECT_FALSE(config.enabled());
  EXPECT_EQ(config.logLevel(), CrashlyticsLogLevel::fatal);
  EXPECT_FALSE(config.autoCrashReporting());
  EXPECT_EQ(config.customKeys().at("team"), "core");

  const DICrashlyticsConfig defaults = DICrashlyticsConfig::defaultConfig();
  EXPECT_TRUE(defaults.enabled());
  EXPECT_EQ(defaults.logLevel(), CrashlyticsLogLevel::warning);
  EXPECT_TRUE(defaults.autoCrashReporting());
  EXPECT_TRUE(defaults.customKeys().empty());
}

// ---------------------------------------------------------------------------------------------
// DefaultDICrashlyticsProvider

TEST(DefaultDICrashlyticsProvider, ErrorLines) {
  LineRecorder lines;
  DefaultDICrashlyticsProvider provider;
  provider.logError(std::runtime_error("boom"), std::nullopt);
  provider.logError(std::runtime_error("bang"), ParameterMap{});
  provider.logError(DependencyResolutionError::notRegistered("UserService"),
                    ParameterMap{{"dependency_type", "UserService"},
                                 {"attempt", 2},
                                 {"ratio", 0.5},
                                 {"duration_ms", 12.0},
                                 {"fatal", false},
                                 {"stack", std::vector<std::string>{"A", "B"}}});
  EXPECT_THAT(
      lines.lines(),
      ElementsAre("💥 [Crashlytics] Error: boom", "💥 [Crashlytics] Error: bang",
                  "💥 [Crashlytics] Error: Type not registered: UserService",
                  "💥 [Crashlytics]   dependency_type: UserService", "💥 [Crashlytics]   attempt: 2",
                  "💥 [Crashlytics]   ratio: 0.5", "💥 [Crashlytics]   duration_ms: 12.0",
                  "💥 [Crashlytics]   fatal: false", R"(💥 [Crashlytics]   stack: ["A", "B"])"));
}

TEST(DefaultDICrashlyticsProvider, EventWithAbsentParametersIsOneLine) {
  LineRecorder lines;
  DefaultDICrashlyticsProvider().logEvent("di_registration_singleton", std::nullopt);
  EXPECT_THAT(lines.lines(), ElementsAre("📝 [Crashlytics] Event: di_registration_singleton"));
}

TEST(DefaultDICrashlyticsProvider, EventLines) {
  LineRecorder lines;
  DefaultDICrashlyticsProvider provider;
  provider.logEvent("empty", ParameterMap{});
  provider.logEvent("di_resolution_success",
                    ParameterMap{{"dependency_type", "UserService"}, {"cached", true}});
  EXPECT_THAT(lines.lines(), ElementsAre("📝 [Crashlytics] Event: empty",
                                         "📝 [Crashlytics] Event: di_resolution_success",
                                         "📝 [Crashlytics]   dependency_type: UserService",
                                         "📝 [Crashlytics]   cached: true"));
}

TEST(DefaultDICrashlyticsProvider, UserIdentifierAndCustomValues) {
  LineRecorder lines;
  DefaultDICrashlyticsProvider provider;
  provider.setUserIdentifier("user-42");
  provider.setCustomValue(12, "build");
  provider.setCustomValue(0.5, "ratio");
  provider.setCustomValue(12.0, "duration_ms");
  provider.setCustomValue("release", "channel");
  provider.setCustomValue(true, "beta");
  provider.setCustomValue(std::vector<std::string>{"A", "B"}, "stack");
  EXPECT_THAT(lines.lines(), ElementsAre("👤 [Crashlytics] User ID: user-42",
                                         "🔧 [Crashlytics] Custom Value: build = 12",
                                         "🔧 [Crashlytics] Custom Value: ratio = 0.5",
                                         "🔧 [Crashlytics] Custom Value: duration_ms = 12.0",
                                         "🔧 [Crashlytics] Custom Value: channel = release",
                                         "🔧 [Crashlytics] Custom Value: beta = true",
                                         R"(🔧 [Crashlytics] Custom Value: stack = ["A", "B"])"));
}

TEST(DefaultDICrashlyticsProvider, SharedAndNoexcept) {
  EXPECT_EQ(DefaultDICrashlyticsProvider::shared(), DefaultDICrashlyticsProvider::shared());
  const std::shared_ptr<DICrashlyticsProvider> viaInterface =
      DefaultDICrashlyticsProvider::shared();
  EXPECT_NE(viaInterface, nullptr);
  static_assert(std::is_default_constructible_v<DefaultDICrashlyticsProvider>);
  DefaultDICrashlyticsProvider provider;
  const std::runtime_error error("x");
  static_assert(noexcept(provider.logError(error, std::nullopt)));
  static_assert(noexcept(provider.logEvent("e", std::nullopt)));
  static_assert(noexcept(provider.setUserIdentifier("u")));
  const AnalyticsValue one(1);
  static_assert(noexcept(provider.setCustomValue(one, "k")));
}

// ---------------------------------------------------------------------------------------------
// DICrashlyticsManager

TEST(DICrashlyticsManager, NeedsAProviderAndAConfiguration) {
  static_assert(!std::is_default_constructible_v<DICrashlyticsManager>);
  static_assert(!std::is_constructible_v<DICrashlyticsManager, std::shared_ptr<Recorder>>);
  static_assert(!std::is_constructible_v<DICrashlyticsManager, DICrashlyticsConfig>);
  static_assert(std::is_constructible_v<DICrashlyticsManager, std::shared_ptr<Recorder>,
                                        DICrashlyticsConfig>);

  const auto recorder = std::make_shared<Recorder>();
  const DICrashlyticsManager manager(recorder, disabledConfig());
  EXPECT_EQ(manager.provider(), recorder);
  EXPECT_FALSE(manager.config().enabled());
  EXPECT_EQ(manager.config().logLevel(), CrashlyticsLogLevel::fatal);
}

TEST(DICrashlyticsManagerDeathTest, NullProviderIsFatal) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_DEATH(DICrashlyticsManager(nullptr, DICrashlyticsConfig::defaultConfig()),
               "without a provider");
}

TEST(DICrashlyticsManager, RegistrationEventWithAbsentParametersHasTheTwoStandardKeys) {
  RecordingManager m;
  m.manager.logRegistrationEvent("singleton", "UserService");
  const auto events = m.recorder->events();
  ASSERT_EQ(events.size(), 1u);
  EXPECT_EQ(events[0].name, "di_registration_singleton");
  EXPECT_EQ(events[0].parameters,
            (ParameterMap{{"dependency_type", "UserService"}, {"component", "TavrelDI"}}));
}

TEST(DICrashlyticsManager, EmptyParametersAlsoGetTheStandardKeys) {
  RecordingManager m;
  m.manager.logResolutionEvent("success", "UserService", ParameterMap{});
  const auto events = m.recorder->events();
  ASSERT_EQ(events.size(), 1u);
  EXPECT_EQ(events[0].name, "di_resolution_success");
  EXPECT_EQ(events[0].parameters,
            (ParameterMap{{"dependency_type", "UserService"}, {"component", "TavrelDI"}}));
}

TEST(DICrashlyticsManager, StandardKeysOverwriteCallerKeysInPlaceAndKeepTheOthers) {
  RecordingManager m;
  m.manager.logResolutionEvent("failure", "UserService",
                               ParameterMap{{"component", "MyApp"},
                                            {"attempt", 3},
                                            {"dependency_type", "Wrong"},
                                            {"issue", "kept as is"}});
  const auto events = m.recorder->events();
  ASSERT_EQ(events.size(), 1u);
  EXPECT_EQ(events[0].name, "di_resolution_failure");
  EXPECT_EQ(events[0].parameters, (ParameterMap{{"component", "TavrelDI"},
                                                {"attempt", 3},
                                                {"dependency_type", "UserService"},
                                                {"issue", "kept as is"}}));
}

TEST(DICrashlyticsManager, CallerKeysComeFirstAndStandardKeysAreAppendedInOrder) {
  RecordingManager m;
  m.manager.logRegistrationEvent("scoped", "UserRepository",
                                 ParameterMap{{"z", 1}, {"a", 0.5}, {"m", true}});
  const auto events = m.recorder->events();
  ASSERT_EQ(events.size(), 1u);
  EXPECT_EQ(events[0].parameters->toString(),
            R"(["z": 1, "a": 0.5, "m": true, "dependency_type": "UserRepository", )"
            R"("component": "TavrelDI"])");
}

TEST(DICrashlyticsManager, PerformanceIssueAddsIssueDependencyTypeAndComponent) {
  RecordingManager m;
  m.manager.logPerformanceIssue("slow resolution", "UserService",
                                ParameterMap{{"duration_ms", 150.0}});
  const auto events = m.recorder->events();
  ASSERT_EQ(events.size(), 1u);
  EXPECT_EQ(events[0].name, "di_performance_issue");
  EXPECT_EQ(events[0].parameters, (ParameterMap{{"duration_ms", 150.0},
                                                {"issue", "slow resolution"},
                                                {"dependency_type", "UserService"},
                                                {"component", "TavrelDI"}}));

  m.recorder->clear();
  m.manager.logPerformanceIssue("deep graph", "UserViewModel");
  m.manager.logPerformanceIssue("again", "UserViewModel", ParameterMap{{"issue", "old"}});
  const auto more = m.recorder->events();
  ASSERT_EQ(more.size(), 2u);
  EXPECT_EQ(more[0].parameters, (ParameterMap{{"issue", "deep graph"},
                                              {"dependency_type", "UserViewModel"},
                                              {"component", "TavrelDI"}}));
  EXPECT_EQ(more[1].parameters, (ParameterMap{{"issue", "again"},
                                              {"dependency_type", "UserViewModel"},
                                              {"component", "TavrelDI"}}));
}

TEST(DICrashlyticsManager, DependencyErrorForwardsTheErrorItself) {
  RecordingManager m;
  m.manager.logDependencyError(DependencyResolutionError::notRegistered("UserService"),
                               "UserService");
  m.manager.logDependencyError(
      std::runtime_error("boom"), "UserRepository",
      ParameterMap{{"component", "x"}, {"stack", std::vector<std::string>{"A"}}});
  const auto errors = m.recorder->errors();
  ASSERT_EQ(errors.size(), 2u);
  EXPECT_EQ(errors[0].description, "Type not registered: UserService");
  EXPECT_EQ(errors[0].type, std::type_index(typeid(DependencyResolutionError)));
  EXPECT_EQ(errors[0].context,
            (ParameterMap{{"dependency_type", "UserService"}, {"component", "TavrelDI"}}));
  EXPECT_EQ(errors[1].description, "boom");
  EXPECT_EQ(errors[1].type, std::type_index(typeid(std::runtime_error)));
  EXPECT_EQ(errors[1].context, (ParameterMap{{"component", "TavrelDI"},
                                             {"stack", std::vector<std::string>{"A"}},
                                             {"dependency_type", "UserRepository"}}));
}

TEST(DICrashlyticsManager, DisabledConfigurationStillForwardsEveryCall) {
  const auto recorder = std::make_shared<Recorder>();
  const DICrashlyticsManager manager(recorder, disabledConfig());
  manager.logDependencyError(std::runtime_error("boom"), "A");
  manager.logRegistrationEvent("singleton", "A");
  manager.logResolutionEvent("success", "A");
  manager.logPerformanceIssue("slow", "A");
  const auto calls = recorder->calls();
  ASSERT_EQ(calls.size(), 4u);
  EXPECT_TRUE(std::holds_alternative<Recorder::Error>(calls[0]));
  const auto events = recorder->events();
  ASSERT_EQ(events.size(), 3u);
  EXPECT_EQ(events[0].name, "di_registration_singleton");
  EXPECT_EQ(events[1].name, "di_resolution_success");
  EXPECT_EQ(events[2].name, "di_performance_issue");
  // customKeys are carried, not added.
  for (const auto& event : events) EXPECT_EQ(event.parameters->find("team"), nullptr);
}

TEST(DICrashlyticsManager, ThroughTheDefaultProvider) {
  LineRecorder lines;
  const DICrashlyticsManager manager(DefaultDICrashlyticsProvider::shared(),
                                     DICrashlyticsConfig::defaultConfig());
  manager.logRegistrationEvent("singleton", "UserService");
  manager.logDependencyError(std::runtime_error("boom"), "UserService",
                             ParameterMap{{"attempt", 1}});
  manager.logPerformanceIssue("slow", "UserService", ParameterMap{{"duration_ms", 12.0}});
  EXPECT_THAT(
      lines.lines(),
      ElementsAre(
          "📝 [Crashlytics] Event: di_registration_singleton",
          "📝 [Crashlytics]   dependency_type: UserService", "📝 [Crashlytics]   component: TavrelDI",
          "💥 [Crashlytics] Error: boom", "💥 [Crashlytics]   attempt: 1",
          "💥 [Crashlytics]   dependency_type: UserService", "💥 [Crashlytics]   component: TavrelDI",
          "📝 [Crashlytics] Event: di_performance_issue", "📝 [Crashlytics]   duration_ms: 12.0",
          "📝 [Crashlytics]   issue: slow", "📝 [Crashlytics]   dependency_type: UserService",
          "📝 [Crashlytics]   component: TavrelDI"));
}

TEST(DICrashlyticsManager, AThrowingProviderNeverReachesTheCaller) {
  struct ThrowingProvider : DICrashlyticsProvider {
    void logError(const std::exception&, const OptionalParameters&) override { fail(); }
    void logEvent(std::string_view, const OptionalParameters&) override { fail(); }
    void setUserIdentifier(std::string_view) override { fail(); }
    void setCustomValue(const AnalyticsValue&, std::string_view) override { fail(); }
    static void fail() { throw std::runtime_error("back end down"); }
  };
  const DICrashlyticsManager manager(std::make_shared<ThrowingProvider>(),
                                     DICrashlyticsConfig::defaultConfig());
  static_assert(noexcept(manager.logRegistrationEvent("e", "A")));
  EXPECT_NO_THROW(manager.logDependencyError(std::runtime_error("x"), "A"));
  EXPECT_NO_THROW(manager.logRegistrationEvent("e", "A"));
  EXPECT_NO_THROW(manager.logResolutionEvent("e", "A"));
  EXPECT_NO_THROW(manager.logPerformanceIssue("e", "A"));
}

TEST(DICrashlyticsManager, CopiesShareTheProviderAndWorkFromManyThreads) {
  RecordingManager m;
  const DICrashlyticsManager copy = m.manager;
  EXPECT_EQ(copy.provider(), m.manager.provider());
  std::vector<std::thread> threads;
  threads.reserve(4);
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&] {
      for (int i = 0; i < 250; ++i) copy.logResolutionEvent("success", "A");
    });
  }
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(m.recorder->events().size(), 1000u);
}

}  // namespace
}  // namespace tavreldi
