#include "tavreldi/dashboard/DashboardError.hpp"

#include <utility>

namespace tavreldi {

DashboardError::DashboardError(DashboardErrorKind kind, std::string message,
                               std::optional<int> status)
    : kind_(kind), message_(std::move(message)), status_(status) {}

}  // namespace tavreldi
