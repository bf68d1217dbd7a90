// Critical paths: the longest path from every node, with the names already on the path
// excluded.
//
// The longest path from n is [n] when n is excluded; otherwise [n] followed by the first longest
// of its successors' paths (successors in edge order), with n excluded as well. A name outside
// the strongly connected component of the names on the path can never meet an excluded name
// (that would put it in their component), so its path does not depend on the exclusions. Paths
// are therefore computed one component at a time, the components a component leads to first:
// a one-name component without a self-edge takes its path from its successors' in one step;
// every other component is searched from each member in turn, exhaustively inside the
// component, taking the computed paths where it leaves it. A search stops early where no later
// successor can beat the best path found (the names of the component not yet on the path,
// followed by the longest path out of the component or a repeated name, bound every candidate),
// and stops at its step budget (see CriticalPathBudget) otherwise.
//
// Only lengths are kept per name; the few paths reported are found again by repeating their
// searches, which are deterministic.

#include "tavreldi/graph/CriticalPaths.hpp"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

#include "graph/detail/GraphBuilding.hpp"

namespace tavreldi {

namespace {

constexpr std::uint32_t kNone = std::numeric_limits<std::uint32_t>::max();

class LongestPaths {
 public:
  LongestPaths(const std::vector<DependencyNode>& nodes, const std::vector<DependencyEdge>& edges,
               const CriticalPathBudget& budget)
      : stepsLeft_(budget.totalSteps) {
    for (const DependencyNode& node : nodes) vertexOf(node.id);
    std::vector<std::pair<std::uint32_t, std::uint32_t>> arcs;
    arcs.reserve(edges.size());
    for (const DependencyEdge& edge : edges) {
      arcs.emplace_back(vertexOf(edge.from), vertexOf(edge.to));
    }
    const auto n = static_cast<std::uint32_t>(names_.size());
    offsets_.assign(n + 1, 0);
    for (const auto& arc : arcs) ++offsets_[arc.first + 1];
    for (std::uint32_t v = 0; v < n; ++v) offsets_[v + 1] += offsets_[v];
    targets_.resize(arcs.size());
    std::vector<std::uint32_t> fill(offsets_.begin(), offsets_.end() - 1);
    for (const auto& arc : arcs) targets_[fill[arc.first]++] = arc.second;

    length_.assign(n, 0);
    next_.assign(n, kNone);
    allowed_.assign(n, 0);
    onPath_.assign(n, 0);
    const detail::StrongComponents components(offsets_, targets_);
    component_ = components.of;
    componentInfo_.resize(components.count());
    // Components are numbered so that edges lead to lower numbers: those come first.
    for (std::uint32_t c = 0; c < components.count(); ++c) {
      const std::span<const std::uint32_t> members(components.members.data() + components.start[c],
                                                   components.start[c + 1] - components.start[c]);
      ComponentInfo& info = componentInfo_[c];
      info.size = static_cast<std::int64_t>(members.size());
      std::int64_t leaving = 0;
      bool cyclic = members.size() > 1;
      for (const std::uint32_t v : members) {
        leaving += static_cast<std::int64_t>(successors(v).size());
        for (const std::uint32_t s : successors(v)) {
          if (component_[s] == c) {
            cyclic = true;
          } else {
            info.longestExit = std::max(info.longestExit, length_[s]);
          }
        }
      }
      if (!cyclic) {
        const std::uint32_t v = members.front();
        std::int64_t best = 0;
        for (const std::uint32_t s : successors(v)) {
          if (length_[s] > best) {
            best = length_[s];
            next_[v] = s;
          }
        }
        length_[v] = best + 1;
        continue;
      }
      info.cyclic = true;
      const std::int64_t share = 1 + leaving / static_cast<std::int64_t>(members.size());
      info.stepsPerSearch = budget.stepsPerSearch > std::numeric_limits<std::int64_t>::max() / share
                                ? std::numeric_limits<std::int64_t>::max()
                                : budget.stepsPerSearch * share;
      for (const std::uint32_t v : members) {
        const std::int64_t allowed = std::min(info.stepsPerSearch, stepsLeft_);
        const SearchResult result = search(v, allowed);
        stepsLeft_ -= result.steps;
        length_[v] = result.path.length;
        allowed_[v] = allowed;
        if (result.bounded) ++boundedSearches_;
      }
    }
  }

  // A path: the names of `reversedPrefix` read backwards, then the path of `tail`.
  struct Path {
    std::vector<std::uint32_t> reversedPrefix;
    std::uint32_t tail = kNone;
    std::int64_t length = 0;
  };

  [[nodiscard]] std::int64_t boundedSearches() const noexcept { return boundedSearches_; }

  [[nodiscard]] std::uint32_t vertex(std::string_view name) const { return vertices_.at(name); }
  [[nodiscard]] std::int64_t length(std::uint32_t v) const noexcept { return length_[v]; }

