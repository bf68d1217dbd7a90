#pragma once

// The fixed naming rules by which the graph builder classifies nodes and edges from nothing but
// the registered type names. Every test is an exact, case-sensitive substring test, tried in the
// order written; the first that holds decides.

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "tavreldi/core/DependencyMetadata.hpp"
#include "tavreldi/core/Timestamp.hpp"
#include "tavreldi/graph/DependencyEdge.hpp"
#include "tavreldi/graph/DependencyNode.hpp"

namespace tavreldi::detail {

/// The parts of a name the edge rules, layers and tags look at, as bits.
using Roles = std::uint8_t;
inline constexpr Roles kApiRole = 1;         // "API"
inline constexpr Roles kRepositoryRole = 2;  // "Repository"
inline constexpr Roles kUseCaseRole = 4;     // "UseCase"
inline constexpr Roles kViewModelRole = 8;   // "ViewModel"
inline constexpr Roles kDatabaseRole = 16;   // "Database"

/// Everything the rules tell from a name alone, found once per name: the graph builder keeps
/// these per name, so that a name's text is searched once, not once per edge.
struct NameTraits {
  Roles roles = 0;
  /// Architectural layer: "API" 1, "Repository" 2, "UseCase" 3, "ViewModel" 4, otherwise 0.
  std::int64_t layer = 0;
  /// Kind of component. Never `viewModel` (a view model is `presentation`).
  NodeType type = NodeType::component;
  /// Architectural category ("API"/"Network" first, `infrastructure` when nothing matches).
  NodeCategory category = NodeCategory::infrastructure;
};

/// What the rules tell from `name`.
[[nodiscard]] NameTraits traitsOf(std::string_view name) noexcept;

/// Complexity from the number of dependencies: up to 2 low, 3 to 5 medium, 6 or more high.
[[nodiscard]] ComplexityLevel complexityFor(std::size_t dependencyCount) noexcept;

/// Canvas position of node `index` of `count`: max(⌊√count⌋, 3) columns, 150 by 100 points
/// apart, starting at (100, 100).
[[nodiscard]] Point positionFor(std::size_t index, std::size_t count) noexcept;

/// Plausible sample figures, drawn anew on every call from a per-thread generator;
/// `lastResolved` is `now`.
[[nodiscard]] NodePerformanceMetrics samplePerformanceMetrics(Timestamp now);

/// Lower-case role labels, in the order "api", "repository", "usecase", "viewmodel".
[[nodiscard]] const NameList& tagsFor(Roles roles);

/// "scope", "lifetime", "threadSafety" (raw values of the registration) and "created_at"
/// (`now`, ISO 8601 to the second).
[[nodiscard]] std::map<std::string, std::string> nodeMetadataFor(const DependencyMetadata& metadata,
                                                                 Timestamp now);

/// Kind of the edge `from` → `to`, from the roles of the two names.
[[nodiscard]] RelationshipType relationshipTypeFor(Roles from, Roles to) noexcept;

/// Coupling strength of the edge `from` → `to`.
[[nodiscard]] RelationshipStrength strengthFor(Roles from, Roles to) noexcept;

/// Cost of following an edge, from its target alone.
[[nodiscard]] PerformanceImpact impactFor(Roles to) noexcept;

/// "created_at" (`now`, ISO 8601 to the second), "relationship_type" and "strength" (raw
/// values).
[[nodiscard]] std::map<std::string, std::string> edgeMetadataFor(RelationshipType type,
                                                                 RelationshipStrength strength,
                                                                 Timestamp now);

}  // namespace tavreldi::detail
