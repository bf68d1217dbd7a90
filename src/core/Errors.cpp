#include "tavreldi/core/Errors.hpp"

#include <fmt/format.h>

#include "core/detail/Json.hpp"

namespace tavreldi {
namespace {

std::string describe(ResolutionErrorKind kind, const std::string& value,
                     const std::vector<std::string>& cycle) {
  switch (kind) {
    case ResolutionErrorKind::notRegistered:
      return "Type not registered: " + value;
    case ResolutionErrorKind::circularDependency:
      return fmt::format("Circular dependency detected: {}", fmt::join(cycle, " -> "));
    case ResolutionErrorKind::scopeNotFound:
      return "Scope not found: " + value;
    case ResolutionErrorKind::factoryError:
      return "Factory error: " + value;
    case ResolutionErrorKind::validationError:
      return "Validation error: " + value;
    case ResolutionErrorKind::typeMismatch:
      return "Type mismatch: " + value;
  }
  return value;
}

}  // namespace

DependencyResolutionError::DependencyResolutionError(Kind kind, std::string value,
                                                     std::vector<std::string> cycle)
    : kind_(kind),
      value_(std::move(value)),
      cycle_(std::move(cycle)),
      description_(describe(kind_, value_, cycle_)) {}

DependencyResolutionError DependencyResolutionError::notRegistered(std::string typeName) {
  return {Kind::notRegistered, std::move(typeName), {}};
}
DependencyResolutionError DependencyResolutionError::circularDependency(
    std::vector<std::string> cycle) {
  return {Kind::circularDependency, {}, std::move(cycle)};
}
DependencyResolutionError DependencyResolutionError::scopeNotFound(std::string scopeId) {
  return {Kind::scopeNotFound, std::move(scopeId), {}};
}
DependencyResolutionError DependencyResolutionError::factoryError(std::string text) {
  return {Kind::factoryError, std::move(text), {}};
}
DependencyResolutionError DependencyResolutionError::validationError(std::string text) {
  return {Kind::validationError, std::move(text), {}};
}
DependencyResolutionError DependencyResolutionError::typeMismatch(std::string text) {
  return {Kind::typeMismatch, std::move(text), {}};
}

CircularDependencyException::CircularDependencyException(std::string message,
                                                         std::vector<std::string> cycle)
    : message_(std::move(message)),
      cycle_(std::move(cycle)),
      description_("Circular Dependency: " + message_) {}

void to_json(nlohmann::json& json, const DependencyResolutionError& error) {
  nlohmann::json payload = nlohmann::json::object();
  if (error.kind() == ResolutionErrorKind::circularDependency) {
    payload["_0"] = error.cycle();
  } else {
    payload["_0"] = error.value();
  }
  json = nlohmann::json::object();
  json[std::string(toString(error.kind()))] = std::move(payload);
}

DependencyResolutionError dependencyResolutionErrorFromJson(const nlohmann::json& json) {
  detail::requireObject(json, "DependencyResolutionError");
  if (json.size() != 1) {
    throw DecodingError("Invalid number of keys found, expected one.");
  }
  const auto& key = json.begin().key();
  const auto kind = fromString<ResolutionErrorKind>(key);
  if (!kind) {
    throw DecodingError("Key not found: \"" + key +
                        "\" is not a case of DependencyResolutionError");
  }
  const auto& payload = json.begin().value();
  detail::requireObject(payload, key);
  if (*kind == ResolutionErrorKind::circularDependency) {
    return DependencyResolutionError::circularDependency(
        detail::field<std::vector<std::string>>(payload, "_0"));
  }
  auto value = detail::field<std::string>(payload, "_0");
  switch (*kind) {
    case ResolutionErrorKind::notRegistered:
      return DependencyResolutionError::notRegistered(std::move(value));
    case ResolutionErrorKind::scopeNotFound:
      return DependencyResolutionError::scopeNotFound(std::move(value));
    case ResolutionErrorKind::factoryError:
      return DependencyResolutionError::factoryError(std::move(value));
    case ResolutionErrorKind::validationError:
      return DependencyResolutionError::validationError(std::move(value));
    case ResolutionErrorKind::typeMismatch:
    case ResolutionErrorKind::circularDependency:
      break;
  }
  return DependencyResolutionError::typeMismatch(std::move(value));
}

void to_json(nlohmann::json& json, const CircularDependencyException& error) {
  json = nlohmann::json{{"message", error.message()}, {"cycle", error.cycle()}};
}

CircularDependencyException circularDependencyExceptionFromJson(const nlohmann::json& json) {
  detail::requireObject(json, "CircularDependencyException");
  return {detail::field<std::string>(json, "message"),
          detail::field<std::vector<std::string>>(json, "cycle")};
}

}  // namespace tavreldi
