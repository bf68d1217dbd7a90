// The console crash-reporting provider and the crash-reporting manager.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <type_traits>
#include <typeindex>
#include <vector>

#include "support/RecordingProvider.hpp"
#include "tavreldi/core/Errors.hpp"
#include "tavreldi/core/LineWriter.hpp"
#include "tavreldi/telemetry/DICrashlyticsConfig.hpp"
#include "tavreldi/telemetry/DICrashlyticsManager.hpp"
#include "tavreldi/telemetry/DefaultDICrashlyticsProvider.hpp"

namespace tavreldi {
namespace {

using ::testing::ElementsAre;
using Recorder = testing::RecordingProvider;

// A manager over a fresh recording provider. Its configuration is disabled and has a custom
// key: the configuration is carried only, so neither filters calls nor adds keys.
struct RecordingManager {
  std::shared_ptr<Recorder> recorder = std::make_shared<Recorder>();
  DICrashlyticsManager manager{
      recorder, DICrashlyticsConfig(false, CrashlyticsLogLevel::fatal, false, {{"team", "core"}})};
};

// The raw values are the texts configurations are written with.
TEST(CrashlyticsLogLevel, RawValuesInCaseOrder) {
  std::vector<std::string_view> raw;
  for (const auto level : allCases<CrashlyticsLogLevel>()) raw.push_back(toString(level));
  EXPECT_THAT(raw, ElementsAre("debug", "info", "warning", "error", "fatal"));
}

TEST(DefaultDICrashlyticsProvider, Lines) {
  LineRecorder lines;
  DefaultDICrashlyticsProvider provider;
  provider.logError(std::runtime_error("boom"), std::nullopt);
  provider.logError(std::runtime_error("bang"), ParameterMap{});
  provider.logError(DependencyResolutionError::notRegistered("UserService"),
                    ParameterMap{{"dependency_type", "UserService"}, {"attempt", 2}});
  provider.logEvent("di_registration_singleton", std::nullopt);
  provider.logEvent("empty", ParameterMap{});
  provider.logEvent("di_resolution_success",
                    ParameterMap{{"dependency_type", "UserService"}, {"cached", true}});
  provider.setUserIdentifier("user-42");
  provider.setCustomValue(12.0, "duration_ms");
  provider.setCustomValue("release", "channel");
  EXPECT_THAT(
      lines.lines(),
      ElementsAre("💥 [Crashlytics] Error: boom", "💥 [Crashlytics] Error: bang",
                  "💥 [Crashlytics] Error: Type not registered: UserService",
                  "💥 [Crashlytics]   dependency_type: UserService", "💥 [Crashlytics]   attempt: 2",
                  "📝 [Crashlytics] Event: di_registration_singleton",
                  "📝 [Crashlytics] Event: empty", "📝 [Crashlytics] Event: di_resolution_success",
                  "📝 [Crashlytics]   dependency_type: UserService",
                  "📝 [Crashlytics]   cached: true", "👤 [Crashlytics] User ID: user-42",
                  "🔧 [Crashlytics] Custom Value: duration_ms = 12.0",
                  "🔧 [Crashlytics] Custom Value: channel = release"));

  EXPECT_EQ(DefaultDICrashlyticsProvider::shared(), DefaultDICrashlyticsProvider::shared());
  const std::runtime_error error("x");
  const AnalyticsValue one(1);
  // Operations never fail: none of them may throw.
  static_assert(noexcept(provider.logError(error, std::nullopt),
                         provider.logEvent("e", std::nullopt), provider.setUserIdentifier("u"),
                         provider.setCustomValue(one, "k")));
}

TEST(DICrashlyticsManagerDeathTest, NullProviderIsFatal) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_DEATH(DICrashlyticsManager(nullptr, DICrashlyticsConfig::defaultConfig()),
               "without a provider");
}

// Every call the provider received, in order: "<event name> <parameters>" or
// "error: <description> <context>", the maps (which must be present) in their text form.
std::vector<std::string> received(const Recorder& recorder) {
  std::vector<std::string> texts;
  for (const auto& call : recorder.calls()) {
    if (const auto* event = std::get_if<Recorder::Event>(&call)) {
      texts.push_back(event->name + " " + event->parameters.value().toString());
    } else if (const auto* error = std::get_if<Recorder::Error>(&call)) {
      texts.push_back("error: " + error->description + " " + error->context.value().toString());
    } else {
      texts.emplace_back("unexpected call");
    }
  }
  return texts;
}

// The standard keys are appended after the caller's, or overwrite them in place; the caller's
// other keys are kept; absent and empty parameters both give a map of the standard keys.
TEST(DICrashlyticsManager, ReportsCarryTheStandardKeys) {
  RecordingManager m;
  m.manager.logRegistrationEvent("singleton", "UserService");
  m.manager.logResolutionEvent("success", "UserService", ParameterMap{});
  m.manager.logResolutionEvent("failure", "UserService",
                               ParameterMap{{"component", "MyApp"},
                                            {"attempt", 3},
                                            {"dependency_type", "Wrong"},
                                            {"issue", "kept as is"}});
  m.manager.logRegistrationEvent("scoped", "UserRepository",
                                 ParameterMap{{"z", 1}, {"a", 0.5}, {"m", true}});
  m.manager.logPerformanceIssue("slow resolution", "UserService",
                                ParameterMap{{"duration_ms", 150.0}});
  m.manager.logPerformanceIssue("deep graph", "UserService");
  m.manager.logPerformanceIssue("again", "UserService", ParameterMap{{"issue", "old"}});
  m.manager.logDependencyError(DependencyResolutionError::notRegistered("UserService"),
                               "UserService");
  m.manager.logDependencyError(
      std::runtime_error("boom"), "UserRepository",
      ParameterMap{{"component", "x"}, {"stack", std::vector<std::string>{"A"}}});
  const std::string standard = R"("dependency_type": "UserService", "component": "TavrelDI"])";
  EXPECT_EQ(
      received(*m.recorder),
      (std::vector<std::string>{
          "di_registration_singleton [" + standard, "di_resolution_success [" + standard,
          R"(di_resolution_failure ["component": "TavrelDI", "attempt": 3, )"
          R"("dependency_type": "UserService", "issue": "kept as is"])",
          R"(di_registration_scoped ["z": 1, "a": 0.5, "m": true, )"
          R"("dependency_type": "UserRepository", "component": "TavrelDI"])",
          R"(di_performance_issue ["duration_ms": 150.0, "issue": "slow resolution", )" + standard,
          R"(di_performance_issue ["issue": "deep graph", )" + standard,
          R"(di_performance_issue ["issue": "again", )" + standard,
          "error: Type not registered: UserService [" + standard,
          R"(error: boom ["component": "TavrelDI", "stack": ["A"], )"
          R"("dependency_type": "UserRepository"])"}));
  // The error itself is forwarded, not a copy of another type.
  const auto errors = m.recorder->errors();
  ASSERT_EQ(errors.size(), 2u);
  EXPECT_EQ(errors[0].type, std::type_index(typeid(DependencyResolutionError)));
  EXPECT_EQ(errors[1].type, std::type_index(typeid(std::runtime_error)));
}

TEST(DICrashlyticsManager, AThrowingProviderNeverReachesTheCaller) {
  // The manager only logs errors and events.
  struct ThrowingProvider : Recorder {
    void logError(const std::exception&, const OptionalParameters&) override { fail(); }
    void logEvent(std::string_view, const OptionalParameters&) override { fail(); }
    static void fail() { throw std::runtime_error("back end down"); }
  };
  const DICrashlyticsManager manager(std::make_shared<ThrowingProvider>(),
                                     DICrashlyticsConfig::defaultConfig());
  EXPECT_NO_THROW(manager.logDependencyError(std::runtime_error("x"), "A"));
  EXPECT_NO_THROW(manager.logRegistrationEvent("e", "A"));
  EXPECT_NO_THROW(manager.logResolutionEvent("e", "A"));
  EXPECT_NO_THROW(manager.logPerformanceIssue("e", "A"));
}

TEST(DICrashlyticsManager, NeedsBothPartsAndCopiesShareTheProviderAcrossThreads) {
  static_assert(!std::is_default_constructible_v<DICrashlyticsManager>);
  static_assert(!std::is_constructible_v<DICrashlyticsManager, std::shared_ptr<Recorder>>);
  static_assert(!std::is_constructible_v<DICrashlyticsManager, DICrashlyticsConfig>);
  RecordingManager m;
  const DICrashlyticsManager copy = m.manager;
  EXPECT_EQ(copy.provider(), m.recorder);
  std::vector<std::thread> threads;
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
