#include "tavreldi/visualization/VisualizationModel.hpp"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

namespace tavreldi {
namespace {

using nlohmann::json;

// Decoding `bad` as T throws a DecodingError whose text names `key`.
template <class T>
void expectRejected(const json& bad, std::string_view key) {
  try {
    (void)bad.get<T>();
    ADD_FAILURE() << "decoded " << bad;
  } catch (const DecodingError& error) {
    EXPECT_NE(std::string_view(error.what()).find(key), std::string_view::npos) << error.what();
  }
}

// `document` after one JSON Patch operation.
json changed(const json& document, std::string_view op, std::string_view path, json value = {}) {
  return document.patch(json::array({{{"op", op}, {"path", path}, {"value", std::move(value)}}}));
}

// The key names and forms of nodes and edges are checked through the generators' JSON text.
TEST(VisualizationModel, RecordsRoundTripWithTheirFieldNamesAndDecodeStrictly) {
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
  EXPECT_EQ(dataJson.get<VisualizationData>(), data);

  // Every key is required, with its own type.
  expectRejected<VisualizationData>(changed(dataJson, "replace", "/nodes/0/layer", 1), "\"layer\"");
  expectRejected<VisualizationData>(changed(dataJson, "remove", "/nodes/0/metadata"),
                                    "\"metadata\"");
  expectRejected<VisualizationData>(changed(dataJson, "remove", "/edges/0/label"), "\"label\"");
  expectRejected<VisualizationData>(json::array(), "VisualizationData");
  expectRejected<VisualizationConfig>(changed(configJson, "replace", "/type", "Mermaid"),
                                      "\"type\"");
  expectRejected<VisualizationConfig>(changed(configJson, "replace", "/showScopes", "yes"),
                                      "\"showScopes\"");
}

}  // namespace
}  // namespace tavreldi
