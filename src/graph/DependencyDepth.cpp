// The greatest dependency depth over the registered names.
//
// getDependencyDepth searches from one name with a visited set shared across branches, so its
// value depends on the order dependencies are explored and is not a longest path. Searching it
// from every name is quadratic; this file gives the same greatest value with most of that work
// replaced by depths already known.
//
// Call a name w met during a search an entry when the name it was reached from lies in another
// strongly connected component. No name on the search path can be reached from an entry (it
// would share the entry's component), and anything reachable from an earlier visited name is
// visited already or reachable from the path. Hence:
//  - once the search below an entry returns, the visited set has grown by exactly what the
//    entry reaches;
//  - below an entry the search sees what the entry reaches minus a set closed under
//    dependencies. That only cuts subtrees off the entry's own search tree: names keep their
//    depths, the depth found is at most the entry's own, and it is the entry's own when the
//    entry's deepest name is still unvisited (then so is everything above it in the tree).
// With the set of names each component reaches at hand (as bits), an entry is settled without
// a search when its deepest name is unvisited (it counts its known depth), or when no path to
// the names it reaches that are still unvisited can beat the best depth found so far (it counts
// nothing). Either way its reach is merged into the visited set. Depths are found dependencies
// first; a name whose first dependency is at least as deep as the others needs no search at all
// (its search repeats the first dependency's one level deeper).
//
// The reach sets take about n * n / 16 bytes for n names; past the caller's budget, the depth is
// found by searches alone, from the roots with the largest upper bounds down.
//
// Each search walks up to all the names and edges its root reaches, and in the worst case (a
// large strongly connected component of shallow depth, such as a hub with spokes both ways)
// every root must be searched: time n * (n + e). The searches therefore share a budget of
// edges looked at; once it is spent, the greatest depth found so far is the result (never more
// than the exact one, and equal to it wherever the budget suffices).

#include <algorithm>
#include <bit>
#include <cstdint>
#include <limits>
#include <optional>
#include <span>
#include <utility>
#include <vector>

#include "graph/detail/GraphBuilding.hpp"

namespace tavreldi::detail {

namespace {

// Components up to this size get every member's depth computed ahead; a search from inside a
// component walks the whole component, so larger ones are searched only from the roots that
// need it.
constexpr std::uint32_t kPrecomputedComponentSize = 16;

[[nodiscard]] std::size_t wordsFor(std::size_t bits) noexcept { return (bits + 63) / 64; }

// The component structure as the depth searches use it.
//
// `heaviest[c]` is the heaviest path through the condensation starting at component c, a
// component weighing its size plus one when it holds a cycle. A search's deepest count is a
// simple path, plus one edge when it ends on a name with dependencies, and no simple path
// re-enters a component it has left; so a path from w to t counts at most
// heaviest[w's component] - key(t), where key(t) is heaviest[t's component] minus its size,
// plus one when t has no dependencies. In particular every depth is at most `bound`.
//
// Vertices get positions in order of their component's heaviest path, lightest first. A
// component reaches only lighter ones, so what component c reaches lies below `end[c]`, and
// `floorKey[p]` (the least key at position p or above) bounds the keys of all names from a
// position on.
struct Layout {
  Layout(const ObservedGraph& graph, const StrongComponents& components)
      : heaviest(components.count(), 0),
        bound(graph.size()),
        end(components.count()),
        position(graph.size()),
        floorKey(graph.size() + 1, std::numeric_limits<std::int64_t>::max()) {
    const std::uint32_t count = components.count();
    const auto sizeOf = [&](std::uint32_t c) {
      return static_cast<std::int64_t>(components.start[c + 1] - components.start[c]);
    };
    for (std::uint32_t c = 0; c < count; ++c) {  // lighter components are numbered first
      bool cyclic = false;
      std::int64_t below = 0;
      for (std::uint32_t i = components.start[c]; i < components.start[c + 1]; ++i) {
        for (const std::uint32_t w : graph.successors(components.members[i])) {
          const std::uint32_t target = components.of[w];
          if (target == c) {
            cyclic = true;
          } else {
            below = std::max(below, heaviest[target]);
          }
        }
      }
      heaviest[c] = sizeOf(c) + (cyclic ? 1 : 0) + below;
    }
    for (std::uint32_t v = 0; v < graph.size(); ++v) bound[v] = heaviest[components.of[v]] - 1;

    byWeight.resize(count);
    for (std::uint32_t c = 0; c < count; ++c) byWeight[c] = c;
    std::stable_sort(byWeight.begin(), byWeight.end(),
                     [&](std::uint32_t a, std::uint32_t b) { return heaviest[a] < heaviest[b]; });
    std::uint32_t next = 0;
    std::vector<std::int64_t> key(graph.size() + 1, std::numeric_limits<std::int64_t>::max());
    for (const std::uint32_t c : byWeight) {
      for (std::uint32_t i = components.start[c]; i < components.start[c + 1]; ++i) {
        const std::uint32_t v = components.members[i];
        position[v] = next;
        key[next] = heaviest[c] - sizeOf(c) + (graph.successors(v).empty() ? 1 : 0);
        ++next;
      }
      end[c] = next;
    }
    for (std::uint32_t p = graph.size(); p-- > 0;) floorKey[p] = std::min(key[p], floorKey[p + 1]);
  }

