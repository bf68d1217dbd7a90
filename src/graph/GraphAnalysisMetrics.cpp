// Graph metrics, health score, clusters, critical paths, recommendations and the analysis.

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <limits>
#include <map>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

#include "core/detail/ContainerState.hpp"
#include "core/detail/HomeThread.hpp"
#include "graph/detail/ChildGraph.hpp"
#include "graph/detail/GraphBuilding.hpp"
#include "tavreldi/core/AdvancedDIContainerImpl.hpp"
#include "tavreldi/graph/CriticalPaths.hpp"

namespace tavreldi {

namespace {

[[nodiscard]] std::int64_t countCircularEdges(const std::vector<DependencyEdge>& edges) {
  return std::count_if(edges.begin(), edges.end(),
                       [](const DependencyEdge& edge) { return edge.isCircular; });
}

[[nodiscard]] std::int64_t countHighNodes(const std::vector<DependencyNode>& nodes) {
  return std::count_if(nodes.begin(), nodes.end(), [](const DependencyNode& node) {
    return node.complexity == ComplexityLevel::high;
  });
}

// Sum of all resolution counts and of all cache hits.
struct ResolutionTotals {
  std::int64_t resolutions = 0;
  std::int64_t hits = 0;
};

[[nodiscard]] ResolutionTotals resolutionTotals(const detail::ContainerState& state) {
  ResolutionTotals totals;
  for (const detail::Slot& slot : state.slots) {
    totals.resolutions = detail::checkedAdd(totals.resolutions, slot.resolutionCount);
    totals.hits = detail::checkedAdd(totals.hits, slot.cacheHits);
  }
  return totals;
}

// Cache hits per resolution as a percentage; 0 before the first resolution.
[[nodiscard]] double hitPercentage(const ResolutionTotals& totals) {
  if (totals.resolutions < 1) return 0;
  return static_cast<double>(totals.hits) / static_cast<double>(totals.resolutions) * 100;
}

[[nodiscard]] std::string_view clusterColor(NodeCategory category) noexcept {
  switch (category) {
    case NodeCategory::infrastructure:
      return "#34495e";
    case NodeCategory::data:
      return "#3498db";
    case NodeCategory::domain:
      return "#2ecc71";
    case NodeCategory::presentation:
      return "#f39c12";
    case NodeCategory::crossCutting:
      return "#9b59b6";
    case NodeCategory::external:
      return "#e74c3c";
    case NodeCategory::business:
      return "#1abc9c";
    case NodeCategory::networking:
      return "#e67e22";
    case NodeCategory::unknown:
      break;
  }
  return "#95a5a6";
}

// Sizes and counts the scores are made of.
struct GraphCounts {
  std::int64_t nodes = 0;
  std::int64_t edges = 0;
  std::int64_t circularEdges = 0;
  std::int64_t highNodes = 0;
};

[[nodiscard]] GraphCounts countsOf(const std::vector<DependencyNode>& nodes,
                                   const std::vector<DependencyEdge>& edges) {
  return GraphCounts{static_cast<std::int64_t>(nodes.size()),
                     static_cast<std::int64_t>(edges.size()), countCircularEdges(edges),
                     countHighNodes(nodes)};
}

[[nodiscard]] double complexityScore(const GraphCounts& counts) {
  if (counts.nodes == 0 || counts.edges == 0) return 0;
  const auto n = static_cast<double>(counts.nodes);
  const auto e = static_cast<double>(counts.edges);
  const auto circular = static_cast<double>(counts.circularEdges);
  const auto high = static_cast<double>(counts.highNodes);
  const double score = 0.4 * (e / n) + 0.4 * (circular / e) + 0.2 * (high / n);
  if (!std::isfinite(score) || score <= 0) return 0;
  return std::min(score, 1.0);
}

[[nodiscard]] HealthScore healthScore(const GraphCounts& counts, double hitPercentage) {
  const double performance = 1 - complexityScore(counts);
  const double maintainability = counts.circularEdges == 0 ? 1.0 : 0.0;
  const double testability = hitPercentage;
  const double scalability = 0.8;
  const double security = 0.9;
  const double reliability = 0.85;
  const double overall =
      (performance + maintainability + testability + scalability + security + reliability) / 6;
  return HealthScore{overall,     performance, maintainability, testability,
                     scalability, security,    reliability};
}

[[nodiscard]] std::vector<Recommendation> recommendationsFor(
    const GraphCounts& counts, const std::vector<DependencyNode>& nodes,
    const std::vector<DependencyEdge>& edges) {
  std::vector<Recommendation> recommendations;
  const std::int64_t circular = counts.circularEdges;
  if (circular > 0) {
    std::vector<std::string> affected;
    std::unordered_set<std::string_view> seen;
    for (const DependencyEdge& edge : edges) {
      if (!edge.isCircular) continue;
      if (seen.insert(edge.from).second) affected.push_back(edge.from.str());
      if (seen.insert(edge.to).second) affected.push_back(edge.to.str());
    }
    recommendations.push_back(Recommendation{
        RecommendationType::architecture, RecommendationPriority::high,
        "Resolve Circular Dependencies",
        "Found " + std::to_string(circular) + " circular dependencies that should be resolved",
        std::move(affected), "High", EffortLevel::medium});
  }
  const std::int64_t high = counts.highNodes;
  if (high > 0) {
    std::vector<std::string> affected;
    for (const DependencyNode& node : nodes) {
      if (node.complexity == ComplexityLevel::high) affected.push_back(node.id.str());
    }
    recommendations.push_back(Recommendation{
        RecommendationType::maintainability, RecommendationPriority::medium,
        "Reduce Node Complexity", "Found " + std::to_string(high) + " nodes with high complexity",
        std::move(affected), "Medium", EffortLevel::high});
  }
  return recommendations;
}

// The architecture metrics, given how many edges lead to a higher layer.
[[nodiscard]] ArchitectureMetrics architectureMetrics(std::int64_t layerViolations,
                                                      const std::vector<DependencyNode>& nodes) {
  const std::int64_t crowded =
      std::count_if(nodes.begin(), nodes.end(),
                    [](const DependencyNode& node) { return node.dependencies.size() >= 6; });
  const double compliance = nodes.empty()
                                ? 1.0
                                : std::max(0.0, 1 - static_cast<double>(layerViolations + crowded) /
                                                        static_cast<double>(nodes.size()));
  return ArchitectureMetrics{layerViolations, 0, crowded, 0, 0, 0, compliance};
}

}  // namespace

ComplexityMetrics AdvancedDIContainerImpl::createComplexityMetrics(
    const std::vector<DependencyNode>& nodes, const std::vector<DependencyEdge>& edges) const {
  state_->requireHomeThread("createComplexityMetrics");
  const auto n = static_cast<std::int64_t>(nodes.size());
  const auto e = static_cast<std::int64_t>(edges.size());
  const double coupling = n == 0 ? 0.0 : static_cast<double>(e) / static_cast<double>(n);
  const double abstractness = 0.5;
  return ComplexityMetrics{
      std::max<std::int64_t>(e - n + 2, 0), coupling, 0.7, e, e, coupling, abstractness,
      std::abs(abstractness + coupling - 1)};
}

double AdvancedDIContainerImpl::calculateComplexityScore(
    const std::vector<DependencyNode>& nodes, const std::vector<DependencyEdge>& edges) const {
  state_->requireHomeThread("calculateComplexityScore");
  return complexityScore(countsOf(nodes, edges));
}

ArchitectureMetrics AdvancedDIContainerImpl::createArchitectureMetrics(
    const std::vector<DependencyNode>& nodes, const std::vector<DependencyEdge>& edges) const {
  state_->requireHomeThread("createArchitectureMetrics");
  std::unordered_map<std::string_view, std::int64_t> layerOf;
  layerOf.reserve(nodes.size());
  for (const DependencyNode& node : nodes) layerOf.try_emplace(node.id, node.layer);
  const auto layer = [&](std::string_view id) {
    const auto it = layerOf.find(id);
    return it == layerOf.end() ? std::int64_t{0} : it->second;
  };
  const std::int64_t layerViolations =
      std::count_if(edges.begin(), edges.end(),
                    [&](const DependencyEdge& edge) { return layer(edge.from) < layer(edge.to); });
  return architectureMetrics(layerViolations, nodes);
}

HealthScore AdvancedDIContainerImpl::createHealthScore(
    const std::vector<DependencyNode>& nodes, const std::vector<DependencyEdge>& edges) const {
  state_->requireHomeThread("createHealthScore");
  return healthScore(countsOf(nodes, edges), hitPercentage(resolutionTotals(*state_)));
}

GraphPerformanceMetrics AdvancedDIContainerImpl::createGraphPerformanceMetrics(
    const std::vector<DependencyNode>& nodes) const {
  state_->requireHomeThread("createGraphPerformanceMetrics");
  GraphPerformanceMetrics metrics;
  metrics.totalMemoryFootprint = static_cast<double>(getMemoryUsage());
  metrics.performanceTrend = PerformanceTrend::stable;
  if (nodes.empty()) return metrics;
  double timeSum = 0;
  double hitRateSum = 0;
  metrics.slowestResolution = nodes.front().performanceMetrics.resolutionTime;
  metrics.fastestResolution = metrics.slowestResolution;
  for (const DependencyNode& node : nodes) {
    const double time = node.performanceMetrics.resolutionTime;
    timeSum += time;
    hitRateSum += node.performanceMetrics.cacheHitRate;
    metrics.slowestResolution = std::max(metrics.slowestResolution, time);
    metrics.fastestResolution = std::min(metrics.fastestResolution, time);
  }
  const auto count = static_cast<double>(nodes.size());
  metrics.averageResolutionTime = timeSum / count;
  metrics.cacheHitRate = hitRateSum / count;
  for (const DependencyNode& node : nodes) {
    if (node.performanceMetrics.resolutionTime > 2 * metrics.averageResolutionTime) {
      metrics.bottleneckNodes.push_back(node.id.str());
    }
  }
  return metrics;
}

std::vector<NodeCluster> AdvancedDIContainerImpl::createNodeClusters(
    const std::vector<DependencyNode>& nodes) const {
  state_->requireHomeThread("createNodeClusters");
  std::vector<NodeCluster> clusters;
  constexpr std::size_t kNoCluster = std::numeric_limits<std::size_t>::max();
  std::vector<std::size_t> clusterOf(allCases<NodeCategory>().size(), kNoCluster);
  for (const DependencyNode& node : nodes) {
    std::size_t& index = clusterOf[static_cast<std::size_t>(node.category)];
    if (index == kNoCluster) {
      index = clusters.size();
      const std::string raw(toString(node.category));
      clusters.push_back(NodeCluster{raw + "_cluster",
                                     raw + " Cluster",
                                     {},
                                     {},
                                     100,
                                     std::string(clusterColor(node.category)),
                                     {{"category", raw}}});
    }
    NodeCluster& cluster = clusters[index];
    cluster.nodes.push_back(node.id.str());
    cluster.center.x += node.position.x;
    cluster.center.y += node.position.y;
  }
  for (NodeCluster& cluster : clusters) {
    const auto count = static_cast<double>(cluster.nodes.size());
    cluster.center = Point{cluster.center.x / count, cluster.center.y / count};
  }
  return clusters;
}

std::vector<CriticalPath> AdvancedDIContainerImpl::createCriticalPaths(
    const std::vector<DependencyNode>& nodes, const std::vector<DependencyEdge>& edges) const {
  state_->requireHomeThread("createCriticalPaths");
  return findCriticalPaths(nodes, edges).paths;
}

std::vector<Recommendation> AdvancedDIContainerImpl::createRecommendations(
    const std::vector<DependencyNode>& nodes, const std::vector<DependencyEdge>& edges) const {
  state_->requireHomeThread("createRecommendations");
  return recommendationsFor(countsOf(nodes, edges), nodes, edges);
}

GraphAnalysis detail::analyseGraph(const AdvancedDIContainerImpl& container,
                                   const NodesAndEdges& graph,
                                   std::chrono::steady_clock::time_point start) {
  GraphAnalysis analysis;
  const detail::GraphStructure& structure = *graph.structure;
  analysis.hasCircularDependencies = !structure.cycles.empty();
  analysis.totalNodes = static_cast<std::int64_t>(graph.nodes.size());
  analysis.totalDependencies = static_cast<std::int64_t>(graph.edges.size());
  analysis.maxDepth = structure.maxDepth();
  analysis.circularDependencyChains = structure.cycles;
  analysis.memoryUsage = static_cast<double>(container.getMemoryUsage());
  const double hits = hitPercentage(resolutionTotals(container.state()));
  analysis.cacheEfficiency = hits;
  analysis.isComplete = true;
  analysis.complexityMetrics = container.createComplexityMetrics(graph.nodes, graph.edges);
  analysis.performanceMetrics = container.createGraphPerformanceMetrics(graph.nodes);
  analysis.architectureMetrics = architectureMetrics(graph.layerViolations, graph.nodes);
  const GraphCounts counts{analysis.totalNodes, analysis.totalDependencies, graph.circularEdges,
                           graph.highNodes};
  analysis.healthScore = healthScore(counts, hits);
  analysis.recommendations = recommendationsFor(counts, graph.nodes, graph.edges);
  const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;
  // Always positive, even should the clock not have advanced.
  analysis.analysisTime = std::max(elapsed.count(), std::numeric_limits<double>::min());
  return analysis;
}

asio::awaitable<DependencyGraph> AdvancedDIContainerImpl::getDependencyGraph() {
  co_await detail::switchToHomeThread(*state_);
  if (state_->parentLink != nullptr) {
    DependencyGraph graph = co_await detail::childDependencyGraph(*this);
    co_return graph;
  }
  const auto start = std::chrono::steady_clock::now();
  detail::NodesAndEdges built = detail::buildNodesAndEdges(*state_);
  GraphAnalysis analysis = detail::analyseGraph(*this, built, start);
  co_return DependencyGraph{std::move(built.nodes), std::move(built.edges), std::move(analysis)};
}

asio::awaitable<GraphAnalysis> AdvancedDIContainerImpl::analyzeDependencyGraph() {
  co_await detail::switchToHomeThread(*state_);
  if (state_->parentLink != nullptr) {
    DependencyGraph graph = co_await detail::childDependencyGraph(*this);
    co_return std::move(graph.analysis);
  }
  const auto start = std::chrono::steady_clock::now();
  const detail::NodesAndEdges built = detail::buildNodesAndEdges(*state_);
  co_return detail::analyseGraph(*this, built, start);
}

asio::awaitable<GraphAnalysis> AdvancedDIContainerImpl::analyzeDependencyGraphWithMetrics() {
  co_await detail::switchToHomeThread(*state_);
  if (state_->parentLink != nullptr) {
    DependencyGraph graph = co_await detail::childDependencyGraph(*this);
    co_return std::move(graph.analysis);
  }
  const auto start = std::chrono::steady_clock::now();
  const detail::NodesAndEdges built = detail::buildNodesAndEdges(*state_);
  co_return detail::analyseGraph(*this, built, start);
}

}  // namespace tavreldi
