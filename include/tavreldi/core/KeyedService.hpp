#pragma once

/// \file
/// Keyed services: one C++ type registered several times side by side, each under a key.

#include <cstddef>
#include <string_view>

#include "tavreldi/core/TypeName.hpp"

namespace tavreldi {

/// The longest key a service may be registered under, in bytes.
inline constexpr std::size_t kMaxServiceKeyLength = 128;

/// Whether `key` may name a keyed service: 1 to `kMaxServiceKeyLength` bytes, none of them a
/// control character, '[' or ']'.
[[nodiscard]] bool isValidServiceKey(std::string_view key) noexcept;

namespace detail {

/// The key of the service `base` registered under `key` (see `serviceKey<T>(key)`). Throws
/// `DependencyResolutionError` (`validationError`) when `key` is not valid. Thread-safe.
[[nodiscard]] const ServiceKey& keyedServiceKey(const ServiceKey& base, std::string_view key);

}  // namespace detail

/// Returns the key of `T` registered under `key`. Its service name, the name that lines, maps,
/// graphs and diagrams show, is `T`'s service name followed by the key in brackets: `Client`
/// under "billing" is `Client[billing]` (its qualified name `billing::Client[billing]`). It is
/// a service of its own, beside `T` without a key and `T` under other keys; instances are still
/// of type `T`.
///
/// Throws `DependencyResolutionError` (`validationError`) when `key` is not valid (see
/// `isValidServiceKey`). One key exists per type and key for the life of the process, so keys
/// are meant to be a fixed set of names in code, not data. Thread-safe.
template <class T>
[[nodiscard]] const ServiceKey& serviceKey(std::string_view key) {
  return detail::keyedServiceKey(serviceKey<T>(), key);
}

}  // namespace tavreldi
