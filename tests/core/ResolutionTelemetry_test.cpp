#include <gtest/gtest.h>

#include "support/AsyncTest.hpp"
#include "support/RecordingProvider.hpp"
#include "support/SampleServices.hpp"
#include "tavreldi/core/Errors.hpp"
#include "tavreldi/core/LineWriter.hpp"
#include "tavreldi/telemetry/DefaultDIAnalyticsProvider.hpp"

namespace tavreldi {
namespace {

using namespace sample;
using testing::RecordingProvider;
using Strings = std::vector<std::string>;

class ResolutionTelemetry : public testing::AsyncTest {
 protected:
  void SetUp() override {
    container->registerAsync<UserAPI>(DependencyScope::singleton, DependencyLifetime::session,
                                      resolving<UserAPI, Logger>);
    container->registerSync<Logger>(DependencyScope::transient, makeNow<Logger>);
  }

  LineRecorder quiet;
  std::shared_ptr<RecordingProvider> recording = std::make_shared<RecordingProvider>();
  std::shared_ptr<AdvancedDIContainerImpl> container = makeContainer();
};

TEST_F(ResolutionTelemetry, RegistrationEventsReadTheProviderWhenTheyRun) {
  // Attached after registering but before the posted tasks ran: the events still arrive.
  container->configureAnalytics(recording, DICrashlyticsConfig::defaultConfig());
  EXPECT_TRUE(recording->calls().empty());
  drain();
  const auto events = recording->events();
  ASSERT_EQ(events.size(), 2u);
  EXPECT_EQ(events[0].name, "dependency_registered");
  EXPECT_EQ(events[0].parameters,
            (ParameterMap{{"type", "UserAPI"}, {"scope", "singleton"}, {"lifetime", "session"}}));
  EXPECT_EQ(
      events[1].parameters,
      (ParameterMap{{"type", "Logger"}, {"scope", "transient"}, {"lifetime", "application"}}));
}

TEST_F(ResolutionTelemetry, ResolutionEventsInOrderWithTheirParameters) {
  drain();
  container->configureAnalytics(recording);
  (void)run(container->resolve<UserAPI>());
  const auto calls = recording->calls();
  ASSERT_EQ(calls.size(), 4u);
  // The inner resolution finishes first; each reports its duration in milliseconds, twice.
  for (const auto& [index, type, scope] :
       {std::tuple(0u, "Logger", "transient"), std::tuple(2u, "UserAPI", "singleton")}) {
    const auto& performance = std::get<RecordingProvider::Performance>(calls[index]);
    EXPECT_EQ(performance.metric, "dependency_resolution");
    EXPECT_EQ(performance.unit, "ms");
    EXPECT_GE(performance.value, 0.0);
    const auto& event = std::get<RecordingProvider::Event>(calls[index + 1]);
    EXPECT_EQ(event.name, "dependency_resolved");
    EXPECT_EQ(event.parameters, (ParameterMap{{"type", type},
                                              {"scope", scope},
                                              {"duration_ms", performance.value},
                                              {"success", true}}));
  }
}

TEST_F(ResolutionTelemetry, FailuresAndCyclesAreReportedWithContext) {
  container->configureAnalytics(recording);
  container->registerSync<Logger>(
      DependencyScope::scoped, DependencyLifetime::request,
      [](AdvancedDIContainer&) -> std::shared_ptr<Logger> { throw std::runtime_error("no disk"); });
  container->registerAsync<CycleA>(
      DependencyScope::singleton,
      [](AdvancedDIContainer& c) -> asio::awaitable<std::shared_ptr<CycleA>> {
        (void)co_await c.resolve<CycleA>();
        co_return std::make_shared<CycleA>();
      });
  drain();
  recording->clear();
  EXPECT_THROW((void)run(container->resolve<UserAPI>()), std::runtime_error);
  const auto errors = recording->errors();
  ASSERT_EQ(errors.size(), 2u);  // Logger fails, then UserAPI whose factory it was in
  EXPECT_EQ(errors[0].description, "no disk");
  EXPECT_EQ(errors[0].context, (ParameterMap{{"dependency_type", "Logger"},
                                             {"scope", "scoped"},
                                             {"lifetime", "request"},
                                             {"resolution_stack", Strings{"UserAPI", "Logger"}},
                                             {"component", "TavrelDI"}}));
  EXPECT_EQ(errors[1].context->find("resolution_stack")->toString(), "[\"UserAPI\"]");

  recording->clear();
  EXPECT_THROW((void)run(container->resolve<CycleA>()), CircularDependencyException);
  const auto cycleErrors = recording->errors();
  ASSERT_EQ(cycleErrors.size(), 2u);
  EXPECT_EQ(cycleErrors[0].type, typeid(CircularDependencyException));
  EXPECT_EQ(cycleErrors[0].description, "Circular Dependency: Circular dependency detected");
  EXPECT_EQ(cycleErrors[0].context,
            (ParameterMap{{"cycle", Strings{"CycleA", "CycleA"}}, {"component", "TavrelDI"}}));
  // Then the outer resolution's own failure report carries the full message.
  EXPECT_EQ(cycleErrors[1].description,
            "Circular Dependency: Circular dependency detected: CycleA -> CycleA");
  EXPECT_EQ(cycleErrors[1].context->find("dependency_type")->toString(), "CycleA");
}

TEST_F(ResolutionTelemetry, NothingIsSentWithoutAProvider) {
  const auto attached = makeContainer();
  attached->configureAnalytics(recording);
  (void)run(container->resolve<UserAPI>());  // `container` has no provider
  EXPECT_THROW((void)run(container->resolve<CycleB>()), DependencyResolutionError);
  drain();
  EXPECT_TRUE(recording->calls().empty());
  EXPECT_EQ(container->analyticsProvider(), nullptr);
  EXPECT_FALSE(container->crashlyticsConfig());

  // With no arguments the default provider and configuration are attached.
  container->configureAnalytics();
  EXPECT_EQ(container->analyticsProvider(), DefaultDIAnalyticsProvider::shared());
  ASSERT_TRUE(container->crashlyticsConfig());
  EXPECT_EQ(container->crashlyticsConfig()->logLevel(), CrashlyticsLogLevel::warning);
}

}  // namespace
}  // namespace tavreldi
