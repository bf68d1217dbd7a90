#include "dashboard/detail/RequestWatchdog.hpp"

#include <algorithm>
#include <utility>

namespace tavreldi::detail {

namespace {
constexpr std::chrono::milliseconds kCheckEvery{10};
constexpr std::chrono::milliseconds kRepeatEvery{20};
}  // namespace

RequestWatchdog::RequestWatchdog(std::chrono::steady_clock::time_point deadline,
                                 std::function<bool()> overLimit, std::function<void()> stop)
    : overLimit_(std::move(overLimit)),
      stop_(std::move(stop)),
      thread_([this, deadline] { watch(deadline); }) {}

RequestWatchdog::~RequestWatchdog() {
  {
    const std::lock_guard lock(mutex_);
    cancelled_ = true;
  }
  wake_.notify_all();
  thread_.join();
}

RequestWatchdog::Verdict RequestWatchdog::verdict() const {
  const std::lock_guard lock(mutex_);
  return verdict_;
}

void RequestWatchdog::watch(std::chrono::steady_clock::time_point deadline) {
  std::unique_lock lock(mutex_);
  for (;;) {
    const auto now = std::chrono::steady_clock::now();
    const auto next =
        verdict_ != Verdict::none ? now + kRepeatEvery : std::min(deadline, now + kCheckEvery);
    if (wake_.wait_until(lock, next, [this] { return cancelled_; })) return;
    if (verdict_ == Verdict::none) {
      if (std::chrono::steady_clock::now() >= deadline) {
        verdict_ = Verdict::timedOut;
      } else if (overLimit_()) {
        verdict_ = Verdict::overLimit;
      }
    }
    // Called under the lock, so that the destructor cannot return while it runs.
    if (verdict_ != Verdict::none) stop_();
  }
}

}  // namespace tavreldi::detail
