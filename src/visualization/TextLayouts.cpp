// The plain-text layouts: tree, network, hierarchical, circular and layered.

#include <algorithm>
#include <limits>
#include <map>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "tavreldi/visualization/DiagramGenerators.hpp"
#include "visualization/detail/DiagramText.hpp"

namespace tavreldi {

namespace {

constexpr std::string_view kTreeHeader = "Dependency Tree:\n================\n\n";
constexpr std::string_view kNetworkHeader = "Network Visualization:\n====================\n\n";
constexpr std::string_view kHierarchicalHeader =
    "Hierarchical Structure:\n======================\n\n";
constexpr std::string_view kLayeredHeader = "Layered Architecture:\n====================\n\n";
constexpr std::string_view kCircularHeader = "Circular Dependencies:\n=====================\n\n";
constexpr std::string_view kDetected = "⚠️ Circular dependencies detected:\n\n";
constexpr std::string_view kNoneFound = "✅ No circular dependencies found!\n";
constexpr std::string_view kLayerBoxBottom = "└─────────────────────┘\n\n";
constexpr std::size_t kLayerCellWidth = 20;

using Layers = std::map<std::int64_t, std::vector<const DependencyNode*>>;

// Nodes grouped by layer; the map visits layers in ascending order, each group in node order.
Layers groupByLayer(const std::vector<DependencyNode>& nodes) {
  Layers layers;
  for (const auto& node : nodes) layers[node.layer].push_back(&node);
  return layers;
}

std::size_t totalIdLength(const std::vector<DependencyNode>& nodes) {
  std::size_t total = 0;
  for (const auto& node : nodes) total += node.id.size();
  return total;
}

}  // namespace

std::string DiagramGenerators::generateTreeVisualization(const DependencyGraph& graph,
                                                         std::int64_t maxDepth) {
  return generateTreeVisualization(graph, maxDepth, std::numeric_limits<std::size_t>::max());
}

std::string DiagramGenerators::generateTreeVisualization(const DependencyGraph& graph,
                                                         std::int64_t maxDepth,
                                                         std::size_t outputLimit) {
  static constexpr std::string_view kBranch = "└─ ";
  static constexpr std::string_view kCut = "└─ ... (max depth reached)\n";

  // The first node of each id, and each node's outgoing edges in edge order.
  std::unordered_map<std::string_view, std::size_t> nodeIndex;
  for (std::size_t i = 0; i < graph.nodes.size(); ++i) nodeIndex.emplace(graph.nodes[i].id, i);
  std::unordered_map<std::string_view, std::vector<std::size_t>> outgoing;
  std::unordered_set<std::string_view> targets;
  for (std::size_t i = 0; i < graph.edges.size(); ++i) {
    outgoing[graph.edges[i].from].push_back(i);
    targets.insert(graph.edges[i].to);
  }

  std::string out;
  // Makes sure `length` more bytes stay within the limit.
  const auto room = [&](std::size_t length) {
    if (length > outputLimit - out.size()) {
      throw DiagramTooLargeError(VisualizationType::tree, outputLimit);
    }
  };
  room(kTreeHeader.size());
  out.reserve(std::min(outputLimit, kTreeHeader.size() + 2 * (totalIdLength(graph.nodes) +
                                                              24 * graph.nodes.size())));
  out += kTreeHeader;

  // Depth-first with an explicit stack, so that deep limits cannot exhaust the call stack;
  // children are pushed in reverse to come off in edge order.
  struct Visit {
    std::size_t node;
    std::int64_t depth;
  };
  std::vector<Visit> pending;
  for (std::size_t root = 0; root < graph.nodes.size(); ++root) {
    if (targets.contains(graph.nodes[root].id)) continue;
    pending.push_back({root, 0});
    while (!pending.empty()) {
      const Visit visit = pending.back();
      pending.pop_back();
      const auto indent = 2 * static_cast<std::size_t>(visit.depth);
      if (visit.depth >= maxDepth) {
        room(indent + kCut.size());
        out.append(indent, ' ');
        out += kCut;
        continue;
      }
      const DependencyNode& node = graph.nodes[visit.node];
      const std::string_view scope = toString(node.scope);
      room(indent + kBranch.size() + node.id.size() + scope.size() + 3);
      out.append(indent, ' ');
      out += kBranch;
      out += node.id;
      out += " (";
      out += scope;
      out += ")\n";
      const auto edges = outgoing.find(node.id);
      if (edges == outgoing.end()) continue;
      for (auto it = edges->second.rbegin(); it != edges->second.rend(); ++it) {
        const auto target = nodeIndex.find(graph.edges[*it].to);
        if (target != nodeIndex.end()) pending.push_back({target->second, visit.depth + 1});
      }
    }
    room(1);
    out += '\n';
  }
  return out;
}

std::string DiagramGenerators::generateNetworkVisualization(const DependencyGraph& graph) {
  std::size_t capacity = kNetworkHeader.size() + totalIdLength(graph.nodes);
  for (const auto& node : graph.nodes) {
    capacity += 80;
    for (const auto& dependency : node.dependencies) capacity += dependency.size() + 2;
  }
  std::string out;
  out.reserve(capacity);
  out += kNetworkHeader;
  for (const auto& node : graph.nodes) {
    out += "Node: ";
    out += node.id;
    out += "\n  Scope: ";
    out += toString(node.scope);
    out += "\n  Layer: ";
    out += std::to_string(node.layer);
    out += "\n  Dependencies: ";
    for (std::size_t i = 0; i < node.dependencies.size(); ++i) {
      if (i > 0) out += ", ";
      out += node.dependencies[i];
    }
    out += node.isCircular ? "\n  Circular: Yes\n\n" : "\n  Circular: No\n\n";
  }
  return out;
}

std::string DiagramGenerators::generateHierarchicalVisualization(const DependencyGraph& graph) {
  const Layers layers = groupByLayer(graph.nodes);
  std::string out;
  out.reserve(kHierarchicalHeader.size() + totalIdLength(graph.nodes) + 20 * graph.nodes.size() +
              32 * layers.size());
  out += kHierarchicalHeader;
  for (const auto& [layer, nodes] : layers) {
    out += "Layer ";
    out += std::to_string(layer);
    out += ":\n";
    for (const DependencyNode* node : nodes) {
      out += "  - ";
      out += node->id;
      out += " (";
      out += toString(node->scope);
      out += ")\n";
    }
    out += '\n';
  }
  return out;
}

std::string DiagramGenerators::generateCircularVisualization(const DependencyGraph& graph) {
  std::vector<const DependencyEdge*> edges;
  for (const auto& edge : graph.edges) {
    if (edge.isCircular) edges.push_back(&edge);
  }
  std::vector<const DependencyNode*> nodes;
  for (const auto& node : graph.nodes) {
    if (node.isCircular) nodes.push_back(&node);
  }

  std::size_t capacity = kCircularHeader.size() + kDetected.size() + 40;
  for (const auto* edge : edges) capacity += edge->from.size() + edge->to.size() + 7;
  for (const auto* node : nodes) capacity += node->id.size() + 3;
  std::string out;
  out.reserve(capacity);
  out += kCircularHeader;

  if (!edges.empty()) {
    out += kDetected;
    out += "Circular Edges:\n";
    for (const auto* edge : edges) {
      out += "  ";
      out += edge->from;
      out += " -> ";
      out += edge->to;
      out += '\n';
    }
    out += '\n';
  } else if (nodes.empty()) {
    out += kNoneFound;
    return out;
  } else {
    out += kDetected;
  }

  if (!nodes.empty()) {
    out += "Circular Nodes:\n";
    for (const auto* node : nodes) {
      out += "  ";
      out += node->id;
      out += '\n';
    }
  }
  return out;
}

std::string DiagramGenerators::generateLayeredVisualization(const DependencyGraph& graph) {
  const Layers layers = groupByLayer(graph.nodes);
  std::string out;
  // A cell holds at most 20 characters of at most 4 bytes each.
  out.reserve(kLayeredHeader.size() + (4 * kLayerCellWidth + 10) * graph.nodes.size() +
              (kLayerBoxBottom.size() + 32) * layers.size());
  out += kLayeredHeader;
  for (const auto& [layer, nodes] : layers) {
    out += "┌─ Layer ";
    out += std::to_string(layer);
    out += " ─┐\n";
    for (const DependencyNode* node : nodes) {
      out += "│ ";
      detail::appendCell(out, node->id, kLayerCellWidth);
      out += " │\n";
    }
    out += kLayerBoxBottom;
  }
  return out;
}

}  // namespace tavreldi
