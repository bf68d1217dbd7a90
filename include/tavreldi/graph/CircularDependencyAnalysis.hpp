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
  std::vector<std::string> cycle;
  CircularDependencySeverity severity = CircularDependencySeverity::low;
  CircularDependencyImpact impact = CircularDependencyImpact::medium;
  std::vector<std::string> suggestions;

  friend bool operator==(const CircularDependency&, const CircularDependency&) = default;
};

/// Every cycle of a container, counted and summed up.
struct CircularDependencyAnalysis {
  std::int64_t totalCycles = 0;
  std::int64_t criticalCycles = 0;
  std::int64_t highImpactCycles = 0;
  std::int64_t mediumImpactCycles = 0;
  std::int64_t averageCycleLength = 0;
  std::int64_t longestCycle = 0;
  std::vector<CircularDependency> cycles;
  std::vector<std::string> recommendations;
};

/// JSON forms: keys equal the field names, enumerations as their raw values; every key is
/// required on reading (throws `DecodingError` naming the faulty key).
void to_json(nlohmann::json& json, const CircularDependency& value);
void from_json(const nlohmann::json& json, CircularDependency& value);
void to_json(nlohmann::json& json, const CircularDependencyAnalysis& value);
void from_json(const nlohmann::json& json, CircularDependencyAnalysis& value);

}  // namespace tavreldi
