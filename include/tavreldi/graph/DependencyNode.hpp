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
  double x = 0;
  double y = 0;
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

/// Per-node performance figures.
struct NodePerformanceMetrics {
  double resolutionTime = 0;
  double memoryFootprint = 0;
  double cacheHitRate = 0;
  std::int64_t resolutionCount = 0;
  std::optional<Timestamp> lastResolved;
};

/// One registered type in the graph. Identity (equality and hash) is `id` alone.
struct DependencyNode {
  Name id;
  DependencyScope scope = DependencyScope::singleton;
  NameList dependencies;
  std::int64_t layer = 0;
  bool isCircular = false;
  Point position;
  NodeType type = NodeType::component;
  NodeCategory category = NodeCategory::infrastructure;
  ComplexityLevel complexity = ComplexityLevel::low;
  NodePerformanceMetrics performanceMetrics;
  Metadata metadata;
  NameList tags;

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

template <>
struct std::hash<tavreldi::DependencyNode> {
  std::size_t operator()(const tavreldi::DependencyNode& node) const noexcept {
    return std::hash<tavreldi::Name>{}(node.id);
  }
};
