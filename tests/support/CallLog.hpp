#pragma once

// A thread-safe, ordered log of calls of several kinds (a std::variant), shared by the
// recording telemetry providers.

#include <mutex>
#include <utility>
#include <variant>
#include <vector>

namespace tavreldi::testing {

template <class Call>
class CallLog {
 public:
  /// Every call so far, in order.
  std::vector<Call> calls() const {
    std::lock_guard lock(mutex_);
    return calls_;
  }
  /// The calls of one kind so far, in order, e.g. `only<Event>()`.
  template <class Kind>
  std::vector<Kind> only() const {
    std::vector<Kind> result;
    std::lock_guard lock(mutex_);
    for (const Call& call : calls_) {
      if (const Kind* kind = std::get_if<Kind>(&call)) result.push_back(*kind);
    }
    return result;
  }
  /// Forgets every call so far.
  void clear() {
    std::lock_guard lock(mutex_);
    calls_.clear();
  }

 protected:
  void record(Call call) {
    std::lock_guard lock(mutex_);
    calls_.push_back(std::move(call));
  }

 private:
  mutable std::mutex mutex_;
  std::vector<Call> calls_;
};

}  // namespace tavreldi::testing
