#include "tavreldi/visualization/VisualizationModel.hpp"

#include "core/detail/Json.hpp"

namespace tavreldi {

using StringMap = std::map<std::string, std::string>;
using StringList = std::vector<std::string>;

void to_json(nlohmann::json& json, const VisualizationConfig& config) {
  json = nlohmann::json::object();
  json["type"] = config.type;
  json["format"] = config.format;
  json["showScopes"] = config.showScopes;
  json["showLifetimes"] = config.showLifetimes;
  json["showDependencies"] = config.showDependencies;
  json["groupByLayer"] = config.groupByLayer;
  json["colorizeByScope"] = config.colorizeByScope;
  json["interactive"] = config.interactive;
  json["maxDepth"] = config.maxDepth;
  json["includeCircular"] = config.includeCircular;
  json["enableAsyncRendering"] = config.enableAsyncRendering;
  json["enableProgressTracking"] = config.enableProgressTracking;
}

void from_json(const nlohmann::json& json, VisualizationConfig& config) {
  detail::requireObject(json, "VisualizationConfig");
  config = VisualizationConfig{
      detail::field<VisualizationType>(json, "type"),
      detail::field<OutputFormat>(json, "format"),
      detail::field<bool>(json, "showScopes"),
      detail::field<bool>(json, "showLifetimes"),
      detail::field<bool>(json, "showDependencies"),
      detail::field<bool>(json, "groupByLayer"),
      detail::field<bool>(json, "colorizeByScope"),
      detail::field<bool>(json, "interactive"),
      detail::field<std::int64_t>(json, "maxDepth"),
      detail::field<bool>(json, "includeCircular"),
      detail::field<bool>(json, "enableAsyncRendering"),
      detail::field<bool>(json, "enableProgressTracking"),
  };
}

void to_json(nlohmann::json& json, const VisualizationNode& node) {
  json = nlohmann::json::object();
  json["id"] = node.id;
  json["label"] = node.label;
  json["type"] = node.type;
  json["scope"] = node.scope;
  json["layer"] = node.layer;
  json["isCircular"] = node.isCircular;
  json["dependencies"] = node.dependencies;
  json["metadata"] = node.metadata;
}

void from_json(const nlohmann::json& json, VisualizationNode& node) {
  detail::requireObject(json, "VisualizationNode");
  node = VisualizationNode{
      detail::field<std::string>(json, "id"),          detail::field<std::string>(json, "label"),
      detail::field<std::string>(json, "type"),        detail::field<std::string>(json, "scope"),
      detail::field<std::string>(json, "layer"),       detail::field<bool>(json, "isCircular"),
      detail::field<StringList>(json, "dependencies"), detail::field<StringMap>(json, "metadata"),
  };
}

void to_json(nlohmann::json& json, const VisualizationEdge& edge) {
  json = nlohmann::json::object();
  json["from"] = edge.from;
  json["to"] = edge.to;
  json["type"] = edge.type;
  json["label"] = edge.label;
  json["isCircular"] = edge.isCircular;
}

void from_json(const nlohmann::json& json, VisualizationEdge& edge) {
  detail::requireObject(json, "VisualizationEdge");
  edge = VisualizationEdge{
      detail::field<std::string>(json, "from"), detail::field<std::string>(json, "to"),
      detail::field<std::string>(json, "type"), detail::field<std::string>(json, "label"),
      detail::field<bool>(json, "isCircular"),
  };
}

void to_json(nlohmann::json& json, const VisualizationData& data) {
  json = nlohmann::json::object();
  json["nodes"] = data.nodes;
  json["edges"] = data.edges;
  json["metadata"] = data.metadata;
}

void from_json(const nlohmann::json& json, VisualizationData& data) {
  detail::requireObject(json, "VisualizationData");
  data = VisualizationData{
      detail::field<std::vector<VisualizationNode>>(json, "nodes"),
      detail::field<std::vector<VisualizationEdge>>(json, "edges"),
      detail::field<StringMap>(json, "metadata"),
  };
}

}  // namespace tavreldi
