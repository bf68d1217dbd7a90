#include "tavreldi/core/TypeName.hpp"

#include <cxxabi.h>

#include <atomic>
#include <cstdlib>
#include <memory>

namespace tavreldi::detail {

std::string demangle(const std::type_info& type) {
  int status = 0;
  std::unique_ptr<char, void (*)(void*)> demangled(
      abi::__cxa_demangle(type.name(), nullptr, nullptr, &status), std::free);
  return status == 0 && demangled ? std::string(demangled.get()) : std::string(type.name());
}

std::string stripNamespaces(std::string_view qualified) {
  static constexpr std::string_view kAnonymous = "(anonymous namespace)::";
  std::string out;
  out.reserve(qualified.size());
  for (std::size_t i = 0; i < qualified.size();) {
    if (qualified.substr(i, kAnonymous.size()) == kAnonymous) {
      i += kAnonymous.size();
      continue;
    }
    if (qualified.substr(i, 2) == "::") {
      // Drop the qualifier just written: back to the start of this name component.
      while (!out.empty()) {
        const char c = out.back();
        if (c == '<' || c == ',' || c == ' ' || c == '(' || c == '*' || c == '&') break;
        out.pop_back();
      }
      i += 2;
      continue;
    }
    out.push_back(qualified[i]);
    ++i;
  }
  return out;
}

std::size_t nextServiceTypeId() noexcept {
  static std::atomic<std::size_t> next{0};
  return next.fetch_add(1, std::memory_order_relaxed);
}

ServiceKeyStorage::ServiceKeyStorage(const std::type_info& type)
    : qualified(demangle(type)),
      name(stripNamespaces(qualified)),
      key{nextServiceTypeId(), name, qualified, &type} {}

}  // namespace tavreldi::detail
