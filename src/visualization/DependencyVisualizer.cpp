#include "tavreldi/visualization/DependencyVisualizer.hpp"

#include <asio/bind_executor.hpp>
#include <asio/dispatch.hpp>
#include <asio/experimental/awaitable_operators.hpp>
#include <asio/use_awaitable.hpp>
#include <tuple>
#include <utility>

#include "tavreldi/core/AdvancedDIContainerImpl.hpp"
#include "tavreldi/visualization/DiagramGenerators.hpp"

namespace tavreldi {

namespace {

void report(Progress* progress, std::int64_t completed) {
  if (progress) progress->setCompletedUnitCount(completed);
}

}  // namespace

DependencyVisualizer::DependencyVisualizer(std::shared_ptr<AdvancedDIContainer> container,
                                           VisualizationConfig config)
    : container_(std::move(container)), config_(config) {}

asio::awaitable<std::string> DependencyVisualizer::visualize() {
  if (config_.type == VisualizationType::json) {
    std::string text = co_await renderJSON(nullptr);
    co_return text;
  }
  const DependencyGraph graph = co_await container_->getDependencyGraph();
  co_return DiagramGenerators::generate(config_.type, graph, graph.analysis, config_.maxDepth);
}

asio::awaitable<std::string> DependencyVisualizer::visualizeAsync(VisualizationType type,
                                                                  Progress* progress) {
  switch (type) {
    case VisualizationType::json: {
      std::string text = co_await renderJSON(progress);
      co_return text;
    }
    case VisualizationType::mermaid: {
      DependencyGraph graph = co_await container_->getDependencyGraph();
      std::string text =
          co_await DiagramGenerators::generateMermaidAsync(std::move(graph), progress);
      co_return text;
    }
    case VisualizationType::graphviz: {
      DependencyGraph graph = co_await container_->getDependencyGraph();
      std::string text =
          co_await DiagramGenerators::generateGraphvizAsync(std::move(graph), progress);
      co_return text;
    }
    default:
      break;
  }
  const DependencyGraph graph = co_await container_->getDependencyGraph();
  report(progress, 50);
  std::string text = DiagramGenerators::generate(type, graph, graph.analysis, config_.maxDepth);
  report(progress, 100);
  co_return text;
}

asio::awaitable<std::string> DependencyVisualizer::renderJSON(Progress* progress) {
  using asio::experimental::awaitable_operators::operator&&;
  // The two container calls run concurrently under && and are awaited together.
  auto graphRequest = container_->getDependencyGraph();
  auto analysisRequest = container_->analyzeDependencyGraph();
  report(progress, 30);
  auto [graph, analysis] = co_await (std::move(graphRequest) && std::move(analysisRequest));
  report(progress, 80);
  std::string text = DiagramGenerators::generateJSONVisualization(graph, analysis);
  report(progress, 100);
  co_return text;
}

asio::awaitable<std::string> DependencyVisualizer::renderViewer(ViewerOptions options) {
  const DependencyGraph graph = co_await container_->getDependencyGraph();
  if (const auto impl = std::dynamic_pointer_cast<AdvancedDIContainerImpl>(container_)) {
    // The figures below come from synchronous members, which run on the container's thread.
    co_await asio::dispatch(asio::bind_executor(impl->executor(), asio::use_awaitable));
    if (!options.cycleAnalysis) options.cycleAnalysis = impl->analyzeCircularDependencies();
    for (const DependencyNode& node : graph.nodes) {
      std::string name = node.id.str();
      if (!options.measured.contains(name)) {
        ServiceStatistics statistics = impl->getServiceStatistics(name);
        options.measured.emplace(std::move(name), std::move(statistics));
      }
    }
    if (options.criticalPaths.empty()) {
      options.criticalPaths = impl->createCriticalPaths(graph.nodes, graph.edges);
    }
    if (options.clusters.empty()) options.clusters = impl->createNodeClusters(graph.nodes);
  }
  co_return renderViewerPage(graph, graph.analysis, options);
}

}  // namespace tavreldi
