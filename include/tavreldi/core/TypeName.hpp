#pragma once

/// \file
/// Service keys: the name under which a type is registered, computed once per type.

#include <cstddef>
#include <string>
#include <string_view>
#include <typeinfo>

namespace tavreldi {

/// Identifies a service type: a small process-wide number (for fast lookup), its service name
/// (the unqualified type name with template arguments, namespaces stripped from every
/// component: `app::Repository<app::User>` gives `Repository<User>`), its fully qualified
/// name and its `std::type_info`. One key exists per type for the life of the process.
struct ServiceKey {
  /// A small number unique to the type within the process.
  std::size_t id;
  /// The service name (namespaces stripped), the key of every container map.
  std::string_view name;
  /// The fully qualified type name.
  std::string_view qualifiedName;
  /// The type's `std::type_info`.
  const std::type_info* type;
};

namespace detail {

/// Demangles a type's name (fully qualified).
[[nodiscard]] std::string demangle(const std::type_info& type);
/// Strips every namespace qualifier from a demangled name, in every template argument too.
[[nodiscard]] std::string stripNamespaces(std::string_view qualified);
/// Hands out the next service type number.
[[nodiscard]] std::size_t nextServiceTypeId() noexcept;

struct ServiceKeyStorage {
  explicit ServiceKeyStorage(const std::type_info& type);
  ServiceKeyStorage(const ServiceKeyStorage&) = delete;
  ServiceKeyStorage& operator=(const ServiceKeyStorage&) = delete;
  std::string qualified;
  std::string name;
  ServiceKey key;
};

}  // namespace detail

/// Returns the key of `T`; demangled on first use, then cached.
template <class T>
[[nodiscard]] const ServiceKey& serviceKey() {
  static const detail::ServiceKeyStorage storage(typeid(T));
  return storage.key;
}

/// Returns the service name of `T` (see `ServiceKey`).
template <class T>
[[nodiscard]] std::string_view typeName() {
  return serviceKey<T>().name;
}

}  // namespace tavreldi
