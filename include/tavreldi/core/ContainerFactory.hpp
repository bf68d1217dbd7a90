#pragma once

/// \file
/// Entry points that make, fill and build a container in one call.

#include "tavreldi/core/Config.hpp"
// (first: the Asio headers below read the settings it makes)

#include <asio/any_io_executor.hpp>
#include <asio/awaitable.hpp>
#include <functional>
#include <memory>
#include <vector>

#include "tavreldi/core/AdvancedDIContainer.hpp"
#include "tavreldi/core/ContainerBuilder.hpp"
#include "tavreldi/core/DIContainerConfig.hpp"
#include "tavreldi/core/DIModule.hpp"

namespace tavreldi {

/// Makes containers through a `ContainerBuilder`.
struct ContainerFactory {
  /// Makes a builder with `config` on `executor`'s thread (moving there first), awaits
  /// `configure(builder)` and returns the result of `builder.build()`. Throws what `configure`
  /// or a module throws.
  [[nodiscard]] static asio::awaitable<std::shared_ptr<AdvancedDIContainer>> create(
      DIContainerConfig config, asio::any_io_executor executor,
      std::function<asio::awaitable<void>(ContainerBuilder&)> configure);

  /// Makes a builder with `config` on `executor`'s thread, queues each of `modules` in order
  /// and builds it; no modules give an empty container. Throws what the first failing module
  /// throws.
  [[nodiscard]] static asio::awaitable<std::shared_ptr<AdvancedDIContainer>> createWithModules(
      DIContainerConfig config, asio::any_io_executor executor,
      std::vector<std::shared_ptr<DIModule>> modules);
};

}  // namespace tavreldi
