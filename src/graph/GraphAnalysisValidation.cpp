// Graph building, validation, depth and cycle search.

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_set>
#include <utility>
#include <vector>

#include "core/detail/ContainerState.hpp"
#include "core/detail/HomeThread.hpp"
#include "core/detail/Output.hpp"
#include "graph/detail/GraphBuilding.hpp"
#include "graph/detail/NamingRules.hpp"
#include "tavreldi/core/AdvancedDIContainerImpl.hpp"
#include "tavreldi/core/Errors.hpp"

namespace tavreldi {

namespace detail {

namespace {

constexpr std::uint32_t kNone = std::numeric_limits<std::uint32_t>::max();

}  // namespace

StrongComponents::StrongComponents(std::span<const std::uint32_t> offsets,
                                   std::span<const std::uint32_t> targets) {
  const auto n = static_cast<std::uint32_t>(offsets.size() - 1);
  of.assign(n, kNone);
  members.reserve(n);
  start.push_back(0);
  std::vector<std::uint32_t> order(n, kNone);
  std::vector<std::uint32_t> low(n, 0);
  std::vector<char> onStack(n, 0);
  std::vector<std::uint32_t> stack;
  std::vector<std::pair<std::uint32_t, std::uint32_t>> frames;  // vertex, next edge
  std::uint32_t counter = 0;
  const auto enter = [&](std::uint32_t v) {
    order[v] = low[v] = counter++;
    stack.push_back(v);
    onStack[v] = 1;
    frames.emplace_back(v, offsets[v]);
  };
  for (std::uint32_t s = 0; s < n; ++s) {
    if (order[s] != kNone) continue;
    enter(s);
    while (!frames.empty()) {
      auto& [v, next] = frames.back();
      if (next < offsets[v + 1]) {
        const std::uint32_t w = targets[next++];
        if (order[w] == kNone) {
          enter(w);
        } else if (onStack[w]) {
          low[v] = std::min(low[v], order[w]);
        }
        continue;
      }
      const std::uint32_t finished = v;
      frames.pop_back();
      if (low[finished] == order[finished]) {
        const auto c = static_cast<std::uint32_t>(start.size() - 1);
        std::uint32_t w = kNone;
        do {
          w = stack.back();
          stack.pop_back();
          onStack[w] = 0;
          of[w] = c;
          members.push_back(w);
        } while (w != finished);
        start.push_back(static_cast<std::uint32_t>(members.size()));
      }
      if (!frames.empty()) {
        const std::uint32_t parent = frames.back().first;
        low[parent] = std::min(low[parent], low[finished]);
      }
    }
  }
}

ObservedGraph::ObservedGraph(const ContainerState& state) {
  const std::size_t n = state.slots.size();
  slots.reserve(n);
  offsets.reserve(n + 1);
  offsets.push_back(0);
  std::size_t edgeCount = 0;
  for (const Slot& slot : state.slots) {
    slots.push_back(&slot);
    edgeCount += slot.dependencies.size();
    offsets.push_back(static_cast<std::uint32_t>(edgeCount));
  }
  targets.reserve(edgeCount);
  for (const Slot* slot : slots) {
    for (const Slot* dependency : slot->dependencies) targets.push_back(dependency->index);
  }
  roots.reserve(state.registryOrder.size());
  registered.assign(n, 0);
  for (const Slot* slot : state.registryOrder) {
    roots.push_back(slot->index);
    registered[roots.back()] = 1;
  }
}

std::vector<std::string> cycleNames(const ObservedGraph& graph,
                                    std::span<const std::uint32_t> cycle) {
  std::vector<std::string> names;
  names.reserve(cycle.size());
  for (const std::uint32_t v : cycle) names.push_back(graph.slots[v]->name);
  return names;
}

GraphStructure::GraphStructure(const ContainerState& state, std::vector<std::uint64_t> reachStorage)
    : version(state.structureVersion), graph(state), reachStorage_(std::move(reachStorage)) {
  std::size_t length = 0;
  for (const Slot* slot : graph.slots) length += slot->name.size();
  std::shared_ptr<char[]> packed = std::make_shared_for_overwrite<char[]>(length);
  names.reserve(graph.size());
  traits.reserve(graph.size());
  std::size_t at = 0;
  for (const Slot* slot : graph.slots) {
    std::copy(slot->name.begin(), slot->name.end(), packed.get() + at);
    names.emplace_back(packed, std::string_view(packed.get() + at, slot->name.size()));
    at += slot->name.size();
    traits.push_back(traitsOf(names.back()));
  }
  dependencyOwners.reserve(state.dependencyMapOrder.size());
  for (const Slot* slot : state.dependencyMapOrder) dependencyOwners.push_back(slot->index);
  // The cycles, found once; a name is circular when it lies on one, an edge when its two ends
  // are neighbours on one.
  onCycle.assign(graph.size(), 0);
  forEachCycle(graph, [&](std::span<const std::uint32_t> cycle) {
    cycles.push_back(cycleNames(graph, cycle));
    for (std::size_t k = 0; k < cycle.size(); ++k) {
      onCycle[cycle[k]] = 1;
      ringPairs_.insert(unorderedPair(cycle[k], cycle[(k + 1) % cycle.size()]));
    }
  });
}

const GraphStructure::Registrations& GraphStructure::registrations(
    const ContainerState& state) const {
  if (registrations_) return *registrations_;
  Registrations result;
  result.scopes.reserve(graph.roots.size());
  result.metadataKind.reserve(graph.roots.size());
  for (const Slot* slot : state.registryOrder) {
    const DependencyMetadata& metadata = *slot->metadata;
    result.scopes.push_back(metadata.scope);
    const auto sameKind = [&](const DependencyMetadata& kind) {
      return kind.scope == metadata.scope && kind.lifetime == metadata.lifetime &&
             kind.threadSafety == metadata.threadSafety;
    };
    const auto kind =
        std::find_if(result.metadataKinds.begin(), result.metadataKinds.end(), sameKind);
    result.metadataKind.push_back(static_cast<std::uint32_t>(kind - result.metadataKinds.begin()));
    if (kind == result.metadataKinds.end()) {
      DependencyMetadata sample{};
      sample.scope = metadata.scope;
      sample.lifetime = metadata.lifetime;
      sample.threadSafety = metadata.threadSafety;
      result.metadataKinds.push_back(std::move(sample));
    }
    const std::vector<std::string>& declared = metadata.dependencies;
    std::unordered_set<std::string_view> declaredBefore;
    for (const std::string& name : declared) {
      const Slot* const target = state.find(name);
      if (target != nullptr && slot->dependsOn(target)) continue;
      if (declared.size() > 1 && !declaredBefore.insert(name).second) continue;
      result.declaredEdges.push_back(
          target != nullptr ? DeclaredEdge{slot->index, target->index, names[target->index]}
                            : DeclaredEdge{slot->index, kNoSlot, Name(name)});
    }
  }
  return registrations_.emplace(std::move(result));
}

NameList GraphStructure::dependencyNames(std::uint32_t v) const {
  if (!successorNames_) {
    auto successorNames = std::make_shared<std::vector<Name>>();
    successorNames->reserve(graph.targets.size());
    for (const std::uint32_t target : graph.targets) successorNames->push_back(names[target]);
    successorNames_ = std::move(successorNames);
  }
  const std::uint32_t first = graph.offsets[v];
  const std::uint32_t count = graph.offsets[v + 1] - first;
  if (count == 0) return {};
  return {successorNames_, std::span<const Name>(*successorNames_).subspan(first, count)};
}

std::shared_ptr<const GraphStructure> graphStructure(const ContainerState& state) {
  if (!state.graphStructure || state.graphStructure->version != state.structureVersion) {
    // The old structure goes only once the new one is built, and hands on its largest block:
    // freed first, glibc would give the memory back to the kernel and the new build would fault
    // it in again page by page (several times the cost of the build itself at 10,000 names,
    // once other work has shaped the heap).
    std::vector<std::uint64_t> reachStorage;
    if (state.graphStructure) reachStorage = std::move(state.graphStructure->reachStorage_);
    state.graphStructure = std::make_shared<const GraphStructure>(state, std::move(reachStorage));
  }
  return state.graphStructure;
}

namespace {

// Edge fields that depend only on the two names' roles, with the metadata shared per kind.
class EdgeFactory {
 public:
  explicit EdgeFactory(Timestamp now) : now_(now) {}

