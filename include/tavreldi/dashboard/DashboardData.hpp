#pragma once

/// \file
/// The dashboard data the service hands back.

#include <cstdint>
#include <nlohmann/json_fwd.hpp>
#include <string>
#include <vector>

#include "tavreldi/core/DependencyScope.hpp"
#include "tavreldi/core/Timestamp.hpp"

namespace tavreldi {

/// One service as the dashboard lists it.
struct DashboardService {
  std::string id;
  DependencyScope scope = DependencyScope::singleton;
  std::int64_t layer = 0;

  friend bool operator==(const DashboardService&, const DashboardService&) = default;
};

/// The figures the dashboard holds for the last uploaded graph.
struct DashboardData {
  /// When the dashboard was last updated.
  Timestamp updatedAt;
  std::int64_t totalNodes = 0;
  std::int64_t totalDependencies = 0;
  double healthScore = 0;
  bool hasCircularDependencies = false;
  std::vector<DashboardService> services;

  friend bool operator==(const DashboardData&, const DashboardData&) = default;
};

/// Keys "id", "scope" (raw value), "layer".
void to_json(nlohmann::json& json, const DashboardService& service);
/// Reads the keys above, all required; throws `DecodingError` naming the faulty key.
void from_json(const nlohmann::json& json, DashboardService& service);
/// Keys "updatedAt" (ISO 8601 with milliseconds), "totalNodes", "totalDependencies",
/// "healthScore", "hasCircularDependencies", "services".
void to_json(nlohmann::json& json, const DashboardData& data);
/// Reads the keys above, all required; throws `DecodingError` naming the faulty key.
void from_json(const nlohmann::json& json, DashboardData& data);

}  // namespace tavreldi
