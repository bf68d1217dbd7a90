#include "tavreldi/visualization/Progress.hpp"

#include <utility>

namespace tavreldi {

namespace {

std::shared_ptr<const Progress::Observer> share(Progress::Observer observer) {
  if (!observer) return nullptr;
  return std::make_shared<const Progress::Observer>(std::move(observer));
}

}  // namespace

Progress::Progress(std::int64_t totalUnitCount, Observer observer)
    : total_(totalUnitCount), observer_(share(std::move(observer))) {}

void Progress::setCompletedUnitCount(std::int64_t completed) {
  std::unique_lock lock(mutex_);
  completed_ = completed;
  notify(std::move(lock));
}

void Progress::setTotalUnitCount(std::int64_t total) {
  std::unique_lock lock(mutex_);
  total_ = total;
  notify(std::move(lock));
}

void Progress::setObserver(Observer observer) {
  auto shared = share(std::move(observer));
  const std::lock_guard lock(mutex_);
  observer_ = std::move(shared);
}

std::int64_t Progress::completedUnitCount() const {
  const std::lock_guard lock(mutex_);
  return completed_;
}

std::int64_t Progress::totalUnitCount() const {
  const std::lock_guard lock(mutex_);
  return total_;
}

void Progress::notify(std::unique_lock<std::mutex> lock) {
  // The values are taken under the lock and handed on after it is released.
  const auto observer = observer_;
  const auto completed = completed_;
  const auto total = total_;
  lock.unlock();
  if (observer) (*observer)(completed, total);
}

}  // namespace tavreldi
