#pragma once

/// \file
/// A thread-safe completed/total unit counter that diagram generation reports to.

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>

namespace tavreldi {

/// Counts completed units of work out of a total (100 by default) and tells an optional
/// observer about every update. Safe to update and read from any thread.
///
/// The observer is called on the updating thread, after the counts have been stored and outside
/// the object's lock, so it may read the progress back. It is called for every update, also
/// when the value does not change.
class Progress {
 public:
  /// Receives the completed and total unit counts after each update.
  using Observer = std::function<void(std::int64_t completed, std::int64_t total)>;

  /// Makes a progress of `totalUnitCount` units, none completed, reporting to `observer` (if any).
  explicit Progress(std::int64_t totalUnitCount = 100, Observer observer = {});
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;

  /// Stores the number of completed units and notifies the observer.
  void setCompletedUnitCount(std::int64_t completed);
  /// Stores the total number of units and notifies the observer.
  void setTotalUnitCount(std::int64_t total);
  /// Replaces the observer (an empty function removes it).
  void setObserver(Observer observer);

  /// Returns the number of completed units.
  [[nodiscard]] std::int64_t completedUnitCount() const;
  /// Returns the total number of units.
  [[nodiscard]] std::int64_t totalUnitCount() const;

 private:
  void notify(std::unique_lock<std::mutex> lock);

  mutable std::mutex mutex_;
  std::int64_t completed_ = 0;
  std::int64_t total_;
  std::shared_ptr<const Observer> observer_;
};

}  // namespace tavreldi
