#include "tavreldi/telemetry/DICrashlyticsManager.hpp"

#include <cstdio>
#include <cstdlib>
#include <string>
#include <utility>

namespace tavreldi {
namespace {

constexpr std::string_view kComponent = "TavrelDI";

// The caller's map (or an empty one) with the standard keys set last, in place when present.
ParameterMap withStandardKeys(const OptionalParameters& callerMap, std::string_view dependencyType,
                              const std::optional<std::string_view>& issue = std::nullopt) {
  ParameterMap map = callerMap.value_or(ParameterMap{});
  if (issue) map.set("issue", *issue);
  map.set("dependency_type", dependencyType);
  map.set("component", kComponent);
  return map;
}

}  // namespace

DICrashlyticsManager::DICrashlyticsManager(std::shared_ptr<DICrashlyticsProvider> provider,
                                           DICrashlyticsConfig config)
    : provider_(std::move(provider)), config_(std::move(config)) {
  if (!provider_) {
    std::fputs("TavrelDI: DICrashlyticsManager made without a provider\n", stderr);
    std::abort();
  }
}

void DICrashlyticsManager::logDependencyError(const std::exception& error,
                                              std::string_view dependencyType,
                                              const OptionalParameters& context) const noexcept {
  try {
    provider_->logError(error, withStandardKeys(context, dependencyType));
  } catch (...) {
    // Telemetry never fails its caller.
  }
}

void DICrashlyticsManager::logRegistrationEvent(
    std::string_view event, std::string_view dependencyType,
    const OptionalParameters& parameters) const noexcept {
  try {
    provider_->logEvent(std::string("di_registration_").append(event),
                        withStandardKeys(parameters, dependencyType));
  } catch (...) {
    // Telemetry never fails its caller.
  }
}

void DICrashlyticsManager::logResolutionEvent(std::string_view event,
                                              std::string_view dependencyType,
                                              const OptionalParameters& parameters) const noexcept {
  try {
    provider_->logEvent(std::string("di_resolution_").append(event),
                        withStandardKeys(parameters, dependencyType));
  } catch (...) {
    // Telemetry never fails its caller.
  }
}

void DICrashlyticsManager::logPerformanceIssue(std::string_view issue,
                                               std::string_view dependencyType,
                                               const OptionalParameters& metrics) const noexcept {
  try {
    provider_->logEvent("di_performance_issue", withStandardKeys(metrics, dependencyType, issue));
  } catch (...) {
    // Telemetry never fails its caller.
  }
}

}  // namespace tavreldi
