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
  /// The service's type name.
  std::string id;
  /// Its scope.
  DependencyScope scope = DependencyScope::singleton;
  /// Its architectural layer (as in `DependencyNode::layer`).
  std::int64_t layer = 0;

  /// Equal when every field is equal.
  friend bool operator==(const DashboardService&, const DashboardService&) = default;
};

/// The figures the dashboard holds for the last uploaded graph.
struct DashboardData {
  /// When the dashboard was last updated.
  Timestamp updatedAt;
  /// The number of services.
  std::int64_t totalNodes = 0;
  /// The number of dependency edges.
  std::int64_t totalDependencies = 0;
  /// The overall health score.
  double healthScore = 0;
  /// True when the graph had a cycle.
  bool hasCircularDependencies = false;
  /// The services, as the dashboard lists them.
  std::vector<DashboardService> services;

  /// Equal when every field is equal.
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