  // Appends the edge `from` → `to`.
  void append(std::vector<DependencyEdge>& edges, const Name& from, Roles fromRoles, const Name& to,
              Roles toRoles, bool circular) {
    const RelationshipType type = relationshipTypeFor(fromRoles, toRoles);
    const RelationshipStrength strength = strengthFor(fromRoles, toRoles);
    auto& metadata = metadata_[static_cast<std::size_t>(type)][static_cast<std::size_t>(strength)];
    if (!metadata) metadata = edgeMetadataFor(type, strength, now_);
    edges.push_back(DependencyEdge{from, to, "depends_on", circular, type, strength,
                                   EdgeDirection::unidirectional, impactFor(toRoles), *metadata});
  }

 private:
  using Shared = std::optional<Metadata>;  // one per kind, shared by its edges' copies
  Timestamp now_;
  std::array<std::array<Shared, EnumTraits<RelationshipStrength>::rawValues.size()>,
             EnumTraits<RelationshipType>::rawValues.size()>
      metadata_;
};

}  // namespace

NodesAndEdges buildNodesAndEdges(const ContainerState& state) {
  NodesAndEdges result;
  result.structure = graphStructure(state);
  const GraphStructure& structure = *result.structure;
  const ObservedGraph& graph = structure.graph;
  const Timestamp now = std::chrono::system_clock::now();

  // Node metadata depends only on the kind of registration and the build time.
  std::vector<Metadata> nodeMetadata;
  const GraphStructure::Registrations& registrations = structure.registrations(state);
  nodeMetadata.reserve(registrations.metadataKinds.size());
  for (const DependencyMetadata& kind : registrations.metadataKinds) {
    nodeMetadata.emplace_back(nodeMetadataFor(kind, now));
  }
  const std::size_t nodeCount = graph.roots.size();
  result.nodes.reserve(nodeCount);
  for (std::size_t i = 0; i < nodeCount; ++i) {
    const std::uint32_t v = graph.roots[i];
    const NameTraits& traits = structure.traits[v];
    const ComplexityLevel complexity = complexityFor(graph.successors(v).size());
    if (complexity == ComplexityLevel::high) ++result.highNodes;
    result.nodes.push_back(
        DependencyNode{structure.names[v], registrations.scopes[i], structure.dependencyNames(v),
                       traits.layer, structure.onCycle[v] != 0, positionFor(i, nodeCount),
                       traits.type, traits.category, complexity, samplePerformanceMetrics(now),
                       nodeMetadata[registrations.metadataKind[i]], tagsFor(traits.roles)});
  }

  // An edge leads to a higher layer when its target's node has a greater layer than its
  // source's; a name without a node counts as layer 0.
  const auto layerOf = [&](std::uint32_t index) {
    return graph.registered[index] != 0 ? structure.traits[index].layer : 0;
  };
  // Edges: observed first (distinct already: one set per name), then the declared ones not
  // observed and not declared before by the same name.
  result.edges.reserve(graph.targets.size() + registrations.declaredEdges.size());
  EdgeFactory edges(now);
  constexpr std::uint32_t kNoSlot = GraphStructure::kNoSlot;
  const auto addEdge = [&](std::uint32_t from, std::uint32_t to, const Name& toName) {
    const bool known = to != kNoSlot;
    const bool circular = known && structure.ringNeighbours(from, to);
    const Roles toRoles = known ? structure.traits[to].roles : traitsOf(toName).roles;
    edges.append(result.edges, structure.names[from], structure.traits[from].roles, toName, toRoles,
                 circular);
    if (circular) ++result.circularEdges;
    if (layerOf(from) < (known ? layerOf(to) : 0)) ++result.layerViolations;
  };
  for (const std::uint32_t from : structure.dependencyOwners) {
    for (const std::uint32_t target : graph.successors(from)) {
      addEdge(from, target, structure.names[target]);
    }
  }
  for (const GraphStructure::DeclaredEdge& declared : registrations.declaredEdges) {
    addEdge(declared.from, declared.to, declared.name);
  }
  return result;
}

}  // namespace detail

asio::awaitable<void> AdvancedDIContainerImpl::validateDependencies() {
  co_await detail::switchToHomeThread(*state_);
  const detail::ContainerState& s = *state_;
  for (const detail::Slot* slot : s.registryOrder) {
    const detail::Slot* record = s.find(slot->name);
    if (record == nullptr || !record->inRegistry || !record->metadata) {
      throw DependencyResolutionError::validationError("Type " + slot->name +
                                                       " is not properly registered");
    }
  }
  detail::printLine("✅ All dependencies are properly registered");
}

std::vector<std::vector<std::string>> AdvancedDIContainerImpl::findCircularDependencies() const {
  state_->requireHomeThread("findCircularDependencies");
  return detail::graphStructure(*state_)->cycles;
}

std::int64_t AdvancedDIContainerImpl::getDependencyDepth(std::string_view name) const {
  state_->requireHomeThread("getDependencyDepth");
  const detail::Slot* root = state_->find(name);
  if (root == nullptr || root->dependencies.empty()) return 0;
  // Depth(n) = 1 + the greatest Depth of n's dependencies, a name seen before counting 0: every
  // name met for the first time at depth d counts d, or d + 1 when it has dependencies.
  std::unordered_set<const detail::Slot*> visited{root};
  std::vector<std::pair<const detail::Slot*, std::size_t>> stack{{root, 0}};
  std::int64_t depth = 1;
  while (!stack.empty()) {
    auto& [slot, next] = stack.back();
    if (next == slot->dependencies.size()) {
      stack.pop_back();
      continue;
    }
    const detail::Slot* dependency = slot->dependencies[next++];
    if (!visited.insert(dependency).second) continue;
    const auto level = static_cast<std::int64_t>(stack.size());
    if (dependency->dependencies.empty()) {
      depth = std::max(depth, level);
    } else {
      depth = std::max(depth, level + 1);
      stack.emplace_back(dependency, 0);
    }
  }
  return depth;
}

}  // namespace tavreldi
