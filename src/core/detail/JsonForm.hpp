#pragma once

// A record's JSON form declared once. `TAVRELDI_JSON_FORM(Record, member, ...)` defines
// `to_json` and `from_json` for Record from one list of members, each under its own name as the
// key. Both directions walk that list: the writer puts every member, the reader takes them
// strictly (`field` and `dateField` of Json.hpp), in the order listed, so a document with several
// faults is reported by the first one listed. Written keys come out sorted either way.
//
// Encodings beyond the JSON library's own: a `Timestamp` is ISO 8601 text with milliseconds; an
// optional `Timestamp` is left out when absent, and read as absent when its key is missing or
// null. A member whose type specialises `JsonWire` is read as that plainer type and converted.

#include <nlohmann/json.hpp>
#include <optional>
#include <string_view>
#include <tuple>
#include <utility>

#include "core/detail/Json.hpp"
#include "tavreldi/core/Timestamp.hpp"

namespace tavreldi::detail {

/// The type a member of type `Member` is read as before it is converted to `Member`.
template <class Member>
struct JsonWire {
  using type = Member;
};

/// One member of a record's JSON form: its key and where it lives.
template <class Record, class Member>
struct JsonField {
  const char* key;
  Member Record::*member;
};

template <class Record, class Member>
JsonField(const char*, Member Record::*) -> JsonField<Record, Member>;

template <class Member>
void writeMember(nlohmann::json& json, const char* key, const Member& value) {
  json[key] = value;
}

inline void writeMember(nlohmann::json& json, const char* key, const Timestamp& value) {
  json[key] = toIso8601WithMilliseconds(value);
}

inline void writeMember(nlohmann::json& json, const char* key,
                        const std::optional<Timestamp>& value) {
  if (value) writeMember(json, key, *value);
}

template <class Member>
void readMember(const nlohmann::json& json, const char* key, Member& value) {
  value = Member(field<typename JsonWire<Member>::type>(json, key));
}

inline void readMember(const nlohmann::json& json, const char* key, Timestamp& value) {
  value = dateField(json, key);
}

inline void readMember(const nlohmann::json& json, const char* key,
                       std::optional<Timestamp>& value) {
  const auto it = json.find(key);
  value.reset();
  if (it != json.end() && !it->is_null()) value = dateField(json, key);
}

/// Writes every field of `fields` from `record` into a new object.
template <class Record, class... Members>
void writeFields(nlohmann::json& json, const Record& record,
                 const std::tuple<JsonField<Record, Members>...>& fields) {
  json = nlohmann::json::object();
  std::apply([&](const auto&... f) { (writeMember(json, f.key, record.*f.member), ...); }, fields);
}

/// Reads every field of `fields` in order; `record` changes only when all of them decode.
/// `what` names the record when `json` is no object.
template <class Record, class... Members>
void readFields(const nlohmann::json& json, Record& record, std::string_view what,
                const std::tuple<JsonField<Record, Members>...>& fields) {
  requireObject(json, what);
  Record value{};
  std::apply([&](const auto&... f) { (readMember(json, f.key, value.*f.member), ...); }, fields);
  record = std::move(value);
}

}  // namespace tavreldi::detail

// One entry of the list; NLOHMANN_JSON_PASTE applies it to each name, as the library's own type
// macros do.
#define TAVRELDI_JSON_FIELD(member) ::tavreldi::detail::JsonField{#member, &JsonRecord::member},

/// The fields of `Record` named in the arguments, as a tuple of `JsonField`.
#define TAVRELDI_JSON_FIELDS(Record, ...)                                             \
  [] {                                                                                \
    using JsonRecord = Record;                                                        \
    return std::tuple{                                                                \
        NLOHMANN_JSON_EXPAND(NLOHMANN_JSON_PASTE(TAVRELDI_JSON_FIELD, __VA_ARGS__))}; \
  }()

/// Defines `to_json` and `from_json` of `Record` (declared in its header) from its members.
#define TAVRELDI_JSON_FORM(Record, ...)                                                      \
  void to_json(nlohmann::json& json, const Record& value) {                                  \
    ::tavreldi::detail::writeFields(json, value, TAVRELDI_JSON_FIELDS(Record, __VA_ARGS__)); \
  }                                                                                          \
  void from_json(const nlohmann::json& json, Record& value) {                                \
    ::tavreldi::detail::readFields(json, value, #Record,                                     \
                                   TAVRELDI_JSON_FIELDS(Record, __VA_ARGS__));               \
  }
