#pragma once

// The hook for the dashboard commands of the tavreldi tool.

#include <CLI/CLI.hpp>

namespace tavreldi_tool {

/// Adds the dashboard subcommands to `app`. Each subcommand does its work from its own
/// `callback()`, which runs while `main` parses the command line: it prints errors to standard
/// error and ends with `throw CLI::RuntimeError(status)` for a non-zero exit status (2 for bad
/// input, as the other commands). `main` returns 0 when the callback returns normally.
void addDashboardCommands(CLI::App& app);

}  // namespace tavreldi_tool
