#include <asio.hpp>
#include <memory>
#include <string>
#include <tavreldi/tavreldi.hpp>
#include <utility>

struct Logger {
  std::string prefix = "app";
};
struct Greeter {
  explicit Greeter(std::shared_ptr<Logger> logger) : logger(std::move(logger)) {}
  std::shared_ptr<Logger> logger;
};

// Registers two services, reads the graph before anything has run, then resolves one.
std::string quickstart() {
  asio::io_context io;  // stands for the app's main thread
  auto container = std::make_shared<tavreldi::AdvancedDIContainerImpl>(
      tavreldi::DIContainerConfig::strict(), io.get_executor());

  // Factories made from the constructors, which also declare what each service needs.
  container->registerType<Logger>(tavreldi::DependencyScope::singleton);
  container->registerType<Greeter>(tavreldi::DependencyScope::transient);

  // The graph is complete before any factory has run: Greeter -> Logger.
  auto graph = asio::co_spawn(io, container->getDependencyGraph(), asio::use_future);
  io.run();
  const tavreldi::DependencyEdge edge = graph.get().edges.at(0);

  auto greeter = asio::co_spawn(io, container->resolve<Greeter>(), asio::use_future);
  io.restart();
  io.run();
  const auto logger = container->resolveSync<Logger>();  // cached by now
  return greeter.get()->logger == logger ? edge.from + " -> " + edge.to : "";
}
