#pragma once

/// \file
/// Points in time as the framework stores and writes them.

#include <chrono>
#include <optional>
#include <string>
#include <string_view>

namespace tavreldi {

/// A point in time (UTC, system clock).
using Timestamp = std::chrono::system_clock::time_point;

/// Writes `time` as ISO 8601 UTC text with milliseconds, e.g. `2026-11-22T10:15:30.123Z`.
/// This is the form every record's JSON uses for dates.
[[nodiscard]] std::string toIso8601WithMilliseconds(Timestamp time);

/// Writes `time` as ISO 8601 UTC text to the second, e.g. `2024-01-31T12:00:00Z` (the form
/// of the graph's `created_at` metadata).
[[nodiscard]] std::string toIso8601(Timestamp time);

/// Reads ISO 8601 UTC text as written by the two functions above (fraction optional, `Z`
/// required). Returns nothing for any other text.
[[nodiscard]] std::optional<Timestamp> parseIso8601(std::string_view text);

}  // namespace tavreldi
