#pragma once

// The commands that work on a dependency graph saved as JSON: `render` and `report`.

#include <CLI/CLI.hpp>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "GraphFile.hpp"
#include "tavreldi/graph/DependencyGraph.hpp"
#include "tavreldi/visualization/DiagramGenerators.hpp"

namespace tavreldi_tool {

/// What `tavreldi render` was asked for.
struct RenderOptions {
  std::string file;
  std::string type;
  std::int64_t maxDepth = 5;
  std::optional<std::string> output;
  std::uint64_t maxInput = kDefaultMaxInput;
  /// The longest text written, in bytes; a diagram or page that would be longer is refused.
  std::uint64_t maxOutput = tavreldi::DiagramGenerators::kDefaultOutputLimit;
};

/// What `tavreldi report` was asked for.
struct ReportOptions {
  std::string file;
  std::uint64_t maxInput = kDefaultMaxInput;
};

/// The names `--type` accepts: the eight diagram types, then "html" for the viewer page.
[[nodiscard]] std::vector<std::string> renderTypes();

/// Renders the saved graph as asked; returns the exit status (2 for bad input).
[[nodiscard]] int runRender(const RenderOptions& options);

/// Prints the analysis of the saved graph as text; returns the exit status.
[[nodiscard]] int runReport(const ReportOptions& options);

/// The report lines of `graph` (the analysis it carries, with cycles, critical paths, clusters
/// and recommendations), headed by `name`. When a critical-path search reached its step
/// budget, a line after the paths says so.
[[nodiscard]] std::vector<std::string> reportLines(const tavreldi::DependencyGraph& graph,
                                                   const std::string& name);

/// Adds the `render` and `report` subcommands to `app`. Each runs from its callback and ends
/// parsing with `CLI::RuntimeError(status)` when its exit status is not 0.
void addGraphCommands(CLI::App& app);

}  // namespace tavreldi_tool
