#pragma once

/// \file
/// A builder that queues registrations and modules and replays them into one container.

#include "tavreldi/core/Config.hpp"
// (first: the Asio headers below read the settings it makes)

#include <asio/any_io_executor.hpp>
#include <asio/awaitable.hpp>
#include <memory>
#include <mutex>
#include <span>
#include <string_view>
#include <utility>
#include <vector>

#include "tavreldi/core/AdvancedDIContainer.hpp"
#include "tavreldi/core/AdvancedDIContainerImpl.hpp"
#include "tavreldi/core/DIContainerConfig.hpp"
#include "tavreldi/core/DIModule.hpp"
#include "tavreldi/core/DependencyScope.hpp"

namespace tavreldi {

/// Owns one new container and a queue of deferred registration steps (registrations and
/// modules), which `build()` carries out in the order they were queued.
///
/// Threading: queuing may be done from any thread (the queue is locked); `build()` runs its
/// steps on the container's thread, and concurrent `build()` calls run one after the other,
/// never interleaving their steps. Factories must be callable from any thread.
class ContainerBuilder {
 public:
  /// Makes the builder and its empty container with `config`, bound to `executor`. Must be
  /// called on the thread that runs `executor` (the container's home thread).
  ContainerBuilder(DIContainerConfig config, asio::any_io_executor executor);
  /// Makes a builder whose container is a new child of `parent` (`parent->createChild()`), so
  /// that its registrations override the parent's (see docs/child-containers.md). Must be
  /// called on the parent's thread.
  explicit ContainerBuilder(const std::shared_ptr<AdvancedDIContainerImpl>& parent);
  ~ContainerBuilder();
  ContainerBuilder(const ContainerBuilder&) = delete;
  ContainerBuilder& operator=(const ContainerBuilder&) = delete;

  /// Queues `registerAsync<T>(scope, lifetime, factory)`; `factory` is
  /// `(AdvancedDIContainer&) -> asio::awaitable<std::shared_ptr<T>>`.
  template <class T, class F>
  ContainerBuilder& registerAsync(DependencyScope scope, DependencyLifetime lifetime, F factory) {
    return enqueueRegistration(serviceKey<T>(), scope, lifetime,
                               detail::eraseAsyncFactory<T>(std::move(factory)));
  }
  /// Queues `registerSync<T>(scope, lifetime, factory)`; `factory` is
  /// `(AdvancedDIContainer&) -> std::shared_ptr<T>`.
  template <class T, class F>
  ContainerBuilder& registerSync(DependencyScope scope, DependencyLifetime lifetime, F factory) {
    return enqueueRegistration(serviceKey<T>(), scope, lifetime,
                               FactoryType::sync(detail::eraseSyncFactory<T>(std::move(factory))));
  }
  /// Queues `registerType<T, Options...>(scope, lifetime)`: a factory made from the
  /// constructor, with declared dependencies (see `AdvancedDIContainer::registerType`).
  template <class T, class... Options>
  ContainerBuilder& registerType(DependencyScope scope,
                                 DependencyLifetime lifetime = DependencyLifetime::application) {
    using Wiring = detail::AutoWiring<T, Options...>;
    return enqueueRegistration(serviceKey<T>(), scope, lifetime,
                               FactoryType::async(Wiring::template factory<AdvancedDIContainer>()),
                               Wiring::dependencyKeys());
  }
  /// Queues a registration of `T` (lifetime `application`) whose factory hands out `instance`
  /// itself, the same object every time.
  template <class T>
  ContainerBuilder& registerInstance(std::shared_ptr<T> instance, DependencyScope scope) {
    return registerAsync<T>(scope, DependencyLifetime::application,
                            [instance = std::move(instance)](AdvancedDIContainer&)
                                -> asio::awaitable<std::shared_ptr<T>> { co_return instance; });
  }
  /// Queues `registerAsync<T>(key, scope, lifetime, factory)`: `T` under `key` (see
  /// `serviceKey<T>(key)`; a malformed key throws here).
  template <class T, class F>
  ContainerBuilder& registerAsync(std::string_view key, DependencyScope scope,
                                  DependencyLifetime lifetime, F factory) {
    return enqueueRegistration(serviceKey<T>(key), scope, lifetime,
                               detail::eraseAsyncFactory<T>(std::move(factory)));
  }
  /// Queues `registerSync<T>(key, scope, lifetime, factory)`.
  template <class T, class F>
  ContainerBuilder& registerSync(std::string_view key, DependencyScope scope,
                                 DependencyLifetime lifetime, F factory) {
    return enqueueRegistration(serviceKey<T>(key), scope, lifetime,
                               FactoryType::sync(detail::eraseSyncFactory<T>(std::move(factory))));
  }
  /// Queues `registerType<T, Options...>(key, scope, lifetime)`.
  template <class T, class... Options>
  ContainerBuilder& registerType(std::string_view key, DependencyScope scope,
                                 DependencyLifetime lifetime = DependencyLifetime::application) {
    using Wiring = detail::AutoWiring<T, Options...>;
    return enqueueRegistration(serviceKey<T>(key), scope, lifetime,
                               FactoryType::async(Wiring::template factory<AdvancedDIContainer>()),
                               Wiring::dependencyKeys());
  }
  /// Queues a registration of `T` under `key` that hands out `instance` itself.
  template <class T>
  ContainerBuilder& registerInstance(std::string_view key, std::shared_ptr<T> instance,
                                     DependencyScope scope) {
    return registerAsync<T>(key, scope, DependencyLifetime::application,
                            [instance = std::move(instance)](AdvancedDIContainer&)
                                -> asio::awaitable<std::shared_ptr<T>> { co_return instance; });
  }
  /// Queues `registerAsync<T>` with scope `singleton` and lifetime `application`.
  template <class T, class F>
  ContainerBuilder& registerService(F factory) {
    return registerAsync<T>(DependencyScope::singleton, DependencyLifetime::application,
                            std::move(factory));
  }
  /// Queues `registerAsync<T>` with scope `scoped` and lifetime `application`.
  template <class T, class F>
  ContainerBuilder& registerRepository(F factory) {
    return registerAsync<T>(DependencyScope::scoped, DependencyLifetime::application,
                            std::move(factory));
  }
  /// Queues `registerAsync<T>` with scope `transient` and lifetime `application`.
  template <class T, class F>
  ContainerBuilder& registerUseCase(F factory) {
    return registerAsync<T>(DependencyScope::transient, DependencyLifetime::application,
                            std::move(factory));
  }
  /// Queues `registerAsync<T>` with scope `lazy` and lifetime `application`.
  template <class T, class F>
  ContainerBuilder& registerViewModel(F factory) {
    return registerAsync<T>(DependencyScope::lazy, DependencyLifetime::application,
                            std::move(factory));
  }
  /// Queues a call of `module->configure(container)`.
  ContainerBuilder& registerModule(std::shared_ptr<DIModule> module);

