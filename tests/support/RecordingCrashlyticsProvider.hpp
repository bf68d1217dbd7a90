#pragma once

// A crash-reporting provider that records every call, in order, for tests. Thread-safe.

#include <exception>
#include <mutex>
#include <string>
#include <string_view>
#include <typeindex>
#include <typeinfo>
#include <utility>
#include <variant>
#include <vector>

#include "support/TelemetryPrinters.hpp"
#include "tavreldi/telemetry/DICrashlyticsProvider.hpp"

namespace tavreldi::testing {

class RecordingCrashlyticsProvider : public DICrashlyticsProvider {
 public:
  struct Error {
    std::string description;  // what()
    std::type_index type;     // dynamic type of the error
    OptionalParameters context;
  };
  struct Event {
    std::string name;
    OptionalParameters parameters;
  };
  struct UserIdentifier {
    std::string identifier;
  };
  struct CustomValue {
    AnalyticsValue value;
    std::string key;
  };
  using Call = std::variant<Error, Event, UserIdentifier, CustomValue>;

  void logError(const std::exception& error, const OptionalParameters& context) override {
    record(Error{error.what(), std::type_index(typeid(error)), context});
  }
  void logEvent(std::string_view name, const OptionalParameters& parameters) override {
    record(Event{std::string(name), parameters});
  }
  void setUserIdentifier(std::string_view identifier) override {
    record(UserIdentifier{std::string(identifier)});
  }
  void setCustomValue(const AnalyticsValue& value, std::string_view key) override {
    record(CustomValue{value, std::string(key)});
  }

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
  std::vector<Error> errors() const { return only<Error>(); }
  std::vector<Event> events() const { return only<Event>(); }
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
