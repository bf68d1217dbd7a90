// JSON form of the dashboard data the service hands back.

#include "tavreldi/dashboard/DashboardData.hpp"

#include <nlohmann/json.hpp>

#include "core/detail/JsonForm.hpp"

namespace tavreldi {

TAVRELDI_JSON_FORM(DashboardService, id, scope, layer)
TAVRELDI_JSON_FORM(DashboardData, updatedAt, totalNodes, totalDependencies, healthScore,
                   hasCircularDependencies, services)

}  // namespace tavreldi
