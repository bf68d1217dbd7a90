#pragma once

/// \file
/// Values and insertion-ordered parameter maps handed to telemetry providers.

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace tavreldi {

/// One telemetry value: a whole number, a double, a Boolean, a text or a list of values.
class AnalyticsValue {
 public:
  /// A list of values.
  using List = std::vector<AnalyticsValue>;
  /// The alternatives a value holds.
  using Storage = std::variant<std::int64_t, double, bool, std::string, List>;

  ///@{
  /// A value holding `v` (an `int` as a whole number, any text as a `std::string`).
  AnalyticsValue(std::int64_t v) : storage_(v) {}            // NOLINT(google-explicit-constructor)
  AnalyticsValue(int v) : storage_(std::int64_t{v}) {}       // NOLINT(google-explicit-constructor)
  AnalyticsValue(double v) : storage_(v) {}                  // NOLINT(google-explicit-constructor)
  AnalyticsValue(bool v) : storage_(v) {}                    // NOLINT(google-explicit-constructor)
  AnalyticsValue(std::string v) : storage_(std::move(v)) {}  // NOLINT
  AnalyticsValue(std::string_view v) : storage_(std::string(v)) {}  // NOLINT
  AnalyticsValue(const char* v) : storage_(std::string(v)) {}       // NOLINT
  AnalyticsValue(List v) : storage_(std::move(v)) {}                // NOLINT
  ///@}
  /// A list of texts (for example a resolution stack or a cycle).
  AnalyticsValue(const std::vector<std::string>& v);  // NOLINT

  /// Makes this value the text `text`, reusing the storage of the text it holds, if any.
  void assignText(std::string_view text);

  /// The stored alternative.
  [[nodiscard]] const Storage& storage() const noexcept { return storage_; }

  /// The value's plain text form: whole numbers as digits, a double in its shortest exact form
  /// keeping ".0" for whole values (0.5, 12.0), text as itself without quotes, true/false, a
  /// list as "[" + elements (texts quoted) joined by ", " + "]".
  [[nodiscard]] std::string toString() const;
  /// The form used inside a map or list: like `toString`, but text in double quotes. Inside
  /// the quotes, double quotes, single quotes and backslashes get a backslash before them, and
  /// line feed, carriage return, tab and NUL are written `\n`, `\r`, `\t`, `\0` (as the
  /// platform's debug text form writes them).
  [[nodiscard]] std::string toQuotedString() const;

  /// Equal when every field is equal.
  friend bool operator==(const AnalyticsValue& a, const AnalyticsValue& b) = default;

 private:
  Storage storage_;
};

/// An insertion-ordered map from text keys to values. Setting an existing key replaces its
/// value in place.
class ParameterMap {
 public:
  /// A key and its value.
  using Entry = std::pair<std::string, AnalyticsValue>;

  ParameterMap() = default;
  /// The entries in order; a repeated key keeps its first position and its last value.
  ParameterMap(std::initializer_list<Entry> entries);

  /// Sets `key` to `value`, keeping the key's position when it exists.
  void set(std::string_view key, AnalyticsValue value);
  /// The value at `index` in insertion order, to change in place (`index` < `size()`).
  [[nodiscard]] AnalyticsValue& valueAt(std::size_t index) noexcept {
    return entries_[index].second;
  }
  /// The value of `key`, or null.
  [[nodiscard]] const AnalyticsValue* find(std::string_view key) const noexcept;
  ///@{
  /// The entries in insertion order.
  [[nodiscard]] bool empty() const noexcept { return entries_.empty(); }
  [[nodiscard]] std::size_t size() const noexcept { return entries_.size(); }
  [[nodiscard]] auto begin() const noexcept { return entries_.begin(); }
  [[nodiscard]] auto end() const noexcept { return entries_.end(); }
  [[nodiscard]] const std::vector<Entry>& entries() const noexcept { return entries_; }
  ///@}

  /// The map's text form: `["type": "UserService", "count": 2]` (text keys and text values in
  /// double quotes), `[:]` when empty.
  [[nodiscard]] std::string toString() const;

  /// Equal when every field is equal.
  friend bool operator==(const ParameterMap& a, const ParameterMap& b) = default;

 private:
  std::vector<Entry> entries_;
};

/// Event parameters or error context: absent and empty are different.
using OptionalParameters = std::optional<ParameterMap>;

}  // namespace tavreldi
