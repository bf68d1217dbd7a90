// Mermaid, Graphviz DOT and JSON forms of the dependency graph.

#include <fmt/format.h>

#include <exception>
#include <iterator>
#include <utility>

#include "tavreldi/visualization/DiagramGenerators.hpp"
#include "tavreldi/visualization/VisualizationModel.hpp"
#include "visualization/detail/DiagramIdentifiers.hpp"
#include "visualization/detail/DiagramText.hpp"

namespace tavreldi {

namespace {

constexpr std::string_view kMermaidHeader = "graph TD\n";
constexpr std::string_view kDotHeader =
    "digraph DependencyGraph {\n    rankdir=TB;\n    node [shape=box, style=filled];\n\n";

// Fixed characters per line, added to the variable parts when reserving the buffer.
constexpr std::size_t kMermaidNodeFixed = 48;
constexpr std::size_t kMermaidEdgeFixed = 11;
constexpr std::size_t kDotNodeFixed = 37;
constexpr std::size_t kDotEdgeFixed = 37;
constexpr std::size_t kLongestScope = 9;

std::string buildMermaid(const DependencyGraph& graph, Progress* progress) {
  const detail::ProgressSteps steps(progress, graph.nodes.size(), graph.edges.size());
  const detail::DiagramIdentifiers ids(graph, detail::DiagramLanguage::mermaid);
  std::size_t capacity = kMermaidHeader.size();
  for (std::size_t i = 0; i < graph.nodes.size(); ++i) {
    capacity +=
        kMermaidNodeFixed + 2 * ids.node(i).size() + graph.nodes[i].id.size() + 2 * kLongestScope;
  }
  for (std::size_t i = 0; i < graph.edges.size(); ++i) {
    capacity += kMermaidEdgeFixed + ids.from(i).size() + ids.to(i).size();
  }
  std::string out;
  out.reserve(capacity);
  out += kMermaidHeader;
  steps.start();

  std::size_t done = 0;
  for (const auto& node : graph.nodes) {
    const std::string_view id = ids.node(done);
    const std::string_view scope = toString(node.scope);
    out += "    ";
    out += id;
    out += "[\"";
    detail::appendMermaidLabel(out, node.id);
    out += "\"]\n    classDef ";
    out += scope;
    out += " fill:#";
    out += detail::scopeColor(node.scope);
    out += "\n    class ";
    out += id;
    out += ' ';
    out += scope;
    out += '\n';
    steps.nodeDone(++done);
  }

  done = 0;
  for (const auto& edge : graph.edges) {
    out += "    ";
    out += ids.from(done);
    out += edge.isCircular ? " -.-> " : " --> ";
    out += ids.to(done);
    out += '\n';
    steps.edgeDone(++done);
  }
  steps.finish();
  return out;
}

std::string buildGraphviz(const DependencyGraph& graph, Progress* progress) {
  const detail::ProgressSteps steps(progress, graph.nodes.size(), graph.edges.size());
  const detail::DiagramIdentifiers ids(graph, detail::DiagramLanguage::dot);
  std::size_t capacity = kDotHeader.size() + 3;
  for (std::size_t i = 0; i < graph.nodes.size(); ++i) {
    capacity += kDotNodeFixed + ids.node(i).size() + graph.nodes[i].id.size();
  }
  for (std::size_t i = 0; i < graph.edges.size(); ++i) {
    capacity +=
        kDotEdgeFixed + ids.from(i).size() + ids.to(i).size() + graph.edges[i].relationship.size();
  }
  std::string out;
  out.reserve(capacity);
  out += kDotHeader;
  steps.start();

  std::size_t done = 0;
  for (const auto& node : graph.nodes) {
    out += "    ";
    out += ids.node(done);
    out += " [label=\"";
    detail::appendDotString(out, node.id);
    out += "\", fillcolor=\"";
    out += detail::scopeColor(node.scope);
    out += "\"];\n";
    steps.nodeDone(++done);
  }
  out += '\n';

  done = 0;
  for (const auto& edge : graph.edges) {
    out += "    ";
    out += ids.from(done);
    out += " -> ";
    out += ids.to(done);
    out += edge.isCircular ? " [style=dashed]" : " [style=solid]";
    if (!edge.relationship.empty()) {
      out += " [label=\"";
      detail::appendDotString(out, edge.relationship);
      out += "\"]";
    }
    out += ";\n";
    steps.edgeDone(++done);
  }
  out += "}\n";
  steps.finish();
  return out;
}

// The JSON form is written directly, without building a document first. Its text is what a
// JSON library prints for the graph's `VisualizationData` with two-space indentation, keys in
// byte order and strict UTF-8: the keys of each record are written in sorted order by hand.

struct InvalidUtf8 {};

// Appends `text` as a JSON string: quotes, backslashes and control characters escaped, every
// other character as it is; throws InvalidUtf8 when the text is not UTF-8.
void appendJsonString(std::string& out, std::string_view text) {
  static constexpr char kHex[] = "0123456789abcdef";
  out += '"';
  for (std::size_t i = 0; i < text.size();) {
    const auto c = static_cast<unsigned char>(text[i]);
    if (c >= 0x80) {
      const std::size_t length = detail::wellFormedLength(text, i);
      if (length == 0) throw InvalidUtf8{};
      out.append(text.substr(i, length));
      i += length;
      continue;
    }
    switch (c) {
      case '"':
        out += "\\\"";
        break;
      case '\\':
        out += "\\\\";
        break;
      case '\b':
        out += "\\b";
        break;
      case '\f':
        out += "\\f";
        break;
      case '\n':
        out += "\\n";
        break;
      case '\r':
        out += "\\r";
        break;
      case '\t':
        out += "\\t";
        break;
      default:
        if (c < 0x20) {
          out += "\\u00";
          out += kHex[c >> 4];
          out += kHex[c & 0xF];
        } else {
          out += static_cast<char>(c);
        }
    }
    ++i;
  }
  out += '"';
}

// Writes members and elements at one indentation level: `"key": ` or nothing, and the ",\n"
// between them.
class JsonLevel {
 public:
  JsonLevel(std::string& out, std::size_t indent) : out_(out), indent_(indent) {}

