#pragma once

/// \file
/// The configuration a container is created with.

#include <cstdint>

namespace tavreldi {

/// One depth limit and four switches for a container's optional work. Immutable; a container
/// keeps its own copy.
class DIContainerConfig {
 public:
  /// Stores the five values as given, without validation (any depth is accepted).
  constexpr DIContainerConfig(std::int64_t maxCircularDependencyDepth,
                              bool enableCircularDependencyDetection, bool enableDependencyTracking,
                              bool enablePerformanceMetrics, bool enableCaching) noexcept
      : maxCircularDependencyDepth_(maxCircularDependencyDepth),
        enableCircularDependencyDetection_(enableCircularDependencyDetection),
        enableDependencyTracking_(enableDependencyTracking),
        enablePerformanceMetrics_(enablePerformanceMetrics),
        enableCaching_(enableCaching) {}

  /// The depth limit of cycle detection (carried; the cycle check is a stack membership test).
  [[nodiscard]] constexpr std::int64_t maxCircularDependencyDepth() const noexcept {
    return maxCircularDependencyDepth_;
  }
  /// Whether resolution checks for circular dependencies.
  [[nodiscard]] constexpr bool enableCircularDependencyDetection() const noexcept {
    return enableCircularDependencyDetection_;
  }
  /// Whether resolution records which dependencies it pulled in.
  [[nodiscard]] constexpr bool enableDependencyTracking() const noexcept {
    return enableDependencyTracking_;
  }
  /// Whether resolutions are timed and counted.
  [[nodiscard]] constexpr bool enablePerformanceMetrics() const noexcept {
    return enablePerformanceMetrics_;
  }
  /// Whether instances of cached scopes are kept and reused.
  [[nodiscard]] constexpr bool enableCaching() const noexcept { return enableCaching_; }

  /// Depth 2, every switch on.
  [[nodiscard]] static constexpr DIContainerConfig strict() noexcept {
    return {2, true, true, true, true};
  }
  /// Depth 5, every switch on.
  [[nodiscard]] static constexpr DIContainerConfig lenient() noexcept {
    return {5, true, true, true, true};
  }
  /// Depth 3, dependency tracking off.
  [[nodiscard]] static constexpr DIContainerConfig performance() noexcept {
    return {3, true, false, true, true};
  }
  /// Depth 0, cycle detection and dependency tracking off; metrics and caching stay on.
  [[nodiscard]] static constexpr DIContainerConfig disabled() noexcept {
    return {0, false, false, true, true};
  }

 private:
  std::int64_t maxCircularDependencyDepth_;
  bool enableCircularDependencyDetection_;
  bool enableDependencyTracking_;
  bool enablePerformanceMetrics_;
  bool enableCaching_;
};

}  // namespace tavreldi
