#pragma once

/// \file
/// A group of registrations that can be applied to any container.

#include "tavreldi/core/Config.hpp"
// (first: the Asio headers below read the settings it makes)

#include <asio/awaitable.hpp>

namespace tavreldi {

class AdvancedDIContainer;

/// A group of registrations that can be applied to any container, e.g. everything one feature
/// of an app provides. Modules are handed to `ContainerBuilder::registerModule` or
/// `ContainerFactory::createWithModules` as shared pointers.
class DIModule {
 public:
  virtual ~DIModule() = default;

  /// Registers whatever the module provides on `container`. Runs on the container's thread
  /// when called by a builder; may throw, which makes the builder's `build()` fail with the
  /// same exception.
  [[nodiscard]] virtual asio::awaitable<void> configure(AdvancedDIContainer& container) = 0;
};

}  // namespace tavreldi
