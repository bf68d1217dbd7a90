// Scopes, cleanup, debug listings and the performance snapshot.

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <limits>

#ifdef __APPLE__
#include <mach/mach.h>
#endif

#include "core/detail/ContainerState.hpp"
#include "core/detail/HomeThread.hpp"
#include "core/detail/Output.hpp"
#include "tavreldi/core/AdvancedDIContainerImpl.hpp"

namespace tavreldi {

using detail::printFormatted;
using detail::printLine;
using detail::Slot;

namespace {

// A scope's map was made anew or dropped: scoped creations in progress keep nothing, and the
// next resolution in that scope starts a new one.
void forgetScopedCreations(detail::ContainerState& s, const std::string& scopeId) {
  std::erase_if(s.creations, [&scopeId](const auto& entry) {
    return entry.first.cache == DependencyScope::scoped && entry.first.scopeId == scopeId;
  });
}

}  // namespace

asio::awaitable<void> AdvancedDIContainerImpl::createScope(std::string id) {
  co_await detail::switchToHomeThread(*state_);
  state_->scopedInstances[id].clear();
  forgetScopedCreations(*state_, id);
  printFormatted("🔧 Created scope: {}", id);
}

asio::awaitable<void> AdvancedDIContainerImpl::disposeScope(std::string id) {
  co_await detail::switchToHomeThread(*state_);
  state_->scopedInstances.erase(id);
  forgetScopedCreations(*state_, id);
  printFormatted("🗑️ Disposed scope: {}", id);
}

asio::awaitable<void> AdvancedDIContainerImpl::setCurrentScope(std::string id) {
  co_await detail::switchToHomeThread(*state_);
  state_->scopeId = std::move(id);
}

std::string AdvancedDIContainerImpl::getCurrentScope() const {
  state_->requireHomeThread("getCurrentScope");
  return state_->scopeId;
}

asio::awaitable<void> AdvancedDIContainerImpl::cleanup() {
  co_await detail::switchToHomeThread(*state_);
  printLine("🧹 Cleaning up container...");
  auto& s = *state_;
  for (Slot& slot : s.slots) {
    slot.singleton = {};
    slot.lazy = {};
    slot.latestResolutionTime.reset();
    slot.resolutionCount = 0;
    slot.cacheHits = 0;
    slot.lastResolved.reset();
  }
  s.scopedInstances.clear();
  // Creations in progress finish for the resolutions awaiting them, but keep nothing; the next
  // resolution starts a new one.
  s.creations.clear();
  printLine("✅ Container cleanup completed");
}

void AdvancedDIContainerImpl::debugPrintMetadata() const {
  state_->requireHomeThread("debugPrintMetadata");
  printLine("🔍 DEBUG: Current container metadata:");
  for (const Slot* slot : state_->registryOrder) {
    printFormatted("  - {}: scope={}, lifetime={}", slot->name, toString(slot->metadata->scope),
                   toString(slot->metadata->lifetime));
  }
}

void AdvancedDIContainerImpl::debugPrintFactories() const {
  state_->requireHomeThread("debugPrintFactories");
  printLine("🔍 DEBUG: Current container factories:");
  for (const Slot* slot : state_->factoryOrder) {
    printFormatted("  - {}: {}", slot->name,
                   slot->factory.isAsync() ? "async factory" : "sync factory");
  }
}

asio::awaitable<PerformanceMetrics> AdvancedDIContainerImpl::getPerformanceMetrics() {
  co_await detail::switchToHomeThread(*state_);
  const auto& s = *state_;
  std::int64_t totalResolutions = 0;
  std::int64_t totalHits = 0;
  std::int64_t timed = 0;
  double sum = 0;
  double maxTime = 0;
  double minTime = 0;
  std::int64_t cachedEntries = 0;
  for (const Slot& slot : s.slots) {
    totalResolutions = detail::checkedAdd(totalResolutions, slot.resolutionCount);
    totalHits = detail::checkedAdd(totalHits, slot.cacheHits);
    if (slot.latestResolutionTime) {
      const double t = *slot.latestResolutionTime;
      maxTime = timed == 0 ? t : std::max(maxTime, t);
      minTime = timed == 0 ? t : std::min(minTime, t);
      sum += t;
      ++timed;
    }
    if (slot.singleton) cachedEntries = detail::checkedAdd(cachedEntries, 1);
    if (slot.lazy) cachedEntries = detail::checkedAdd(cachedEntries, 1);
  }
  for (const auto& [id, instances] : s.scopedInstances) {
    cachedEntries = detail::checkedAdd(cachedEntries, static_cast<std::int64_t>(instances.size()));
  }
  cachedEntries =
      detail::checkedAdd(cachedEntries, static_cast<std::int64_t>(s.registryOrder.size()));
  // A nominal estimate of the container's own footprint, not the process size.
  const auto memoryEstimate = static_cast<std::int64_t>(static_cast<double>(cachedEntries) * 0.001);
  const double cacheHitRatio =
      totalResolutions >= 1
          ? (static_cast<double>(totalHits) / static_cast<double>(totalResolutions) * 100) / 100
          : 0.0;
  co_return PerformanceMetrics{
      static_cast<std::int64_t>(s.registryOrder.size()),
      totalResolutions,
      timed == 0 ? 0.0 : sum / static_cast<double>(timed),
      maxTime,
      minTime,
      memoryEstimate,
      cacheHitRatio,
      static_cast<std::int64_t>(findCircularDependencies().size()),
      0,
      totalResolutions,
      std::chrono::system_clock::now(),
      PerformanceTrend::stable,
  };
}

std::uint64_t AdvancedDIContainerImpl::getMemoryUsage() const {
  state_->requireHomeThread("getMemoryUsage");
#ifdef __APPLE__
  mach_task_basic_info_data_t info{};
  mach_msg_type_number_t count = MACH_TASK_BASIC_INFO_COUNT;
  if (task_info(mach_task_self(), MACH_TASK_BASIC_INFO, reinterpret_cast<task_info_t>(&info),
                &count) != KERN_SUCCESS) {
    return 0;
  }
  return static_cast<std::uint64_t>(info.resident_size);
#else
  // /proc/self/statm: total and resident sizes in pages.
  std::FILE* file = std::fopen("/proc/self/statm", "r");
  if (file == nullptr) return 0;
  unsigned long long totalPages = 0;
  unsigned long long residentPages = 0;
  const int read = std::fscanf(file, "%llu %llu", &totalPages, &residentPages);
  std::fclose(file);
  const long pageSize = sysconf(_SC_PAGESIZE);
  if (read != 2 || pageSize <= 0) return 0;
  return static_cast<std::uint64_t>(residentPages) * static_cast<std::uint64_t>(pageSize);
#endif
}

}  // namespace tavreldi
