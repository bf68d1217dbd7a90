#pragma once

// A watchdog that ends a blocking request once its time is up or it has received too much,
// whatever phase it is in.

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>

namespace tavreldi::detail {

/// From a thread of its own, calls `stop` once `deadline` has passed or `overLimit` (asked every
/// 10 ms) returns true, then again every 20 ms until the watchdog is destroyed: a request that
/// had not yet opened its connection at the first call is still ended by a later one. `stop`
/// and `overLimit` must be safe to call at any point of the request and after it. Destruction
/// cancels the watchdog and waits for its thread.
class RequestWatchdog {
 public:
  /// Why the watchdog stopped the request.
  enum class Verdict { none, timedOut, overLimit };

  RequestWatchdog(std::chrono::steady_clock::time_point deadline, std::function<bool()> overLimit,
                  std::function<void()> stop);
  ~RequestWatchdog();
  RequestWatchdog(const RequestWatchdog&) = delete;
  RequestWatchdog& operator=(const RequestWatchdog&) = delete;

  /// `none` until `stop` has been called.
  [[nodiscard]] Verdict verdict() const;

 private:
  void watch(std::chrono::steady_clock::time_point deadline);

  std::function<bool()> overLimit_;
  std::function<void()> stop_;
  mutable std::mutex mutex_;
  std::condition_variable wake_;
  bool cancelled_ = false;
  Verdict verdict_ = Verdict::none;
  std::thread thread_;
};

}  // namespace tavreldi::detail
