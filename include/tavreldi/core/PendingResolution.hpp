#pragma once

/// \file
/// A resolution whose factory the caller awaits itself (used by `resolve`).

#include "tavreldi/core/Config.hpp"
// (first: the Asio headers below read the settings it makes)

#include <asio/awaitable.hpp>
#include <cstddef>
#include <exception>

#include "tavreldi/core/AnyInstance.hpp"

namespace tavreldi {

class AdvancedDIContainer;

namespace detail {

/// One resolution in progress, kept in the frame of the coroutine that awaits its factory, so
/// that the factory is awaited there rather than through a coroutine of the container's own: one
/// frame fewer per level of a chain, two when the factory makes the requested type itself.
///
/// `AdvancedDIContainer::startResolution` starts it and either finishes it at once or leaves its
/// factory to await; the awaiting coroutine then calls `finish` with what the factory made or
/// threw, on the home thread (`returnHome` first when `awayFromHome`). Destroyed unfinished (its
/// coroutine dropped), it gives up the creation it runs, as a dropped resolution does.
class PendingResolution {
 public:
  PendingResolution() noexcept = default;
  ~PendingResolution() {
    if (holdsRecord_) destroyRecord();
  }
  PendingResolution(const PendingResolution&) = delete;
  PendingResolution& operator=(const PendingResolution&) = delete;

  /// True when a factory is left to await.
  [[nodiscard]] bool awaitsFactory() const noexcept { return awaitsFactory_; }
  /// The factory to await.
  [[nodiscard]] const FactoryType& factory() const noexcept;
  /// The container as the factory must see it.
  [[nodiscard]] AdvancedDIContainer& context() noexcept;
  /// True when the factory finished on another thread than the container's.
  [[nodiscard]] bool awayFromHome() const noexcept;
  /// Moves the awaiting coroutine to the container's thread.
  [[nodiscard]] asio::awaitable<void> returnHome() const;
  /// Finishes the resolution with what the factory made, or with `error`: returns the instance
  /// (caching it as its scope says) or throws, printing and reporting exactly what a resolution
  /// does.
  AnyInstance finish(AnyInstance made, std::exception_ptr error);

  /// Room for the container's own record of the resolution, built there by `startResolution`.
  static constexpr std::size_t kStorageSize = 448;
  [[nodiscard]] void* storage() noexcept { return storage_; }
  /// Set by `startResolution`: the record is built (`awaits`: and its factory is to be awaited).
  void started(bool awaits) noexcept {
    holdsRecord_ = true;
    awaitsFactory_ = awaits;
  }

 private:
  void destroyRecord() noexcept;

  alignas(std::max_align_t) std::byte storage_[kStorageSize];
  bool holdsRecord_ = false;
  bool awaitsFactory_ = false;
};

}  // namespace detail
}  // namespace tavreldi
