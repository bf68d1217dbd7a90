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

/// Holds the calling thread's lines bound for standard output until `releaseLines`, so that a
/// run of lines printed with nothing in between that could print or suspend goes out in one
/// write. Lines for a sink are never held. Release before calling user code (a factory, a
/// telemetry provider) and before every suspension: a line is written when it is due.
[[gnu::visibility("hidden")]] void holdLines() noexcept;

/// Writes the held lines with one write and stops holding.
[[gnu::visibility("hidden")]] void releaseLines() noexcept;

/// Holds lines while it is active: from construction until `release()`, again from `hold()`.
/// Its destructor releases only if it is still active, so a coroutine that released before it
/// suspended never writes another run's lines.
class HeldLines {
 public:
  HeldLines() noexcept { holdLines(); }
  ~HeldLines() {
    if (active_) releaseLines();
  }
  HeldLines(const HeldLines&) = delete;
  HeldLines& operator=(const HeldLines&) = delete;
  void hold() noexcept {
    active_ = true;
    holdLines();
  }
  void release() noexcept {
    if (!active_) return;
    active_ = false;
    releaseLines();
  }

 private:
  bool active_ = true;
};

/// Returns room for at least `size` bytes in the calling thread's raw line buffer, after the
/// held lines.
[[gnu::visibility("hidden")]] char* reserveLine(std::size_t size);

/// Writes the `size` bytes `reserveLine` gave room for, which end with the line feed (or holds
/// them).
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
