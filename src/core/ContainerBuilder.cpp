// The container builder and the container factory.

#include "tavreldi/core/ContainerBuilder.hpp"

#include <asio/bind_executor.hpp>
#include <asio/dispatch.hpp>
#include <asio/redirect_error.hpp>
#include <asio/steady_timer.hpp>
#include <asio/use_awaitable.hpp>
#include <deque>
#include <exception>
#include <system_error>

#include "core/detail/ContainerState.hpp"
#include "core/detail/HomeThread.hpp"
#include "tavreldi/core/ContainerFactory.hpp"
#include "tavreldi/core/RegistrationValidationError.hpp"

namespace tavreldi {

// Lets one build() run at a time. Touched only on the container's thread. A build that finds
// the gate busy parks on a timer that never expires; the finishing build hands the gate over
// by cancelling the first parked timer, so builds run in the order they arrived.
struct ContainerBuilder::BuildGate {
  bool busy = false;
  std::deque<std::shared_ptr<asio::steady_timer>> waiters;
};

ContainerBuilder::ContainerBuilder(DIContainerConfig config, asio::any_io_executor executor)
    : container_(std::make_shared<AdvancedDIContainerImpl>(config, std::move(executor))),
      gate_(std::make_unique<BuildGate>()) {}

ContainerBuilder::ContainerBuilder(const std::shared_ptr<AdvancedDIContainerImpl>& parent)
    : container_(parent->createChild()), gate_(std::make_unique<BuildGate>()) {}

ContainerBuilder::~ContainerBuilder() = default;

ContainerBuilder& ContainerBuilder::enqueueRegistration(
    const ServiceKey& key, DependencyScope scope, DependencyLifetime lifetime, FactoryType factory,
    std::span<const ServiceKey* const> declared) {
  return enqueue(Step{&key, scope, lifetime, std::move(factory), nullptr, declared});
}

ContainerBuilder& ContainerBuilder::validateOnBuild(bool enabled) {
  const std::lock_guard lock(queueMutex_);
  validateOnBuild_ = enabled;
  return *this;
}

ContainerBuilder& ContainerBuilder::registerModule(std::shared_ptr<DIModule> module) {
  Step step;
  step.module = std::move(module);
  return enqueue(std::move(step));
}

ContainerBuilder& ContainerBuilder::enqueue(Step step) {
  const std::lock_guard lock(queueMutex_);
  registrations_.push_back(std::move(step));
  return *this;
}

bool ContainerBuilder::validatesOnBuild() const {
  const std::lock_guard lock(queueMutex_);
  return validateOnBuild_;
}

std::vector<ContainerBuilder::Step> ContainerBuilder::snapshot() const {
  const std::lock_guard lock(queueMutex_);
  return registrations_;
}

asio::awaitable<void> ContainerBuilder::acquireBuildGate() {
  if (!gate_->busy) {
    gate_->busy = true;
    co_return;
  }
  auto waiter = std::make_shared<asio::steady_timer>(container_->executor(),
                                                     asio::steady_timer::time_point::max());
  gate_->waiters.push_back(waiter);
  std::error_code handedOver;  // operation_aborted: the gate is ours now
  co_await waiter->async_wait(asio::redirect_error(asio::use_awaitable, handedOver));
  co_await detail::switchToHomeThread(container_->state());
}

void ContainerBuilder::releaseBuildGate() {
  if (gate_->waiters.empty()) {
    gate_->busy = false;
    return;
  }
  const auto next = std::move(gate_->waiters.front());
  gate_->waiters.pop_front();
  next->cancel();
}

asio::awaitable<std::shared_ptr<AdvancedDIContainer>> ContainerBuilder::build() {
  const detail::ContainerState& state = container_->state();
  co_await detail::switchToHomeThread(state);
  co_await acquireBuildGate();
  const std::vector<Step> steps = snapshot();
  const bool validate = validatesOnBuild();
  std::exception_ptr failure;
  try {
    for (std::size_t i = 0; i < steps.size(); ++i) {
      const Step& step = steps[i];
      if (step.module) {
        co_await step.module->configure(*container_);
        co_await detail::switchToHomeThread(state);
      } else {
        container_->registerFactory(*step.key, step.scope, step.lifetime, step.factory);
        detail::declareDependencies(*container_, *step.key, step.declared);
      }
    }
    if (validate) {
      RegistrationReport report = co_await container_->validateRegistrations();
      if (!report.ok()) throw RegistrationValidationError(std::move(report));
    }
  } catch (...) {
    failure = std::current_exception();
  }
  releaseBuildGate();
  if (failure) std::rethrow_exception(failure);
  co_return container_;
}

namespace {

// Resumes the calling coroutine on `executor` (at once when already running there), so that
// the builder's container is made on its home thread.
asio::awaitable<void> moveTo(const asio::any_io_executor& executor) {
  co_await asio::dispatch(asio::bind_executor(executor, asio::use_awaitable));
}

}  // namespace

asio::awaitable<std::shared_ptr<AdvancedDIContainer>> ContainerFactory::create(
    DIContainerConfig config, asio::any_io_executor executor,
    std::function<asio::awaitable<void>(ContainerBuilder&)> configure) {
  co_await moveTo(executor);
  ContainerBuilder builder(config, executor);
  co_await configure(builder);
  std::shared_ptr<AdvancedDIContainer> container = co_await builder.build();
  co_return container;
}

asio::awaitable<std::shared_ptr<AdvancedDIContainer>> ContainerFactory::createWithModules(
    DIContainerConfig config, asio::any_io_executor executor,
    std::vector<std::shared_ptr<DIModule>> modules) {
  co_await moveTo(executor);
  ContainerBuilder builder(config, executor);
  for (auto& module : modules) builder.registerModule(std::move(module));
  std::shared_ptr<AdvancedDIContainer> container = co_await builder.build();
  co_return container;
}

}  // namespace tavreldi
