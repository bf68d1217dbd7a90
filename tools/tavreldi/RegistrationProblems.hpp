#pragma once

// The registration problems of a saved graph, for `tavreldi report`.

#include <string>
#include <vector>

#include "tavreldi/graph/DependencyGraph.hpp"

namespace tavreldi_tool {

/// The report section on `graph`'s registrations, checked as the container's
/// `validateRegistrations` checks them: the nodes (names and scopes) against every edge and
/// every node's listed dependencies, declared and observed alike, an edge to a name without a
/// node being a missing dependency. A blank line, "Registration problems (N)", then one
/// numbered line per problem ("  1. [captiveDependency] ...") or "  none".
[[nodiscard]] std::vector<std::string> registrationProblemLines(
    const tavreldi::DependencyGraph& graph);

}  // namespace tavreldi_tool
