#pragma once

// An analytics provider that records every call, in order, for tests. Thread-safe.

#include <exception>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <typeindex>
#include <typeinfo>
#include <utility>
#include <variant>
#include <vector>

#include "support/TelemetryPrinters.hpp"
#include "tavreldi/telemetry/DIAnalyticsProvider.hpp"

namespace tavreldi::testing {

class RecordingAnalyticsProvider : public DIAnalyticsProvider {
 public:
  struct Event {
    std::string name;
    OptionalParameters parameters;
  };
  struct Error {
    std::string description;  // what()
    std::type_index type;     // dynamic type of the error
    OptionalParameters context;
  };
  struct Performance {
    std::string metric;
    double value;
    std::optional<std::string> unit;
  };
  using Call = std::variant<Event, Error, Performance>;

  void trackEvent(std::string_view name, const OptionalParameters& parameters) override {
    record(Event{std::string(name), parameters});
  }
  void trackError(const std::exception& error, const OptionalParameters& context) override {
    record(Error{error.what(), std::type_index(typeid(error)), context});
  }
  void trackPerformance(std::string_view metric, double value,
                        std::optional<std::string_view> unit) override {
    record(Performance{std::string(metric), value,
                       unit ? std::optional<std::string>(*unit) : std::nullopt});
  }

  /// Every call so far, in order.
  std::vector<Call> calls() const {
    std::lock_guard lock(mutex_);
    return calls_;
  }
  /// The calls of one kind so far, in order: `only<Event>()`, `only<Error>()`,
  /// `only<Performance>()`.
  template <class Kind>
  std::vector<Kind> only() const {
    std::vector<Kind> result;
    std::lock_guard lock(mutex_);
    for (const Call& call : calls_) {
      if (const Kind* kind = std::get_if<Kind>(&call)) result.push_back(*kind);
    }
    return result;
  }
  std::vector<Event> events() const { return only<Event>(); }
  std::vector<Error> errors() const { return only<Error>(); }
  std::vector<Performance> performances() const { return only<Performance>(); }
  /// Forgets every call so far.
  void clear() {
    std::lock_guard lock(mutex_);
    calls_.clear();
  }

 private:
  void record(Call call) {
    std::lock_guard lock(mutex_);
    calls_.push_back(std::move(call));
  }

  mutable std::mutex mutex_;
  std::vector<Call> calls_;
};

}  // namespace tavreldi::testing
