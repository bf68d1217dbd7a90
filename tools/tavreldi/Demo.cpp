#include "Demo.hpp"

#include <exception>

#include <asio/co_spawn.hpp>
#include <asio/io_context.hpp>
#include <asio/use_future.hpp>
#include <fmt/format.h>

#include "SampleApp.hpp"
#include "tavreldi/core/AdvancedDIContainerImpl.hpp"
#include "tavreldi/core/Errors.hpp"

namespace demo {
namespace {

using tavreldi::AdvancedDIContainerImpl;

void heading(const char* title) { fmt::print("\n── {} ──\n", title); }

asio::awaitable<void> runSample(std::shared_ptr<AdvancedDIContainerImpl> container) {
  heading("Resolving the view model (factories resolve their own dependencies)");
  auto viewModel = co_await container->resolve<UserViewModel>();
  fmt::print("View model ready; its API service talks to {}\n",
             viewModel->loadUser->repository->api->baseUrl);

  heading("Synchronous resolution of a cached service");
  auto logger = container->resolveSync<Logger>();
  fmt::print("Logger is the same instance the API service got: {}\n",
             logger == viewModel->loadUser->repository->api->logger ? "yes" : "no");

  heading("A dependency cycle, caught");
  registerCycle(*container);
  try {
    (void)co_await container->resolve<SessionService>();
  } catch (const tavreldi::CircularDependencyException& error) {
    fmt::print("Caught: {}\n", error.what());
  }

  heading("What the container observed");
  for (const auto& [name, dependencies] : container->getDependencyMap()) {
    fmt::print("{} -> {}\n", name, fmt::join(dependencies, ", "));
  }
  const auto metrics = co_await container->getPerformanceMetrics();
  fmt::print("{}\n", metrics.description());
}

}  // namespace

int runDemo(const DemoOptions& options) {
  (void)options;
  asio::io_context io;
  auto container =
      std::make_shared<AdvancedDIContainerImpl>(tavreldi::DIContainerConfig::strict(), io.get_executor());
  heading("Registering the sample app");
  registerSampleApp(*container);
  auto done = asio::co_spawn(io, runSample(container), asio::use_future);
  io.run();
  try {
    done.get();
  } catch (const std::exception& error) {
    fmt::print(stderr, "tavreldi demo: {}\n", error.what());
    return 1;
  }
  std::fflush(stdout);
  return 0;
}

}  // namespace demo
