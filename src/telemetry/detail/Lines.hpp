#pragma once

// Line helpers shared by the console telemetry providers. Every helper may throw (allocation);
// each provider operation catches everything around its calls.

#include <fmt/format.h>

#include <exception>
#include <iterator>
#include <string_view>
#include <utility>

#include "tavreldi/core/LineWriter.hpp"
#include "tavreldi/telemetry/AnalyticsValue.hpp"

namespace tavreldi::telemetry::detail {

/// Formats one line and hands it to `writeLine` in a single call.
template <class... Args>
void writeFormattedLine(fmt::format_string<Args...> format, Args&&... args) {
  fmt::memory_buffer buffer;
  fmt::format_to(std::back_inserter(buffer), format, std::forward<Args>(args)...);
  writeLine(std::string_view(buffer.data(), buffer.size()));
}

/// The description of `error`: its `what()`, or nothing when that is null.
inline std::string_view describe(const std::exception& error) noexcept {
  const char* text = error.what();
  return text != nullptr ? std::string_view(text) : std::string_view();
}

/// Writes `tag` + " " + `label` + ": " + `subject`, then, when `parameters` are present, one
/// line per entry in map order: `tag` + three blanks + key + ": " + the value's plain text.
inline void writeTaggedLines(std::string_view tag, std::string_view label, std::string_view subject,
                             const OptionalParameters& parameters) {
  writeFormattedLine("{} {}: {}", tag, label, subject);
  if (!parameters) return;
  for (const auto& [key, value] : *parameters) {
    writeFormattedLine("{}   {}: {}", tag, key, value.toString());
  }
}

}  // namespace tavreldi::telemetry::detail
