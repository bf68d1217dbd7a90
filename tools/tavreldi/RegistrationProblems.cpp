#include "RegistrationProblems.hpp"

#include <fmt/format.h>

#include "tavreldi/graph/RegistrationProblems.hpp"

namespace tavreldi_tool {

std::vector<std::string> registrationProblemLines(const tavreldi::DependencyGraph& graph) {
  std::vector<tavreldi::RegisteredService> services;
  services.reserve(graph.nodes.size());
  std::vector<tavreldi::ServiceDependency> dependencies;
  dependencies.reserve(graph.edges.size());
  for (const tavreldi::DependencyNode& node : graph.nodes) {
    services.push_back({node.id.view(), node.scope});
    for (const tavreldi::Name& dependency : node.dependencies) {
      dependencies.push_back({node.id.view(), dependency.view()});
    }
  }
  for (const tavreldi::DependencyEdge& edge : graph.edges) {
    dependencies.push_back({edge.from.view(), edge.to.view()});
  }
  const tavreldi::RegistrationReport report =
      tavreldi::findRegistrationProblems(services, dependencies);
  std::vector<std::string> lines{"",
                                 fmt::format("Registration problems ({})", report.problems.size())};
  if (report.ok()) lines.emplace_back("  none");
  for (std::size_t i = 0; i < report.problems.size(); ++i) {
    const tavreldi::RegistrationProblem& problem = report.problems[i];
    lines.push_back(
        fmt::format("  {}. [{}] {}", i + 1, tavreldi::toString(problem.kind), problem.message));
  }
  return lines;
}

}  // namespace tavreldi_tool