  std::vector<std::int64_t> heaviest;   // per component
  std::vector<std::int64_t> bound;      // per vertex: an upper bound of its depth
  std::vector<std::uint32_t> byWeight;  // components, lightest first
  std::vector<std::uint32_t> end;       // per component: end of the positions it reaches
  std::vector<std::uint32_t> position;  // per vertex
  std::vector<std::int64_t> floorKey;   // per position, and one past the last
};

// For every component, the positions of the vertices it reaches (itself included), as a bit
// set of `wordsFor(end[c])` words.
class ReachSets {
 public:
  [[nodiscard]] static std::size_t wordCount(const Layout& layout) noexcept {
    std::size_t words = 0;
    for (const std::uint32_t end : layout.end) words += wordsFor(end);
    return words;
  }

  // Builds the sets in `storage`'s memory, which `release` hands back.
  ReachSets(const ObservedGraph& graph, const StrongComponents& components, const Layout& layout,
            std::vector<std::uint64_t> storage)
      : first_(components.count() + 1, 0), bits_(std::move(storage)) {
    for (std::uint32_t c = 0; c < components.count(); ++c) {
      first_[c + 1] = first_[c] + wordsFor(layout.end[c]);
    }
    bits_.assign(first_.back(), 0);
    for (const std::uint32_t c : layout.byWeight) {  // what a component reaches comes first
      const std::span<std::uint64_t> own = mutableOf(c);
      for (std::uint32_t i = components.start[c]; i < components.start[c + 1]; ++i) {
        const std::uint32_t v = components.members[i];
        own[layout.position[v] / 64] |= std::uint64_t{1} << (layout.position[v] % 64);
        for (const std::uint32_t w : graph.successors(v)) {
          const std::uint32_t target = components.of[w];
          if (target == c) continue;
          const std::span<const std::uint64_t> below = of(target);
          for (std::size_t k = 0; k < below.size(); ++k) own[k] |= below[k];
        }
      }
    }
  }

  [[nodiscard]] std::vector<std::uint64_t> release() && noexcept { return std::move(bits_); }

  [[nodiscard]] std::span<const std::uint64_t> of(std::uint32_t component) const noexcept {
    return {bits_.data() + first_[component], first_[component + 1] - first_[component]};
  }

 private:
  [[nodiscard]] std::span<std::uint64_t> mutableOf(std::uint32_t component) noexcept {
    return {bits_.data() + first_[component], first_[component + 1] - first_[component]};
  }

  std::vector<std::size_t> first_;  // words of component c: [first_[c], first_[c + 1])
  std::vector<std::uint64_t> bits_;
};

// The visited set of one search, over positions; clearing costs only the words touched.
class VisitedSet {
 public:
  explicit VisitedSet(std::size_t size) : words_(wordsFor(size), 0) {}

  void clear() noexcept {
    std::fill(words_.begin(), words_.begin() + static_cast<std::ptrdiff_t>(touched_), 0);
    touched_ = 0;
  }
  [[nodiscard]] bool contains(std::uint32_t p) const noexcept {
    return (words_[p / 64] >> (p % 64) & 1) != 0;
  }
  void insert(std::uint32_t p) noexcept {
    words_[p / 64] |= std::uint64_t{1} << (p % 64);
    touched_ = std::max<std::size_t>(touched_, p / 64 + 1);
  }
  // The first position of `set` not visited, or the set's end.
  [[nodiscard]] std::uint32_t firstOutside(std::span<const std::uint64_t> set) const noexcept {
    for (std::size_t k = 0; k < set.size(); ++k) {
      const std::uint64_t open = set[k] & ~words_[k];
      if (open != 0) return static_cast<std::uint32_t>(k * 64 + std::countr_zero(open));
    }
    return static_cast<std::uint32_t>(set.size() * 64);
  }
  void merge(std::span<const std::uint64_t> set) noexcept {
    for (std::size_t k = 0; k < set.size(); ++k) words_[k] |= set[k];
    touched_ = std::max(touched_, set.size());
  }

