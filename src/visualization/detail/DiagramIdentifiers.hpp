#pragma once

// The node identifiers of one Mermaid or DOT diagram, made from the service names.

#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "tavreldi/graph/DependencyGraph.hpp"

namespace tavreldi::detail {

/// The language a diagram's identifiers must be valid in.
enum class DiagramLanguage { mermaid, dot };

/// One identifier per distinct name among a graph's nodes and edge ends, each valid in the
/// language, none of its keywords, and no two alike.
///
/// A name whose usual form (every " ", "-" and "." replaced by "_") is a valid identifier and
/// no keyword keeps that form; a name that is already an identifier keeps itself. Any other
/// name, and one whose usual form another name holds, gets its usual form with every other
/// character outside [A-Za-z0-9_] as "_", a "_" in front of a leading digit, then "_" and six
/// hexadecimal digits of a hash of the name (so it does not depend on the other names); should
/// that still be taken, "_2", "_3", ... follows. Identifiers refer into the object and the
/// graph.
class DiagramIdentifiers {
 public:
  /// Assigns the identifiers of `graph`, which must outlive the object and stay unchanged.
  DiagramIdentifiers(const DependencyGraph& graph, DiagramLanguage language);

  /// The identifier of node `i`.
  [[nodiscard]] std::string_view node(std::size_t i) const { return nodes_[i]; }
  /// The identifier of the source of edge `i`.
  [[nodiscard]] std::string_view from(std::size_t i) const { return from_[i]; }
  /// The identifier of the target of edge `i`.
  [[nodiscard]] std::string_view to(std::size_t i) const { return to_[i]; }

 private:
  // The identifiers of the names that are not their own, by name.
  std::unordered_map<std::string_view, std::string> assigned_;
  std::vector<std::string_view> nodes_;
  std::vector<std::string_view> from_;
  std::vector<std::string_view> to_;
};

}  // namespace tavreldi::detail
