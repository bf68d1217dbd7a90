#pragma once

// Reading a dependency graph saved as JSON, and the figures the tool derives from it.

#include <stdexcept>
#include <string>
#include <vector>

#include "tavreldi/graph/DependencyGraph.hpp"
#include "tavreldi/graph/GraphMetrics.hpp"

namespace tavreldi_tool {

/// A problem with what the user gave the tool; the message names it (file, JSON key or byte).
class InputError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// Reads the `DependencyGraph` saved as JSON at `path` (the graph's own JSON form). Throws
/// `InputError` when the file cannot be read, is not JSON (naming the byte position) or is not
/// a graph (naming the faulty key).
[[nodiscard]] tavreldi::DependencyGraph loadGraph(const std::string& path);

/// The critical paths and clusters of a graph, by the container's own rules.
struct GraphExtras {
  std::vector<tavreldi::CriticalPath> criticalPaths;
  std::vector<tavreldi::NodeCluster> clusters;
};

/// Computes the critical paths and clusters of `graph` from its nodes and edges.
[[nodiscard]] GraphExtras computeExtras(const tavreldi::DependencyGraph& graph);

/// Writes `text` to the file at `path` as it is; throws `std::runtime_error` naming the file
/// when that fails.
void writeFile(const std::string& path, const std::string& text);

/// Prints `text` to standard output line by line (a final line feed is not needed).
void printText(const std::string& text);

}  // namespace tavreldi_tool
