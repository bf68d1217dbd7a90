#pragma once

/// \file
/// Turns a dependency graph into diagram text: Mermaid, Graphviz DOT, JSON and five plain-text
/// layouts.

#include "tavreldi/core/Config.hpp"
// (first: the Asio headers below read the settings it makes)

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
/// Mermaid and DOT name each service by an identifier, one per distinct name in the diagram:
/// the name with every " ", "-" and "." replaced by "_" when that is a valid identifier
/// ([A-Za-z_][A-Za-z0-9_]*) and no keyword of the language (so `My.Service-A` is
/// `My_Service_A`). Any other name (`Repository<User>`, `Über`, `graph`, an empty name), and
/// one whose identifier another name already is (`A.B` beside `A_B`), gets that form with its
/// other characters as "_" followed by "_" and six hexadecimal digits of a hash of the name;
/// should that be taken too, by "_2", "_3", and so on. Distinct services thus stay distinct
/// nodes. Labels show the name itself, escaped as the language needs: in DOT `"` and `\` after
/// a backslash and `&` as `&amp;`; in Mermaid `"`, `<`, `>`, `&`, `#`, `%`, `\` and `` ` `` as
/// entities (`#quot;`, `#lt;`, `#gt;`, `#amp;`, `#35;`, `#37;`, `#92;`, `#96;`), and `:` too
/// (`#58;`) in a label that holds one of these or "fa-". In both, control characters show as
/// their pictures (U+2400 to U+2421) and bytes that are not UTF-8 as U+FFFD.
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
