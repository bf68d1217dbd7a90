#include "graph/detail/NamingRules.hpp"

#include <algorithm>
#include <array>
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

NameTraits traitsOf(std::string_view name) noexcept {
  NameTraits traits;
  const bool api = has(name, "API");
  const bool repository = has(name, "Repository");
  const bool useCase = has(name, "UseCase");
  const bool viewModel = has(name, "ViewModel");
  traits.roles = static_cast<Roles>(
      (api ? kApiRole : 0) | (repository ? kRepositoryRole : 0) | (useCase ? kUseCaseRole : 0) |
      (viewModel ? kViewModelRole : 0) | (has(name, "Database") ? kDatabaseRole : 0));
  traits.layer = api ? 1 : repository ? 2 : useCase ? 3 : viewModel ? 4 : 0;

  if (api || has(name, "Service")) {
    traits.type = NodeType::service;
  } else if (repository) {
    traits.type = NodeType::repository;
  } else if (useCase || has(name, "Interactor")) {
    traits.type = NodeType::useCase;
  } else if (viewModel || has(name, "Presenter")) {
    traits.type = NodeType::presentation;
  } else if (has(name, "Manager") || has(name, "Handler")) {
    traits.type = NodeType::manager;
  }

  if (api || has(name, "Network")) {
    traits.category = NodeCategory::networking;
  } else if ((traits.roles & kDatabaseRole) != 0 || has(name, "Storage")) {
    traits.category = NodeCategory::data;
  } else if (has(name, "UI") || has(name, "View")) {
    traits.category = NodeCategory::presentation;
  } else if (has(name, "Business") || has(name, "Domain")) {
    traits.category = NodeCategory::business;
  }
  return traits;
}

ComplexityLevel complexityFor(std::size_t dependencyCount) noexcept {
  if (dependencyCount <= 2) return ComplexityLevel::low;
  if (dependencyCount <= 5) return ComplexityLevel::medium;
  return ComplexityLevel::high;
}

Point positionFor(std::size_t index, std::size_t count) noexcept {
  const std::size_t columns = std::max<std::size_t>(integerSquareRoot(count), 3);
  const std::size_t row = index / columns;
  const std::size_t column = index % columns;
  return Point{static_cast<double>(column * 150 + 100), static_cast<double>(row * 100 + 100)};
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

const NameList& tagsFor(Roles roles) {
  // One list per combination of the four tagged roles, made once and shared by every node.
  static const std::array<NameList, 16> lists = [] {
    std::array<NameList, 16> result;
    for (unsigned bits = 0; bits < result.size(); ++bits) {
      std::vector<Name> tags;
      if ((bits & 1U) != 0) tags.emplace_back("api");
      if ((bits & 2U) != 0) tags.emplace_back("repository");
      if ((bits & 4U) != 0) tags.emplace_back("usecase");
      if ((bits & 8U) != 0) tags.emplace_back("viewmodel");
      result[bits] = NameList(std::move(tags));
    }
    return result;
  }();
  const unsigned bits =
      ((roles & kApiRole) != 0 ? 1U : 0U) | ((roles & kRepositoryRole) != 0 ? 2U : 0U) |
      ((roles & kUseCaseRole) != 0 ? 4U : 0U) | ((roles & kViewModelRole) != 0 ? 8U : 0U);
  return lists[bits];
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

namespace {

[[nodiscard]] constexpr bool both(Roles from, Roles fromRole, Roles to, Roles toRole) noexcept {
  return (from & fromRole) != 0 && (to & toRole) != 0;
}

}  // namespace

RelationshipType relationshipTypeFor(Roles from, Roles to) noexcept {
  if (both(from, kRepositoryRole, to, kApiRole)) return RelationshipType::dataFlow;
  if (both(from, kUseCaseRole, to, kRepositoryRole)) return RelationshipType::dependency;
  if (both(from, kViewModelRole, to, kUseCaseRole)) return RelationshipType::presentation;
  return RelationshipType::dependency;
}

RelationshipStrength strengthFor(Roles from, Roles to) noexcept {
  if (both(from, kRepositoryRole, to, kApiRole)) return RelationshipStrength::strong;
  if (both(from, kUseCaseRole, to, kRepositoryRole)) return RelationshipStrength::medium;
  return RelationshipStrength::weak;
}

PerformanceImpact impactFor(Roles to) noexcept {
  if ((to & (kApiRole | kDatabaseRole)) != 0) return PerformanceImpact::high;
  if ((to & kRepositoryRole) != 0) return PerformanceImpact::medium;
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
