#include "tavreldi/visualization/VisualizationModel.hpp"

#include "core/detail/JsonForm.hpp"

namespace tavreldi {

TAVRELDI_JSON_FORM(VisualizationConfig, type, format, showScopes, showLifetimes, showDependencies,
                   groupByLayer, colorizeByScope, interactive, maxDepth, includeCircular,
                   enableAsyncRendering, enableProgressTracking)
TAVRELDI_JSON_FORM(VisualizationNode, id, label, type, scope, layer, isCircular, dependencies,
                   metadata)
TAVRELDI_JSON_FORM(VisualizationEdge, from, to, type, label, isCircular)
TAVRELDI_JSON_FORM(VisualizationData, nodes, edges, metadata)

}  // namespace tavreldi
