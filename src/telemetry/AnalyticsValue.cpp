#include "tavreldi/telemetry/AnalyticsValue.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <type_traits>
#include <utility>

namespace tavreldi {
namespace {

// Shortest text that reads back as the same double; whole values keep ".0" (12.0), as the
// platform's default form does. Exponent forms, infinities and NaN are left as they are.
std::string doubleText(double value) {
  std::string text = fmt::format("{}", value);
  if (text.find_first_of(".e") == std::string::npos && text.find("inf") == std::string::npos &&
      text.find("nan") == std::string::npos) {
    text += ".0";
  }
  return text;
}

// The backslash escapes of the platform's debug text form.
constexpr std::array<std::pair<char, std::string_view>, 7> kEscapes{{{'"', R"(\")"},
                                                                     {'\'', R"(\')"},
                                                                     {'\\', R"(\\)"},
                                                                     {'\n', R"(\n)"},
                                                                     {'\r', R"(\r)"},
                                                                     {'\t', R"(\t)"},
                                                                     {'\0', R"(\0)"}}};

// Text in double quotes, escaped as the platform's debug text form does it, so that a quote
// inside a text cannot be mistaken for the end of it.
std::string quoted(std::string_view text) {
  std::string out;
  out.reserve(text.size() + 2);
  out.push_back('"');
  for (const char c : text) {
    const auto* escape = std::find_if(kEscapes.begin(), kEscapes.end(),
                                      [c](const auto& entry) { return entry.first == c; });
    if (escape != kEscapes.end()) {
      out += escape->second;
    } else {
      out.push_back(c);
    }
  }
  out.push_back('"');
  return out;
}

}  // namespace

AnalyticsValue::AnalyticsValue(const std::vector<std::string>& v)
    : storage_(List(v.begin(), v.end())) {}

std::string AnalyticsValue::toString() const {
  return std::visit(
      [](const auto& v) -> std::string {
        using T = std::decay_t<decltype(v)>;
        if constexpr (std::is_same_v<T, std::int64_t>) {
          return fmt::format("{}", v);
        } else if constexpr (std::is_same_v<T, double>) {
          return doubleText(v);
        } else if constexpr (std::is_same_v<T, bool>) {
          return v ? "true" : "false";
        } else if constexpr (std::is_same_v<T, std::string>) {
          return v;
        } else {
          std::string out = "[";
          for (std::size_t i = 0; i < v.size(); ++i) {
            if (i > 0) out += ", ";
            out += v[i].toQuotedString();
          }
          out += ']';
          return out;
        }
      },
      storage_);
}

std::string AnalyticsValue::toQuotedString() const {
  if (const auto* text = std::get_if<std::string>(&storage_)) return quoted(*text);
  return toString();
}

void AnalyticsValue::assignText(std::string_view text) {
  if (auto* held = std::get_if<std::string>(&storage_)) {
    if (*held != text) held->assign(text);
  } else {
    storage_ = std::string(text);
  }
}

ParameterMap::ParameterMap(std::initializer_list<Entry> entries) {
  entries_.reserve(entries.size());
  for (const auto& [key, value] : entries) set(key, value);
}

void ParameterMap::set(std::string_view key, AnalyticsValue value) {
  for (auto& entry : entries_) {
    if (entry.first == key) {
      entry.second = std::move(value);
      return;
    }
  }
  entries_.emplace_back(std::string(key), std::move(value));
}

const AnalyticsValue* ParameterMap::find(std::string_view key) const noexcept {
  for (const auto& entry : entries_) {
    if (entry.first == key) return &entry.second;
  }
  return nullptr;
}

std::string ParameterMap::toString() const {
  if (entries_.empty()) return "[:]";
  std::string out = "[";
  for (std::size_t i = 0; i < entries_.size(); ++i) {
    if (i > 0) out += ", ";
    out += quoted(entries_[i].first);
    out += ": ";
    out += entries_[i].second.toQuotedString();
  }
  out += ']';
  return out;
}

}  // namespace tavreldi
