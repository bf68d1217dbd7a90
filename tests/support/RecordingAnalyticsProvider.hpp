#pragma once

// An analytics provider that records every call, in order, for tests. Thread-safe.

#include <exception>
#include <optional>
#include <string>
#include <string_view>
#include <typeindex>
#include <typeinfo>
#include <utility>
#include <variant>
#include <vector>

#include "support/CallLog.hpp"
#include "support/TelemetryPrinters.hpp"
#include "tavreldi/telemetry/DIAnalyticsProvider.hpp"

namespace tavreldi::testing {

// The kinds of call the provider records.
namespace analytics_calls {

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

}  // namespace analytics_calls

class RecordingAnalyticsProvider : public DIAnalyticsProvider,
                                   public CallLog<analytics_calls::Call> {
 public:
  using Event = analytics_calls::Event;
  using Error = analytics_calls::Error;
  using Performance = analytics_calls::Performance;
  using Call = analytics_calls::Call;

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

  std::vector<Event> events() const { return only<Event>(); }
  std::vector<Error> errors() const { return only<Error>(); }
  std::vector<Performance> performances() const { return only<Performance>(); }
};

}  // namespace tavreldi::testing
