// Shared service names and lists of them.

#include "tavreldi/graph/Name.hpp"

#include <algorithm>
#include <cstring>
#include <nlohmann/json.hpp>
#include <ostream>
#include <stdexcept>
#include <string>
#include <utility>

#include "tavreldi/core/Enum.hpp"  // DecodingError

namespace tavreldi {

namespace {

// The names of `texts`, whose characters share one block.
template <class Texts>
std::vector<Name> packed(const Texts& texts) {
  std::size_t length = 0;
  for (const auto& text : texts) length += std::string_view(text).size();
  std::vector<Name> names;
  names.reserve(texts.size());
  if (length == 0) {
    names.resize(texts.size());
    return names;
  }
  std::shared_ptr<char[]> block = std::make_shared_for_overwrite<char[]>(length);
  std::size_t at = 0;
  for (const auto& text : texts) {
    const std::string_view view(text);
    std::copy(view.begin(), view.end(), block.get() + at);
    names.emplace_back(block, std::string_view(block.get() + at, view.size()));
    at += view.size();
  }
  return names;
}

}  // namespace

Name::Name(std::string_view text) {
  if (text.empty()) return;
  std::shared_ptr<char[]> block = std::make_shared_for_overwrite<char[]>(text.size());
  std::memcpy(block.get(), text.data(), text.size());
  text_ = std::string_view(block.get(), text.size());
  owner_ = std::move(block);
}

std::ostream& operator<<(std::ostream& out, const Name& name) { return out << name.view(); }

NameList::NameList(std::vector<Name> names) {
  if (names.empty()) return;
  auto block = std::make_shared<const std::vector<Name>>(std::move(names));
  names_ = std::span<const Name>(*block);
  owner_ = std::move(block);
}

NameList::NameList(std::initializer_list<Name> names) : NameList(std::vector<Name>(names)) {}

NameList::NameList(const std::vector<std::string>& names) : NameList(packed(names)) {}

const Name& NameList::at(size_type i) const {
  if (i >= names_.size()) {
    throw std::out_of_range("NameList::at: index " + std::to_string(i) + " past " +
                            std::to_string(names_.size()) + " names");
  }
  return names_[i];
}

bool NameList::contains(std::string_view name) const noexcept {
  return std::find(begin(), end(), name) != end();
}

std::vector<std::string> NameList::strings() const {
  std::vector<std::string> result;
  result.reserve(size());
  for (const Name& name : *this) result.push_back(name.str());
  return result;
}

bool operator==(const NameList& a, const NameList& b) noexcept {
  return a.names_.data() == b.names_.data() ? a.size() == b.size()
                                            : std::equal(a.begin(), a.end(), b.begin(), b.end());
}

bool operator==(const NameList& a, const std::vector<std::string>& b) noexcept {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                    [](const Name& x, const std::string& y) { return x == y; });
}

void to_json(nlohmann::json& json, const Name& name) { json = name.view(); }

void from_json(const nlohmann::json& json, Name& name) {
  if (!json.is_string()) {
    throw DecodingError(std::string("Type mismatch: expected a name as a string, found ") +
                        json.type_name());
  }
  name = Name(json.get_ref<const std::string&>());
}

void to_json(nlohmann::json& json, const NameList& names) {
  json = nlohmann::json::array();
  for (const Name& name : names) json.push_back(name.view());
}

void from_json(const nlohmann::json& json, NameList& names) {
  const bool strings = json.is_array() && std::all_of(json.begin(), json.end(),
                                                      [](const auto& e) { return e.is_string(); });
  if (!strings) {
    throw DecodingError(
        std::string("Type mismatch: expected names as an array of strings, found ") +
        (json.is_array() ? "an array of other values" : json.type_name()));
  }
  names = NameList(json.get<std::vector<std::string>>());
}

}  // namespace tavreldi
