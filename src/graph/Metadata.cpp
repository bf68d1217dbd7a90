// Copy-on-write metadata.

#include "tavreldi/graph/Metadata.hpp"

#include <nlohmann/json.hpp>
#include <string>
#include <utility>

#include "tavreldi/core/Enum.hpp"  // DecodingError

namespace tavreldi {

namespace {

const Metadata::Map& emptyMap() noexcept {
  static const Metadata::Map empty;
  return empty;
}

}  // namespace

Metadata::Metadata(Map entries) {
  if (!entries.empty()) entries_ = std::make_shared<Map>(std::move(entries));
}

Metadata::Metadata(std::initializer_list<value_type> entries) : Metadata(Map(entries)) {}

const Metadata::Map& Metadata::map() const noexcept { return entries_ ? *entries_ : emptyMap(); }

Metadata::Map& Metadata::unshared() {
  // Sole owner: nobody else can see a change. Shared (or none yet): change a copy of our own.
  if (!entries_ || entries_.use_count() != 1) {
    entries_ = std::make_shared<Map>(map());
  }
  return *entries_;
}

void Metadata::insert_or_assign(const std::string& key, std::string value) {
  unshared().insert_or_assign(key, std::move(value));
}

Metadata::size_type Metadata::erase(const std::string& key) {
  if (!contains(key)) return 0;
  const size_type removed = unshared().erase(key);
  if (entries_->empty()) entries_.reset();
  return removed;
}

void to_json(nlohmann::json& json, const Metadata& metadata) { json = metadata.map(); }

void from_json(const nlohmann::json& json, Metadata& metadata) {
  try {
    metadata = json.get<Metadata::Map>();
  } catch (const nlohmann::json::exception& error) {
    throw DecodingError(std::string("Type mismatch for metadata: ") + error.what());
  }
}

}  // namespace tavreldi
