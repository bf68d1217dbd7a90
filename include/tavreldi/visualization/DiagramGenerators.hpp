#pragma once

/// \file
/// Turns a dependency graph into diagram text: Mermaid, Graphviz DOT, JSON and five plain-text
/// layouts.

#include <asio/awaitable.hpp>
#include <cstddef>
#include <cstdint>
#include <string>

#include "tavreldi/graph/DependencyGraph.hpp"
#include "tavreldi/visualization/DiagramTooLargeError.hpp"
#include "tavreldi/visualization/Progress.hpp"
#include "tavreldi/visualization/VisualizationModel.hpp"

namespace tavreldi {

/// Stateless diagram generators: every function is a pure function of its arguments and may be
/// called from any thread. No generator fails; every graph yields text.
///
/// Node and edge identifiers in Mermaid and DOT are made from a node's id by replacing every
/// " ", "-" and "." by "_", then every other character outside [A-Za-z0-9_] by "_" (one "_" per
/// UTF-8 code point), with a "_" put in front when the result would start with a digit (or be
/// empty). Labels keep the id itself, escaped only where the language needs it: in DOT `"` and
/// `\` are preceded by a backslash; in Mermaid `"`, `<` and `>` are written `#quot;`, `#lt;` and
/// `#gt;`. Names made of letters, digits, "_", " ", "-" and "." therefore come out unchanged,
/// while names such as `Repository<User>` or `Cache<Key, Value>` still give a valid diagram.
/// Known limitations: two different ids that map to the same identifier (for instance "A.B" and
/// "A-B") are drawn as one node; ids equal to a keyword of the language (DOT `node`, `edge`,
/// `graph`, `digraph`, `subgraph`, `strict` in any case; Mermaid `end`) are not renamed.
class DiagramGenerators {
 public:
  DiagramGenerators() = delete;

  /// Returns a Mermaid flowchart ("graph TD") with one labelled node, `classDef` and `class`
  /// line per node and one arrow per edge (dotted for circular edges).
  [[nodiscard]] static std::string generateMermaid(const DependencyGraph& graph);
  /// Returns the same text as `generateMermaid`, reporting 0, then up to 50 over the nodes, up
  /// to 100 over the edges, then 100 to `progress` when it is not null. `progress` must outlive
  /// the returned awaitable.
  [[nodiscard]] static asio::awaitable<std::string> generateMermaidAsync(DependencyGraph graph,
                                                                         Progress* progress);
  /// Returns a Graphviz DOT digraph with nodes filled in their scope's colour and edges dashed
  /// when circular, labelled with their relationship when it is not empty.
  [[nodiscard]] static std::string generateGraphviz(const DependencyGraph& graph);
  /// Returns the same text as `generateGraphviz`, reporting progress as `generateMermaidAsync`.
  [[nodiscard]] static asio::awaitable<std::string> generateGraphvizAsync(DependencyGraph graph,
                                                                          Progress* progress);
  /// Returns the graph as a pretty-printed `VisualizationData` JSON document with sorted keys,
  /// whose metadata holds seven figures of `analysis` as text. Returns "{}" when a text is not
  /// valid UTF-8 and an `{"error": ...}` text when encoding fails otherwise.
  [[nodiscard]] static std::string generateJSONVisualization(const DependencyGraph& graph,
                                                             const GraphAnalysis& analysis);
  /// Returns each root's dependency tree (roots are nodes that no edge points to), cut at
  /// `maxDepth` levels. A cycle below a root repeats until the depth limit, so the text grows
  /// with `maxDepth` there.
  [[nodiscard]] static std::string generateTreeVisualization(const DependencyGraph& graph,
                                                             std::int64_t maxDepth);
  /// Returns the same text as `generateTreeVisualization(graph, maxDepth)`, or throws
  /// `DiagramTooLargeError` when it would be longer than `outputLimit` bytes; stops as soon as
  /// the next line would pass the limit, so that memory and time stay within it.
  [[nodiscard]] static std::string generateTreeVisualization(const DependencyGraph& graph,
                                                             std::int64_t maxDepth,
                                                             std::size_t outputLimit);
  /// Returns one block per node with its scope, layer, dependencies and cycle flag.
  [[nodiscard]] static std::string generateNetworkVisualization(const DependencyGraph& graph);
  /// Returns the node ids grouped by layer, in ascending layer order, with their scopes.
  [[nodiscard]] static std::string generateHierarchicalVisualization(const DependencyGraph& graph);
  /// Returns the circular edges and nodes, or a line saying there are none.
  [[nodiscard]] static std::string generateCircularVisualization(const DependencyGraph& graph);
  /// Returns one box per layer, in ascending layer order, with each id in a 20-character cell.
  [[nodiscard]] static std::string generateLayeredVisualization(const DependencyGraph& graph);
  /// Returns the text of diagram `type`: `analysis` is used by JSON only, `maxDepth` by the
  /// tree only.
  [[nodiscard]] static std::string generate(VisualizationType type, const DependencyGraph& graph,
                                            const GraphAnalysis& analysis, std::int64_t maxDepth);
  /// Returns the same text as `generate(type, graph, analysis, maxDepth)`, or throws
  /// `DiagramTooLargeError` when it would be longer than `outputLimit` bytes. The tree stops as
  /// soon as it passes the limit; every other diagram grows linearly with the graph and is
  /// measured once made.
  [[nodiscard]] static std::string generate(VisualizationType type, const DependencyGraph& graph,
                                            const GraphAnalysis& analysis, std::int64_t maxDepth,
                                            std::size_t outputLimit);
  /// The output limit callers such as the `tavreldi` tool apply by default: 64 MiB.
  static constexpr std::size_t kDefaultOutputLimit = std::size_t{64} << 20;
};

}  // namespace tavreldi
