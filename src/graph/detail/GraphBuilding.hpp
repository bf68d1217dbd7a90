#pragma once

// Graph building shared by the container's graph operations: the observed dependencies as a
// dense index graph, the cycle search over it, the node and edge lists, and the analysis of a
// built graph.
//
// Every search here runs with explicit stacks, never by recursion, so that graphs with very long
// chains cannot exhaust the call stack. Orders follow the container's insertion orders: the
// registry's keys, each name's observed dependencies in the order first seen.

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <unordered_set>
#include <vector>

#include "core/detail/ContainerState.hpp"
#include "graph/detail/NamingRules.hpp"
#include "tavreldi/graph/DependencyGraph.hpp"

namespace tavreldi {
class AdvancedDIContainerImpl;
}

namespace tavreldi::detail {

/// The observed dependencies (`Slot::dependencies`) of every slot, over dense indices.
struct ObservedGraph {
  explicit ObservedGraph(const ContainerState& state);

  std::vector<const Slot*> slots;      // index (Slot::index) -> slot
  std::vector<std::uint32_t> offsets;  // successors of v: [offsets[v], offsets[v+1])
  std::vector<std::uint32_t> targets;
  std::vector<std::uint32_t> roots;  // the registered slots, in registry order
  std::vector<char> registered;      // per index: the slot is registered

  [[nodiscard]] std::uint32_t size() const noexcept {
    return static_cast<std::uint32_t>(slots.size());
  }
  [[nodiscard]] std::span<const std::uint32_t> successors(std::uint32_t v) const noexcept {
    return {targets.data() + offsets[v], targets.data() + offsets[v + 1]};
  }
};

/// Strongly connected components of the graph whose vertex v has the successors
/// `targets[offsets[v]]` to `targets[offsets[v + 1] - 1]` (Tarjan's algorithm, explicit stack).
/// Components are numbered in the order they complete, so an edge between two components always
/// leads to a lower number.
struct StrongComponents {
  StrongComponents(std::span<const std::uint32_t> offsets, std::span<const std::uint32_t> targets);

  std::vector<std::uint32_t> of;       // vertex -> component
  std::vector<std::uint32_t> members;  // vertices grouped by component
  std::vector<std::uint32_t> start;    // members of c: [start[c], start[c + 1])

  [[nodiscard]] std::uint32_t count() const noexcept {
    return static_cast<std::uint32_t>(start.size() - 1);
  }
};

/// The cycle search: a depth-first search from every unvisited root, in root order, following
/// successors in order. Every edge into a name that is still on the search path yields one
/// cycle, the path from that name to the current one; `onCycle` receives it as a span of
/// indices (valid only during the call), in the order found. Nothing is de-duplicated.
template <class OnCycle>
void forEachCycle(const ObservedGraph& graph, OnCycle&& onCycle) {
  constexpr std::uint32_t kUnvisited = 0;
  constexpr std::uint32_t kFinished = 1;
  constexpr std::uint32_t kOnPath = 2;
  std::vector<std::uint32_t> mark(graph.size(), kUnvisited);
  std::vector<std::uint32_t> positionOnPath(graph.size(), 0);
  std::vector<std::uint32_t> path;
  std::vector<std::uint32_t> nextChild;  // per path entry: next successor to look at
  const auto enter = [&](std::uint32_t v) {
    mark[v] = kOnPath;
    positionOnPath[v] = static_cast<std::uint32_t>(path.size());
    path.push_back(v);
    nextChild.push_back(graph.offsets[v]);
  };
  for (const std::uint32_t root : graph.roots) {
    if (mark[root] != kUnvisited) continue;
    enter(root);
    while (!path.empty()) {
      const std::uint32_t v = path.back();
      std::uint32_t& next = nextChild.back();
      if (next == graph.offsets[v + 1]) {
        mark[v] = kFinished;
        path.pop_back();
        nextChild.pop_back();
        continue;
      }
      const std::uint32_t d = graph.targets[next++];
      if (mark[d] == kUnvisited) {
        enter(d);
      } else if (mark[d] == kOnPath) {
        onCycle(std::span<const std::uint32_t>(path.data() + positionOnPath[d],
                                               path.size() - positionOnPath[d]));
      }
    }
  }
}

/// The names of a cycle given by indices.
[[nodiscard]] std::vector<std::string> cycleNames(const ObservedGraph& graph,
                                                  std::span<const std::uint32_t> cycle);

/// Memory that `maxDependencyDepth` may give to reachability sets by default (they take about
/// n * n / 16 bytes for n names); past it, the depth is found by bounded searches alone.
inline constexpr std::size_t kDefaultReachBudget = std::size_t{32} << 20;

/// Edges that the searches of `maxDependencyDepth` may look at by default, all together
/// (about a second of work; the searches of graphs with no large cycle need far fewer).
inline constexpr std::int64_t kDefaultDepthSteps = std::int64_t{1} << 27;

/// The greatest dependency depth (as `getDependencyDepth` computes it) over the roots; once
/// the searches have looked at `stepBudget` edges, the greatest depth found so far. The
/// reachability sets are built in `reachStorage`'s memory when given, and left there for the
/// next call.
[[nodiscard]] std::int64_t maxDependencyDepth(const ObservedGraph& graph,
                                              std::size_t reachBudget = kDefaultReachBudget,
                                              std::int64_t stepBudget = kDefaultDepthSteps,
                                              std::vector<std::uint64_t>* reachStorage = nullptr);

/// What graph building derives from the names, the observed dependencies and the registrations.
/// The container keeps the latest one and makes a new one only after one of those was added to
/// or replaced (`ContainerState::structureVersion`); the rest of a graph (timestamps, sample
/// figures) is made afresh on every build, and building nodes and edges reads no slot.
struct GraphStructure {
  /// `reachStorage`: memory for the depth search's reachability sets, from the structure this
  /// one replaces.
  GraphStructure(const ContainerState& state, std::vector<std::uint64_t> reachStorage);

