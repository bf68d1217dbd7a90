#pragma once

// A watchdog that ends a blocking request once its time is up, whatever phase it is in.

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>

namespace tavreldi::detail {

/// Calls `expire` on a thread of its own when `deadline` passes, then again every 20 ms until
/// the watchdog is destroyed: a request that had not yet opened its connection at the first call
/// is still ended by a later one. `expire` must be safe to call at any point of the request and
/// after it. Destruction cancels the watchdog and waits for its thread.
class RequestDeadline {
 public:
  RequestDeadline(std::chrono::steady_clock::time_point deadline, std::function<void()> expire);
  ~RequestDeadline();
  RequestDeadline(const RequestDeadline&) = delete;
  RequestDeadline& operator=(const RequestDeadline&) = delete;

  /// True once `expire` has been called.
  [[nodiscard]] bool expired() const;

 private:
  void watch(std::chrono::steady_clock::time_point deadline);

  std::function<void()> expire_;
  mutable std::mutex mutex_;
  std::condition_variable wake_;
  bool cancelled_ = false;
  bool expired_ = false;
  std::thread thread_;
};

}  // namespace tavreldi::detail
