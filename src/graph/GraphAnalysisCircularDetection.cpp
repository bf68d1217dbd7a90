// Detailed cycle analysis: graded cycles, advice texts and the summary.

#include <algorithm>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "core/detail/ContainerState.hpp"
#include "graph/detail/GraphBuilding.hpp"
#include "tavreldi/core/AdvancedDIContainerImpl.hpp"

namespace tavreldi {

namespace {

// A name is a singleton when it is registered with scope `singleton`.
[[nodiscard]] bool isSingleton(const detail::ContainerState& state, std::string_view name) {
  const detail::Slot* slot = state.find(name);
  return slot != nullptr && slot->inRegistry && slot->metadata &&
         slot->metadata->scope == DependencyScope::singleton;
}

[[nodiscard]] const std::string* firstSingleton(const detail::ContainerState& state,
                                                const std::vector<std::string>& cycle) {
  for (const std::string& name : cycle) {
    if (isSingleton(state, name)) return &name;
  }
  return nullptr;
}

}  // namespace

std::vector<CircularDependency> AdvancedDIContainerImpl::findCircularDependenciesDetailed() const {
  state_->requireHomeThread("findCircularDependenciesDetailed");
  const auto structure = detail::graphStructure(*state_);
  std::vector<CircularDependency> found;
  found.reserve(structure->cycles.size());
  for (const std::vector<std::string>& cycle : structure->cycles) {
    const CircularDependencySeverity severity = calculateCycleSeverity(cycle);
    const CircularDependencyImpact impact = calculateCycleImpact(cycle);
    found.push_back(CircularDependency{cycle, severity, impact, generateCycleSuggestions(cycle)});
  }
  return found;
}

CircularDependencySeverity AdvancedDIContainerImpl::calculateCycleSeverity(
    const std::vector<std::string>& cycle) const {
  state_->requireHomeThread("calculateCycleSeverity");
  if (cycle.size() <= 2) return CircularDependencySeverity::low;
  if (cycle.size() <= 4) return CircularDependencySeverity::medium;
  return CircularDependencySeverity::high;
}

CircularDependencyImpact AdvancedDIContainerImpl::calculateCycleImpact(
    const std::vector<std::string>& cycle) const {
  state_->requireHomeThread("calculateCycleImpact");
  if (cycle.empty()) return CircularDependencyImpact::medium;
  if (firstSingleton(*state_, cycle) != nullptr) return CircularDependencyImpact::critical;
  return cycle.size() <= 3 ? CircularDependencyImpact::medium : CircularDependencyImpact::high;
}

std::vector<std::string> AdvancedDIContainerImpl::generateCycleSuggestions(
    const std::vector<std::string>& cycle) const {
  state_->requireHomeThread("generateCycleSuggestions");
  std::vector<std::string> suggestions;
  if (const std::string* singleton = firstSingleton(*state_, cycle)) {
    suggestions.push_back("Consider changing " + *singleton + " from singleton to transient scope");
  }
  const bool hasAbstraction = std::any_of(cycle.begin(), cycle.end(), [](const std::string& name) {
    return name.find("Protocol") != std::string::npos ||
           name.find("Interface") != std::string::npos;
  });
  if (!hasAbstraction)
    suggestions.emplace_back("Introduce interfaces/protocols to break the cycle");
  suggestions.emplace_back("Consider using event-driven architecture to decouple dependencies");
  suggestions.emplace_back("Use factory pattern to create instances when needed");
  return suggestions;
}

CircularDependencyAnalysis AdvancedDIContainerImpl::analyzeCircularDependencies() const {
  state_->requireHomeThread("analyzeCircularDependencies");
  CircularDependencyAnalysis analysis;
  analysis.cycles = findCircularDependenciesDetailed();
  const auto& cycles = analysis.cycles;
  const auto countImpact = [&](CircularDependencyImpact impact) {
    return static_cast<std::int64_t>(std::count_if(
        cycles.begin(), cycles.end(),
        [impact](const CircularDependency& cycle) { return cycle.impact == impact; }));
  };
  analysis.totalCycles = static_cast<std::int64_t>(cycles.size());
  analysis.criticalCycles = countImpact(CircularDependencyImpact::critical);
  analysis.highImpactCycles = countImpact(CircularDependencyImpact::high);
  analysis.mediumImpactCycles = countImpact(CircularDependencyImpact::medium);
  std::int64_t lengthSum = 0;
  for (const CircularDependency& cycle : cycles) {
    const auto length = static_cast<std::int64_t>(cycle.cycle.size());
    lengthSum = detail::checkedAdd(lengthSum, length);
    analysis.longestCycle = std::max(analysis.longestCycle, length);
  }
  analysis.averageCycleLength = cycles.empty() ? 0 : lengthSum / analysis.totalCycles;
  analysis.recommendations = generateOverallRecommendations(cycles);
  return analysis;
}

std::vector<std::string> AdvancedDIContainerImpl::generateOverallRecommendations(
    const std::vector<CircularDependency>& cycles) const {
  state_->requireHomeThread("generateOverallRecommendations");
  if (cycles.empty()) return {"No circular dependencies found. Great job!"};
  std::vector<std::string> recommendations;
  const auto critical = std::count_if(cycles.begin(), cycles.end(), [](const auto& cycle) {
    return cycle.impact == CircularDependencyImpact::critical;
  });
  if (critical > 0) {
    recommendations.push_back("Priority: Resolve " + std::to_string(critical) +
                              " critical circular dependencies");
  }
  // Checked against the registrations again, not through the stored impact.
  const auto withSingleton = std::count_if(cycles.begin(), cycles.end(), [&](const auto& cycle) {
    return firstSingleton(*state_, cycle.cycle) != nullptr;
  });
  if (withSingleton > 0) {
    recommendations.push_back("Consider changing singleton scopes to transient for " +
                              std::to_string(withSingleton) + " cycles");
  }
  recommendations.emplace_back("Implement dependency inversion principle using interfaces");
  recommendations.emplace_back("Consider using event-driven architecture for loose coupling");
  recommendations.emplace_back("Use factory pattern for complex object creation");
  return recommendations;
}

}  // namespace tavreldi
