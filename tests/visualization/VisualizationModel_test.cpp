#include "tavreldi/visualization/VisualizationModel.hpp"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

namespace tavreldi {
namespace {

using nlohmann::json;

TEST(VisualizationModel, EnumerationsUseExactRawValues) {
  EXPECT_EQ(allCases<VisualizationType>(),
            (std::array{VisualizationType::mermaid, VisualizationType::graphviz,
                        VisualizationType::json, VisualizationType::tree,
                        VisualizationType::network, VisualizationType::hierarchical,
                        VisualizationType::circular, VisualizationType::layered}));
  EXPECT_EQ(toString(VisualizationType::hierarchical), "hierarchical");
  EXPECT_EQ(fromString<VisualizationType>("layered"), VisualizationType::layered);
  EXPECT_EQ(fromString<VisualizationType>("Mermaid"), std::nullopt);
  EXPECT_EQ(toString(OutputFormat::dot), "dot");
  EXPECT_EQ(allCases<OutputFormat>().back(), OutputFormat::interactive);
  EXPECT_EQ(fromString<OutputFormat>("graphviz"), std::nullopt);
  EXPECT_THROW(json("Mermaid").get<VisualizationType>(), DecodingError);
}

TEST(VisualizationModel, RecordsRoundTripWithTheirFieldNames) {
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
}

TEST(VisualizationModel, DecodingIsStrict) {
  const json node = VisualizationNode{"A", "A", "Service", "lazy", "2", false, {}, {}};
  json numericLayer = node;
  numericLayer["layer"] = 2;
  EXPECT_THROW(numericLayer.get<VisualizationNode>(), DecodingError);
  json noMetadata = node;
  noMetadata.erase("metadata");
  EXPECT_THROW(noMetadata.get<VisualizationNode>(), DecodingError);

  json edge = VisualizationEdge{"A", "B", "Dependency", "", true};
  edge.erase("label");
  try {
    (void)edge.get<VisualizationEdge>();
    FAIL() << "an edge without a label decoded";
  } catch (const DecodingError& error) {
    EXPECT_NE(std::string(error.what()).find("\"label\""), std::string::npos) << error.what();
  }

  json config = VisualizationConfig{VisualizationType::json,
                                    OutputFormat::json,
                                    false,
                                    false,
                                    false,
                                    false,
                                    false,
                                    false,
                                    3,
                                    false,
                                    false,
                                    false};
  config["type"] = "Mermaid";
  EXPECT_THROW(config.get<VisualizationConfig>(), DecodingError);
  config["type"] = "mermaid";
  config["showScopes"] = "yes";
  EXPECT_THROW(config.get<VisualizationConfig>(), DecodingError);

  json data = VisualizationData{};
  data["edges"] = json::array({json::object({{"from", "A"}})});
  EXPECT_THROW(data.get<VisualizationData>(), DecodingError);
  EXPECT_THROW(json::array().get<VisualizationData>(), DecodingError);
}

}  // namespace
}  // namespace tavreldi
