#include "DashboardCommands.hpp"

#include <fmt/format.h>

#include <asio/co_spawn.hpp>
#include <asio/io_context.hpp>
#include <asio/use_future.hpp>
#include <cstdio>
#include <exception>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "GraphFile.hpp"
#include "tavreldi/core/LineWriter.hpp"
#include "tavreldi/dashboard/DashboardClient.hpp"

namespace tavreldi_tool {

namespace {

struct DashboardOptions {
  std::string file;
  std::string url;
  std::optional<std::string> token;
  std::optional<std::string> caFile;
};

tavreldi::DashboardConfig configOf(const DashboardOptions& options) {
  tavreldi::DashboardConfig config;
  config.baseUrl = options.url;
  config.bearerToken = options.token;
  config.caFile = options.caFile;
  return config;
}

// Runs `operation` to completion on a private io_context and returns its result.
template <class T>
T runToCompletion(asio::awaitable<T> operation) {
  asio::io_context io;
  auto future = asio::co_spawn(io, std::move(operation), asio::use_future);
  io.run();
  return future.get();
}

// Runs `body`; any failure becomes a short message on standard error and exit status 2. The
// library's messages never contain the token.
template <class Body>
void guarded(std::string_view command, Body&& body) {
  try {
    body();
  } catch (const std::exception& error) {
    fmt::print(stderr, "tavreldi dashboard {}: {}\n", command, error.what());
    std::fflush(stderr);
    throw CLI::RuntimeError(2);
  }
}

std::string counted(std::size_t count, std::string_view one, std::string_view many) {
  return fmt::format("{} {}", count, count == 1 ? one : many);
}

void addConnectionOptions(CLI::App& command, DashboardOptions& options) {
  command.add_option("--url", options.url, "Base URL of the dashboard service (https://...)")
      ->required()
      ->type_name("URL");
  command.add_option("--token", options.token, "Bearer token sent in the Authorization header")
      ->type_name("TOKEN");
  command
      .add_option("--ca-file", options.caFile,
                  "PEM file of certificate authorities to trust instead of the system's")
      ->type_name("FILE");
}

void push(const DashboardOptions& options) {
  const tavreldi::DependencyGraph graph = loadGraph(options.file);
  const tavreldi::DashboardClient client(configOf(options));
  const tavreldi::DashboardUploadResult result = runToCompletion(client.uploadSummary(graph));
  tavreldi::writeLine(fmt::format(
      "✅ Dashboard updated: {}, {} (HTTP {})",
      counted(result.summary.nodes.size(), "node", "nodes"),
      counted(result.summary.edges.size(), "dependency", "dependencies"), result.status));
}

void get(const DashboardOptions& options) {
  const tavreldi::DashboardClient client(configOf(options));
  const tavreldi::DashboardData data = runToCompletion(client.fetchDashboardData());
  printText(nlohmann::json(data).dump(2));
}

}  // namespace

void addDashboardCommands(CLI::App& app) {
  auto* dashboard =
      app.add_subcommand("dashboard", "Send a graph summary to the dashboard service or read it");
  dashboard->require_subcommand(1);

  auto pushOptions = std::make_shared<DashboardOptions>();
  auto* pushCommand =
      dashboard->add_subcommand("push", "Upload the summary of a dependency graph saved as JSON");
  pushCommand->add_option("FILE", pushOptions->file, "The dependency graph JSON file")
      ->required()
      ->type_name("FILE.json");
  addConnectionOptions(*pushCommand, *pushOptions);
  pushCommand->callback([pushOptions] { guarded("push", [&] { push(*pushOptions); }); });

  auto getOptions = std::make_shared<DashboardOptions>();
  auto* getCommand =
      dashboard->add_subcommand("get", "Print the dashboard data the service holds, as JSON");
  addConnectionOptions(*getCommand, *getOptions);
  getCommand->callback([getOptions] { guarded("get", [&] { get(*getOptions); }); });
}

}  // namespace tavreldi_tool
