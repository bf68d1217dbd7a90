// The registration check: missing and captive dependencies, and one loop per circle of services.

#include "tavreldi/graph/RegistrationProblems.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <cstdint>
#include <limits>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "graph/detail/GraphBuilding.hpp"

namespace tavreldi {

namespace {

constexpr std::uint32_t kNone = std::numeric_limits<std::uint32_t>::max();

// Kept beyond one scope: what such a service holds, it holds past the end of a scope.
bool outlivesScope(DependencyScope scope) noexcept {
  return scope == DependencyScope::singleton || scope == DependencyScope::container ||
         scope == DependencyScope::custom || scope == DependencyScope::lazy;
}

// Successor lists over dense indices: the services are 0..n-1 in registration order, unknown
// names follow from n on.
struct Links {
  std::vector<std::uint32_t> offsets;  // successors of v: [offsets[v], offsets[v + 1])
  std::vector<std::uint32_t> targets;
};

// The shortest loop from `first` back to it among the members of its component, found
// breadth-first. `parent` is kNone for every vertex on entry and is left so.
std::vector<std::string> shortestLoop(std::uint32_t first, const Links& known,
                                      const detail::StrongComponents& components,
                                      std::span<const RegisteredService* const> services,
                                      std::vector<std::uint32_t>& parent) {
  const std::uint32_t component = components.of[first];
  std::vector<std::uint32_t> queue{first};
  std::uint32_t last = kNone;
  for (std::size_t head = 0; head < queue.size() && last == kNone; ++head) {
    const std::uint32_t v = queue[head];
    for (std::uint32_t e = known.offsets[v]; e < known.offsets[v + 1]; ++e) {
      const std::uint32_t w = known.targets[e];
      if (w == first) {
        last = v;
        break;
      }
      if (components.of[w] == component && parent[w] == kNone) {
        parent[w] = v;
        queue.push_back(w);
      }
    }
  }
  std::vector<std::string> loop{std::string(services[first]->name)};
  for (std::uint32_t v = last; v != first; v = parent[v]) {
    loop.emplace_back(services[v]->name);
  }
  std::reverse(loop.begin() + 1, loop.end());
  loop.emplace_back(services[first]->name);
  for (const std::uint32_t v : queue) parent[v] = kNone;
  return loop;
}

}  // namespace

RegistrationReport findRegistrationProblems(std::span<const RegisteredService> services,
                                            std::span<const ServiceDependency> dependencies) {
  std::unordered_map<std::string_view, std::uint32_t> index;
  index.reserve(services.size());
  std::vector<const RegisteredService*> registered;
  // Per service that was given several types: every distinct type, in the order given.
  std::unordered_map<std::uint32_t, std::vector<std::string_view>> typesOf;
  for (const RegisteredService& service : services) {
    const auto [at, added] =
        index.try_emplace(service.name, static_cast<std::uint32_t>(registered.size()));
    if (added) {
      registered.push_back(&service);
    } else if (!service.type.empty()) {
      auto& types = typesOf[at->second];
      const std::string_view first = registered[at->second]->type;
      if (types.empty() && !first.empty()) types.push_back(first);
      if (std::find(types.begin(), types.end(), service.type) == types.end()) {
        types.push_back(service.type);
      }
    }
  }
  const auto n = static_cast<std::uint32_t>(registered.size());

  // The distinct dependencies of registered services, in order; unknown names get indices too,
  // so that a repeated missing dependency counts once.
  std::vector<std::string_view> unknownNames;
  std::vector<std::pair<std::uint32_t, std::uint32_t>> pairs;
  std::unordered_set<std::uint64_t> seen;
  for (const ServiceDependency& dependency : dependencies) {
    const auto from = index.find(dependency.from);
    if (from == index.end() || from->second >= n) continue;
    auto [to, added] =
        index.try_emplace(dependency.to, static_cast<std::uint32_t>(n + unknownNames.size()));
    if (added) unknownNames.push_back(dependency.to);
    if (seen.insert(std::uint64_t{from->second} << 32 | to->second).second) {
      pairs.emplace_back(from->second, to->second);
    }
  }
  // Grouped by source, keeping their order: all of them, and those between services.
  Links all;
  Links known;
  all.offsets.assign(n + 1, 0);
  known.offsets.assign(n + 1, 0);
  for (const auto& [from, to] : pairs) {
    ++all.offsets[from + 1];
    if (to < n) ++known.offsets[from + 1];
  }
  for (std::uint32_t v = 0; v < n; ++v) {
    all.offsets[v + 1] += all.offsets[v];
    known.offsets[v + 1] += known.offsets[v];
  }
  all.targets.resize(pairs.size());
  known.targets.resize(known.offsets[n]);
  {
    std::vector<std::uint32_t> nextAll(all.offsets.begin(), all.offsets.end() - 1);
    std::vector<std::uint32_t> nextKnown(known.offsets.begin(), known.offsets.end() - 1);
    for (const auto& [from, to] : pairs) {
      all.targets[nextAll[from]++] = to;
      if (to < n) known.targets[nextKnown[from]++] = to;
    }
  }

  // A circle is a component of several services, or of one that depends on itself; it is
  // reported at its first service.
  const detail::StrongComponents components(known.offsets, known.targets);
  std::vector<std::uint32_t> firstOf(components.count(), kNone);
  for (std::uint32_t c = 0; c < components.count(); ++c) {
    const auto begin = components.members.begin() + components.start[c];
    const auto end = components.members.begin() + components.start[c + 1];
    const std::uint32_t first = *std::min_element(begin, end);
    const bool selfLoop = std::find(known.targets.begin() + known.offsets[first],
                                    known.targets.begin() + known.offsets[first + 1],
                                    first) != known.targets.begin() + known.offsets[first + 1];
    if (end - begin > 1 || selfLoop) firstOf[c] = first;
  }

  RegistrationReport report;
  std::vector<std::uint32_t> parent(n, kNone);
  const auto nameOf = [&](std::uint32_t v) {
    return v < n ? registered[v]->name : unknownNames[v - n];
  };
  for (std::uint32_t v = 0; v < n; ++v) {
    const RegisteredService& service = *registered[v];
    if (const auto types = typesOf.find(v); types != typesOf.end()) {
      for (std::size_t t = 1; t < types->second.size(); ++t) {
        const std::string_view first = types->second.front();
        const std::string_view other = types->second[t];
        report.problems.push_back(
            {RegistrationProblemKind::nameCollision,
             std::string(service.name),
             {std::string(first), std::string(other)},
             fmt::format("{} names two types, {} and {}; only one of them can be resolved",
                         service.name, first, other)});
      }
    }
    for (std::uint32_t e = all.offsets[v]; e < all.offsets[v + 1]; ++e) {
      const std::uint32_t to = all.targets[e];
      const std::string_view dependency = nameOf(to);
      const auto add = [&](RegistrationProblemKind kind, std::string message) {
        report.problems.push_back({kind,
                                   std::string(service.name),
                                   {std::string(service.name), std::string(dependency)},
                                   std::move(message)});
      };
      if (to >= n) {
        add(RegistrationProblemKind::missingDependency,
            fmt::format("{} depends on {}, which is not registered", service.name, dependency));
      } else if (outlivesScope(service.scope) && registered[to]->scope == DependencyScope::scoped) {
        add(RegistrationProblemKind::captiveDependency,
            fmt::format("{} ({}) depends on {} (scoped), which it would keep beyond its scope",
                        service.name, toString(service.scope), dependency));
      }
    }
    if (firstOf[components.of[v]] == v) {
      std::vector<std::string> loop = shortestLoop(v, known, components, registered, parent);
      std::string message = fmt::format("Circular dependency: {}", fmt::join(loop, " -> "));
      report.problems.push_back({RegistrationProblemKind::circularDependency,
                                 std::string(service.name), std::move(loop), std::move(message)});
    }
  }
  return report;
}

}  // namespace tavreldi
