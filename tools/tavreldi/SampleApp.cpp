#include "SampleApp.hpp"

#include <asio/steady_timer.hpp>
#include <asio/use_awaitable.hpp>
#include <chrono>

namespace demo {

using tavreldi::AdvancedDIContainer;
using tavreldi::DependencyScope;

namespace {

// Written by hand: the configuration "loads" first, a real suspension on a timer.
asio::awaitable<std::shared_ptr<Config>> loadConfig(AdvancedDIContainer& c) {
  asio::steady_timer load(c.executor(), std::chrono::milliseconds(20));
  co_await load.async_wait(asio::use_awaitable);
  co_return std::make_shared<Config>();
}

void registerInfrastructure(AdvancedDIContainer& container) {
  container.registerAsync<Config>(DependencyScope::singleton, loadConfig);
  container.registerType<Logger>(DependencyScope::singleton);
  container.registerType<HttpClient, FakeHttpClient>(DependencyScope::singleton);
  container.registerType<UserRepository>(DependencyScope::scoped);
  container.registerType<SettingsRepository>(DependencyScope::scoped);
}

void registerUserFeature(AdvancedDIContainer& container) {
  container.registerType<LoadUserUseCase>(DependencyScope::transient);
  container.registerType<UserViewModel>(DependencyScope::lazy);
  container.registerType<SettingsViewModel>(DependencyScope::lazy);
}

class InfrastructureModule final : public tavreldi::DIModule {
 public:
  asio::awaitable<void> configure(AdvancedDIContainer& container) override {
    registerInfrastructure(container);
    co_return;
  }
};

class UserFeatureModule final : public tavreldi::DIModule {
 public:
  asio::awaitable<void> configure(AdvancedDIContainer& container) override {
    registerUserFeature(container);
    co_return;
  }
};

}  // namespace

void registerSampleApp(AdvancedDIContainer& container) {
  registerInfrastructure(container);
  registerUserFeature(container);
}

std::vector<std::shared_ptr<tavreldi::DIModule>> sampleModules() {
  return {std::make_shared<InfrastructureModule>(), std::make_shared<UserFeatureModule>()};
}

void registerCycle(AdvancedDIContainer& container) {
  container.registerType<SessionService>(DependencyScope::singleton);
  container.registerType<TokenRefresher>(DependencyScope::singleton);
}

}  // namespace demo
