#pragma once

// The library's side of writeLine: lines are assembled in a per-thread buffer that is reused,
// so a printed line costs no allocation once the buffer has grown, and is written with one
// call. Most lines are plain concatenations (`printLine(prefix, name)`); `printFormatted` takes
// a {fmt} format string for the rest.

#include <fmt/format.h>

#include <cstddef>
#include <cstring>
#include <string>
#include <string_view>
#include <utility>

#include "tavreldi/core/LineWriter.hpp"

namespace tavreldi::detail {

/// The calling thread's line buffer, emptied.
[[gnu::visibility("hidden")]] std::string& beginLine() noexcept;

/// Writes the line in the calling thread's buffer: to the thread's sink, else the default sink,
/// else with one write to standard output.
[[gnu::visibility("hidden")]] void endLine() noexcept;

/// Returns the calling thread's raw line buffer with room for at least `size` bytes.
[[gnu::visibility("hidden")]] char* reserveLine(std::size_t size);

/// Writes the first `size` bytes of the raw line buffer, which end with the line feed.
[[gnu::visibility("hidden")]] void endRawLine(std::size_t size) noexcept;

template <std::size_t N>
constexpr std::string_view linePart(const char (&literal)[N]) noexcept {
  return {literal, N - 1};  // measured at compile time, not with strlen
}
constexpr std::string_view linePart(std::string_view text) noexcept { return text; }

/// Prints the concatenation of `parts` as one line.
template <class... Parts>
void printLine(const Parts&... parts) {
  const std::string_view views[] = {linePart(parts)...};
  std::size_t size = 1;
  for (const auto view : views) size += view.size();
  char* out = reserveLine(size);
  for (const auto view : views) {
    std::memcpy(out, view.data(), view.size());
    out += view.size();
  }
  *out = '\n';
  endRawLine(size);
}

/// Prints one line formatted by {fmt}.
template <class... Args>
void printFormatted(fmt::format_string<Args...> format, Args&&... args) {
  std::string& line = beginLine();
  fmt::format_to(std::back_inserter(line), format, std::forward<Args>(args)...);
  endLine();
}

/// Writes `seconds` with three decimals (as "%.3f" does) into `buffer`; returns the text.
std::string_view formatSeconds(double seconds, char (&buffer)[32]);

}  // namespace tavreldi::detail
