#pragma once

// Strict JSON reading shared by every record's decoder: every key is required, and a missing
// key or a value of the wrong kind throws DecodingError naming the key.

#include <nlohmann/json.hpp>
#include <string>
#include <string_view>

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

/// The value under `key`, converted to T; throws DecodingError naming the key.
template <class T>
T field(const nlohmann::json& json, std::string_view key) {
  const auto it = json.find(key);
  if (it == json.end()) {
    throw DecodingError("Key not found: \"" + std::string(key) + "\"");
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
