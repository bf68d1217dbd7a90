#pragma once

// Runs container coroutines to completion on the test thread's io_context.

#include <gtest/gtest.h>

#include <asio.hpp>
#include <chrono>
#include <future>
#include <memory>
#include <optional>
#include <regex>
#include <string>
#include <vector>

#include "tavreldi/core/AdvancedDIContainerImpl.hpp"

namespace tavreldi::testing {

class AsyncTest : public ::testing::Test {
 public:
  /// Factories for registrations: a default T, asynchronously or at once.
  template <class T>
  static asio::awaitable<std::shared_ptr<T>> make(AdvancedDIContainer& /*unused*/) {
    co_return std::make_shared<T>();
  }
  template <class T>
  static std::shared_ptr<T> makeNow(AdvancedDIContainer& /*unused*/) {
    return std::make_shared<T>();
  }
  /// A factory that resolves D through the container, then makes a T holding it if T can.
  template <class T, class D>
  static asio::awaitable<std::shared_ptr<T>> resolving(AdvancedDIContainer& c) {
    auto dependency = co_await c.resolve<D>();
    if constexpr (requires { T{dependency}; }) {
      co_return std::make_shared<T>(T{dependency});
    } else {
      co_return std::make_shared<T>();
    }
  }

 protected:
  std::shared_ptr<AdvancedDIContainerImpl> makeContainer(
      DIContainerConfig config = DIContainerConfig::strict()) {
    return std::make_shared<AdvancedDIContainerImpl>(config, io.get_executor());
  }

  /// Runs `awaitable` on `io` until it completes (bounded) and returns its result or rethrows.
  template <class T>
  T run(asio::awaitable<T> awaitable) {
    auto future = asio::co_spawn(io, std::move(awaitable), asio::use_future);
    drive(future);
    return future.get();
  }

  /// Runs whatever has been posted to `io` so far (e.g. registration tasks); returns how many
  /// handlers that was.
  std::size_t drain() {
    io.restart();
    return io.poll();
  }

  template <class Future>
  void drive(Future& future) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (future.wait_for(std::chrono::seconds(0)) != std::future_status::ready) {
      ASSERT_LT(std::chrono::steady_clock::now(), deadline) << "coroutine did not complete";
      io.restart();
      io.run_one_for(std::chrono::milliseconds(10));
    }
  }

  asio::io_context io;
};

/// The exception of type X that `call` throws; a test failure and nothing when it throws none.
template <class X, class F>
std::optional<X> caught(F call) {
  try {
    call();
  } catch (const X& error) {
    return error;
  }
  ADD_FAILURE() << "nothing thrown";
  return std::nullopt;
}

/// The lines with a well-formed duration in "✅ Resolved: X (took 0.001s)" written "(took T)".
inline std::vector<std::string> normaliseDurations(const std::vector<std::string>& lines) {
  static const std::regex took(R"(\(took [0-9]+\.[0-9]{3}s\)$)");
  std::vector<std::string> out;
  out.reserve(lines.size());
  for (const auto& line : lines) out.push_back(std::regex_replace(line, took, "(took T)"));
  return out;
}

/// The lines as one text, each ended by a line break, for comparing whole logs.
inline std::string joined(const std::vector<std::string>& lines) {
  std::string text;
  for (const auto& line : lines) text += line + '\n';
  return text;
}

}  // namespace tavreldi::testing