 private:
  std::vector<std::uint64_t> words_;
  std::size_t touched_ = 0;
};

// The search of getDependencyDepth from one root: every name met for the first time at depth d
// counts d, plus 1 when it has dependencies of its own. With reach sets, entries are settled
// without a search where the facts above allow it.
class DepthSearch {
 public:
  DepthSearch(const ObservedGraph& graph, const StrongComponents& components, const Layout& layout,
              const ReachSets* reach, std::int64_t steps)
      : stepsLeft_(steps),
        graph_(graph),
        components_(components),
        layout_(layout),
        reach_(reach),
        visited_(graph.size()),
        depth_(graph.size(), kUnknown),
        deepest_(graph.size(), 0) {}

  // The root's depth, or `floor` if that is greater (a floor lets more entries be skipped).
  // `deepest` receives a name counted at the depth returned (unchanged if that is the floor).
  [[nodiscard]] std::int64_t run(std::uint32_t root, std::int64_t floor, std::uint32_t& deepest) {
    visited_.clear();
    visited_.insert(layout_.position[root]);
    if (graph_.offsets[root] == graph_.offsets[root + 1]) {
      if (floor <= 0) deepest = root;
      return floor;
    }
    std::int64_t best = floor;
    if (best < 1) {
      best = 1;
      deepest = root;
    }
    frames_.clear();
    frames_.emplace_back(root, graph_.offsets[root]);
    while (!frames_.empty()) {
      auto& [vertex, next] = frames_.back();
      if (next == graph_.offsets[vertex + 1]) {
        frames_.pop_back();
        continue;
      }
      if (stepsLeft_-- <= 0) return best;  // the budget is spent: the best so far
      const std::uint32_t w = graph_.targets[next++];
      if (visited_.contains(layout_.position[w])) continue;
      const auto level = static_cast<std::int64_t>(frames_.size());
      const std::uint32_t component = components_.of[w];
      if (reach_ != nullptr && component != components_.of[vertex]) {
        const std::int64_t known = depth_[w];
        const std::int64_t most = known == kUnknown ? layout_.bound[w] : known;
        if (level + most <= best) {
          visited_.merge(reach_->of(component));
          continue;
        }
        // The entry's deepest name is still unvisited, so are the names above it in the
        // entry's search tree: the entry's full depth is reached.
        if (known != kUnknown && !visited_.contains(layout_.position[deepest_[w]])) {
          best = level + known;
          deepest = deepest_[w];
          visited_.merge(reach_->of(component));
          continue;
        }
        // Otherwise the unvisited names the entry reaches may lie high enough that no path
        // to them beats the best.
        const std::span<const std::uint64_t> reached = reach_->of(component);
        if (level + layout_.heaviest[component] -
                layout_.floorKey[visited_.firstOutside(reached)] <=
            best) {
          visited_.merge(reached);
          continue;
        }
      }
      visited_.insert(layout_.position[w]);
      const bool leaf = graph_.offsets[w] == graph_.offsets[w + 1];
      const std::int64_t count = level + (leaf ? 0 : 1);
      // Of equally deep names, keep the one in the heaviest component: it is the least likely
      // to have been visited when this depth is reused.
      if (count > best || (count == best && layout_.position[w] > layout_.position[deepest])) {
        best = count;
        deepest = w;
      }
      if (!leaf) frames_.emplace_back(w, graph_.offsets[w]);
    }
    return best;
  }

  // Finds the depth of `vertex` and keeps it for later searches. When every dependency lies in
  // another component, the search from `vertex` visits each dependency in turn with exactly
  // what the earlier ones reach already visited: a dependency is skipped when one of those
  // reaches it, and otherwise counts one more than its own depth whenever its deepest name is
  // not among them. Only when that cannot be told is the search run.
  void settle(std::uint32_t vertex) {
    if (reach_ != nullptr && settledFromDependencies(vertex)) return;
    const std::int64_t depth = run(vertex, 0, deepest_[vertex]);
    if (!exhausted()) depth_[vertex] = depth;  // a cut search's depth is no depth to reuse
  }

  [[nodiscard]] bool exhausted() const noexcept { return stepsLeft_ < 0; }

  [[nodiscard]] std::int64_t known(std::uint32_t vertex) const noexcept { return depth_[vertex]; }

  static constexpr std::int64_t kUnknown = -1;

