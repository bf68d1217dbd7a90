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
  VisualizationType type;
  OutputFormat format;
  bool showScopes;
  bool showLifetimes;
  bool showDependencies;
  bool groupByLayer;
  bool colorizeByScope;
  bool interactive;
  /// Depth limit handed to the tree diagram.
  std::int64_t maxDepth;
  bool includeCircular;
  bool enableAsyncRendering;
  bool enableProgressTracking;

  friend bool operator==(const VisualizationConfig&, const VisualizationConfig&) = default;
};

/// Describes one node of a diagram in record form.
struct VisualizationNode {
  std::string id;
  std::string label;
  /// Kind of node, as text.
  std::string type;
  /// Scope raw value.
  std::string scope;
  /// Layer number as text (never a JSON number).
  std::string layer;
  bool isCircular = false;
  std::vector<std::string> dependencies;
  std::map<std::string, std::string> metadata;

  friend bool operator==(const VisualizationNode&, const VisualizationNode&) = default;
};

/// Describes one edge of a diagram in record form.
struct VisualizationEdge {
  std::string from;
  std::string to;
  /// Kind of relationship, as text.
  std::string type;
  std::string label;
  bool isCircular = false;

  friend bool operator==(const VisualizationEdge&, const VisualizationEdge&) = default;
};

/// Holds the nodes, edges and free annotations of one diagram.
struct VisualizationData {
  std::vector<VisualizationNode> nodes;
  std::vector<VisualizationEdge> edges;
  std::map<std::string, std::string> metadata;

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
