#pragma once

// A crash-reporting provider that records every call, in order, for tests. Thread-safe.

#include <exception>
#include <string>
#include <string_view>
#include <typeindex>
#include <typeinfo>
#include <utility>
#include <variant>
#include <vector>

#include "support/CallLog.hpp"
#include "support/TelemetryPrinters.hpp"
#include "tavreldi/telemetry/DICrashlyticsProvider.hpp"

namespace tavreldi::testing {

// The kinds of call the provider records.
namespace crashlytics_calls {

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

}  // namespace crashlytics_calls

class RecordingCrashlyticsProvider : public DICrashlyticsProvider,
                                     public CallLog<crashlytics_calls::Call> {
 public:
  using Error = crashlytics_calls::Error;
  using Event = crashlytics_calls::Event;
  using UserIdentifier = crashlytics_calls::UserIdentifier;
  using CustomValue = crashlytics_calls::CustomValue;
  using Call = crashlytics_calls::Call;

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

  std::vector<Error> errors() const { return only<Error>(); }
  std::vector<Event> events() const { return only<Event>(); }
};

}  // namespace tavreldi::testing
