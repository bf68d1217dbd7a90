#pragma once

// Decoding a dependency graph from JSON text within a memory budget.

#include <cstddef>
#include <cstdint>
#include <istream>
#include <optional>
#include <string>

#include "tavreldi/graph/DependencyGraph.hpp"

namespace tavreldi_tool {

/// Why `readGraphDocument` gave no graph.
struct GraphDocumentError {
  enum class Kind {
    /// The text is not JSON; `position` is the byte where the parser stopped.
    malformed,
    /// Holding the graph would take more memory than the budget.
    overBudget,
    /// The JSON is not a dependency graph (`message` names the key, as the library does).
    notAGraph
  };
  Kind kind;
  std::size_t position = 0;
  std::string message;
};

/// The graph of a JSON document, or why there is none.
struct GraphDocument {
  std::optional<tavreldi::DependencyGraph> graph;
  std::optional<GraphDocumentError> error;
};

/// Parses the JSON text of `in` and decodes it as a `DependencyGraph`, with the library's own
/// decoding and its messages. The elements of the "nodes" and "edges" arrays are decoded one
/// at a time as they are parsed, so the parsed document is never held whole; an estimate of
/// the memory in use (the parsed JSON not yet decoded, and the decoded records) must stay
/// within `budget` bytes. A parse error is reported before a decoding error.
[[nodiscard]] GraphDocument readGraphDocument(std::istream& in, std::uint64_t budget);

}  // namespace tavreldi_tool
