// The tavreldi command: the sample app demo and tools around the library.
//
// Every subcommand runs from its CLI11 callback while the command line is parsed; a callback
// reports a non-zero exit status by throwing CLI::RuntimeError(status). Usage errors exit with
// status 2.

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <cstdio>
#include <exception>
#include <memory>
#include <string>

#include "DashboardCommands.hpp"
#include "Demo.hpp"
#include "GraphCommands.hpp"

namespace {

void addDemoCommand(CLI::App& app) {
  auto options = std::make_shared<demo::DemoOptions>();
  auto* command = app.add_subcommand("demo", "Run the sample app and print what happens");
  command->add_option("--html", options->htmlPath, "Also write the graph viewer page to FILE")
      ->type_name("FILE");
  command->callback([options] {
    if (const int status = demo::runDemo(*options); status != 0) throw CLI::RuntimeError(status);
  });
}

int run(int argc, char** argv) {
  CLI::App app{"TavrelDI: dependency injection for C++ with a picture of your architecture"};
  app.set_version_flag("--version", "tavreldi 0.1.0");
  app.require_subcommand(1);
  // A usage error is one line, as every other error (no "Run with --help" after it).
  app.failure_message(
      [](const CLI::App*, const CLI::Error& error) { return std::string(error.what()) + "\n"; });
  addDemoCommand(app);
  tavreldi_tool::addGraphCommands(app);
  tavreldi_tool::addDashboardCommands(app);

  // CLI11 would only say that a subcommand is required; name the unknown one instead.
  if (argc > 1 && argv[1][0] != '-') {
    std::string known;
    bool found = false;
    for (CLI::App* command : app.get_subcommands({})) {
      known += (known.empty() ? "" : ", ") + command->get_name();
      found = found || command->check_name(argv[1]);
    }
    if (!found) {
      fmt::print(stderr, "tavreldi: unknown command \"{}\" (commands: {})\n", argv[1], known);
      return 2;
    }
  }
  try {
    app.parse(argc, argv);
  } catch (const CLI::RuntimeError& error) {
    return error.get_exit_code();  // a command's own status; it has printed its message
  } catch (const CLI::ParseError& error) {
    const int code = app.exit(error);
    return code == 0 ? 0 : 2;
  } catch (const std::exception& error) {
    fmt::print(stderr, "tavreldi: {}\n", error.what());
    return 1;
  }
  std::fflush(stdout);
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  try {
    return run(argc, argv);
  } catch (const std::exception& error) {  // setting the commands up failed (out of memory)
    std::fprintf(stderr, "tavreldi: %s\n", error.what());
    return 1;
  }
}
