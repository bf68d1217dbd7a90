#pragma once

/// \file
/// Coroutine frames of the framework's own resolution coroutines, kept per thread for reuse.

#include "tavreldi/core/Config.hpp"
// (first: the Asio headers below read the settings it makes)

#include <asio/any_io_executor.hpp>
#include <asio/awaitable.hpp>
#include <asio/version.hpp>
#include <coroutine>
#include <cstddef>
#include <utility>

/// 1 when the framework's coroutines take their frames from its own cache. The frames are given
/// through Asio's own promise type, whose shape is checked for the Asio versions below; with any
/// other, the coroutines keep Asio's frames (0).
#if ASIO_VERSION >= 102200 && ASIO_VERSION < 102300
#define TAVRELDI_POOLED_FRAMES 1
#else
#define TAVRELDI_POOLED_FRAMES 0
#endif

namespace tavreldi::detail {

/// The first parameter of a framework coroutine whose frame comes from `allocateFrame`.
///
/// Asio keeps two freed coroutine frames per thread for reuse; a chain of resolutions has two
/// coroutines live per level (the one awaiting the resolution and the factory's own), so most
/// of its frames would go back to the allocator on every resolution. The framework's own
/// coroutines take their frames from a cache of their own instead, which leaves Asio's two to
/// the application's factories.
struct PooledFrame {};

/// A frame of at least `size` bytes: a freed one of the same size class kept by the calling
/// thread, else a new one.
[[nodiscard]] void* allocateFrame(std::size_t size);
/// Gives back a frame from `allocateFrame` (of the `size` it was asked for), from any thread:
/// the calling thread keeps it for reuse while it keeps less than 64 KB of frames, or frees it.
void freeFrame(void* frame, std::size_t size) noexcept;

#if TAVRELDI_POOLED_FRAMES
/// Asio's promise for an `asio::awaitable<T>` coroutine, with its frame from `allocateFrame`.
/// Everything else is Asio's: the coroutine is an ordinary Asio coroutine. Asio's awaitables
/// take the handle of Asio's own promise, which this one is at offset zero with nothing added;
/// awaiting one hands it that handle.
template <class T>
struct PooledAwaitableFrame : asio::detail::awaitable_frame<T, asio::any_io_executor> {
  using Base = asio::detail::awaitable_frame<T, asio::any_io_executor>;

  static void* operator new(std::size_t size) { return allocateFrame(size); }
  static void operator delete(void* frame, std::size_t size) noexcept { freeFrame(frame, size); }

  using Base::await_transform;
  template <class U>
  auto await_transform(asio::awaitable<U> awaited) const {
    struct Awaiter {
      asio::awaitable<U> awaited;
      bool await_ready() const noexcept { return awaited.await_ready(); }
      void await_suspend(std::coroutine_handle<PooledAwaitableFrame> self) {
        awaited.await_suspend(std::coroutine_handle<Base>::from_address(self.address()));
      }
      U await_resume() { return awaited.await_resume(); }
    };
    return Awaiter{Base::await_transform(std::move(awaited))};
  }
};
#endif

}  // namespace tavreldi::detail

#if TAVRELDI_POOLED_FRAMES
/// A coroutine returning `asio::awaitable<T>` whose first parameter (after the object, for a
/// member function) is `tavreldi::detail::PooledFrame` gets its frame from the framework's cache.
template <class T, class... Parameters>
struct std::coroutine_traits<asio::awaitable<T>, tavreldi::detail::PooledFrame, Parameters...> {
  using promise_type = tavreldi::detail::PooledAwaitableFrame<T>;
};
template <class T, class Object, class... Parameters>
struct std::coroutine_traits<asio::awaitable<T>, Object, tavreldi::detail::PooledFrame,
                             Parameters...> {
  using promise_type = tavreldi::detail::PooledAwaitableFrame<T>;
};
#endif
