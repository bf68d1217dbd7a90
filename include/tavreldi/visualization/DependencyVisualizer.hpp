#pragma once

/// \file
/// The front object that draws a container's current registrations.

#include "tavreldi/core/Config.hpp"
// (first: the Asio headers below read the settings it makes)

#include <asio/awaitable.hpp>
#include <memory>
#include <string>

#include "tavreldi/core/AdvancedDIContainer.hpp"
#include "tavreldi/visualization/Progress.hpp"
#include "tavreldi/visualization/ViewerPage.hpp"
#include "tavreldi/visualization/VisualizationModel.hpp"

namespace tavreldi {

/// Produces a diagram of a container's dependency graph with the generator chosen by a
/// `VisualizationType`. Keeps no cache: every call reads the container afresh. Of the
/// configuration only `type` (for `visualize`) and `maxDepth` (for the tree) are read.
///
/// The operations may be started from any thread; the container's own operations move to its
/// thread, and the generators run wherever the operation resumes. The visualizer must outlive
/// the operations it starts; it keeps the container alive as long as it lives.
class DependencyVisualizer {
 public:
  /// Makes a visualizer of `container` with `config`.
  DependencyVisualizer(std::shared_ptr<AdvancedDIContainer> container, VisualizationConfig config);
  virtual ~DependencyVisualizer() = default;
  DependencyVisualizer(const DependencyVisualizer&) = delete;
  DependencyVisualizer& operator=(const DependencyVisualizer&) = delete;

  /// Returns the diagram text of the configured type. For JSON the graph and its analysis are
  /// fetched concurrently.
  [[nodiscard]] virtual asio::awaitable<std::string> visualize();
  /// Returns the diagram text of `type` (the configured type is ignored), reporting to
  /// `progress` when it is not null: the graph languages report as their generators do; JSON
  /// reports 30 once both fetches are under way, 80 when both arrived, 100 at the end; the
  /// text layouts report 50 once the graph arrived and 100 at the end. `progress` must outlive
  /// the returned awaitable.
  [[nodiscard]] virtual asio::awaitable<std::string> visualizeAsync(VisualizationType type,
                                                                    Progress* progress);
  /// Returns the interactive viewer page (see `renderViewerPage`) of the container's current
  /// graph with its embedded analysis. When the container is an `AdvancedDIContainerImpl`,
  /// fills in what `options` leaves empty from the container, on its thread: the detailed cycle
  /// analysis, the measured figures of every node, the critical paths and the clusters. The
  /// tree diagram uses `options.treeMaxDepth`, not the configuration's depth.
  [[nodiscard]] asio::awaitable<std::string> renderViewer(ViewerOptions options);

  /// Returns the container being drawn.
  [[nodiscard]] const std::shared_ptr<AdvancedDIContainer>& container() const noexcept {
    return container_;
  }
  /// Returns the configuration given at construction.
  [[nodiscard]] const VisualizationConfig& config() const noexcept { return config_; }

 private:
  [[nodiscard]] asio::awaitable<std::string> renderJSON(Progress* progress);

  const std::shared_ptr<AdvancedDIContainer> container_;
  const VisualizationConfig config_;
};

}  // namespace tavreldi
