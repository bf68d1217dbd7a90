#pragma once

/// \file
/// The container's error values.

#include <exception>
#include <nlohmann/json_fwd.hpp>
#include <string>
#include <string_view>
#include <vector>

#include "tavreldi/core/Enum.hpp"

namespace tavreldi {

/// The cases of `DependencyResolutionError`, in order; raw values are the JSON keys.
enum class ResolutionErrorKind {
  notRegistered,
  circularDependency,
  scopeNotFound,
  factoryError,
  validationError,
  typeMismatch
};

template <>
struct EnumTraits<ResolutionErrorKind> {
  static constexpr std::array<std::string_view, 6> rawValues{
      "notRegistered", "circularDependency", "scopeNotFound",
      "factoryError",  "validationError",    "typeMismatch"};
};

/// A failure of registration, resolution or validation. `what()` is the error's description,
/// e.g. "Type not registered: A" or "Circular dependency detected: A -> B -> A".
class DependencyResolutionError : public std::exception {
 public:
  /// The error's case.
  using Kind = ResolutionErrorKind;

  /// "Type not registered: " + name.
  [[nodiscard]] static DependencyResolutionError notRegistered(std::string typeName);
  /// "Circular dependency detected: " + the names joined with " -> ".
  [[nodiscard]] static DependencyResolutionError circularDependency(std::vector<std::string> cycle);
  /// "Scope not found: " + identifier.
  [[nodiscard]] static DependencyResolutionError scopeNotFound(std::string scopeId);
  /// "Factory error: " + text.
  [[nodiscard]] static DependencyResolutionError factoryError(std::string text);
  /// "Validation error: " + text.
  [[nodiscard]] static DependencyResolutionError validationError(std::string text);
  /// "Type mismatch: " + text.
  [[nodiscard]] static DependencyResolutionError typeMismatch(std::string text);

  /// The error's case.
  [[nodiscard]] Kind kind() const noexcept { return kind_; }
  /// The associated text of every case but `circularDependency` (empty for that one).
  [[nodiscard]] const std::string& value() const noexcept { return value_; }
  /// The associated names of `circularDependency` (empty for the other cases).
  [[nodiscard]] const std::vector<std::string>& cycle() const noexcept { return cycle_; }
  /// The error's description.
  [[nodiscard]] const char* what() const noexcept override { return description_.c_str(); }

  /// Equal when the case, the text and the names are equal.
  friend bool operator==(const DependencyResolutionError& a, const DependencyResolutionError& b) {
    return a.kind_ == b.kind_ && a.value_ == b.value_ && a.cycle_ == b.cycle_;
  }

 private:
  DependencyResolutionError(Kind kind, std::string value, std::vector<std::string> cycle);
  Kind kind_;
  std::string value_;
  std::vector<std::string> cycle_;
  std::string description_;
};

/// A cycle report with a free-text message. `what()` is "Circular Dependency: " + message.
class CircularDependencyException : public std::exception {
 public:
  /// A cycle report; `what()` becomes "Circular Dependency: " + `message`.
  CircularDependencyException(std::string message, std::vector<std::string> cycle);

  /// The free-text message.
  [[nodiscard]] const std::string& message() const noexcept { return message_; }
  /// The type names that form the cycle.
  [[nodiscard]] const std::vector<std::string>& cycle() const noexcept { return cycle_; }
  /// "Circular Dependency: " + the message.
  [[nodiscard]] const char* what() const noexcept override { return description_.c_str(); }

  /// Equal when the message and the names are equal.
  friend bool operator==(const CircularDependencyException& a,
                         const CircularDependencyException& b) {
    return a.message_ == b.message_ && a.cycle_ == b.cycle_;
  }

 private:
  std::string message_;
  std::vector<std::string> cycle_;
  std::string description_;
};

/// `{"notRegistered": {"_0": "A"}}`; a cycle's "_0" holds an array of names.
void to_json(nlohmann::json& json, const DependencyResolutionError& error);
/// Reads the one-key form; an object without exactly one key throws `DecodingError` with
/// "Invalid number of keys found, expected one.", an unknown case or a missing "_0" a
/// `DecodingError` naming the key.
[[nodiscard]] DependencyResolutionError dependencyResolutionErrorFromJson(
    const nlohmann::json& json);

/// `{"message": ..., "cycle": [...]}`.
void to_json(nlohmann::json& json, const CircularDependencyException& error);
/// Reads both keys (required); throws `DecodingError` naming the faulty key.
[[nodiscard]] CircularDependencyException circularDependencyExceptionFromJson(
    const nlohmann::json& json);

}  // namespace tavreldi
