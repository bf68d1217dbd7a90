// Diagram texts bounded by an output limit.

#include "tavreldi/visualization/DiagramTooLargeError.hpp"

#include <string>

#include "tavreldi/visualization/DiagramGenerators.hpp"

namespace tavreldi {

DiagramTooLargeError::DiagramTooLargeError(VisualizationType type, std::size_t limit)
    : std::length_error("the " + std::string(toString(type)) +
                        " diagram is larger than the output limit of " + std::to_string(limit) +
                        " bytes"),
      type_(type),
      limit_(limit) {}

std::string DiagramGenerators::generate(VisualizationType type, const DependencyGraph& graph,
                                        const GraphAnalysis& analysis, std::int64_t maxDepth,
                                        std::size_t outputLimit) {
  // Only the tree can grow faster than the graph (exponentially with the depth limit where
  // paths branch); it stops as soon as it passes the limit. The others are measured when done.
  if (type == VisualizationType::tree) {
    return generateTreeVisualization(graph, maxDepth, outputLimit);
  }
  std::string text = generate(type, graph, analysis, maxDepth);
  if (text.size() > outputLimit) throw DiagramTooLargeError(type, outputLimit);
  return text;
}

}  // namespace tavreldi
