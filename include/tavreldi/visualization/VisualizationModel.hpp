#pragma once

/// \file
/// What kind of diagram is wanted, and the neutral record form of what a diagram shows.

#include <array>
#include <cstdint>
#include <map>
#include <nlohmann/json_fwd.hpp>
#include <string>
#include <string_view>
#include <vector>

#include "tavreldi/core/Enum.hpp"

namespace tavreldi {

/// Selects the diagram generator that the visualizer runs.
enum class VisualizationType {
  mermaid,
  graphviz,
  json,
  tree,
  network,
  hierarchical,
  circular,
  layered
};

template <>
struct EnumTraits<VisualizationType> {
  static constexpr std::array<std::string_view, 8> rawValues{
      "mermaid", "graphviz", "json", "tree", "network", "hierarchical", "circular", "layered"};
};

/// Names the medium a diagram is meant for.
enum class OutputFormat { mermaid, dot, json, html, svg, png, interactive };

template <>
struct EnumTraits<OutputFormat> {
  static constexpr std::array<std::string_view, 7> rawValues{"mermaid", "dot", "json",       "html",
                                                             "svg",     "png", "interactive"};
};

/// Configures a `DependencyVisualizer`; every field is given at construction, in this order.
struct VisualizationConfig {
  /// The diagram to draw; the only field besides `maxDepth` that the visualizer reads.
  VisualizationType type;
  /// The intended output format (carried; no generator reads it).
  OutputFormat format;
  /// Carried for the caller; no generator reads it.
  bool showScopes;
  /// Carried for the caller; no generator reads it.
  bool showLifetimes;
  /// Carried for the caller; no generator reads it.
  bool showDependencies;
  /// Carried for the caller; no generator reads it.
  bool groupByLayer;
  /// Carried for the caller; no generator reads it.
  bool colorizeByScope;
  /// Carried for the caller; no generator reads it.
  bool interactive;
  /// Depth limit handed to the tree diagram.
  std::int64_t maxDepth;
  /// Carried for the caller; no generator reads it.
  bool includeCircular;
  /// Carried for the caller; no generator reads it.
  bool enableAsyncRendering;
  /// Carried for the caller; no generator reads it.
  bool enableProgressTracking;

  /// Equal when every field is equal.
  friend bool operator==(const VisualizationConfig&, const VisualizationConfig&) = default;
};

/// Describes one node of a diagram in record form.
struct VisualizationNode {
  /// The node's id.
  std::string id;
  /// The text shown for it.
  std::string label;
  /// Kind of node, as text.
  std::string type;
  /// Scope raw value.
  std::string scope;
  /// Layer number as text (never a JSON number).
  std::string layer;
  /// True when the node lies on a cycle.
  bool isCircular = false;
  /// Ids of the nodes it depends on.
  std::vector<std::string> dependencies;
  /// Free annotations.
  std::map<std::string, std::string> metadata;

  /// Equal when every field is equal.
  friend bool operator==(const VisualizationNode&, const VisualizationNode&) = default;
};

/// Describes one edge of a diagram in record form.
struct VisualizationEdge {
  /// The depending node's id.
  std::string from;
  /// The id of the node depended on.
  std::string to;
  /// Kind of relationship, as text.
  std::string type;
  /// The text shown on the edge.
  std::string label;
  /// True when the edge lies on a cycle.
  bool isCircular = false;

  /// Equal when every field is equal.
  friend bool operator==(const VisualizationEdge&, const VisualizationEdge&) = default;
};

/// Holds the nodes, edges and free annotations of one diagram.
struct VisualizationData {
  /// The nodes.
  std::vector<VisualizationNode> nodes;
  /// The edges.
  std::vector<VisualizationEdge> edges;
  /// Free annotations.
  std::map<std::string, std::string> metadata;

  /// Equal when every field is equal.
  friend bool operator==(const VisualizationData&, const VisualizationData&) = default;
};

/// Writes the twelve configuration keys; enumerations as their raw values.
void to_json(nlohmann::json& json, const VisualizationConfig& config);
/// Reads the twelve configuration keys (all required); throws `DecodingError` naming the key.
void from_json(const nlohmann::json& json, VisualizationConfig& config);
/// Writes the eight node keys.
void to_json(nlohmann::json& json, const VisualizationNode& node);
/// Reads the eight node keys (all required, `layer` as text); throws `DecodingError`.
void from_json(const nlohmann::json& json, VisualizationNode& node);
/// Writes the five edge keys.
void to_json(nlohmann::json& json, const VisualizationEdge& edge);
/// Reads the five edge keys (all required); throws `DecodingError`.
void from_json(const nlohmann::json& json, VisualizationEdge& edge);
/// Writes "nodes", "edges" and "metadata".
void to_json(nlohmann::json& json, const VisualizationData& data);
/// Reads "nodes", "edges" and "metadata" (all required); throws `DecodingError`.
void from_json(const nlohmann::json& json, VisualizationData& data);

}  // namespace tavreldi
