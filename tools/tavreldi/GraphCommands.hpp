#pragma once

// The commands that work on a dependency graph saved as JSON: `render` and `report`.

#include <CLI/CLI.hpp>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "tavreldi/graph/DependencyGraph.hpp"

namespace tavreldi_tool {

/// What `tavreldi render` was asked for.
struct RenderOptions {
  std::string file;
  std::string type;
  std::int64_t maxDepth = 5;
  std::optional<std::string> output;
};

/// The names `--type` accepts: the eight diagram types, then "html" for the viewer page.
[[nodiscard]] std::vector<std::string> renderTypes();

/// Renders the saved graph as asked; returns the exit status (2 for bad input).
[[nodiscard]] int runRender(const RenderOptions& options);

/// Prints the analysis of the saved graph at `file` as text; returns the exit status.
[[nodiscard]] int runReport(const std::string& file);

/// The report lines of `graph` (the analysis it carries, with cycles, critical paths, clusters
/// and recommendations), headed by `name`.
[[nodiscard]] std::vector<std::string> reportLines(const tavreldi::DependencyGraph& graph,
                                                   const std::string& name);

/// Adds the `render` and `report` subcommands to `app`. Each runs from its callback and ends
/// parsing with `CLI::RuntimeError(status)` when its exit status is not 0.
void addGraphCommands(CLI::App& app);

}  // namespace tavreldi_tool
