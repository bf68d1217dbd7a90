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
  // A name that is an identifier as it is, and no keyword, is its own identifier: no other name
  // can take it, so it needs no bookkeeping (most graphs hold only such names). The other names
  // are gathered once each, in the order they first appear, and their places filled in last.
  nodes_.reserve(graph.nodes.size());
  from_.reserve(graph.edges.size());
  to_.reserve(graph.edges.size());
  std::vector<std::pair<std::string_view, std::string*>> others;
  std::vector<std::pair<std::string_view*, const std::string*>> places;
  // The last name looked up for each kind of place: edges often come grouped by their source.
  struct Last {
    std::string_view name;
    std::string* entry = nullptr;
  };
  Last lastNode;
  Last lastFrom;
  Last lastTo;
  const auto place = [&](std::string_view name, std::vector<std::string_view>& slots, Last& last) {
    if (isIdentifier(name) && !isKeyword(name, language)) {
      slots.push_back(name);
      return;
    }
    if (last.entry == nullptr || name.data() != last.name.data() ||
        name.size() != last.name.size()) {
      if (assigned_.empty()) assigned_.reserve(graph.nodes.size());
      const auto [entry, added] = assigned_.try_emplace(name);
      if (added) others.emplace_back(name, &entry->second);
      last = {name, &entry->second};
    }
    places.emplace_back(&slots.emplace_back(), last.entry);
  };
  for (const auto& node : graph.nodes) place(node.id, nodes_, lastNode);
  for (const auto& edge : graph.edges) {
    place(edge.from, from_, lastFrom);
    place(edge.to, to_, lastTo);
  }
  if (others.empty()) return;

  // Usual forms go to the first name that asks, unless a name is that identifier as it is;
  // then every remaining name is escaped.
  std::unordered_set<std::string_view> taken;
  for (const auto* slots : {&nodes_, &from_, &to_}) {
    for (const std::string_view identifier : *slots) {
      if (!identifier.empty()) taken.insert(identifier);
    }
  }
  for (const auto& [name, identifier] : others) {
    *identifier = usualForm(name);
    const bool claimed = isIdentifier(*identifier) && !isKeyword(*identifier, language) &&
                         taken.insert(*identifier).second;
    if (!claimed) identifier->clear();
  }
  for (const auto& [name, identifier] : others) {
    if (!identifier->empty()) continue;
    const std::string stem = escapedForm(name, usualForm(name));
    *identifier = stem;
    for (int n = 2; !taken.insert(*identifier).second; ++n) {
      *identifier = fmt::format("{}_{}", stem, n);
    }
  }
  for (const auto& [slot, identifier] : places) *slot = *identifier;
}

}  // namespace tavreldi::detail
