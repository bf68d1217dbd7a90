#include "GraphCommands.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <limits>
#include <memory>
#include <new>
#include <nlohmann/json.hpp>
#include <string_view>

#include "GraphFile.hpp"
#include "RegistrationProblems.hpp"
#include "tavreldi/core/LineWriter.hpp"
#include "tavreldi/visualization/DiagramGenerators.hpp"
#include "tavreldi/visualization/ViewerPage.hpp"
#include "tavreldi/visualization/VisualizationModel.hpp"

namespace tavreldi_tool {

namespace {

using tavreldi::DependencyGraph;
using tavreldi::DiagramGenerators;
using tavreldi::VisualizationType;

void printError(std::string_view command, std::string_view message) {
  fmt::print(stderr, "tavreldi {}: {}\n", command, oneLine(message));
  std::fflush(stderr);
}

// Runs `body`, turning failures into one line on standard error and an exit status: 2 for bad
// input (a graph too large to draw within the output limit included), 1 for anything else.
template <class Body>
int guarded(std::string_view command, const std::string& file, Body&& body) {
  try {
    return body();
  } catch (const InputError& error) {
    printError(command, error.what());
    return 2;
  } catch (const tavreldi::DiagramTooLargeError& error) {
    printError(command, file + ": " + error.what() + " (--max-output)");
    return 2;
  } catch (const std::bad_alloc&) {
    printError(command, file + ": out of memory");
    return 2;
  } catch (const std::exception& error) {
    printError(command, error.what());
    return 1;
  }
}

std::string renderText(const DependencyGraph& graph, const RenderOptions& options) {
  const std::size_t limit = static_cast<std::size_t>(
      std::min<std::uint64_t>(options.maxOutput, std::numeric_limits<std::size_t>::max()));
  if (options.type == "html") {
    const auto tooLarge = [&] {
      return InputError(fmt::format(
          "{}: the html page is larger than the output limit of {} bytes (--max-output)",
          options.file, limit));
    };
    // The page holds every node and edge in JSON: when those alone pass the limit, the page
    // is not made (its data would take several times their size in memory first).
    std::uint64_t embedded = 0;
    for (const auto& node : graph.nodes) embedded += nlohmann::json(node).dump().size();
    for (const auto& edge : graph.edges) embedded += nlohmann::json(edge).dump().size();
    if (embedded > limit) throw tooLarge();
    const GraphExtras extras = computeExtras(graph);
    tavreldi::ViewerOptions viewer;
    viewer.title = "TavrelDI graph: " + std::filesystem::path(options.file).filename().string();
    viewer.criticalPaths = extras.criticalPaths;
    viewer.clusters = extras.clusters;
    viewer.treeMaxDepth = options.maxDepth;
    // Eight diagrams share what the nodes and edges leave of the limit.
    viewer.diagramLimit = (limit - embedded) / 8;
    std::string page = tavreldi::renderViewerPage(graph, graph.analysis, viewer);
    if (page.size() > limit) throw tooLarge();
    return page;
  }
  const auto type = tavreldi::fromString<VisualizationType>(options.type);
  if (!type) throw InputError("unknown diagram type \"" + options.type + "\"");
  return DiagramGenerators::generate(*type, graph, graph.analysis, options.maxDepth, limit);
}

std::string joined(const std::vector<std::string>& names, std::string_view separator) {
  return names.empty() ? std::string("none") : fmt::format("{}", fmt::join(names, separator));
}

std::string ms(double seconds) { return fmt::format("{:.3f} ms", seconds * 1000); }

std::string bytes(double count) {
  constexpr std::string_view kUnits[] = {"bytes", "KB", "MB", "GB"};
  std::size_t unit = 0;
  while (count >= 1000 && unit + 1 < std::size(kUnits)) {
    count /= 1000;
    ++unit;
  }
  return unit == 0 ? fmt::format("{:.0f} bytes", count)
                   : fmt::format("{:.1f} {}", count, kUnits[unit]);
}

constexpr const char* kLimitsHelp =
    "Limits (see docs/limits.md): the file must be a regular file of at most --max-input\n"
    "bytes (sizes take K, M, G: 1K = 1024), and decoding it may hold at most six bytes of\n"
    "memory per byte of it (at least 64M); render refuses a text longer than --max-output\n"
    "(an html page leaves out each diagram that would be). Critical paths through dense\n"
    "cycles are searched within a step budget; the report says when it was reached. Bad\n"
    "input exits with status 2 and one line on standard error.\n";

CLI::Validator nonNegative() {
  return CLI::Validator(
      [](const std::string& text) {
        return text.starts_with('-') ? std::string("must not be negative") : std::string();
      },
      "NONNEGATIVE");
}

void addInputLimit(CLI::App& command, std::uint64_t& maxInput) {
  command
      .add_option("--max-input", maxInput,
                  "Refuse a graph file larger than this, before reading it (default 256M)")
      ->transform(CLI::AsSizeValue(false))
      ->transform(nonNegative());  // a transform runs before those added earlier
}

}  // namespace

std::vector<std::string> renderTypes() {
  std::vector<std::string> types;
  for (const VisualizationType type : tavreldi::allCases<VisualizationType>()) {
    types.emplace_back(tavreldi::toString(type));
  }
  types.emplace_back("html");
  return types;
}

int runRender(const RenderOptions& options) {
  return guarded("render", options.file, [&] {
    const DependencyGraph graph = loadGraph(options.file, options.maxInput);
    const std::string text = renderText(graph, options);
    if (options.output) {
      writeFile(*options.output, text);
    } else {
      printText(text);
    }
    return 0;
  });
}

std::vector<std::string> reportLines(const DependencyGraph& graph, const std::string& name) {
  const tavreldi::GraphAnalysis& a = graph.analysis;
  const auto& h = a.healthScore;
  const auto& c = a.complexityMetrics;
  const auto& arch = a.architectureMetrics;
  const auto& p = a.performanceMetrics;
  const GraphExtras extras = computeExtras(graph);
  std::vector<std::string> lines;
  const auto add = [&lines](std::string line) {  // NOLINT(*-unnecessary-value-param): moved
    lines.push_back(std::move(line));
  };
  const auto row = [&lines](std::string_view label, const std::string& value) {
    lines.push_back(fmt::format("  {:<34}{}", label, value));
  };

  add(fmt::format("Dependency graph: {}", name));
  row("Services", std::to_string(graph.nodes.size()));
  row("Dependencies", std::to_string(graph.edges.size()));
  row("Greatest depth", std::to_string(a.maxDepth));
  row("Circular dependencies",
      a.hasCircularDependencies ? fmt::format("yes ({} cycles)", a.circularDependencyChains.size())
                                : std::string("no"));
  row("Analysis",
      fmt::format("{}, {}", a.isComplete ? "complete" : "incomplete", ms(a.analysisTime)));
  row("Memory usage", bytes(a.memoryUsage));
  row("Cache efficiency", fmt::format("{:.1f} %", a.cacheEfficiency));

  add("");
  add("Health (testability on a 0-100 scale, the other components on 0-1)");
  row("Overall", fmt::format("{:.3f}", h.overall));
  row("Performance", fmt::format("{:.3f}", h.performance));
  row("Maintainability", fmt::format("{:.3f}", h.maintainability));
  row("Testability", fmt::format("{:.1f}", h.testability));
  row("Scalability", fmt::format("{:.3f}", h.scalability));
  row("Security", fmt::format("{:.3f}", h.security));
  row("Reliability", fmt::format("{:.3f}", h.reliability));

  add("");
  add("Complexity");
  row("Cyclomatic complexity", std::to_string(c.cyclomaticComplexity));
  row("Coupling", fmt::format("{:.3f}", c.couplingScore));
  row("Cohesion", fmt::format("{:.3f}", c.cohesionScore));
  row("Fan-in / fan-out", fmt::format("{} / {}", c.fanIn, c.fanOut));
  row("Instability", fmt::format("{:.3f}", c.instability));
  row("Abstractness", fmt::format("{:.3f}", c.abstractness));
  row("Distance from main sequence", fmt::format("{:.3f}", c.distanceFromMainSequence));

  add("");
  add("Architecture");
  row("Layer violations", std::to_string(arch.layerViolations));
  row("Dependency inversion violations", std::to_string(arch.dependencyInversionViolations));
  row("Single responsibility violations", std::to_string(arch.singleResponsibilityViolations));
  row("Open/closed violations", std::to_string(arch.openClosedViolations));
  row("Liskov substitution violations", std::to_string(arch.liskovSubstitutionViolations));
  row("Interface segregation violations", std::to_string(arch.interfaceSegregationViolations));
  row("Compliance", fmt::format("{:.1f} %", arch.architectureCompliance * 100));

  add("");
  add("Performance (sample figures, not measurements)");
  row("Average resolution time", ms(p.averageResolutionTime));
  row("Fastest / slowest",
      fmt::format("{} / {}", ms(p.fastestResolution), ms(p.slowestResolution)));
  row("Memory", bytes(p.totalMemoryFootprint));
  row("Cache hit rate", fmt::format("{:.1f} %", p.cacheHitRate * 100));
  row("Bottlenecks", joined(p.bottleneckNodes, ", "));
  row("Trend", std::string(tavreldi::toString(p.performanceTrend)));

  add("");
  add(fmt::format("Cycles ({})", a.circularDependencyChains.size()));
  if (a.circularDependencyChains.empty()) add("  none");
  for (std::size_t i = 0; i < a.circularDependencyChains.size(); ++i) {
    const auto& cycle = a.circularDependencyChains[i];
    add(fmt::format("  {}. {}{}", i + 1, joined(cycle, " -> "),
                    cycle.empty() ? "" : " -> " + cycle.front()));
  }

  add("");
  add(fmt::format("Critical paths ({})", extras.criticalPaths.size()));
  if (extras.criticalPaths.empty()) add("  none (no chain of four or more services)");
  for (const auto& path : extras.criticalPaths) {
    add(fmt::format("  {}, {} services: {}", path.name, path.length, joined(path.nodes, " -> ")));
  }
  if (extras.boundedSearches > 0) {
    add(
        fmt::format("  Bounded: the longest-path searches from {} services in dense cycles "
                    "reached their step limit; their paths are the longest found within it",
                    extras.boundedSearches));
  }

  add("");
  add("Clusters");
  if (extras.clusters.empty()) add("  none");
  for (const auto& cluster : extras.clusters) {
    add(fmt::format("  {} ({}): {}", cluster.name, cluster.nodes.size(),
                    joined(cluster.nodes, ", ")));
  }

  add("");
  add(fmt::format("Recommendations ({})", a.recommendations.size()));
  if (a.recommendations.empty()) add("  none");
  for (std::size_t i = 0; i < a.recommendations.size(); ++i) {
    const auto& r = a.recommendations[i];
    add(fmt::format("  {}. [{}] {}: {}", i + 1, tavreldi::toString(r.priority),
                    tavreldi::toString(r.type), r.title));
    add(fmt::format("     {}", r.description));
    add(fmt::format("     Affects: {}; impact {}; effort {}", joined(r.affectedNodes, ", "),
                    r.estimatedImpact, tavreldi::toString(r.effort)));
  }
  return lines;
}

int runReport(const ReportOptions& options) {
  return guarded("report", options.file, [&] {
    const DependencyGraph graph = loadGraph(options.file, options.maxInput);
    for (const std::string& line : reportLines(graph, options.file)) tavreldi::writeLine(line);
    for (const std::string& line : registrationProblemLines(graph)) tavreldi::writeLine(line);
    return 0;
  });
}

void addGraphCommands(CLI::App& app) {
  auto render = std::make_shared<RenderOptions>();
  auto* renderCommand =
      app.add_subcommand("render", "Render a dependency graph saved as JSON as a diagram");
  renderCommand->add_option("file", render->file, "The saved graph (its JSON form)")->required();
  renderCommand->add_option("--type", render->type, "What to render")
      ->required()
      ->check(CLI::IsMember(renderTypes()));
  renderCommand->add_option("--max-depth", render->maxDepth, "Depth limit of the tree diagram")
      ->capture_default_str()
      ->check(nonNegative());
  renderCommand->add_option("--output", render->output,
                            "Write to this file instead of standard output");
  addInputLimit(*renderCommand, render->maxInput);
  renderCommand
      ->add_option("--max-output", render->maxOutput,
                   "Refuse to write a diagram or page longer than this (default 64M)")
      ->transform(CLI::AsSizeValue(false))
      ->transform(nonNegative());  // a transform runs before those added earlier
  renderCommand->footer(kLimitsHelp);
  renderCommand->callback([render] {
    if (const int status = runRender(*render); status != 0) throw CLI::RuntimeError(status);
  });

  auto report = std::make_shared<ReportOptions>();
  auto* reportCommand = app.add_subcommand(
      "report", "Print the analysis of a dependency graph saved as JSON as readable text");
  reportCommand->add_option("file", report->file, "The saved graph (its JSON form)")->required();
  addInputLimit(*reportCommand, report->maxInput);
  reportCommand->footer(kLimitsHelp);
  reportCommand->callback([report] {
    if (const int status = runReport(*report); status != 0) throw CLI::RuntimeError(status);
  });
}

}  // namespace tavreldi_tool
