#include "tavreldi/visualization/VisualizationModel.hpp"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "support/JsonDecoding.hpp"

namespace tavreldi {
namespace {

using nlohmann::json;
using testing::changed;
using testing::decoded;

// The data's text is also the JSON diagram's, which DiagramGenerators' tests compare with it.
TEST(VisualizationModel, RecordsKeepTheirFieldNamesAndDecodeStrictly) {
  using VT = VisualizationType;
  const VisualizationConfig config{
      VT::tree, OutputFormat::svg, true, false, true, false, true, false, 7, true, false, true};
  const json configJson = config;
  EXPECT_EQ(configJson, json::parse(R"({"type": "tree", "format": "svg", "showScopes": true,
      "showLifetimes": false, "showDependencies": true, "groupByLayer": false,
      "colorizeByScope": true, "interactive": false, "maxDepth": 7, "includeCircular": true,
      "enableAsyncRendering": false, "enableProgressTracking": true})"));
  EXPECT_EQ(configJson.get<VisualizationConfig>(), config);

  const VisualizationData data{
      {VisualizationNode{"A", "A label", "Service", "singleton", "1", true, {"B"}, {{"k", "v"}}}},
      {VisualizationEdge{"A", "B", "Dependency", "uses", false}},
      {{"totalNodes", "1"}}};
  const json dataJson = data;
  EXPECT_EQ(dataJson.dump(),
            R"({"edges":[{"from":"A","isCircular":false,"label":"uses","to":"B",)"
            R"("type":"Dependency"}],"metadata":{"totalNodes":"1"},"nodes":[{"dependencies":)"
            R"(["B"],"id":"A","isCircular":true,"label":"A label","layer":"1","metadata":)"
            R"({"k":"v"},"scope":"singleton","type":"Service"}]})");
  EXPECT_EQ(dataJson.get<VisualizationData>(), data);

  // Every key is required, with its own type; the layer is text.
  const std::string nodes = "Invalid value for key \"nodes\": ";
  const std::pair<std::string, std::string> cases[] = {
      {decoded<VisualizationData>(changed(dataJson, "replace", "/nodes/0/layer", 1)),
       nodes + "Type mismatch for key \"layer\": [json.exception.type_error.302] type must be "
               "string, but is number"},
      {decoded<VisualizationData>(changed(dataJson, "remove", "/nodes/0/metadata")),
       nodes + "Key not found: \"metadata\""},
      {decoded<VisualizationData>(changed(dataJson, "remove", "/edges/0/label")),
       "Invalid value for key \"edges\": Key not found: \"label\""},
      {decoded<VisualizationData>(json::array()),
       "Type mismatch: expected an object for VisualizationData, found array"},
      {decoded<VisualizationConfig>(changed(configJson, "replace", "/type", "Mermaid")),
       "Invalid value for key \"type\": Data corrupted: cannot initialize enumeration from "
       "invalid value \"Mermaid\""},
      {decoded<VisualizationConfig>(changed(configJson, "replace", "/showScopes", "yes")),
       "Type mismatch for key \"showScopes\": [json.exception.type_error.302] type must be "
       "boolean, but is string"}};
  for (const auto& [actual, expected] : cases) EXPECT_EQ(actual, expected);
}

}  // namespace
}  // namespace tavreldi
