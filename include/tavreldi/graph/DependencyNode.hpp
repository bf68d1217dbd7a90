#pragma once

/// \file
/// Nodes of the dependency graph and their classifications.

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "tavreldi/core/DependencyScope.hpp"
#include "tavreldi/core/Enum.hpp"
#include "tavreldi/core/Timestamp.hpp"
#include "tavreldi/graph/Metadata.hpp"
#include "tavreldi/graph/Name.hpp"

namespace tavreldi {

/// A point on a drawing canvas, in points. Its JSON form is the array `[x, y]`.
struct Point {
  /// Horizontal position.
  double x = 0;
  /// Vertical position.
  double y = 0;
  /// Equal when every field is equal.
  friend bool operator==(const Point&, const Point&) = default;
};

/// Kind of component.
enum class NodeType {
  service,
  repository,
  useCase,
  viewModel,
  controller,
  manager,
  factory,
  utility,
  model,
  protocol,
  presentation,
  component,
  unknown
};

template <>
struct EnumTraits<NodeType> {
  static constexpr std::array<std::string_view, 13> rawValues{
      "Service", "Repository", "UseCase",  "ViewModel",    "Controller", "Manager", "Factory",
      "Utility", "Model",      "Protocol", "Presentation", "Component",  "Unknown"};
};

/// Architectural category.
enum class NodeCategory {
  infrastructure,
  data,
  domain,
  presentation,
  crossCutting,
  external,
  business,
  networking,
  unknown
};

template <>
struct EnumTraits<NodeCategory> {
  static constexpr std::array<std::string_view, 9> rawValues{
      "Infrastructure", "Data",     "Domain",     "Presentation", "Cross-Cutting",
      "External",       "Business", "Networking", "Unknown"};
};

/// Complexity class.
enum class ComplexityLevel { low, medium, high, critical };

template <>
struct EnumTraits<ComplexityLevel> {
  static constexpr std::array<std::string_view, 4> rawValues{"Low", "Medium", "High", "Critical"};
};

/// Per-node performance figures. In a graph from `getDependencyGraph` these are random sample
/// figures, by design; what the container measured is `ServiceStatistics`.
struct NodePerformanceMetrics {
  /// Seconds per resolution.
  double resolutionTime = 0;
  /// Bytes.
  double memoryFootprint = 0;
  /// Share of resolutions served from a cache, 0 to 1.
  double cacheHitRate = 0;
  /// How often the type was resolved.
  std::int64_t resolutionCount = 0;
  /// When it was last resolved, if known.
  std::optional<Timestamp> lastResolved;
};

/// One registered type in the graph. Identity (equality and hash) is `id` alone.
struct DependencyNode {
  /// The registered type's name.
  Name id;
  /// The registration's scope.
  DependencyScope scope = DependencyScope::singleton;
  /// Names of the types this one depends on (declared and observed).
  NameList dependencies;
  /// Architectural layer from the name: 1 API, 2 Repository, 3 UseCase, 4 ViewModel, else 0.
  std::int64_t layer = 0;
  /// True when the node lies on a dependency cycle.
  bool isCircular = false;
  /// Place on a drawing canvas, in points.
  Point position;
  /// Kind of component, from the name.
  NodeType type = NodeType::component;
  /// Architectural category, from the name.
  NodeCategory category = NodeCategory::infrastructure;
  /// Complexity class, from the number of dependencies.
  ComplexityLevel complexity = ComplexityLevel::low;
  /// Per-node performance figures.
  NodePerformanceMetrics performanceMetrics;
  /// Descriptive key/value pairs.
  Metadata metadata;
  /// Lower-case labels.
  NameList tags;

  /// Equal when the ids are equal.
  friend bool operator==(const DependencyNode& a, const DependencyNode& b) { return a.id == b.id; }
};

/// Keys "resolutionTime", "memoryFootprint", "cacheHitRate", "resolutionCount" and
/// "lastResolved" (omitted when absent).
void to_json(nlohmann::json& json, const NodePerformanceMetrics& metrics);
/// Reads the keys above ("lastResolved" optional); throws `DecodingError` naming the faulty key.
void from_json(const nlohmann::json& json, NodePerformanceMetrics& metrics);
/// The twelve keys of a node; `position` as `[x, y]`.
void to_json(nlohmann::json& json, const DependencyNode& node);
/// Reads the twelve keys, all required; throws `DecodingError` naming the faulty key.
void from_json(const nlohmann::json& json, DependencyNode& node);
/// Writes a point as the array `[x, y]`.
void to_json(nlohmann::json& json, const Point& point);
/// Reads a point from an array of two numbers; throws `DecodingError` for anything else.
void from_json(const nlohmann::json& json, Point& point);

}  // namespace tavreldi

/// \cond
template <>
struct std::hash<tavreldi::DependencyNode> {
  std::size_t operator()(const tavreldi::DependencyNode& node) const noexcept {
    return std::hash<tavreldi::Name>{}(node.id);
  }
};
/// \endcond