  // The names of the longest path from `v`.
  [[nodiscard]] std::vector<std::string> names(std::uint32_t v) {
    std::vector<std::string> out;
    out.reserve(static_cast<std::size_t>(length_[v]));
    while (v != kNone) {
      if (!componentInfo_[component_[v]].cyclic) {
        out.emplace_back(names_[v]);
        v = next_[v];
        continue;
      }
      const Path path = search(v, allowed_[v]).path;
      for (auto it = path.reversedPrefix.rbegin(); it != path.reversedPrefix.rend(); ++it) {
        out.emplace_back(names_[*it]);
      }
      v = path.tail;
    }
    return out;
  }

 private:
  struct ComponentInfo {
    bool cyclic = false;
    std::int64_t size = 0;
    std::int64_t longestExit = 0;  // the longest path from a successor in another component
    std::int64_t stepsPerSearch = 0;
  };
  struct SearchResult {
    Path path;
    std::int64_t steps = 0;
    bool bounded = false;  // stopped at `allowed` steps with candidates left
  };

  // The search from `root`, exhaustive inside its component, taking at most `allowed` steps.
  SearchResult search(std::uint32_t root, std::int64_t allowed) {
    const std::uint32_t component = component_[root];
    const ComponentInfo& info = componentInfo_[component];
    const std::int64_t end = std::max<std::int64_t>(info.longestExit, 1);
    std::int64_t steps = 0;
    bool bounded = false;
    struct Frame {
      std::uint32_t vertex;
      std::uint32_t next;
      Path best;
    };
    std::vector<Frame> frames;
    const auto enter = [&](std::uint32_t v) {
      onPath_[v] = 1;
      frames.push_back(Frame{v, offsets_[v], {}});
    };
    const auto offer = [](Frame& frame, Path&& candidate) {
      if (candidate.length > frame.best.length) frame.best = std::move(candidate);
    };
    enter(root);
    while (true) {
      Frame& frame = frames.back();
      // No candidate can be longer than the names of the component not on the path, then the
      // longest way out of it (or a repeated name).
      const std::int64_t most = info.size - static_cast<std::int64_t>(frames.size()) + end;
      const bool open = frame.next < offsets_[frame.vertex + 1] && frame.best.length < most;
      if (open && steps < allowed) {
        const std::uint32_t s = targets_[frame.next++];
        ++steps;
        if (component_[s] != component) {
          offer(frame, Path{{}, s, length_[s]});
        } else if (onPath_[s] != 0) {
          offer(frame, Path{{s}, kNone, 1});
        } else {
          enter(s);
        }
        continue;
      }
      bounded = bounded || open;
      Path result = std::move(frame.best);
      result.reversedPrefix.push_back(frame.vertex);
      ++result.length;
      onPath_[frame.vertex] = 0;
      frames.pop_back();
      if (frames.empty()) return SearchResult{std::move(result), steps, bounded};
      offer(frames.back(), std::move(result));
    }
  }

  std::uint32_t vertexOf(std::string_view name) {
    const auto [it, added] = vertices_.try_emplace(name, static_cast<std::uint32_t>(names_.size()));
    if (added) names_.push_back(name);
    return it->second;
  }
  [[nodiscard]] std::span<const std::uint32_t> successors(std::uint32_t v) const {
    return {targets_.data() + offsets_[v], targets_.data() + offsets_[v + 1]};
  }

  std::int64_t stepsLeft_;
  std::int64_t boundedSearches_ = 0;
  std::unordered_map<std::string_view, std::uint32_t> vertices_;
  std::vector<std::string_view> names_;
  std::vector<std::uint32_t> offsets_;
  std::vector<std::uint32_t> targets_;
  std::vector<std::uint32_t> component_;
  std::vector<ComponentInfo> componentInfo_;
  std::vector<std::int64_t> length_;   // per name: the length of its longest path
  std::vector<std::uint32_t> next_;    // per name outside a cycle: its path's second name
  std::vector<std::int64_t> allowed_;  // per name in a cycle: the steps its search had
  std::vector<char> onPath_;
};

}  // namespace

CriticalPathSearch findCriticalPaths(const std::vector<DependencyNode>& nodes,
                                     const std::vector<DependencyEdge>& edges,
                                     const CriticalPathBudget& budget) {
  LongestPaths paths(nodes, edges, budget);
  std::vector<std::pair<std::int64_t, std::uint32_t>> kept;  // length, name
  for (const DependencyNode& node : nodes) {
    const std::uint32_t v = paths.vertex(node.id);
    if (paths.length(v) >= 4) kept.emplace_back(paths.length(v), v);
  }
  // Longest first; equal lengths keep node order.
  std::stable_sort(kept.begin(), kept.end(),
                   [](const auto& a, const auto& b) { return a.first > b.first; });
  CriticalPathSearch result;
  result.boundedSearches = paths.boundedSearches();
  for (std::size_t i = 0; i < kept.size() && i < 5; ++i) {
    result.paths.push_back(CriticalPath{"critical_path_" + std::to_string(i),
                                        "Critical Path " + std::to_string(i + 1),
                                        paths.names(kept[i].second),
                                        kept[i].first,
                                        PerformanceImpact::high,
                                        {{"type", "dependency_chain"}}});
  }
  return result;
}

}  // namespace tavreldi
