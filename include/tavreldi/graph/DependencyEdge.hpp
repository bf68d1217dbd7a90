#pragma once

/// \file
/// Edges of the dependency graph and their classifications.

#include <array>
#include <cstddef>
#include <map>
#include <nlohmann/json_fwd.hpp>
#include <string>
#include <string_view>

#include "tavreldi/core/Enum.hpp"
#include "tavreldi/graph/Metadata.hpp"
#include "tavreldi/graph/Name.hpp"

namespace tavreldi {

/// Kind of relation.
enum class RelationshipType {
  dependency,
  composition,
  aggregation,
  inheritance,
  implementation,
  association,
  injection,
  factory,
  callback,
  event,
  dataFlow,
  presentation,
  unknown
};

template <>
struct EnumTraits<RelationshipType> {
  static constexpr std::array<std::string_view, 13> rawValues{
      "Dependency",  "Composition",  "Aggregation", "Inheritance", "Implementation",
      "Association", "Injection",    "Factory",     "Callback",    "Event",
      "DataFlow",    "Presentation", "Unknown"};
};

/// How tight the coupling is (`moderate` and `medium` are distinct cases).
enum class RelationshipStrength { weak, moderate, medium, strong, critical };

template <>
struct EnumTraits<RelationshipStrength> {
  static constexpr std::array<std::string_view, 5> rawValues{"Weak", "Moderate", "Medium", "Strong",
                                                             "Critical"};
};

/// Direction of the relation.
enum class EdgeDirection { unidirectional, bidirectional, circular };

template <>
struct EnumTraits<EdgeDirection> {
  static constexpr std::array<std::string_view, 3> rawValues{"Unidirectional", "Bidirectional",
                                                             "Circular"};
};

/// Cost of following an edge.
enum class PerformanceImpact { none, low, medium, high, critical };

template <>
struct EnumTraits<PerformanceImpact> {
  static constexpr std::array<std::string_view, 5> rawValues{"None", "Low", "Medium", "High",
                                                             "Critical"};
};

/// One dependency between two nodes. Identity (equality and hash) is the pair `from`, `to`.
struct DependencyEdge {
  /// The id of the depending node.
  Name from;
  /// The id of the node depended on.
  Name to;
  /// A free-form relation label.
  std::string relationship;
  /// True when the edge closes or lies on a cycle.
  bool isCircular = false;
  /// Kind of relation.
  RelationshipType relationshipType = RelationshipType::dependency;
  /// How tight the coupling is.
  RelationshipStrength strength = RelationshipStrength::weak;
  /// Direction of the relation.
  EdgeDirection direction = EdgeDirection::unidirectional;
  /// Cost of following the edge.
  PerformanceImpact performanceImpact = PerformanceImpact::low;
  /// Descriptive key/value pairs.
  Metadata metadata;

  /// Equal when both ends are equal.
  friend bool operator==(const DependencyEdge& a, const DependencyEdge& b) {
    return a.from == b.from && a.to == b.to;
  }
};

/// The nine keys of an edge.
void to_json(nlohmann::json& json, const DependencyEdge& edge);
/// Reads the nine keys, all required; throws `DecodingError` naming the faulty key.
void from_json(const nlohmann::json& json, DependencyEdge& edge);

}  // namespace tavreldi

/// \cond
template <>
struct std::hash<tavreldi::DependencyEdge> {
  std::size_t operator()(const tavreldi::DependencyEdge& edge) const noexcept {
    const std::size_t h = std::hash<tavreldi::Name>{}(edge.from);
    return h ^ (std::hash<tavreldi::Name>{}(edge.to) + 0x9e3779b97f4a7c15ULL + (h << 6) + (h >> 2));
  }
};
/// \endcond
