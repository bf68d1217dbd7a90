#pragma once

// A small layered sample app used across the tests.

#include <memory>
#include <string>

namespace sample {

struct Logger {
  std::string prefix = "app";
};
struct UserAPI {
  std::shared_ptr<Logger> logger;
};
struct UserRepository {
  std::shared_ptr<UserAPI> api;
};
struct LoadUserUseCase {
  std::shared_ptr<UserRepository> repository;
};
struct UserViewModel {
  std::shared_ptr<LoadUserUseCase> useCase;
};

// Two services that resolve each other.
struct CycleA {};
struct CycleB {};

template <class T>
struct Repository {};
struct User {};
template <class K, class V>
struct Cache {};
struct Key {};
struct Value {};

}  // namespace sample

namespace other {
// Shares its unqualified name with sample::Logger, so both share one registration slot.
struct Logger {};
}  // namespace other
