#include <gtest/gtest.h>

#include <stdexcept>

#include "support/AsyncTest.hpp"
#include "support/SampleServices.hpp"
#include "tavreldi/core/ContainerBuilder.hpp"
#include "tavreldi/core/ContainerFactory.hpp"
#include "tavreldi/core/LineWriter.hpp"

namespace tavreldi {
namespace {

using namespace sample;
using Lines = std::vector<std::string>;
using Factories = testing::AsyncTest;

// Prints "<name>.configure", yields once, registers UserAPI, then fails if asked to.
class RecordingModule final : public DIModule {
 public:
  explicit RecordingModule(std::string name, bool fails = false)
      : name_(std::move(name)), fails_(fails) {}

  asio::awaitable<void> configure(AdvancedDIContainer& container) override {
    writeLine(name_ + ".configure");
    const auto executor = co_await asio::this_coro::executor;
    co_await asio::post(executor, asio::use_awaitable);
    container.registerAsync<UserAPI>(DependencyScope::singleton, Factories::make<UserAPI>);
    if (fails_) throw std::runtime_error(name_ + " failed");
  }

 private:
  std::string name_;
  bool fails_;
};

const std::string kLogger = "🔧 Registered Logger with scope: singleton and dependencies: []";
const std::string kApi = "🔧 Registered UserAPI with scope: singleton and dependencies: []";
const std::string kRepository =
    "🔧 Registered UserRepository with scope: scoped and dependencies: []";

class Builder : public testing::AsyncTest {
 protected:
  // Logger, module M, UserRepository.
  void queueInterleaved(bool moduleFails = false) {
    builder
        .registerSync<Logger>(DependencyScope::singleton, DependencyLifetime::session,
                              makeNow<Logger>)
        .registerModule(std::make_shared<RecordingModule>("M", moduleFails))
        .registerRepository<UserRepository>(make<UserRepository>);
  }

  ContainerBuilder builder{DIContainerConfig::strict(), io.get_executor()};
};

TEST_F(Builder, BuildRunsRegistrationsAndModulesInQueueOrderOneBuildAtATime) {
  LineRecorder recorder;
  queueInterleaved();
  EXPECT_TRUE(recorder.lines().empty());  // queuing registers nothing
  EXPECT_EQ(builder.container()->getRegisteredServicesCount(), 0);

  const auto container = run(builder.build());
  EXPECT_EQ(container.get(), builder.container().get());
  EXPECT_EQ(recorder.lines(), (Lines{kLogger, "M.configure", kApi, kRepository}));
  EXPECT_EQ(container->getMetadata<Logger>()->lifetime, DependencyLifetime::session);

  // Building again replays every step into the same container. The module suspends; a second
  // build started meanwhile must wait for the first.
  recorder.clear();
  auto first = asio::co_spawn(io, builder.build(), asio::use_future);
  auto second = asio::co_spawn(io, builder.build(), asio::use_future);
  drive(first);
  drive(second);
  EXPECT_EQ(first.get(), container);
  EXPECT_EQ(second.get(), container);
  EXPECT_EQ(recorder.lines(), (Lines{kLogger, "M.configure", kApi, kRepository, kLogger,
                                     "M.configure", kApi, kRepository}));
  EXPECT_EQ(container->getRegisteredServicesCount(), 3);
}

TEST_F(Builder, FailingModuleStopsBuildKeepingEarlierSteps) {
  queueInterleaved(true);
  LineRecorder recorder;
  const auto error = testing::caught<std::runtime_error>([&] { (void)run(builder.build()); });
  EXPECT_STREQ(error.value().what(), "M failed");
  EXPECT_EQ(recorder.lines(), (Lines{kLogger, "M.configure", kApi}));
  EXPECT_TRUE(builder.container()->isRegistered<Logger>());
  EXPECT_TRUE(builder.container()->isRegistered<UserAPI>());
  EXPECT_FALSE(builder.container()->isRegistered<UserRepository>());
}

TEST_F(Builder, ConvenienceFormsImplyScopesAndApplicationLifetime) {
  const auto api = std::make_shared<UserAPI>();
  builder.registerService<Logger>(make<Logger>)
      .registerRepository<UserRepository>(make<UserRepository>)
      .registerUseCase<LoadUserUseCase>(make<LoadUserUseCase>)
      .registerViewModel<UserViewModel>(make<UserViewModel>)
      .registerInstance<UserAPI>(api, DependencyScope::transient)
      .registerAsync<CycleA>(DependencyScope::custom, DependencyLifetime::request, make<CycleA>);
  LineRecorder recorder;
  const auto container = run(builder.build());
  EXPECT_EQ(recorder.lines(),
            (Lines{kLogger, kRepository,
                   "🔧 Registered LoadUserUseCase with scope: transient and dependencies: []",
                   "🔧 Registered UserViewModel with scope: lazy and dependencies: []",
                   "🔧 Registered UserAPI with scope: transient and dependencies: []",
                   "🔧 Registered CycleA with scope: custom and dependencies: []"}));
  for (const char* name :
       {"Logger", "UserRepository", "LoadUserUseCase", "UserViewModel", "UserAPI"}) {
    EXPECT_EQ(container->getMetadata(name)->lifetime, DependencyLifetime::application) << name;
  }
  EXPECT_EQ(container->getMetadata<CycleA>()->lifetime, DependencyLifetime::request);
  // Transient, yet the same object every time.
  EXPECT_EQ(run(container->resolve<UserAPI>()), api);
  EXPECT_EQ(run(container->resolve<UserAPI>()), api);
}

asio::awaitable<void> configureApp(ContainerBuilder& builder) {
  builder.registerService<Logger>(Factories::make<Logger>);
  co_return;
}

TEST_F(Builder, FactoryEntryPoints) {
  const auto strict = DIContainerConfig::strict();
  LineRecorder recorder;
  const auto empty = run(ContainerFactory::createWithModules(strict, io.get_executor(), {}));
  EXPECT_EQ(empty->getRegisteredServicesCount(), 0);
  EXPECT_TRUE(recorder.lines().empty());

  const auto configured = run(ContainerFactory::create(strict, io.get_executor(), configureApp));
  EXPECT_NE(run(configured->resolve<Logger>()), nullptr);

  recorder.clear();
  const auto modular = run(ContainerFactory::createWithModules(
      strict, io.get_executor(),
      {std::make_shared<RecordingModule>("first"), std::make_shared<RecordingModule>("second")}));
  EXPECT_EQ(recorder.lines(), (Lines{"first.configure", kApi, "second.configure", kApi}));
  EXPECT_EQ(modular->getRegisteredServicesCount(), 1);
  EXPECT_NE(modular.get(), configured.get());
}

}  // namespace
}  // namespace tavreldi
