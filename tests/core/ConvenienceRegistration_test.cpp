#include <gtest/gtest.h>

#include "support/AsyncTest.hpp"
#include "support/SampleServices.hpp"
#include "tavreldi/core/LineWriter.hpp"

namespace tavreldi {
namespace {

using namespace sample;
using Lines = std::vector<std::string>;

class ConvenienceRegistration : public testing::AsyncTest {
 protected:
  std::shared_ptr<AdvancedDIContainerImpl> c = makeContainer();
};

TEST_F(ConvenienceRegistration, RegistersLaterWithTheScopeItsNameImpliesOrTheInstanceGiven) {
  LineRecorder recorder;
  c->registerService<Logger>(make<Logger>);
  c->registerRepository<UserRepository>(make<UserRepository>);
  c->registerUseCase<LoadUserUseCase>(make<LoadUserUseCase>);
  c->registerViewModel<UserViewModel>(make<UserViewModel>);
  const auto api = std::make_shared<UserAPI>();
  c->registerInstance(api, DependencyScope::transient);
  EXPECT_EQ(c->getRegisteredServicesCount(), 0);
  EXPECT_TRUE(recorder.lines().empty());

  run(c->awaitPendingRegistrations());
  EXPECT_EQ(recorder.lines(),
            (Lines{"🔧 Registered Logger with scope: singleton and dependencies: []",
                   "🔧 Registered UserRepository with scope: scoped and dependencies: []",
                   "🔧 Registered LoadUserUseCase with scope: transient and dependencies: []",
                   "🔧 Registered UserViewModel with scope: lazy and dependencies: []",
                   "🔧 Registered UserAPI with scope: transient and dependencies: []"}));
  EXPECT_EQ(c->getMetadata<Logger>()->lifetime, DependencyLifetime::application);
  EXPECT_NE(run(c->resolve<UserViewModel>()), nullptr);
  // A transient instance registration hands out the instance itself, every time.
  EXPECT_EQ(run(c->resolve<UserAPI>()), api);
  EXPECT_EQ(run(c->resolve<UserAPI>()), api);
}

TEST_F(ConvenienceRegistration, BatchPassesEachFactoryCallItsOwnType) {
  std::vector<std::string> made;
  const auto factory =
      [&made](AdvancedDIContainer&,
              auto tag) -> asio::awaitable<std::shared_ptr<typename decltype(tag)::type>> {
    using T = typename decltype(tag)::type;
    made.emplace_back(typeName<T>());
    co_return std::make_shared<T>();
  };
  c->registerBatch(DependencyScope::lazy, factory);  // no types: no task at all
  EXPECT_EQ(drain(), 0u);

  LineRecorder recorder;
  c->registerBatch<Logger, UserAPI>(DependencyScope::lazy, factory);
  run(c->awaitPendingRegistrations());
  EXPECT_EQ(recorder.lines(),
            (Lines{"🔧 Registered Logger with scope: lazy and dependencies: []",
                   "🔧 Registered UserAPI with scope: lazy and dependencies: []"}));
  EXPECT_NE(run(c->resolve<UserAPI>()), nullptr);
  EXPECT_NE(run(c->resolve<Logger>()), nullptr);
  EXPECT_EQ(made, (std::vector<std::string>{"UserAPI", "Logger"}));
}

TEST_F(ConvenienceRegistration, ConditionalAndEnvironmentForms) {
  c->registerIf<Logger>(false, DependencyScope::singleton, make<Logger>);
  EXPECT_EQ(drain(), 0u);
  EXPECT_FALSE(c->isRegistered<Logger>());
  c->registerIf<Logger>(true, DependencyScope::scoped, make<Logger>);
  run(c->awaitPendingRegistrations());
  EXPECT_EQ(c->getMetadata<Logger>()->scope, DependencyScope::scoped);

  int developmentCalls = 0;
  c->registerForEnvironment<UserAPI>(
      DependencyScope::singleton,
      [&developmentCalls](AdvancedDIContainer&) -> asio::awaitable<std::shared_ptr<UserAPI>> {
        ++developmentCalls;
        co_return std::make_shared<UserAPI>();
      },
      [](AdvancedDIContainer&) -> asio::awaitable<std::shared_ptr<UserAPI>> {
        co_return std::make_shared<UserAPI>(UserAPI{std::make_shared<Logger>(Logger{"prod"})});
      });
  run(c->awaitPendingRegistrations());
  const auto api = run(c->resolve<UserAPI>());
  ASSERT_NE(api->logger, nullptr);
  EXPECT_EQ(api->logger->prefix, "prod");
  EXPECT_EQ(developmentCalls, 0);
}

}  // namespace
}  // namespace tavreldi
