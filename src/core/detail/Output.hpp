#pragma once

// Formatting front of writeLine: formats into a per-thread buffer that is reused, so a printed
// line costs no allocation once the buffer has grown.

#include <string_view>
#include <utility>

#include <fmt/format.h>

#include "tavreldi/core/LineWriter.hpp"

namespace tavreldi::detail {

fmt::memory_buffer& lineBuffer() noexcept;

/// Emits `text`, which ends with its line feed: to the thread's sink (without the line feed)
/// or to standard output in one write.
void emitLine(std::string_view textWithLineFeed);

template <class... Args>
void printLine(fmt::format_string<Args...> format, Args&&... args) {
  auto& buffer = lineBuffer();
  buffer.clear();
  fmt::format_to(std::back_inserter(buffer), format, std::forward<Args>(args)...);
  buffer.push_back('\n');
  emitLine(std::string_view(buffer.data(), buffer.size()));
}

}  // namespace tavreldi::detail
