#pragma once

// The sample app the demo registers: a view model, a use case, a repository, an API service
// and a logger, each factory resolving its dependencies through the container.

#include <memory>
#include <string>
#include <vector>

#include "tavreldi/core/AdvancedDIContainer.hpp"
#include "tavreldi/core/DIModule.hpp"

namespace demo {

struct Logger {
  void log(const std::string& message) const { lines.push_back(message); }
  mutable std::vector<std::string> lines;
};

struct UserAPIService {
  std::shared_ptr<Logger> logger;
  std::string baseUrl = "https://api.example.com";
};

struct UserRepository {
  std::shared_ptr<UserAPIService> api;
  std::shared_ptr<Logger> logger;
};

struct LoadUserUseCase {
  std::shared_ptr<UserRepository> repository;
};

struct UserViewModel {
  std::shared_ptr<LoadUserUseCase> loadUser;
  std::shared_ptr<Logger> logger;
};

// Two services that ask for each other: the container reports the cycle.
struct SessionService {};
struct TokenRefresher {};

/// Registers the sample app on `container`.
void registerSampleApp(tavreldi::AdvancedDIContainer& container);

/// The sample app as two modules: infrastructure (logger, API service, repository) and the
/// user feature (use case, view model).
std::vector<std::shared_ptr<tavreldi::DIModule>> sampleModules();

/// Registers the two services that depend on each other.
void registerCycle(tavreldi::AdvancedDIContainer& container);

}  // namespace demo
