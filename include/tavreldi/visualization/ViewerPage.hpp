#pragma once

/// \file
/// The interactive graph viewer: one self-contained HTML page with the graph, node details,
/// statistics, a legend, the eight diagram texts and a dashboard screen.

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "tavreldi/core/AdvancedDIContainerImpl.hpp"
#include "tavreldi/graph/CircularDependencyAnalysis.hpp"
#include "tavreldi/graph/DependencyGraph.hpp"
#include "tavreldi/graph/GraphMetrics.hpp"
#include "tavreldi/visualization/DiagramGenerators.hpp"

namespace tavreldi {

/// What the viewer page shows beyond the graph and its analysis. Every field is optional in
/// effect: an empty list or an absent value leaves the matching part of a screen explaining
/// what is missing.
struct ViewerOptions {
  /// Heading and document title of the page.
  std::string title = "TavrelDI dependency graph";
  /// The container's detailed cycle analysis; without it the statistics list the analysis's
  /// bare cycle chains.
  std::optional<CircularDependencyAnalysis> cycleAnalysis;
  /// Figures the container measured, by node id (shown next to the nodes' sample figures).
  std::map<std::string, ServiceStatistics> measured;
  /// Long dependency chains of the graph, longest first.
  std::vector<CriticalPath> criticalPaths;
  /// The nodes grouped by category.
  std::vector<NodeCluster> clusters;
  /// Depth limit of the embedded tree diagram.
  std::int64_t treeMaxDepth = 5;
  /// Output limit of each embedded diagram text, in bytes: a diagram that would be longer (the
  /// tree of a dense graph, or any diagram of a huge one) is left out, a one-line note in its
  /// place.
  std::size_t diagramLimit = DiagramGenerators::kDefaultOutputLimit;
  /// A dashboard summary document (JSON text) to show on the dashboard screen.
  std::optional<std::string> dashboardSummaryJson;
  /// Base address of the dashboard service; with a summary, the page offers to send it to
  /// this address followed by "/api/updateUserDashboard".
  std::optional<std::string> dashboardUrl;
};

/// Returns one self-contained HTML document (no network access, no external files; it works
/// when opened from disk) that draws `graph` with the figures of `analysis` and `options`.
///
/// All data travels as one JSON document inside a `<script type="application/json">` element
/// in which `<`, `>`, `&`, U+2028 and U+2029 are written as `\u` escapes, so no name can end the
/// element or inject markup; the page's script puts every name on screen as text. Text that is
/// not valid UTF-8 is shown with replacement characters. Pure and callable from any thread.
[[nodiscard]] std::string renderViewerPage(const DependencyGraph& graph,
                                           const GraphAnalysis& analysis,
                                           const ViewerOptions& options);

}  // namespace tavreldi
