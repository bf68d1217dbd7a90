#pragma once

// Text helpers shared by the diagram generators: scope colours, labels for Mermaid and DOT,
// UTF-8 aware cells, and progress steps.

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "tavreldi/core/DependencyScope.hpp"
#include "tavreldi/visualization/Progress.hpp"

namespace tavreldi::detail {

/// Six hexadecimal digits of the scope's fill colour, without "#".
[[nodiscard]] std::string_view scopeColor(DependencyScope scope) noexcept;

/// Number of bytes of the UTF-8 sequence starting at `text[index]`; a byte that does not start
/// a well-formed sequence counts as one character on its own.
[[nodiscard]] std::size_t utf8SequenceLength(std::string_view text, std::size_t index) noexcept;

/// Length of the well-formed UTF-8 sequence at `text[i]` (lead byte 0x80 or above), or 0.
[[nodiscard]] std::size_t wellFormedLength(std::string_view text, std::size_t i) noexcept;

/// Appends `text` for use inside a double-quoted Mermaid label, so that Mermaid shows it as it
/// is: `"`, `<`, `>`, `&`, `#`, `%`, `\`, `` ` `` (and `:` in a label with any of these or
/// with "fa-") as entities; ASCII control characters as their pictures (U+2400 to U+2421); a
/// byte that is not UTF-8 as U+FFFD; an empty text as a blank, which Mermaid shows as empty.
void appendMermaidLabel(std::string& out, std::string_view text);
/// Appends `text` for use inside a double-quoted DOT string, so that Graphviz shows it as it
/// is: `"` and `\` after a backslash, `&` as `&amp;`; control characters and bytes that are
/// not UTF-8 as for Mermaid.
void appendDotString(std::string& out, std::string_view text);

/// Appends exactly `width` characters (code points): `text` cut to its first `width`
/// characters, or padded with spaces.
void appendCell(std::string& out, std::string_view text, std::size_t width);

/// Reports the progress of a pass over `nodes` nodes, then `edges` edges, to an optional
/// progress object: 0 at the start, up to 50 over the nodes, up to 100 over the edges, 100 at
/// the end. The shares are computed in integers (done × 50 ÷ count), so they are exact floors.
class ProgressSteps {
 public:
  ProgressSteps(Progress* progress, std::size_t nodes, std::size_t edges) noexcept
      : progress_(progress),
        nodes_(static_cast<std::int64_t>(nodes)),
        edges_(static_cast<std::int64_t>(edges)) {}

  void start() const { report(0); }
  /// After node `done` (counting from 1).
  void nodeDone(std::size_t done) const {
    if (progress_) report(static_cast<std::int64_t>(done) * 50 / nodes_);
  }
  /// After edge `done` (counting from 1).
  void edgeDone(std::size_t done) const {
    if (progress_) report(static_cast<std::int64_t>(done) * 50 / edges_ + 50);
  }
  void finish() const { report(100); }

 private:
  void report(std::int64_t completed) const {
    if (progress_) progress_->setCompletedUnitCount(completed);
  }

  Progress* progress_;
  std::int64_t nodes_;
  std::int64_t edges_;
};

}  // namespace tavreldi::detail
