#include <asio.hpp>
#include <memory>
#include <string>
#include <tavreldi/tavreldi.hpp>

struct Logger {
  std::string prefix = "app";
};
struct Greeter {
  std::shared_ptr<Logger> logger;
};

// Registers two services, resolves one, and returns what the container observed.
std::string quickstart() {
  asio::io_context io;  // stands for the app's main thread
  auto container = std::make_shared<tavreldi::AdvancedDIContainerImpl>(
      tavreldi::DIContainerConfig::strict(), io.get_executor());

  container->registerSync<Logger>(
      tavreldi::DependencyScope::singleton,
      [](tavreldi::AdvancedDIContainer&) { return std::make_shared<Logger>(); });
  container->registerAsync<Greeter>(
      tavreldi::DependencyScope::transient,
      [](tavreldi::AdvancedDIContainer& c) -> asio::awaitable<std::shared_ptr<Greeter>> {
        auto logger = co_await c.resolve<Logger>();
        co_return std::make_shared<Greeter>(Greeter{logger});
      });

  auto greeter = asio::co_spawn(io, container->resolve<Greeter>(), asio::use_future);
  io.run();
  const auto logger = container->resolveSync<Logger>();  // cached by now
  return greeter.get()->logger == logger ? container->getDependencyMap().begin()->first : "";
}
