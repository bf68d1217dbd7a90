#pragma once

/// \file
/// The metadata record every registration carries.

#include <cstddef>
#include <cstdint>
#include <map>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>
#include <vector>

#include "tavreldi/core/DependencyScope.hpp"
#include "tavreldi/core/Timestamp.hpp"

namespace tavreldi {

/// Metadata of one registration. A plain value: copyable, comparable and hashable.
///
/// Equality and hashing deliberately ignore `registrationTime`, `dependencies` and
/// `threadSafety`: two registrations of the same service made at different times are equal.
struct DependencyMetadata {
  DependencyScope scope;
  DependencyLifetime lifetime;
  bool isLazy;
  bool isThreadSafe;
  std::vector<std::string> tags;
  std::map<std::string, std::string> customData;
  Timestamp registrationTime;
  std::string typeName;
  bool supportsCircularDetection;
  std::int64_t priority;
  std::vector<std::string> dependencies;
  ThreadSafety threadSafety;

  /// True when the scope is `singleton`, `scoped`, `lazy` or `container` and `isLazy` is false.
  [[nodiscard]] bool canBeCached() const noexcept;
  /// True only when the scope is `singleton` and `isLazy` is false.
  [[nodiscard]] bool shouldPreload() const noexcept;
  /// A multi-line report ("Dependency Metadata:\n- Type: ..."), without a trailing line feed.
  [[nodiscard]] std::string description() const;

  /// Optional replacements for `with`; an absent member keeps the current value.
  struct Changes {
    std::optional<DependencyScope> scope = std::nullopt;
    std::optional<DependencyLifetime> lifetime = std::nullopt;
    std::optional<bool> isLazy = std::nullopt;
    std::optional<bool> isThreadSafe = std::nullopt;
    std::optional<std::vector<std::string>> tags = std::nullopt;
    std::optional<std::map<std::string, std::string>> customData = std::nullopt;
    std::optional<std::string> typeName = std::nullopt;
    std::optional<bool> supportsCircularDetection = std::nullopt;
    std::optional<std::int64_t> priority = std::nullopt;
  };

  /// Returns a copy with the given fields replaced. `registrationTime` is kept, while
  /// `dependencies` is reset to empty and `threadSafety` to `safe`, deliberately; set them
  /// again afterwards to keep them. Use with designated initialisers:
  /// `metadata.with({.priority = 5})`.
  [[nodiscard]] DependencyMetadata with(const Changes& changes) const;

  /// Compares the nine identity fields (not `registrationTime`, `dependencies`, `threadSafety`).
  friend bool operator==(const DependencyMetadata& a, const DependencyMetadata& b);
};

/// Writes the twelve keys ("scope", "lifetime", ..., "threadSafety"); dates as ISO 8601 text
/// with milliseconds.
void to_json(nlohmann::json& json, const DependencyMetadata& metadata);
/// Reads the twelve keys, all required; throws `DecodingError` naming the faulty key.
void from_json(const nlohmann::json& json, DependencyMetadata& metadata);

}  // namespace tavreldi

/// Hashes the nine fields that equality compares.
template <>
struct std::hash<tavreldi::DependencyMetadata> {
  std::size_t operator()(const tavreldi::DependencyMetadata& metadata) const noexcept;
};
