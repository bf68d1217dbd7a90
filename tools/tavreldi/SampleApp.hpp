#pragma once

// The sample app the demo registers: a configuration, a logger, an HTTP client behind an
// interface, two repositories, a use case and two view models. The configuration's factory is
// written by hand (it suspends, as reading a file would); every other service is auto-wired
// from its constructor, so the container knows all fifteen dependencies before anything runs.

#include <memory>
#include <string>
#include <vector>

#include "tavreldi/core/AdvancedDIContainer.hpp"
#include "tavreldi/core/DIModule.hpp"

namespace demo {

struct Config {
  std::string baseUrl = "https://api.example.com";
};

struct Logger {
  explicit Logger(std::shared_ptr<Config> appConfig) : config(std::move(appConfig)) {}
  void log(const std::string& message) const { lines.push_back(message); }
  std::shared_ptr<Config> config;
  mutable std::vector<std::string> lines;
};

struct HttpClient {
  virtual ~HttpClient() = default;
  /// The body the server would answer for `path`.
  [[nodiscard]] virtual std::string get(const std::string& path) const = 0;
};

/// Answers from memory instead of the network.
class FakeHttpClient final : public HttpClient {
 public:
  FakeHttpClient(std::shared_ptr<Config> config, std::shared_ptr<Logger> logger)
      : config_(std::move(config)), logger_(std::move(logger)) {}
  [[nodiscard]] std::string get(const std::string& path) const override {
    logger_->log("GET " + path);
    return "{} from " + config_->baseUrl + path;
  }

 private:
  std::shared_ptr<Config> config_;
  std::shared_ptr<Logger> logger_;
};

struct UserRepository {
  std::shared_ptr<HttpClient> http;
  std::shared_ptr<Logger> logger;
};

struct SettingsRepository {
  std::shared_ptr<HttpClient> http;
  std::shared_ptr<Config> config;
};

struct LoadUserUseCase {
  std::shared_ptr<UserRepository> users;
  std::shared_ptr<SettingsRepository> settings;
  std::shared_ptr<Logger> logger;
};

struct UserViewModel {
  std::shared_ptr<LoadUserUseCase> loadUser;
  std::shared_ptr<Logger> logger;
  std::shared_ptr<Config> config;
};

struct SettingsViewModel {
  std::shared_ptr<Config> config;
  std::shared_ptr<Logger> logger;
};

// Two services that ask for each other: the registration check and resolution both report the
// cycle.
struct TokenRefresher;
struct SessionService {
  std::shared_ptr<TokenRefresher> refresher;
};
struct TokenRefresher {
  std::shared_ptr<SessionService> session;
};

/// Registers the sample app on `container`.
void registerSampleApp(tavreldi::AdvancedDIContainer& container);

/// The sample app as two modules: infrastructure (configuration, logger, HTTP client,
/// repositories) and the user feature (use case, view models).
std::vector<std::shared_ptr<tavreldi::DIModule>> sampleModules();

/// Registers the two services that depend on each other.
void registerCycle(tavreldi::AdvancedDIContainer& container);

}  // namespace demo
