// JSON form of the dashboard data the service hands back.

#include "tavreldi/dashboard/DashboardData.hpp"

#include <nlohmann/json.hpp>

#include "core/detail/Json.hpp"

namespace tavreldi {

using detail::field;
using detail::requireObject;

void to_json(nlohmann::json& json, const DashboardService& service) {
  json = nlohmann::json::object();
  json["id"] = service.id;
  json["scope"] = service.scope;
  json["layer"] = service.layer;
}

void from_json(const nlohmann::json& json, DashboardService& service) {
  requireObject(json, "DashboardService");
  service = DashboardService{field<std::string>(json, "id"), field<DependencyScope>(json, "scope"),
                             field<std::int64_t>(json, "layer")};
}

void to_json(nlohmann::json& json, const DashboardData& data) {
  json = nlohmann::json::object();
  json["updatedAt"] = toIso8601WithMilliseconds(data.updatedAt);
  json["totalNodes"] = data.totalNodes;
  json["totalDependencies"] = data.totalDependencies;
  json["healthScore"] = data.healthScore;
  json["hasCircularDependencies"] = data.hasCircularDependencies;
  json["services"] = data.services;
}

void from_json(const nlohmann::json& json, DashboardData& data) {
  requireObject(json, "DashboardData");
  data = DashboardData{detail::dateField(json, "updatedAt"),
                       field<std::int64_t>(json, "totalNodes"),
                       field<std::int64_t>(json, "totalDependencies"),
                       field<double>(json, "healthScore"),
                       field<bool>(json, "hasCircularDependencies"),
                       field<std::vector<DashboardService>>(json, "services")};
}

}  // namespace tavreldi
