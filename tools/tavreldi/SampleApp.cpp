#include "SampleApp.hpp"

#include <asio/steady_timer.hpp>
#include <asio/use_awaitable.hpp>
#include <chrono>

namespace demo {

using tavreldi::AdvancedDIContainer;
using tavreldi::DependencyScope;

namespace {

// The API service "connects" first: a real suspension on a timer.
asio::awaitable<std::shared_ptr<UserAPIService>> makeApiService(AdvancedDIContainer& c) {
  auto logger = co_await c.resolve<Logger>();
  asio::steady_timer connect(c.executor(), std::chrono::milliseconds(20));
  co_await connect.async_wait(asio::use_awaitable);
  logger->log("API connected");
  co_return std::make_shared<UserAPIService>(UserAPIService{logger});
}

asio::awaitable<std::shared_ptr<UserRepository>> makeRepository(AdvancedDIContainer& c) {
  auto api = co_await c.resolve<UserAPIService>();
  auto logger = co_await c.resolve<Logger>();
  co_return std::make_shared<UserRepository>(UserRepository{api, logger});
}

asio::awaitable<std::shared_ptr<LoadUserUseCase>> makeUseCase(AdvancedDIContainer& c) {
  // A named local: g++ 12 destroys a co_await result inside a braced initialiser twice.
  auto repository = co_await c.resolve<UserRepository>();
  co_return std::make_shared<LoadUserUseCase>(LoadUserUseCase{repository});
}

asio::awaitable<std::shared_ptr<UserViewModel>> makeViewModel(AdvancedDIContainer& c) {
  auto useCase = co_await c.resolve<LoadUserUseCase>();
  auto logger = co_await c.resolve<Logger>();
  co_return std::make_shared<UserViewModel>(UserViewModel{useCase, logger});
}

asio::awaitable<std::shared_ptr<SessionService>> makeSession(AdvancedDIContainer& c) {
  (void)co_await c.resolve<TokenRefresher>();
  co_return std::make_shared<SessionService>();
}

asio::awaitable<std::shared_ptr<TokenRefresher>> makeRefresher(AdvancedDIContainer& c) {
  (void)co_await c.resolve<SessionService>();
  co_return std::make_shared<TokenRefresher>();
}

void registerInfrastructure(AdvancedDIContainer& container) {
  container.registerSync<Logger>(DependencyScope::singleton,
                                 [](AdvancedDIContainer&) { return std::make_shared<Logger>(); });
  container.registerAsync<UserAPIService>(DependencyScope::singleton, makeApiService);
  container.registerAsync<UserRepository>(DependencyScope::scoped, makeRepository);
}

void registerUserFeature(AdvancedDIContainer& container) {
  container.registerAsync<LoadUserUseCase>(DependencyScope::transient, makeUseCase);
  container.registerAsync<UserViewModel>(DependencyScope::lazy, makeViewModel);
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
  container.registerAsync<SessionService>(DependencyScope::singleton, makeSession);
  container.registerAsync<TokenRefresher>(DependencyScope::singleton, makeRefresher);
}

}  // namespace demo
