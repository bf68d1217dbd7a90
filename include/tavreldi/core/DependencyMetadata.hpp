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
  /// How instances are shared (see `DependencyScope`).
  DependencyScope scope;
  /// The intended lifetime.
  DependencyLifetime lifetime;
  /// True when the instance is to be made on first use only.
  bool isLazy;
  /// True when the service may be used from several threads.
  bool isThreadSafe;
  /// Free labels.
  std::vector<std::string> tags;
  /// Free key/value annotations.
  std::map<std::string, std::string> customData;
  /// When the registration was made.
  Timestamp registrationTime;
  /// The service's type name, the text that keys the registration.
  std::string typeName;
  /// True when the registration takes part in cycle detection.
  bool supportsCircularDetection;
  /// Ordering weight; higher is more important.
  std::int64_t priority;
  /// Type names of the services this one depends on (declared ones).
  std::vector<std::string> dependencies;
  /// The declared thread-safety class.
  ThreadSafety threadSafety;

  /// True when the scope is `singleton`, `scoped`, `lazy` or `container` and `isLazy` is false.
  [[nodiscard]] bool canBeCached() const noexcept;
  /// True only when the scope is `singleton` and `isLazy` is false.
  [[nodiscard]] bool shouldPreload() const noexcept;
  /// A multi-line report ("Dependency Metadata:\n- Type: ..."), without a trailing line feed.
  [[nodiscard]] std::string description() const;

  /// Optional replacements for `with`; an absent member keeps the current value.
  struct Changes {
    /// Replaces `scope`.
    std::optional<DependencyScope> scope = std::nullopt;
    /// Replaces `lifetime`.
    std::optional<DependencyLifetime> lifetime = std::nullopt;
    /// Replaces `isLazy`.
    std::optional<bool> isLazy = std::nullopt;
    /// Replaces `isThreadSafe`.
    std::optional<bool> isThreadSafe = std::nullopt;
    /// Replaces `tags`.
    std::optional<std::vector<std::string>> tags = std::nullopt;
    /// Replaces `customData`.
    std::optional<std::map<std::string, std::string>> customData = std::nullopt;
    /// Replaces `typeName`.
    std::optional<std::string> typeName = std::nullopt;
    /// Replaces `supportsCircularDetection`.
    std::optional<bool> supportsCircularDetection = std::nullopt;
    /// Replaces `priority`.
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

// Hashes the nine fields that equality compares.
/// \cond
template <>
struct std::hash<tavreldi::DependencyMetadata> {
  std::size_t operator()(const tavreldi::DependencyMetadata& metadata) const noexcept;
};
/// \endcond
