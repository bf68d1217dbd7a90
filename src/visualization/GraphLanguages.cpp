// Mermaid, Graphviz DOT and JSON forms of the dependency graph.

#include <fmt/format.h>

#include <exception>
#include <nlohmann/json.hpp>
#include <utility>

#include "tavreldi/visualization/DiagramGenerators.hpp"
#include "tavreldi/visualization/VisualizationModel.hpp"
#include "visualization/detail/DiagramText.hpp"

namespace tavreldi {

namespace {

constexpr std::string_view kMermaidHeader = "graph TD\n";
constexpr std::string_view kDotHeader =
    "digraph DependencyGraph {\n    rankdir=TB;\n    node [shape=box, style=filled];\n\n";

// Fixed characters per line, added to the variable parts when reserving the buffer.
constexpr std::size_t kMermaidNodeFixed = 48;
constexpr std::size_t kMermaidEdgeFixed = 11;
constexpr std::size_t kDotNodeFixed = 37;
constexpr std::size_t kDotEdgeFixed = 37;
constexpr std::size_t kLongestScope = 9;

std::string buildMermaid(const DependencyGraph& graph, Progress* progress) {
  const detail::ProgressSteps steps(progress, graph.nodes.size(), graph.edges.size());
  std::size_t capacity = kMermaidHeader.size();
  for (const auto& node : graph.nodes) {
    capacity += kMermaidNodeFixed + 3 * node.id.size() + 2 * kLongestScope;
  }
  for (const auto& edge : graph.edges) {
    capacity += kMermaidEdgeFixed + edge.from.size() + edge.to.size();
  }
  std::string out;
  out.reserve(capacity);
  out += kMermaidHeader;
  steps.start();

  std::size_t done = 0;
  for (const auto& node : graph.nodes) {
    const std::string id = detail::safeIdentifier(node.id);
    const std::string_view scope = toString(node.scope);
    out += "    ";
    out += id;
    out += "[\"";
    detail::appendMermaidLabel(out, node.id);
    out += "\"]\n    classDef ";
    out += scope;
    out += " fill:#";
    out += detail::scopeColor(node.scope);
    out += "\n    class ";
    out += id;
    out += ' ';
    out += scope;
    out += '\n';
    steps.nodeDone(++done);
  }

  done = 0;
  for (const auto& edge : graph.edges) {
    out += "    ";
    detail::appendSafeIdentifier(out, edge.from);
    out += edge.isCircular ? " -.-> " : " --> ";
    detail::appendSafeIdentifier(out, edge.to);
    out += '\n';
    steps.edgeDone(++done);
  }
  steps.finish();
  return out;
}

std::string buildGraphviz(const DependencyGraph& graph, Progress* progress) {
  const detail::ProgressSteps steps(progress, graph.nodes.size(), graph.edges.size());
  std::size_t capacity = kDotHeader.size() + 3;
  for (const auto& node : graph.nodes) capacity += kDotNodeFixed + 2 * node.id.size();
  for (const auto& edge : graph.edges) {
    capacity += kDotEdgeFixed + edge.from.size() + edge.to.size() + edge.relationship.size();
  }
  std::string out;
  out.reserve(capacity);
  out += kDotHeader;
  steps.start();

  std::size_t done = 0;
  for (const auto& node : graph.nodes) {
    out += "    ";
    detail::appendSafeIdentifier(out, node.id);
    out += " [label=\"";
    detail::appendDotString(out, node.id);
    out += "\", fillcolor=\"";
    out += detail::scopeColor(node.scope);
    out += "\"];\n";
    steps.nodeDone(++done);
  }
  out += '\n';

  done = 0;
  for (const auto& edge : graph.edges) {
    out += "    ";
    detail::appendSafeIdentifier(out, edge.from);
    out += " -> ";
    detail::appendSafeIdentifier(out, edge.to);
    out += edge.isCircular ? " [style=dashed]" : " [style=solid]";
    if (!edge.relationship.empty()) {
      out += " [label=\"";
      detail::appendDotString(out, edge.relationship);
      out += "\"]";
    }
    out += ";\n";
    steps.edgeDone(++done);
  }
  out += "}\n";
  steps.finish();
  return out;
}

VisualizationData makeVisualizationData(const DependencyGraph& graph,
                                        const GraphAnalysis& analysis) {
  VisualizationData data;
  data.nodes.reserve(graph.nodes.size());
  for (const auto& node : graph.nodes) {
    data.nodes.push_back(VisualizationNode{
        node.id,
        node.id,
        std::string(toString(node.type)),
        std::string(toString(node.scope)),
        std::to_string(node.layer),
        node.isCircular,
        node.dependencies,
        node.metadata,
    });
  }
  data.edges.reserve(graph.edges.size());
  for (const auto& edge : graph.edges) {
    data.edges.push_back(VisualizationEdge{
        edge.from,
        edge.to,
        std::string(toString(edge.relationshipType)),
        edge.relationship,
        edge.isCircular,
    });
  }
  // Plain text of each figure: integers in decimal, booleans as true/false, doubles in their
  // shortest round-trip form.
  data.metadata = {
      {"totalNodes", fmt::format("{}", analysis.totalNodes)},
      {"totalDependencies", fmt::format("{}", analysis.totalDependencies)},
      {"hasCircularDependencies", fmt::format("{}", analysis.hasCircularDependencies)},
      {"maxDepth", fmt::format("{}", analysis.maxDepth)},
      {"analysisTime", fmt::format("{}", analysis.analysisTime)},
      {"memoryUsage", fmt::format("{}", analysis.memoryUsage)},
      {"cacheEfficiency", fmt::format("{}", analysis.cacheEfficiency)},
  };
  return data;
}

std::string encodingFailure(std::string_view description) {
  return fmt::format("{{\"error\": \"Failed to encode visualization data: {}\"}}", description);
}

}  // namespace

std::string DiagramGenerators::generateMermaid(const DependencyGraph& graph) {
  return buildMermaid(graph, nullptr);
}

asio::awaitable<std::string> DiagramGenerators::generateMermaidAsync(DependencyGraph graph,
                                                                     Progress* progress) {
  co_return buildMermaid(graph, progress);
}

std::string DiagramGenerators::generateGraphviz(const DependencyGraph& graph) {
  return buildGraphviz(graph, nullptr);
}

asio::awaitable<std::string> DiagramGenerators::generateGraphvizAsync(DependencyGraph graph,
                                                                      Progress* progress) {
  co_return buildGraphviz(graph, progress);
}

std::string DiagramGenerators::generateJSONVisualization(const DependencyGraph& graph,
                                                         const GraphAnalysis& analysis) {
  // nlohmann's objects keep their keys sorted, so dump(2) is the pretty, key-sorted form.
  constexpr int kInvalidUtf8 = 316;
  try {
    const nlohmann::json json = makeVisualizationData(graph, analysis);
    return json.dump(2, ' ', false, nlohmann::json::error_handler_t::strict);
  } catch (const nlohmann::json::type_error& error) {
    if (error.id == kInvalidUtf8) return "{}";
    return encodingFailure(error.what());
  } catch (const std::exception& error) {
    return encodingFailure(error.what());
  }
}

std::string DiagramGenerators::generate(VisualizationType type, const DependencyGraph& graph,
                                        const GraphAnalysis& analysis, std::int64_t maxDepth) {
  switch (type) {
    case VisualizationType::mermaid:
      return generateMermaid(graph);
    case VisualizationType::graphviz:
      return generateGraphviz(graph);
    case VisualizationType::json:
      return generateJSONVisualization(graph, analysis);
    case VisualizationType::tree:
      return generateTreeVisualization(graph, maxDepth);
    case VisualizationType::network:
      return generateNetworkVisualization(graph);
    case VisualizationType::hierarchical:
      return generateHierarchicalVisualization(graph);
    case VisualizationType::circular:
      return generateCircularVisualization(graph);
    case VisualizationType::layered:
      break;
  }
  return generateLayeredVisualization(graph);
}

}  // namespace tavreldi
