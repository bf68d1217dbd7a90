#pragma once

/// \file
/// Graded cycles and the cycle analysis summary.

#include <array>
#include <cstdint>
#include <nlohmann/json_fwd.hpp>
#include <string>
#include <string_view>
#include <vector>

#include "tavreldi/core/Enum.hpp"

namespace tavreldi {

/// Grade of a cycle by its length.
enum class CircularDependencySeverity { low, medium, high };

template <>
struct EnumTraits<CircularDependencySeverity> {
  static constexpr std::array<std::string_view, 3> rawValues{"Low", "Medium", "High"};
};

/// Grade of a cycle by the scopes of its members.
enum class CircularDependencyImpact { low, medium, high, critical };

template <>
struct EnumTraits<CircularDependencyImpact> {
  static constexpr std::array<std::string_view, 4> rawValues{"Low", "Medium", "High", "Critical"};
};

/// One cycle with its grades and advice.
struct CircularDependency {
  /// The type names that form the cycle.
  std::vector<std::string> cycle;
  /// Its severity (from its length).
  CircularDependencySeverity severity = CircularDependencySeverity::low;
  /// Its impact (from its members' scopes and its length).
  CircularDependencyImpact impact = CircularDependencyImpact::medium;
  /// Advice texts for breaking it.
  std::vector<std::string> suggestions;

  /// Equal when every field is equal.
  friend bool operator==(const CircularDependency&, const CircularDependency&) = default;
};

/// Every cycle of a container, counted and summed up.
struct CircularDependencyAnalysis {
  /// The number of cycles.
  std::int64_t totalCycles = 0;
  /// How many have impact `critical`.
  std::int64_t criticalCycles = 0;
  /// How many have impact `high`.
  std::int64_t highImpactCycles = 0;
  /// How many have impact `medium`.
  std::int64_t mediumImpactCycles = 0;
  /// The mean number of names per cycle, rounded down (0 without cycles).
  std::int64_t averageCycleLength = 0;
  /// The most names in one cycle.
  std::int64_t longestCycle = 0;
  /// Every cycle, graded.
  std::vector<CircularDependency> cycles;
  /// Advice texts for the whole set.
  std::vector<std::string> recommendations;
};

// JSON forms: keys equal the field names and enumerations are their raw values; every key is
// required on reading.
/// Writes `CircularDependency` as a JSON object whose keys are its field names.
void to_json(nlohmann::json& json, const CircularDependency& value);
/// Reads `CircularDependency` from JSON; throws `DecodingError` naming a missing or faulty key.
void from_json(const nlohmann::json& json, CircularDependency& value);
/// Writes `CircularDependencyAnalysis` as a JSON object whose keys are its field names.
void to_json(nlohmann::json& json, const CircularDependencyAnalysis& value);
/// Reads `CircularDependencyAnalysis` from JSON; throws `DecodingError` naming a missing or faulty
/// key.
void from_json(const nlohmann::json& json, CircularDependencyAnalysis& value);

}  // namespace tavreldi
