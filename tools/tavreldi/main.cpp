// The tavreldi command: the sample app demo and tools around the library.

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include "Demo.hpp"

int main(int argc, char** argv) {
  CLI::App app{"TavrelDI: dependency injection for C++ with a picture of your architecture"};
  app.set_version_flag("--version", "tavreldi 0.1.0");
  app.require_subcommand(1);

  demo::DemoOptions demoOptions;
  auto* demoCommand = app.add_subcommand("demo", "Run the sample app and print what happens");
  demoCommand->add_option("--html", demoOptions.htmlPath, "Also write the graph viewer page");

  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    const int code = app.exit(error);
    return code == 0 ? 0 : 2;
  }
  if (demoCommand->parsed()) return demo::runDemo(demoOptions);
  return 2;
}