 private:
  [[nodiscard]] bool settledFromDependencies(std::uint32_t vertex) {
    const auto successors = graph_.successors(vertex);
    if (successors.empty()) {
      depth_[vertex] = 0;
      deepest_[vertex] = vertex;
      return true;
    }
    const std::uint32_t component = components_.of[vertex];
    const auto reachedBefore = [&](std::size_t i, std::uint32_t w) {
      const std::uint32_t p = layout_.position[w];
      for (std::size_t k = 0; k < i; ++k) {
        const auto set = reach_->of(components_.of[successors[k]]);
        if (p / 64 < set.size() && (set[p / 64] >> (p % 64) & 1) != 0) return true;
      }
      return false;
    };
    std::int64_t best = 1;
    std::uint32_t deepest = vertex;
    for (std::size_t i = 0; i < successors.size(); ++i) {
      const std::uint32_t w = successors[i];
      if (components_.of[w] == component) return false;
      if (reachedBefore(i, w)) continue;
      const std::int64_t known = depth_[w];
      if (1 + (known == kUnknown ? layout_.bound[w] : known) <= best) continue;
      if (known == kUnknown || reachedBefore(i, deepest_[w])) return false;
      best = 1 + known;
      deepest = deepest_[w];
    }
    depth_[vertex] = best;
    deepest_[vertex] = deepest;
    return true;
  }

  std::int64_t stepsLeft_;
  const ObservedGraph& graph_;
  const StrongComponents& components_;
  const Layout& layout_;
  const ReachSets* reach_;
  VisitedSet visited_;
  std::vector<std::int64_t> depth_;     // settled depths, or kUnknown
  std::vector<std::uint32_t> deepest_;  // per settled vertex: a name counted at its depth
  std::vector<std::pair<std::uint32_t, std::uint32_t>> frames_;  // vertex, next edge
};

}  // namespace

std::int64_t maxDependencyDepth(const ObservedGraph& graph, std::size_t reachBudget,
                                std::int64_t stepBudget, std::vector<std::uint64_t>* reachStorage) {
  if (graph.roots.empty()) return 0;
  const StrongComponents components(graph.offsets, graph.targets);
  const Layout layout(graph, components);
  const std::vector<std::int64_t>& bound = layout.bound;

  std::optional<ReachSets> reach;
  if (ReachSets::wordCount(layout) <= reachBudget / sizeof(std::uint64_t)) {
    reach.emplace(
        graph, components, layout,
        reachStorage != nullptr ? std::move(*reachStorage) : std::vector<std::uint64_t>{});
  }
  DepthSearch search(graph, components, layout, reach ? &*reach : nullptr, stepBudget);
  std::int64_t best = 0;
  std::vector<std::uint32_t> candidates;
  if (reach) {
    // Every depth in the small components, dependencies first.
    for (std::uint32_t c = 0; c < components.count(); ++c) {
      if (components.start[c + 1] - components.start[c] > kPrecomputedComponentSize) continue;
      for (std::uint32_t p = components.start[c]; p < components.start[c + 1]; ++p) {
        search.settle(components.members[p]);
      }
    }
    for (const std::uint32_t root : graph.roots) {
      const std::int64_t known = search.known(root);
      if (known == DepthSearch::kUnknown) {
        candidates.push_back(root);
      } else {
        best = std::max(best, known);
      }
    }
  } else {
    // Without reach sets: the search from a name first runs down first dependencies for as
    // long as they lead out of the current component, none of which can have been met yet, so
    // the first dependency's own search is repeated one level deeper. A registered name thus
    // outdoes its first dependency when that lies in another component (which then need not be
    // tried), and the chains of first dependencies give a depth to start from.
    std::vector<std::int64_t> firstChain(graph.size(), 0);
    std::vector<char> outdone(graph.size(), 0);
    for (const std::uint32_t v : components.members) {  // dependencies' components come first
      const auto successors = graph.successors(v);
      if (successors.empty()) continue;
      const std::uint32_t first = successors.front();
      const bool leaves = components.of[first] != components.of[v];
      firstChain[v] = leaves ? 1 + firstChain[first] : 1;
      if (leaves && graph.registered[v]) outdone[first] = 1;
    }
    for (const std::uint32_t root : graph.roots) {
      best = std::max(best, firstChain[root]);
      if (!outdone[root]) candidates.push_back(root);
    }
  }
  // The rest by branch and bound: largest bound first, until the best depth reaches the next.
  std::stable_sort(candidates.begin(), candidates.end(),
                   [&](std::uint32_t a, std::uint32_t b) { return bound[a] > bound[b]; });
  for (const std::uint32_t root : candidates) {
    if (best >= bound[root] || search.exhausted()) break;
    std::uint32_t deepest = root;
    best = search.run(root, best, deepest);
  }
  if (reach && reachStorage != nullptr) *reachStorage = std::move(*reach).release();
  return best;
}

}  // namespace tavreldi::detail
