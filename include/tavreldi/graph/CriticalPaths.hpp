#pragma once

/// \file
/// The critical paths of a dependency graph: its longest dependency chains, found by a search
/// with a bounded amount of work.

#include <cstdint>
#include <vector>

#include "tavreldi/graph/DependencyEdge.hpp"
#include "tavreldi/graph/DependencyNode.hpp"
#include "tavreldi/graph/GraphMetrics.hpp"

namespace tavreldi {

/// How much work the longest-path searches of `findCriticalPaths` may do, counted in steps (one
/// step: one edge looked at). Only the searches from names in a cycle take steps.
struct CriticalPathBudget {
  /// Steps a search may take per edge leaving a name of its strongly connected component on
  /// average: a search from a member of a component of m names whose edges number e may take
  /// `stepsPerSearch` × (1 + e / m) steps (integer division). All searches in a component
  /// together thus take about `stepsPerSearch` × (m + e).
  std::int64_t stepsPerSearch = 1000;
  /// Steps all searches of one call may take together (about a second of work); a search that
  /// starts when fewer are left may take only those, and with none left its path is its name
  /// alone.
  std::int64_t totalSteps = std::int64_t{1} << 26;
};

/// The critical paths of a graph, and how many of the searches behind them were cut short.
struct CriticalPathSearch {
  /// At most five paths, longest first, as `AdvancedDIContainerImpl::createCriticalPaths`
  /// describes them.
  std::vector<CriticalPath> paths;
  /// The number of services (nodes, and edge targets without a node) whose longest-path search
  /// reached its step budget. When 0, every path is exactly the longest one; otherwise the path
  /// of such a service is the longest one found within the budget, which may be shorter.
  std::int64_t boundedSearches = 0;
};

/// Finds the critical paths of the graph made of `nodes` and `edges`: for every node in node
/// order its longest path (a name already on the path ends it, repeated once; of equally long
/// continuations the first in edge order), the paths of four or more names ranked longest first
/// (equal lengths in node order), the first five of them kept.
///
/// Only strongly connected components with a cycle make the search expensive (the longest
/// simple path is exponential to find there). Their searches are exhaustive within `budget`
/// and otherwise keep the longest path found when the budget ran out; everything else is exact
/// and takes time linear in the graph. The result is deterministic either way.
[[nodiscard]] CriticalPathSearch findCriticalPaths(const std::vector<DependencyNode>& nodes,
                                                   const std::vector<DependencyEdge>& edges,
                                                   const CriticalPathBudget& budget = {});

}  // namespace tavreldi
