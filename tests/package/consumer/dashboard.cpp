#include <cstdio>
#include <tavreldi/dashboard/DashboardClient.hpp>
#include <tavreldi/dashboard/DashboardSummary.hpp>

// The Dashboard component links: a summary is made and a clear-text remote URL is refused
// before anything is sent.
int main() {
  tavreldi::DependencyGraph graph;
  tavreldi::DependencyNode node;
  node.id = "Logger";
  graph.nodes.push_back(node);
  const auto summary = tavreldi::makeDashboardSummary(graph, tavreldi::Timestamp{});
  try {
    tavreldi::DashboardConfig config;
    config.baseUrl = "http://example.com";
    const tavreldi::DashboardClient client(config);
  } catch (const tavreldi::DashboardError& error) {
    std::printf("summary: %s; %s\n", summary.nodes.at(0).id.c_str(), error.what());
    return error.kind() == tavreldi::DashboardErrorKind::invalidConfiguration ? 0 : 1;
  }
  return 1;
}
