#include "Demo.hpp"

#include <fmt/format.h>

#include <asio/co_spawn.hpp>
#include <asio/io_context.hpp>
#include <asio/use_future.hpp>
#include <cstdio>
#include <exception>
#include <fstream>

#include "SampleApp.hpp"
#include "tavreldi/core/AdvancedDIContainerImpl.hpp"
#include "tavreldi/core/ContainerFactory.hpp"
#include "tavreldi/core/Errors.hpp"
#include "tavreldi/telemetry/ConsoleDIAnalyticsProvider.hpp"
#include "tavreldi/visualization/DependencyVisualizer.hpp"
#include "tavreldi/visualization/DiagramGenerators.hpp"

namespace demo {
namespace {

using tavreldi::AdvancedDIContainerImpl;

void heading(const char* title) { fmt::print("\n── {} ──\n", title); }

template <class T>
void trySync(AdvancedDIContainerImpl& container, const char* name) {
  try {
    (void)container.resolveSync<T>();
    fmt::print("resolveSync<{}>: ready\n", name);
  } catch (const std::exception& error) {
    fmt::print("resolveSync<{}>: {}\n", name, error.what());
  }
}

void printProblems(const tavreldi::RegistrationReport& report) {
  if (report.ok()) fmt::print("Registration check: no problems\n");
  for (const auto& problem : report.problems) {
    fmt::print("Registration check: [{}] {}\n", tavreldi::toString(problem.kind), problem.message);
  }
}

asio::awaitable<int> runSample(asio::any_io_executor executor, DemoOptions options) {
  heading("Building the container from two modules");
  auto built = co_await tavreldi::ContainerFactory::createWithModules(
      tavreldi::DIContainerConfig::strict(), executor, sampleModules());
  auto container = std::dynamic_pointer_cast<AdvancedDIContainerImpl>(built);
  container->configureAnalytics(tavreldi::ConsoleDIAnalyticsProvider::shared());

  heading("What the registrations declare, before anything runs");
  const auto declared = co_await container->getDependencyGraph();
  fmt::print("{} services, {} dependencies\n", declared.nodes.size(), declared.edges.size());
  printProblems(co_await container->validateRegistrations());

  heading("Resolving the view model (each factory resolves its own dependencies)");
  auto viewModel = co_await container->resolve<UserViewModel>();
  fmt::print("View model ready; its HTTP client answers: {}\n",
             viewModel->loadUser->users->http->get("/user"));

  heading("Preloading, then synchronous resolution everywhere");
  co_await container->preloadAllGeneric();
  trySync<Logger>(*container, "Logger");
  trySync<HttpClient>(*container, "HttpClient");
  trySync<UserRepository>(*container, "UserRepository");
  trySync<UserViewModel>(*container, "UserViewModel");
  trySync<LoadUserUseCase>(*container, "LoadUserUseCase (transient: never cached, by design)");

  heading("A dependency cycle, found before it runs and caught when it does");
  registerCycle(*container);
  printProblems(co_await container->validateRegistrations());
  try {
    (void)co_await container->resolve<SessionService>();
  } catch (const tavreldi::CircularDependencyException& error) {
    fmt::print("Caught: {}\n", error.what());
  }

  heading("What the container knows");
  const auto graph = co_await container->getDependencyGraph();
  fmt::print("{}", tavreldi::DiagramGenerators::generateMermaid(graph));
  fmt::print("\n{}", tavreldi::DiagramGenerators::generateTreeVisualization(graph, 5));
  fmt::print(
      "\nOther diagrams: DependencyVisualizer renders graphviz, json, network, hierarchical, "
      "circular and layered too; `tavreldi render` does the same from a saved graph.\n");
  const auto metrics = co_await container->getPerformanceMetrics();
  fmt::print("\n{}\n", metrics.description());

  if (options.htmlPath) {
    tavreldi::DependencyVisualizer visualizer(
        container, tavreldi::VisualizationConfig{tavreldi::VisualizationType::mermaid,
                                                 tavreldi::OutputFormat::html, true, true, true,
                                                 true, true, true, 5, true, false, false});
    tavreldi::ViewerOptions viewer;
    viewer.title = "TavrelDI sample app";
    const std::string page = co_await visualizer.renderViewer(std::move(viewer));
    std::ofstream out(*options.htmlPath, std::ios::binary | std::ios::trunc);
    out << page;
    out.close();
    if (!out) {
      fmt::print(stderr, "tavreldi demo: cannot write {}\n", *options.htmlPath);
      co_return 1;
    }
    fmt::print("\nViewer page written to {}\n", *options.htmlPath);
  }
  co_return 0;
}

}  // namespace

int runDemo(const DemoOptions& options) {
  asio::io_context io;
  auto done = asio::co_spawn(io, runSample(io.get_executor(), options), asio::use_future);
  io.run();
  try {
    const int status = done.get();
    std::fflush(stdout);
    return status;
  } catch (const std::exception& error) {
    fmt::print(stderr, "tavreldi demo: {}\n", error.what());
    return 1;
  }
}

}  // namespace demo
