#include "tavreldi/visualization/VisualizationModel.hpp"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

namespace tavreldi {
namespace {

using nlohmann::json;

TEST(VisualizationModel, EnumerationsUseExactRawValues) {
  // The declared order is the order of the viewer's diagrams.
  EXPECT_EQ(allCases<VisualizationType>(),
            (std::array{VisualizationType::mermaid, VisualizationType::graphviz,
                        VisualizationType::json, VisualizationType::tree,
                        VisualizationType::network, VisualizationType::hierarchical,
                        VisualizationType::circular, VisualizationType::layered}));
  EXPECT_EQ(allCases<OutputFormat>().back(), OutputFormat::interactive);
  EXPECT_EQ(fromString<OutputFormat>("graphviz"), std::nullopt);
  EXPECT_THROW(json("Mermaid").get<VisualizationType>(), DecodingError);
}

TEST(VisualizationModel, RecordsRoundTripWithTheirFieldNamesAndDecodeStrictly) {
  const VisualizationConfig config{VisualizationType::tree,
                                   OutputFormat::svg,
                                   true,
                                   false,
                                   true,
                                   false,
                                   true,
                                   false,
                                   7,
                                   true,
                                   false,
                                   true};
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
  EXPECT_EQ(dataJson, json::parse(R"({"nodes": [{"id": "A", "label": "A label",
      "type": "Service", "scope": "singleton", "layer": "1", "isCircular": true,
      "dependencies": ["B"], "metadata": {"k": "v"}}], "edges": [{"from": "A", "to": "B",
      "type": "Dependency", "label": "uses", "isCircular": false}],
      "metadata": {"totalNodes": "1"}})"));
  EXPECT_EQ(dataJson.get<VisualizationData>(), data);

  // Every key is required, with its own type.
  json wrong = dataJson;
  wrong["nodes"][0]["layer"] = 1;
  EXPECT_THROW(wrong.get<VisualizationData>(), DecodingError);
  wrong = dataJson;
  wrong["nodes"][0].erase("metadata");
  EXPECT_THROW(wrong.get<VisualizationData>(), DecodingError);
  json edge = dataJson["edges"][0];
  edge.erase("label");
  try {
    (void)edge.get<VisualizationEdge>();
    FAIL() << "an edge without a label decoded";
  } catch (const DecodingError& error) {
    EXPECT_NE(std::string(error.what()).find("\"label\""), std::string::npos) << error.what();
  }
  wrong = configJson;
  wrong["type"] = "Mermaid";
  EXPECT_THROW(wrong.get<VisualizationConfig>(), DecodingError);
  wrong = configJson;
  wrong["showScopes"] = "yes";
  EXPECT_THROW(wrong.get<VisualizationConfig>(), DecodingError);
  wrong = dataJson;
  wrong["edges"] = json::array({json::object({{"from", "A"}})});
  EXPECT_THROW(wrong.get<VisualizationData>(), DecodingError);
  EXPECT_THROW(json::array().get<VisualizationData>(), DecodingError);
}

}  // namespace
}  // namespace tavreldi
