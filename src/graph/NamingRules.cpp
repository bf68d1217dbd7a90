#include "graph/detail/NamingRules.hpp"

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>

namespace tavreldi::detail {
namespace {

bool has(std::string_view name, std::string_view part) noexcept {
  return name.find(part) != std::string_view::npos;
}

std::mt19937_64& generator() {
  thread_local std::mt19937_64 engine{std::random_device{}()};
  return engine;
}

// Uniform over the closed range [low, high].
double uniformClosed(double low, double high) {
  std::uniform_real_distribution<double> distribution(
      low, std::nextafter(high, std::numeric_limits<double>::max()));
  return distribution(generator());
}

// ⌊√n⌋ exactly, without trusting the rounding of the floating square root.
std::size_t integerSquareRoot(std::size_t n) noexcept {
  auto root = static_cast<std::size_t>(std::sqrt(static_cast<double>(n)));
  while (root > 0 && root * root > n) --root;
  while ((root + 1) * (root + 1) <= n) ++root;
  return root;
}

}  // namespace

std::int64_t layerFor(std::string_view name) noexcept {
  if (has(name, "API")) return 1;
  if (has(name, "Repository")) return 2;
  if (has(name, "UseCase")) return 3;
  if (has(name, "ViewModel")) return 4;
  return 0;
}

NodeType nodeTypeFor(std::string_view name) noexcept {
  if (has(name, "API") || has(name, "Service")) return NodeType::service;
  if (has(name, "Repository")) return NodeType::repository;
  if (has(name, "UseCase") || has(name, "Interactor")) return NodeType::useCase;
  if (has(name, "ViewModel") || has(name, "Presenter")) return NodeType::presentation;
  if (has(name, "Manager") || has(name, "Handler")) return NodeType::manager;
  return NodeType::component;
}

NodeCategory nodeCategoryFor(std::string_view name) noexcept {
  if (has(name, "API") || has(name, "Network")) return NodeCategory::networking;
  if (has(name, "Database") || has(name, "Storage")) return NodeCategory::data;
  if (has(name, "UI") || has(name, "View")) return NodeCategory::presentation;
  if (has(name, "Business") || has(name, "Domain")) return NodeCategory::business;
  return NodeCategory::infrastructure;
}

ComplexityLevel complexityFor(std::size_t dependencyCount) noexcept {
  if (dependencyCount <= 2) return ComplexityLevel::low;
  if (dependencyCount <= 5) return ComplexityLevel::medium;
  return ComplexityLevel::high;
}

Point positionFor(std::size_t index, std::size_t count) noexcept {
  const std::size_t columns = std::max<std::size_t>(integerSquareRoot(count), 3);
  return Point{static_cast<double>((index % columns) * 150 + 100),
               static_cast<double>((index / columns) * 100 + 100)};
}

NodePerformanceMetrics samplePerformanceMetrics(Timestamp now) {
  NodePerformanceMetrics metrics;
  metrics.resolutionTime = uniformClosed(0.001, 0.01);
  metrics.memoryFootprint = uniformClosed(1024, 10240);
  metrics.cacheHitRate = uniformClosed(0.7, 0.95);
  metrics.resolutionCount = std::uniform_int_distribution<std::int64_t>(1, 100)(generator());
  metrics.lastResolved = now;
  return metrics;
}

std::vector<std::string> tagsFor(std::string_view name) {
  std::vector<std::string> tags;
  if (has(name, "API")) tags.emplace_back("api");
  if (has(name, "Repository")) tags.emplace_back("repository");
  if (has(name, "UseCase")) tags.emplace_back("usecase");
  if (has(name, "ViewModel")) tags.emplace_back("viewmodel");
  return tags;
}

std::map<std::string, std::string> nodeMetadataFor(const DependencyMetadata& metadata,
                                                   Timestamp now) {
  return {
      {"scope", std::string(toString(metadata.scope))},
      {"lifetime", std::string(toString(metadata.lifetime))},
      {"threadSafety", std::string(toString(metadata.threadSafety))},
      {"created_at", toIso8601(now)},
  };
}

RelationshipType relationshipTypeFor(std::string_view from, std::string_view to) noexcept {
  if (has(from, "Repository") && has(to, "API")) return RelationshipType::dataFlow;
  if (has(from, "UseCase") && has(to, "Repository")) return RelationshipType::dependency;
  if (has(from, "ViewModel") && has(to, "UseCase")) return RelationshipType::presentation;
  return RelationshipType::dependency;
}

RelationshipStrength strengthFor(std::string_view from, std::string_view to) noexcept {
  if (has(from, "Repository") && has(to, "API")) return RelationshipStrength::strong;
  if (has(from, "UseCase") && has(to, "Repository")) return RelationshipStrength::medium;
  return RelationshipStrength::weak;
}

PerformanceImpact impactFor(std::string_view to) noexcept {
  if (has(to, "API")) return PerformanceImpact::high;
  if (has(to, "Database")) return PerformanceImpact::high;
  if (has(to, "Repository")) return PerformanceImpact::medium;
  return PerformanceImpact::low;
}

std::map<std::string, std::string> edgeMetadataFor(RelationshipType type,
                                                   RelationshipStrength strength, Timestamp now) {
  return {
      {"created_at", toIso8601(now)},
      {"relationship_type", std::string(toString(type))},
      {"strength", std::string(toString(strength))},
  };
}

}  // namespace tavreldi::detail
