#pragma once

// Strict JSON reading shared by every record's decoder: every key is required, and a missing
// key or a value of the wrong kind throws DecodingError naming the key.

#include <concepts>
#include <cstdint>
#include <limits>
#include <nlohmann/json.hpp>
#include <string>
#include <string_view>
#include <utility>

#include "tavreldi/core/Enum.hpp"
#include "tavreldi/core/Timestamp.hpp"

namespace tavreldi::detail {

/// Throws unless `json` is an object; `what` names the record being read.
inline void requireObject(const nlohmann::json& json, std::string_view what) {
  if (!json.is_object()) {
    throw DecodingError("Type mismatch: expected an object for " + std::string(what) + ", found " +
                        json.type_name());
  }
}

/// Whether `json` is a whole number that T holds exactly. The JSON library would convert a
/// fraction by truncating it and a number beyond T's range with undefined behaviour.
template <std::integral T>
[[nodiscard]] bool holdsExactly(const nlohmann::json& json) noexcept {
  // Read through pointers, which never throw; the unsigned kind is asked for first, as the
  // library counts it as an integer too.
  if (const auto* value = json.get_ptr<const nlohmann::json::number_unsigned_t*>()) {
    return *value <= static_cast<std::uint64_t>(std::numeric_limits<T>::max());
  }
  if (const auto* value = json.get_ptr<const nlohmann::json::number_integer_t*>()) {
    return std::in_range<T>(*value);
  }
  return false;
}

/// The value under `key`, converted to T; throws DecodingError naming the key. An integer field
/// takes only a whole number within its type's range (not 1.5, 1e300 or 2^64).
template <class T>
T field(const nlohmann::json& json, std::string_view key) {
  const auto it = json.find(key);
  if (it == json.end()) {
    throw DecodingError("Key not found: \"" + std::string(key) + "\"");
  }
  if constexpr (std::integral<T> && !std::same_as<T, bool>) {
    if (it->is_number() && !holdsExactly<T>(*it)) {
      throw DecodingError("Type mismatch for key \"" + std::string(key) +
                          "\": expected a 64-bit integer, found " + it->dump());
    }
  }
  try {
    return it->template get<T>();
  } catch (const DecodingError& error) {
    throw DecodingError("Invalid value for key \"" + std::string(key) + "\": " + error.what());
  } catch (const nlohmann::json::exception& error) {
    throw DecodingError("Type mismatch for key \"" + std::string(key) + "\": " + error.what());
  }
}

/// Reads an ISO 8601 date under `key`.
inline Timestamp dateField(const nlohmann::json& json, std::string_view key) {
  const auto text = field<std::string>(json, key);
  const auto time = parseIso8601(text);
  if (!time) {
    throw DecodingError("Data corrupted for key \"" + std::string(key) +
                        "\": expected an ISO 8601 date, found \"" + text + "\"");
  }
  return *time;
}

}  // namespace tavreldi::detail
