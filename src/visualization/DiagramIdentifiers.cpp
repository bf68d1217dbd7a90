#include "visualization/detail/DiagramIdentifiers.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <unordered_set>
#include <vector>

#include "visualization/detail/DiagramText.hpp"

namespace tavreldi::detail {

namespace {

// Words that end or change a statement where a node identifier stands (Mermaid: case-sensitive,
// as its parser takes them; DOT: in any case).
constexpr std::array<std::string_view, 16> kMermaidKeywords{
    "graph", "subgraph", "end",         "flowchart", "style",  "linkStyle", "classDef", "class",
    "click", "call",     "interpolate", "href",      "_blank", "_self",     "_parent",  "_top"};
constexpr std::array<std::string_view, 6> kDotKeywords{"node",    "edge",     "graph",
                                                       "digraph", "subgraph", "strict"};

bool isKeyword(std::string_view word, DiagramLanguage language) {
  if (language == DiagramLanguage::mermaid) {
    return std::find(kMermaidKeywords.begin(), kMermaidKeywords.end(), word) !=
           kMermaidKeywords.end();
  }
  return std::any_of(kDotKeywords.begin(), kDotKeywords.end(), [word](std::string_view keyword) {
    return std::equal(word.begin(), word.end(), keyword.begin(), keyword.end(),
                      [](char a, char b) { return (a | 0x20) == b; });
  });
}

constexpr bool isIdentifierCharacter(char c) noexcept {
  return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '_';
}

// The usual form: " ", "-" and "." as "_".
std::string usualForm(std::string_view name) {
  std::string form(name);
  std::replace_if(
      form.begin(), form.end(), [](char c) { return c == ' ' || c == '-' || c == '.'; }, '_');
  return form;
}

bool isIdentifier(std::string_view form) {
  return !form.empty() && !(form.front() >= '0' && form.front() <= '9') &&
         std::all_of(form.begin(), form.end(), isIdentifierCharacter);
}

// FNV-1a, folded to 24 bits: stable across runs and platforms.
std::uint32_t hash24(std::string_view name) {
  std::uint32_t hash = 2166136261U;
  for (const char c : name) {
    hash = (hash ^ static_cast<unsigned char>(c)) * 16777619U;
  }
  return (hash >> 24U) ^ (hash & 0xFFFFFFU);
}

// The escaped form of a name: its usual form with one "_" per other character outside the
// identifier characters, "_" in front of a leading digit or of nothing, then the hash.
std::string escapedForm(std::string_view name, std::string_view usual) {
  std::string out;
  out.reserve(usual.size() + 8);
  if (usual.empty() || (usual.front() >= '0' && usual.front() <= '9')) out += '_';
  for (std::size_t i = 0; i < usual.size();) {
    const std::size_t length = utf8SequenceLength(usual, i);
    out += length == 1 && isIdentifierCharacter(usual[i]) ? usual[i] : '_';
    i += length;
  }
  fmt::format_to(std::back_inserter(out), "_{:06x}", hash24(name));
  return out;
}

}  // namespace

DiagramIdentifiers::DiagramIdentifiers(const DependencyGraph& graph, DiagramLanguage language) {
  // Distinct names in the order they first appear.
  std::vector<std::string_view> names;
  names.reserve(graph.nodes.size());
  const auto add = [&](std::string_view name) {
    if (identifiers_.try_emplace(name).second) names.push_back(name);
  };
  for (const auto& node : graph.nodes) add(node.id);
  for (const auto& edge : graph.edges) {
    add(edge.from);
    add(edge.to);
  }

  // Names that are identifiers already keep themselves; then the usual forms go to the first
  // name that asks; every other name is escaped.
  std::unordered_set<std::string> taken;
  std::vector<std::string_view> escaped;
  std::vector<std::string_view> usual;
  for (const std::string_view name : names) {
    std::string form = usualForm(name);
    if (!isIdentifier(form) || isKeyword(form, language)) {
      escaped.push_back(name);
    } else if (form == name) {
      taken.insert(form);
      identifiers_[name] = std::move(form);
    } else {
      usual.push_back(name);
    }
  }
  for (const std::string_view name : usual) {
    std::string form = usualForm(name);
    if (taken.insert(form).second) {
      identifiers_[name] = std::move(form);
    } else {
      escaped.push_back(name);
    }
  }
  for (const std::string_view name : escaped) {
    const std::string stem = escapedForm(name, usualForm(name));
    std::string identifier = stem;
    for (int n = 2; !taken.insert(identifier).second; ++n) {
      identifier = fmt::format("{}_{}", stem, n);
    }
    identifiers_[name] = std::move(identifier);
  }
}

}  // namespace tavreldi::detail