  /// Makes `build()` check the registrations once every step has run (as
  /// `validateRegistrations` does) and fail with `RegistrationValidationError`, listing every
  /// problem, when there is any; the registrations stay in the container either way. Off by
  /// default; `enabled` false turns it off again.
  ContainerBuilder& validateOnBuild(bool enabled = true);

  /// Carries out every queued step, in queue order, on the container's thread, and returns the
  /// container. Stops at the first module that throws and rethrows its exception; the steps
  /// run before it stay in effect. The queue is kept: building again replays every step into
  /// the same container and returns the same object. Throws `RegistrationValidationError` as
  /// `validateOnBuild` says.
  [[nodiscard]] asio::awaitable<std::shared_ptr<AdvancedDIContainer>> build();

  /// The container being filled (the same object for the builder's whole life).
  [[nodiscard]] const std::shared_ptr<AdvancedDIContainerImpl>& container() const noexcept {
    return container_;
  }

 private:
  // A deferred step: a registration (`key` set) or a module.
  struct Step {
    const ServiceKey* key = nullptr;
    DependencyScope scope = DependencyScope::singleton;
    DependencyLifetime lifetime = DependencyLifetime::application;
    FactoryType factory;
    std::shared_ptr<DIModule> module;
    std::span<const ServiceKey* const> declared;  // auto-wired: the declared dependencies
  };
  struct BuildGate;

  ContainerBuilder& enqueueRegistration(const ServiceKey& key, DependencyScope scope,
                                        DependencyLifetime lifetime, FactoryType factory,
                                        std::span<const ServiceKey* const> declared = {});
  ContainerBuilder& enqueue(Step step);
  [[nodiscard]] std::vector<Step> snapshot() const;
  [[nodiscard]] bool validatesOnBuild() const;
  [[nodiscard]] asio::awaitable<void> acquireBuildGate();
  void releaseBuildGate();

  std::shared_ptr<AdvancedDIContainerImpl> container_;
  mutable std::mutex queueMutex_;
  std::vector<Step> registrations_;
  bool validateOnBuild_ = false;  // guarded by queueMutex_
  std::unique_ptr<BuildGate> gate_;
};

}  // namespace tavreldi
