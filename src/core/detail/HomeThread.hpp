#pragma once

// Moving a coroutine onto the container's home thread.

#include <asio/awaitable.hpp>
#include <asio/bind_executor.hpp>
#include <asio/dispatch.hpp>
#include <asio/use_awaitable.hpp>

#include "core/detail/ContainerState.hpp"

namespace tavreldi::detail {

/// Resumes the calling coroutine on the container's executor. Hops only when called off the
/// home thread: an unconditional hop would cost a trip through the executor every time. On hot
/// paths, test `onHomeThread()` first: awaiting this coroutine costs a frame even when it does
/// not hop.
inline asio::awaitable<void> switchToHomeThread(const ContainerState& state) {
  if (!state.onHomeThread()) {
    co_await asio::dispatch(asio::bind_executor(state.executor, asio::use_awaitable));
  }
}

}  // namespace tavreldi::detail
