#pragma once

/// \file
/// Text-to-text metadata of graph nodes and edges.

#include <cstddef>
#include <initializer_list>
#include <map>
#include <memory>
#include <nlohmann/json_fwd.hpp>
#include <string>

namespace tavreldi {

/// The metadata of a graph node or edge: text keys mapped to text values, in key order.
///
/// Copies share their entries until one of them is changed (copy on write), so the thousands of
/// nodes and edges of a large graph that carry the same entries (every edge of one kind, every
/// node of one scope and lifetime) hold them once. Reading works as on a `std::map`; changes go
/// through `insert_or_assign`, `erase` and `clear` (no references into the entries are handed
/// out for writing, so a change can never show through another copy).
class Metadata {
 public:
  /// The entries' map type.
  using Map = std::map<std::string, std::string>;
  ///@{
  /// As in `Map` (iterators read only).
  using key_type = Map::key_type;
  using mapped_type = Map::mapped_type;
  using value_type = Map::value_type;
  using size_type = Map::size_type;
  using const_iterator = Map::const_iterator;
  using iterator = const_iterator;
  ///@}

  Metadata() = default;
  /// Holds `entries`.
  Metadata(Map entries);  // NOLINT(google-explicit-constructor): a map is metadata
  /// Holds `entries` (a later entry with the same key is dropped, as in `std::map`).
  Metadata(std::initializer_list<value_type> entries);

  /// The entries.
  [[nodiscard]] const Map& map() const noexcept;
  /// The entries, so that metadata reads as a `std::map`.
  operator const Map&() const noexcept { return map(); }  // NOLINT(google-explicit-constructor)

  ///@{
  /// As on `std::map`.
  [[nodiscard]] bool empty() const noexcept { return map().empty(); }
  [[nodiscard]] size_type size() const noexcept { return map().size(); }
  [[nodiscard]] const_iterator begin() const noexcept { return map().begin(); }
  [[nodiscard]] const_iterator end() const noexcept { return map().end(); }
  [[nodiscard]] const_iterator find(const std::string& key) const { return map().find(key); }
  [[nodiscard]] bool contains(const std::string& key) const { return map().contains(key); }
  [[nodiscard]] size_type count(const std::string& key) const { return map().count(key); }
  ///@}
  /// The value of `key`; throws `std::out_of_range` when there is none.
  [[nodiscard]] const std::string& at(const std::string& key) const { return map().at(key); }

  /// Sets `key` to `value`, copying the entries first when they are shared.
  void insert_or_assign(const std::string& key, std::string value);
  /// Removes `key`; returns how many entries were removed (0 or 1).
  size_type erase(const std::string& key);
  /// Removes every entry (this copy only).
  void clear() noexcept { entries_.reset(); }

  /// Equal when the entries are equal.
  friend bool operator==(const Metadata& a, const Metadata& b) {
    return a.entries_ == b.entries_ || a.map() == b.map();
  }
  /// Equal when the entries equal `b`.
  friend bool operator==(const Metadata& a, const Map& b) { return a.map() == b; }

 private:
  Map& unshared();

  std::shared_ptr<Map> entries_;  // null when empty; changed only while not shared
};

/// An object of the entries.
void to_json(nlohmann::json& json, const Metadata& metadata);
/// Reads an object of text values; throws `DecodingError` otherwise.
void from_json(const nlohmann::json& json, Metadata& metadata);

}  // namespace tavreldi
