#pragma once

// A telemetry provider, for analytics and for crash reports alike, that records every call in
// order, for tests (thread-safe); and readable GoogleTest output for telemetry values and maps.

#include <exception>
#include <mutex>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>
#include <typeindex>
#include <typeinfo>
#include <utility>
#include <variant>
#include <vector>

#include "tavreldi/telemetry/AnalyticsValue.hpp"
#include "tavreldi/telemetry/DIAnalyticsProvider.hpp"
#include "tavreldi/telemetry/DICrashlyticsProvider.hpp"

namespace tavreldi {

// Found by argument-dependent lookup.
inline void PrintTo(const AnalyticsValue& value, std::ostream* os) {
  *os << value.toQuotedString();
}
inline void PrintTo(const ParameterMap& map, std::ostream* os) { *os << map.toString(); }

namespace testing {

// The kinds of call the provider records.
namespace recorded_calls {

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
struct UserIdentifier {
  std::string identifier;
};
struct CustomValue {
  AnalyticsValue value;
  std::string key;
};
using Call = std::variant<Event, Error, Performance, UserIdentifier, CustomValue>;

}  // namespace recorded_calls

class RecordingProvider : public DIAnalyticsProvider, public DICrashlyticsProvider {
 public:
  using Event = recorded_calls::Event;
  using Error = recorded_calls::Error;
  using Performance = recorded_calls::Performance;
  using Call = recorded_calls::Call;

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
  void logEvent(std::string_view name, const OptionalParameters& parameters) override {
    trackEvent(name, parameters);
  }
  void logError(const std::exception& error, const OptionalParameters& context) override {
    trackError(error, context);
  }
  void setUserIdentifier(std::string_view identifier) override {
    record(recorded_calls::UserIdentifier{std::string(identifier)});
  }
  void setCustomValue(const AnalyticsValue& value, std::string_view key) override {
    record(recorded_calls::CustomValue{value, std::string(key)});
  }

  /// Every call so far, in order.
  std::vector<Call> calls() const {
    const std::lock_guard lock(mutex_);
    return calls_;
  }
  std::vector<Event> events() const { return only<Event>(); }
  std::vector<Error> errors() const { return only<Error>(); }
  /// Forgets every call so far.
  void clear() {
    const std::lock_guard lock(mutex_);
    calls_.clear();
  }

 private:
  template <class Kind>
  std::vector<Kind> only() const {
    std::vector<Kind> result;
    for (const Call& call : calls()) {
      if (const Kind* kind = std::get_if<Kind>(&call)) result.push_back(*kind);
    }
    return result;
  }
  void record(Call call) {
    const std::lock_guard lock(mutex_);
    calls_.push_back(std::move(call));
  }

  mutable std::mutex mutex_;
  std::vector<Call> calls_;
};

}  // namespace testing
}  // namespace tavreldi
