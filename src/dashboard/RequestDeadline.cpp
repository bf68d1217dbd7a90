#include "dashboard/detail/RequestDeadline.hpp"

#include <utility>

namespace tavreldi::detail {

namespace {
constexpr std::chrono::milliseconds kRepeatEvery{20};
}  // namespace

RequestDeadline::RequestDeadline(std::chrono::steady_clock::time_point deadline,
                                 std::function<void()> expire)
    : expire_(std::move(expire)), thread_([this, deadline] { watch(deadline); }) {}

RequestDeadline::~RequestDeadline() {
  {
    const std::lock_guard lock(mutex_);
    cancelled_ = true;
  }
  wake_.notify_all();
  thread_.join();
}

bool RequestDeadline::expired() const {
  const std::lock_guard lock(mutex_);
  return expired_;
}

void RequestDeadline::watch(std::chrono::steady_clock::time_point deadline) {
  std::unique_lock lock(mutex_);
  for (auto next = deadline;; next += kRepeatEvery) {
    if (wake_.wait_until(lock, next, [this] { return cancelled_; })) return;
    expired_ = true;
    // Called under the lock, so that the destructor cannot return while it runs.
    expire_();
  }
}

}  // namespace tavreldi::detail