  // A fixed key, written as it is.
  void key(std::string_view name) {
    element();
    out_ += '"';
    out_ += name;
    out_ += "\": ";
  }
  // A key from the graph's text, escaped.
  void textKey(std::string_view name) {
    element();
    appendJsonString(out_, name);
    out_ += ": ";
  }
  void element() {
    if (!first_) out_ += ",\n";
    first_ = false;
    out_.append(indent_, ' ');
  }

 private:
  std::string& out_;
  std::size_t indent_;
  bool first_ = true;
};

void appendJsonStringMember(std::string& out, JsonLevel& level, std::string_view key,
                            std::string_view value) {
  level.key(key);
  appendJsonString(out, value);
}

void appendJsonBoolMember(std::string& out, JsonLevel& level, std::string_view key, bool value) {
  level.key(key);
  out += value ? "true" : "false";
}

// "[" elements "]" on their own lines at `indent` + 2, or "[]" when there are none; `write`
// appends one element.
template <class Items, class Write>
void appendJsonArray(std::string& out, const Items& items, std::size_t indent, Write&& write) {
  if (std::empty(items)) {
    out += "[]";
    return;
  }
  out += "[\n";
  JsonLevel level(out, indent + 2);
  for (const auto& item : items) {
    level.element();
    write(item);
  }
  out += '\n';
  out.append(indent, ' ');
  out += ']';
}

// "{" members "}" at `indent` + 2, for a record that has members; `write` appends them at the
// level it is given.
template <class Write>
void appendJsonRecord(std::string& out, std::size_t indent, Write&& write) {
  out += "{\n";
  JsonLevel member(out, indent + 2);
  write(member);
  out += '\n';
  out.append(indent, ' ');
  out += '}';
}

// "{" members "}" on their own lines at `indent` + 2, or "{}" when there are none.
template <class Map>
void appendJsonTextMap(std::string& out, const Map& map, std::size_t indent) {
  if (std::empty(map)) {
    out += "{}";
    return;
  }
  appendJsonRecord(out, indent, [&](JsonLevel& level) {
    for (const auto& [key, value] : map) {
      level.textKey(key);
      appendJsonString(out, value);
    }
  });
}

// Characters of an edge and of a node besides their texts (keys, indentation, punctuation,
// values of at most 14 characters), and of each dependency and metadata entry besides its texts;
// used to reserve the text's length ahead (escapes may still make it grow).
constexpr std::size_t kJsonEdgeFixed = 140;
constexpr std::size_t kJsonNodeFixed = 250;
constexpr std::size_t kJsonEntryFixed = 16;

std::string buildJson(const DependencyGraph& graph, const GraphAnalysis& analysis) {
  std::size_t capacity = 512;
  for (const DependencyEdge& edge : graph.edges) {
    capacity += kJsonEdgeFixed + edge.from.size() + edge.to.size() + edge.relationship.size();
  }
  for (const DependencyNode& node : graph.nodes) {
    capacity += kJsonNodeFixed + 2 * node.id.size();
    for (const Name& dependency : node.dependencies) {
      capacity += kJsonEntryFixed + dependency.size();
    }
    for (const auto& [key, value] : node.metadata) {
      capacity += kJsonEntryFixed + key.size() + value.size();
    }
  }
  std::string out;
  out.reserve(capacity);
  out += "{\n";
  JsonLevel top(out, 2);

  top.key("edges");
  appendJsonArray(out, graph.edges, 2, [&](const DependencyEdge& edge) {
    appendJsonRecord(out, 4, [&](JsonLevel& member) {
      appendJsonStringMember(out, member, "from", edge.from);
      appendJsonBoolMember(out, member, "isCircular", edge.isCircular);
      appendJsonStringMember(out, member, "label", edge.relationship);
      appendJsonStringMember(out, member, "to", edge.to);
      appendJsonStringMember(out, member, "type", toString(edge.relationshipType));
    });
  });

  // Plain text of each figure: integers in decimal, booleans as true/false, doubles in their
  // shortest round-trip form; the keys in byte order.
  top.key("metadata");
  const std::pair<std::string_view, std::string> figures[] = {
      {"analysisTime", fmt::format("{}", analysis.analysisTime)},
      {"cacheEfficiency", fmt::format("{}", analysis.cacheEfficiency)},
      {"hasCircularDependencies", fmt::format("{}", analysis.hasCircularDependencies)},
      {"maxDepth", fmt::format("{}", analysis.maxDepth)},
      {"memoryUsage", fmt::format("{}", analysis.memoryUsage)},
      {"totalDependencies", fmt::format("{}", analysis.totalDependencies)},
      {"totalNodes", fmt::format("{}", analysis.totalNodes)},
  };
  appendJsonTextMap(out, figures, 2);

  top.key("nodes");
  appendJsonArray(out, graph.nodes, 2, [&](const DependencyNode& node) {
    appendJsonRecord(out, 4, [&](JsonLevel& member) {
      member.key("dependencies");
      appendJsonArray(out, node.dependencies, 6,
                      [&](const Name& dependency) { appendJsonString(out, dependency); });
      appendJsonStringMember(out, member, "id", node.id);
      appendJsonBoolMember(out, member, "isCircular", node.isCircular);
      appendJsonStringMember(out, member, "label", node.id);
      appendJsonStringMember(out, member, "layer", fmt::format("{}", node.layer));
      member.key("metadata");
      appendJsonTextMap(out, node.metadata, 6);
      appendJsonStringMember(out, member, "scope", toString(node.scope));
      appendJsonStringMember(out, member, "type", toString(node.type));
    });
  });
  out += "\n}";
  return out;
}

std::string encodingFailure(std::string_view description) {
  return fmt::format(R"({{"error": "Failed to encode visualization data: {}"}})", description);
}

}  // namespace

std::string DiagramGenerators::generateMermaid(const DependencyGraph& graph) {
  return buildMermaid(graph, nullptr);
}

asio::awaitable<std::string> DiagramGenerators::generateMermaidAsync(DependencyGraph graph,
                                                                     Progress* progress) {
  co_return buildMermaid(graph, progress);
}

std::string DiagramGenerators::generateGraphviz(const DependencyGraph& graph) {
  return buildGraphviz(graph, nullptr);
}

asio::awaitable<std::string> DiagramGenerators::generateGraphvizAsync(DependencyGraph graph,
                                                                      Progress* progress) {
  co_return buildGraphviz(graph, progress);
}

std::string DiagramGenerators::generateJSONVisualization(const DependencyGraph& graph,
                                                         const GraphAnalysis& analysis) {
  try {
    return buildJson(graph, analysis);
  } catch (const InvalidUtf8&) {
    return "{}";
  } catch (const std::exception& error) {
    return encodingFailure(error.what());
  }
}

std::string DiagramGenerators::generate(VisualizationType type, const DependencyGraph& graph,
                                        const GraphAnalysis& analysis, std::int64_t maxDepth) {
  switch (type) {
    case VisualizationType::mermaid:
      return generateMermaid(graph);
    case VisualizationType::graphviz:
      return generateGraphviz(graph);
    case VisualizationType::json:
      return generateJSONVisualization(graph, analysis);
    case VisualizationType::tree:
      return generateTreeVisualization(graph, maxDepth);
    case VisualizationType::network:
      return generateNetworkVisualization(graph);
    case VisualizationType::hierarchical:
      return generateHierarchicalVisualization(graph);
    case VisualizationType::circular:
      return generateCircularVisualization(graph);
    case VisualizationType::layered:
      break;
  }
  return generateLayeredVisualization(graph);
}

}  // namespace tavreldi
