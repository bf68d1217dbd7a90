// Keys of keyed services, made once per type and key and kept for the life of the process.

#include "tavreldi/core/KeyedService.hpp"

#include <fmt/format.h>

#include <memory>
#include <mutex>
#include <string>
#include <unordered_map>

#include "tavreldi/core/Errors.hpp"

namespace tavreldi {

namespace {

struct KeyedStorage {
  KeyedStorage(const ServiceKey& base, std::string_view key)
      : qualified(std::string(base.qualifiedName) + '[' + std::string(key) + ']'),
        name(std::string(base.name) + '[' + std::string(key) + ']'),
        key{detail::nextServiceTypeId(), name, qualified, base.type} {}
  KeyedStorage(const KeyedStorage&) = delete;
  KeyedStorage& operator=(const KeyedStorage&) = delete;
  std::string qualified;
  std::string name;
  ServiceKey key;
};

}  // namespace

bool isValidServiceKey(std::string_view key) noexcept {
  if (key.empty() || key.size() > kMaxServiceKeyLength) return false;
  for (const char c : key) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte < 0x20 || byte == 0x7F || c == '[' || c == ']') return false;
  }
  return true;
}

const ServiceKey& detail::keyedServiceKey(const ServiceKey& base, std::string_view key) {
  if (!isValidServiceKey(key)) {
    throw DependencyResolutionError::validationError(
        fmt::format("Invalid service key: a key is 1 to {} bytes, without control characters, "
                    "'[' or ']'",
                    kMaxServiceKeyLength));
  }
  static std::mutex mutex;
  static std::unordered_map<std::string, std::unique_ptr<const KeyedStorage>> keys;
  // A valid key holds no control character, so the separator cannot occur in it.
  std::string lookup = std::to_string(base.id);
  lookup += '\x1f';
  lookup += key;
  const std::lock_guard lock(mutex);
  auto& storage = keys[std::move(lookup)];
  if (!storage) storage = std::make_unique<const KeyedStorage>(base, key);
  return storage->key;
}

}  // namespace tavreldi
