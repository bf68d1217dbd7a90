#pragma once

// One creation of a cacheable instance (singleton, container, custom, lazy, or scoped in one
// scope), shared by every resolution of the same instance that starts while it runs: they await
// it and receive its instance or its error instead of running the factory again. A failure is
// not kept: once the creation has finished, the next resolution runs the factory anew.

#include <asio/any_io_executor.hpp>
#include <asio/awaitable.hpp>
#include <asio/steady_timer.hpp>
#include <exception>
#include <memory>
#include <string>
#include <vector>

#include "core/detail/ContainerState.hpp"
#include "core/detail/ResolutionContext.hpp"

namespace tavreldi::detail {

struct SharedCreation {
  explicit SharedCreation(const asio::any_io_executor& executor, ResolutionFrame& by)
      : creator(&by), done(executor, asio::steady_timer::time_point::max()) {}

  /// The resolution running the factory; null once finished.
  ResolutionFrame* creator;
  /// The resolutions awaiting it, in the order they came.
  std::vector<ResolutionFrame*> waiters;
  bool finished = false;
  AnyInstance instance;
  std::exception_ptr error;
  /// Never expires: cancelled when the creation finishes, which wakes every waiter.
  asio::steady_timer done;
};

/// Makes `creator` the one creation of `key` for as long as it lives; other resolutions find it
/// in `ContainerState::creations`. Finishing it (or destroying it unfinished, when its coroutine
/// is dropped) wakes the waiters and removes it from the container's list.
class OwnedCreation {
 public:
  OwnedCreation(ContainerState& state, CreationKey key, ResolutionFrame& creator);
  ~OwnedCreation();
  OwnedCreation(const OwnedCreation&) = delete;
  OwnedCreation& operator=(const OwnedCreation&) = delete;

  /// Whether the container still lists this creation: cleanup() or a change of the scope's map
  /// forgets it, and then its instance is handed out but not cached.
  [[nodiscard]] bool listed() const noexcept;
  /// Hands `instance` to the waiters.
  void succeed(const AnyInstance& instance) noexcept { finish(instance, nullptr); }
  /// Hands the error being handled to the waiters. Call only inside a catch block.
  void fail() noexcept { finish({}, std::current_exception()); }

 private:
  void finish(const AnyInstance& instance, std::exception_ptr error) noexcept;

  ContainerState& state_;
  CreationKey key_;
  std::shared_ptr<SharedCreation> creation_;
};

/// Awaits `creation` as `waiter` (on the home thread, where it resumes too) and returns its
/// instance or rethrows its error.
[[nodiscard]] asio::awaitable<AnyInstance> awaitCreation(ContainerState& state,
                                                         std::shared_ptr<SharedCreation> creation,
                                                         ResolutionFrame& waiter);

/// When `waiter` awaiting `creation` would wait for ever (the creation cannot finish before
/// `waiter` does: its creator is `waiter` or an ancestor of it, or it waits, through creations
/// other chains run, for one of those), the loop of service names from the creation's service
/// back to it, e.g. {"A", "B", "A"}; otherwise empty.
[[nodiscard]] std::vector<std::string> waitCycle(ContainerState& state,
                                                 const ResolutionFrame& waiter,
                                                 const SharedCreation& creation);

}  // namespace tavreldi::detail