  std::uint64_t version;
  ObservedGraph graph;
  // Per index: the name. The texts are packed in one block that every `Name` handed out in
  // nodes and edges shares, so a build copies no text and allocates nothing per name.
  std::vector<Name> names;
  std::vector<NameTraits> traits;                // per index
  std::vector<std::vector<std::string>> cycles;  // in the order the cycle search finds them
  std::vector<char> onCycle;                     // per index: the name lies on a cycle

  // The names with observed dependencies, in the order each was first seen with one.
  std::vector<std::uint32_t> dependencyOwners;
  static constexpr std::uint32_t kNoSlot = 0xFFFFFFFF;
  /// A declared dependency that gets an edge of its own: not observed, not declared before by
  /// the same registration. `to` is kNoSlot when no slot has the name.
  struct DeclaredEdge {
    std::uint32_t from;
    std::uint32_t to;
    Name name;
  };
  /// What the registrations give a build.
  struct Registrations {
    // Per registry position (as `graph.roots`): the registration's scope, and which of
    // `metadataKinds` its node's metadata is made from.
    std::vector<DependencyScope> scopes;
    std::vector<std::uint32_t> metadataKind;
    // The distinct scope, lifetime and thread safety of the registrations, in order first seen
    // (only those three fields are set).
    std::vector<DependencyMetadata> metadataKinds;
    std::vector<DeclaredEdge> declaredEdges;  // in registry order, then declaration order
  };

  /// The registrations of `state`, which this structure must be current for. Read on first use
  /// (the cycle operations never need them).
  [[nodiscard]] const Registrations& registrations(const ContainerState& state) const;

  /// The names of the observed dependencies of `v`, in order, shared with every node that
  /// lists them. Made on first use, for all names at once (the cycle operations never need
  /// them).
  [[nodiscard]] NameList dependencyNames(std::uint32_t v) const;

  /// The greatest dependency depth over the registered names, found on first use (the cycle
  /// operations never need it).
  [[nodiscard]] std::int64_t maxDepth() const {
    if (!maxDepth_) {
      maxDepth_ =
          maxDependencyDepth(graph, kDefaultReachBudget, kDefaultDepthSteps, &reachStorage_);
    }
    return *maxDepth_;
  }

  /// Whether the two names are neighbours on a cycle (a one-name cycle: its self-edge).
  [[nodiscard]] bool ringNeighbours(std::uint32_t a, std::uint32_t b) const {
    return onCycle[a] != 0 && onCycle[b] != 0 && ringPairs_.contains(unorderedPair(a, b));
  }

 private:
  [[nodiscard]] static std::uint64_t unorderedPair(std::uint32_t a, std::uint32_t b) noexcept {
    return a < b ? (std::uint64_t{a} << 32 | b) : (std::uint64_t{b} << 32 | a);
  }
  mutable std::optional<std::int64_t> maxDepth_;
  // Kept from one structure to the next: it is the largest block a build uses.
  mutable std::vector<std::uint64_t> reachStorage_;

  friend std::shared_ptr<const GraphStructure> graphStructure(const ContainerState& state);
  mutable std::optional<Registrations> registrations_;
  // The names of `graph.targets`, position for position, once asked for.
  mutable std::shared_ptr<const std::vector<Name>> successorNames_;
  std::unordered_set<std::uint64_t> ringPairs_;
};

/// The structure of the container's graph as it stands, made anew only when it has changed.
[[nodiscard]] std::shared_ptr<const GraphStructure> graphStructure(const ContainerState& state);

/// A built graph: nodes, edges, the structure it was built from, and counts the analysis needs,
/// taken while building.
struct NodesAndEdges {
  std::vector<DependencyNode> nodes;
  std::vector<DependencyEdge> edges;
  std::shared_ptr<const GraphStructure> structure;
  /// Edges from a name to one whose node has a greater `layer` (no node: layer 0).
  std::int64_t layerViolations = 0;
  std::int64_t circularEdges = 0;
  std::int64_t highNodes = 0;  // nodes of high complexity
};

/// Builds the nodes (one per registration, in registry order) and the edges (observed, then
/// declared; the first copy of each `from`, `to` pair kept) of the container's graph.
[[nodiscard]] NodesAndEdges buildNodesAndEdges(const ContainerState& state);

/// The analysis of a built graph; `start` is when the operation began.
[[nodiscard]] GraphAnalysis analyseGraph(const AdvancedDIContainerImpl& container,
                                         const NodesAndEdges& graph,
                                         std::chrono::steady_clock::time_point start);

}  // namespace tavreldi::detail
