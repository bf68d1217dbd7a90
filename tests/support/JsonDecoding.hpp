#pragma once

// Decoding helpers for the tests of the records' JSON forms.

#include <nlohmann/json.hpp>
#include <string>
#include <string_view>
#include <utility>

#include "tavreldi/core/Enum.hpp"

namespace tavreldi::testing {

/// Decodes `document` as T: the record encoded again, or the text of the DecodingError.
template <class T>
std::string decoded(const nlohmann::json& document) {
  try {
    return nlohmann::json(document.get<T>()).dump();
  } catch (const DecodingError& error) {
    return error.what();
  }
}

/// `document` after one JSON Patch operation ("replace", "remove", ...) at `path`.
inline nlohmann::json changed(const nlohmann::json& document, std::string_view op,
                              std::string_view path, nlohmann::json value = {}) {
  return document.patch(
      nlohmann::json::array({{{"op", op}, {"path", path}, {"value", std::move(value)}}}));
}

}  // namespace tavreldi::testing
