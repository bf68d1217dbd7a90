#pragma once

/// \file
/// One table per enumeration: its raw text values in case order. `toString`, `fromString`,
/// `allCases` and the JSON conversions are all derived from that single table.

#include <array>
#include <concepts>
#include <cstddef>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <type_traits>

namespace tavreldi {

/// Specialised once per enumeration with `static constexpr std::array<std::string_view, N>
/// rawValues`, listing the raw text of every case in case order (the enumerators must be
/// 0, 1, 2, ... in the same order).
template <class E>
struct EnumTraits;

/// Satisfied by enumerations that have an `EnumTraits` table.
template <class E>
concept RawValueEnum = std::is_enum_v<E> && requires {
  EnumTraits<E>::rawValues;
};

/// Returns the raw text value of `value`.
template <RawValueEnum E>
[[nodiscard]] constexpr std::string_view toString(E value) noexcept {
  return EnumTraits<E>::rawValues[static_cast<std::size_t>(value)];
}

/// Returns the case whose raw value is exactly `text` (case-sensitive), or nothing.
template <RawValueEnum E>
[[nodiscard]] constexpr std::optional<E> fromString(std::string_view text) noexcept {
  const auto& raw = EnumTraits<E>::rawValues;
  for (std::size_t i = 0; i < raw.size(); ++i) {
    if (raw[i] == text) return static_cast<E>(i);
  }
  return std::nullopt;
}

/// Returns every case of `E` in case order.
template <RawValueEnum E>
[[nodiscard]] constexpr auto allCases() noexcept {
  constexpr std::size_t n = EnumTraits<E>::rawValues.size();
  std::array<E, n> cases{};
  for (std::size_t i = 0; i < n; ++i) cases[i] = static_cast<E>(i);
  return cases;
}

/// Thrown when a JSON document cannot be decoded into a record: a missing key, a value of the
/// wrong kind, or an enumeration text that matches no case.
class DecodingError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

}  // namespace tavreldi

// JSON form of every enumeration with a raw-value table: its raw text. Decoding text that
// matches no case, or a value that is not text, throws `tavreldi::DecodingError`.
/// \cond
template <tavreldi::RawValueEnum E>
struct nlohmann::adl_serializer<E, void> {
  template <class BasicJson>
  static void to_json(BasicJson& json, E value) {
    json = std::string(tavreldi::toString(value));
  }

  template <class BasicJson>
  static void from_json(const BasicJson& json, E& value) {
    if (!json.is_string()) {
      throw tavreldi::DecodingError("Data corrupted: expected a string for an enumeration value");
    }
    const auto& text = json.template get_ref<const typename BasicJson::string_t&>();
    const auto decoded = tavreldi::fromString<E>(text);
    if (!decoded) {
      throw tavreldi::DecodingError(
          "Data corrupted: cannot initialize enumeration from invalid value \"" + text + "\"");
    }
    value = *decoded;
  }
};
/// \endcond
