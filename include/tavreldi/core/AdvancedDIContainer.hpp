#pragma once

/// \file
/// The container interface: registration, resolution, scopes, graph and preloading.

#include "tavreldi/core/Config.hpp"
// (first: the Asio headers below read the settings it makes)

#include <asio/any_io_executor.hpp>
#include <asio/awaitable.hpp>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

#include "tavreldi/core/AnyInstance.hpp"
#include "tavreldi/core/AutoWiring.hpp"
#include "tavreldi/core/DependencyMetadata.hpp"
#include "tavreldi/core/DependencyScope.hpp"
#include "tavreldi/core/KeyedService.hpp"
#include "tavreldi/core/PendingResolution.hpp"
#include "tavreldi/core/PooledFrame.hpp"
#include "tavreldi/core/TypeName.hpp"
#include "tavreldi/graph/DependencyGraph.hpp"
#include "tavreldi/graph/RegistrationReport.hpp"
#include "tavreldi/metrics/PerformanceMetrics.hpp"

namespace tavreldi {

/// A tag naming the type a batch factory is asked to make (see `registerBatch`).
template <class T>
using TypeTag = std::type_identity<T>;

namespace detail {

template <class Result, class T>
struct IsAwaitableOf : std::false_type {};
template <class U, class T>
struct IsAwaitableOf<asio::awaitable<U>, T> : std::is_convertible<U, std::shared_ptr<T>> {};

/// A callable `(AdvancedDIContainer&) -> asio::awaitable<std::shared_ptr<T>>`.
template <class F, class T>
concept AsyncFactoryOf = std::is_invocable_v<F&, AdvancedDIContainer&> &&
    IsAwaitableOf<std::invoke_result_t<F&, AdvancedDIContainer&>, T>::value;

/// A callable `(AdvancedDIContainer&) -> std::shared_ptr<T>` (called as const).
template <class F, class T>
concept SyncFactoryOf = std::is_invocable_v<const F&, AdvancedDIContainer&> &&
    std::is_convertible_v<std::invoke_result_t<const F&, AdvancedDIContainer&>, std::shared_ptr<T>>;

/// A callable `(AdvancedDIContainer&, TypeTag<T>) -> asio::awaitable<std::shared_ptr<T>>`.
template <class F, class T>
concept BatchFactoryOf = std::is_invocable_v<F&, AdvancedDIContainer&, TypeTag<T>> &&
    IsAwaitableOf<std::invoke_result_t<F&, AdvancedDIContainer&, TypeTag<T>>, T>::value;

// Adapts a user's asynchronous factory to the erased form. A named coroutine (not a lambda
// invoked in place), holding the factory by shared pointer so that it outlives the call.
template <class T, class F>
asio::awaitable<AnyInstance> runAsyncFactory(std::shared_ptr<F> factory,
                                             AdvancedDIContainer& container) {
  std::shared_ptr<T> instance = co_await (*factory)(container);
  co_return AnyInstance::of<T>(std::move(instance));
}

// Every registration taking an asynchronous factory comes through here, so a factory of the
// wrong shape fails with the one static_assert below; the erasure is skipped then, so that no
// further error follows it.
// A factory whose coroutine makes a `T` itself is kept typed as well, so that `resolve<T>` awaits
// it without the adapter.
template <class T, class F>
FactoryType eraseAsyncFactory(F factory) {
  if constexpr (SyncFactoryOf<F, T> && !AsyncFactoryOf<F, T>) {
    static_assert(AsyncFactoryOf<F, T>,
                  "TavrelDI: this factory returns std::shared_ptr<T>, but an asynchronous "
                  "registration expects (AdvancedDIContainer&) -> "
                  "asio::awaitable<std::shared_ptr<T>>; register it with registerSync, or make "
                  "it a coroutine");
    return {};
  } else if constexpr (!AsyncFactoryOf<F, T>) {
    static_assert(AsyncFactoryOf<F, T>,
                  "TavrelDI: an asynchronous factory must be callable as "
                  "(AdvancedDIContainer&) -> asio::awaitable<std::shared_ptr<T>>");
    return {};
  } else if constexpr (std::is_same_v<std::invoke_result_t<F&, AdvancedDIContainer&>,
                                      asio::awaitable<std::shared_ptr<T>>>) {
    auto typed = std::make_shared<const TypedAsyncFactory<T>>(std::move(factory));
    return FactoryType::async<T>(typed, [typed](AdvancedDIContainer& container) {
      return runAsyncFactory<T>(typed, container);
    });
  } else {
    auto shared = std::make_shared<F>(std::move(factory));
    return FactoryType::async([shared](AdvancedDIContainer& container) {
      return runAsyncFactory<T, F>(shared, container);
    });
  }
}

// As eraseAsyncFactory, for synchronous factories.
template <class T, class F>
SyncFactory eraseSyncFactory(F factory) {
  if constexpr (AsyncFactoryOf<F, T>) {
    static_assert(!AsyncFactoryOf<F, T>,
                  "TavrelDI: this factory returns an awaitable, but a synchronous registration "
                  "expects (AdvancedDIContainer&) -> std::shared_ptr<T>; register it with "
                  "registerAsync");
    return {};
  } else if constexpr (!SyncFactoryOf<F, T>) {
    static_assert(SyncFactoryOf<F, T>,
                  "TavrelDI: a synchronous factory must be callable as "
                  "(AdvancedDIContainer&) -> std::shared_ptr<T> (and as const)");
    return {};
  } else {
    return [factory = std::move(factory)](AdvancedDIContainer& container) {
      std::shared_ptr<T> instance = factory(container);
      return AnyInstance::of<T>(std::move(instance));
    };
  }
}

}  // namespace detail

/// The dependency-injection container.
///
/// Threading: a container lives on one thread (its "home" thread, where it was made) and is
/// driven by an executor running there. Asynchronous operations (coroutines) first move to that
/// executor; synchronous ones must be called on the home thread: a call from any other thread
/// writes a message to standard error and aborts the process.
///
/// Factories receive the container, so that they resolve their own dependencies through it;
/// an asynchronous factory is a callable `(AdvancedDIContainer&) ->
/// asio::awaitable<std::shared_ptr<T>>`, a synchronous one `(AdvancedDIContainer&) ->
/// std::shared_ptr<T>`. A factory of another shape (a synchronous one given to an asynchronous
/// registration, one taking `AdvancedDIContainerImpl&`, one returning another type) fails to
/// compile at the registration with one `static_assert` naming the shape expected. A factory
/// fails by throwing; its exception passes through resolution unchanged.
class AdvancedDIContainer {
 public:
  virtual ~AdvancedDIContainer() = default;

  // ---- Registration -------------------------------------------------------------------

  /// Registers `T` with an asynchronous factory, replacing any earlier registration of the same
  /// name. Prints "🔧 Registered <T> with scope: <scope> and dependencies: []".
  template <class T, class F>
  void registerAsync(DependencyScope scope, DependencyLifetime lifetime, F factory) {
    registerFactory(serviceKey<T>(), scope, lifetime,
                    detail::eraseAsyncFactory<T>(std::move(factory)));
  }
  /// As above with lifetime `application`.
  template <class T, class F>
  void registerAsync(DependencyScope scope, F factory) {
    registerAsync<T>(scope, DependencyLifetime::application, std::move(factory));
  }
  /// Registers `T` with a synchronous factory (see `registerAsync`).
  template <class T, class F>
  void registerSync(DependencyScope scope, DependencyLifetime lifetime, F factory) {
    registerFactory(serviceKey<T>(), scope, lifetime,
                    FactoryType::sync(detail::eraseSyncFactory<T>(std::move(factory))));
  }
  /// As above with lifetime `application`.
  template <class T, class F>
  void registerSync(DependencyScope scope, F factory) {
    registerSync<T>(scope, DependencyLifetime::application, std::move(factory));
  }
  /// Registers `T` with a factory made from its constructor (see AutoWiring.hpp), replacing any
  /// earlier registration of the same name, and declares its dependencies: the metadata's
  /// `dependencies` lists their names in parameter order, so the graph shows them before
  /// anything is resolved. Prints the same line as `registerAsync`.
  ///
  /// The factory resolves each dependency through the container it is given, one after the
  /// other in parameter order, exactly as a hand-written asynchronous factory doing
  /// `co_await c.resolve<D>()` for each would (same lines, observed dependencies, caching and
  /// cycle detection), then constructs `T`. Forms:
  ///
  /// - `registerType<T>(scope)`: dependencies declared in `T` or deduced from its constructor;
  /// - `registerType<T, Dependencies<A, B>>(scope)`: `T` made from `shared_ptr<A>, shared_ptr<B>`;
  /// - `registerType<Interface, Impl>(scope)`: `Impl`'s constructor under `Interface`'s name;
  ///   `resolve<Interface>()` returns the `Impl` instance;
  /// - `registerType<Interface, Impl, Dependencies<A, B>>(scope)`: both.
  ///
  /// A registration that cannot work fails to compile with one `static_assert` saying what to
  /// write. Home thread only.
  template <class T, class... Options>
  void registerType(DependencyScope scope,
                    DependencyLifetime lifetime = DependencyLifetime::application) {
    using Wiring = detail::AutoWiring<T, Options...>;
    registerFactory(serviceKey<T>(), scope, lifetime,
                    FactoryType::async(Wiring::template factory<AdvancedDIContainer>()));
    detail::declareDependencies(*this, serviceKey<T>(), Wiring::dependencyKeys());
  }
  /// Keyed registrations: the same as the forms above, for `T` under `key`, a service of its
  /// own named `T[key]` (see `serviceKey<T>(key)`) that lives beside `T` and `T` under other
  /// keys. Throw `DependencyResolutionError` (`validationError`) for a malformed key.
  template <class T, class F>
  void registerAsync(std::string_view key, DependencyScope scope, DependencyLifetime lifetime,
                     F factory) {
    registerFactory(serviceKey<T>(key), scope, lifetime,
                    detail::eraseAsyncFactory<T>(std::move(factory)));
  }
  /// As above with lifetime `application`.
  template <class T, class F>
  void registerAsync(std::string_view key, DependencyScope scope, F factory) {
    registerAsync<T>(key, scope, DependencyLifetime::application, std::move(factory));
  }
  /// `registerSync` of `T` under `key`.
  template <class T, class F>
  void registerSync(std::string_view key, DependencyScope scope, DependencyLifetime lifetime,
                    F factory) {
    registerFactory(serviceKey<T>(key), scope, lifetime,
                    FactoryType::sync(detail::eraseSyncFactory<T>(std::move(factory))));
  }
  /// As above with lifetime `application`.
  template <class T, class F>
  void registerSync(std::string_view key, DependencyScope scope, F factory) {
    registerSync<T>(key, scope, DependencyLifetime::application, std::move(factory));
  }
  /// `registerType` of `T` under `key`; its dependencies are resolved without keys.
  template <class T, class... Options>
  void registerType(std::string_view key, DependencyScope scope,
                    DependencyLifetime lifetime = DependencyLifetime::application) {
    using Wiring = detail::AutoWiring<T, Options...>;
    const ServiceKey& keyed = serviceKey<T>(key);
    registerFactory(keyed, scope, lifetime,
                    FactoryType::async(Wiring::template factory<AdvancedDIContainer>()));
    detail::declareDependencies(*this, keyed, Wiring::dependencyKeys());
  }
  /// Stores `metadata` for `T` (no factory; nothing printed).
  template <class T>
  void registerWithMetadata(DependencyMetadata metadata) {  // NOLINT(*-unnecessary-value-param)
    registerMetadata(serviceKey<T>(), std::move(metadata));
  }
  /// True when `T` has metadata (even without a factory).
  template <class T>
  [[nodiscard]] bool isRegistered() const {
    return getMetadata(serviceKey<T>().name).has_value();
  }
  /// The metadata of `T`, or nothing.
  template <class T>
  [[nodiscard]] std::optional<DependencyMetadata> getMetadata() const {
    return getMetadata(serviceKey<T>().name);
  }

  // ---- Resolution ---------------------------------------------------------------------

  /// Resolves `T`, running its factory when nothing suitable is cached. Throws
  /// `DependencyResolutionError`, `CircularDependencyException` or the factory's own error.
  template <class T>
  [[nodiscard]] asio::awaitable<std::shared_ptr<T>> resolve() {
    return resolveKeyed<T>(detail::PooledFrame{}, serviceKey<T>());
  }
  /// Hands out a cached instance of `T`; never runs a factory. Throws
  /// `DependencyResolutionError` or `CircularDependencyException`. Home thread only.
  template <class T>
  [[nodiscard]] std::shared_ptr<T> resolveSync() {
    return resolveInstanceSync(serviceKey<T>()).template take<T>();
  }

  /// Resolves `T` registered under `key` (see `resolve<T>()`). Also throws
  /// `DependencyResolutionError` (`validationError`) for a malformed key, at the call.
  template <class T>
  [[nodiscard]] asio::awaitable<std::shared_ptr<T>> resolve(std::string_view key) {
    return resolveKeyed<T>(detail::PooledFrame{}, serviceKey<T>(key));
  }
  /// Hands out a cached instance of `T` registered under `key` (see `resolveSync<T>()`).
  template <class T>
  [[nodiscard]] std::shared_ptr<T> resolveSync(std::string_view key) {
    return resolveInstanceSync(serviceKey<T>(key)).template take<T>();
  }

  // ---- Convenience registrations ------------------------------------------------------
  // Each starts a task on the container's executor and returns at once; the registration takes
  // effect when the task runs. `awaitPendingRegistrations()` waits for the tasks started so far.

  /// `registerAsync<T>(singleton, factory)` in a task.
  template <class T, class F>
  void registerService(F factory) {
    registerLater<T>(DependencyScope::singleton, std::move(factory));
  }
  /// `registerAsync<T>(scoped, factory)` in a task.
  template <class T, class F>
  void registerRepository(F factory) {
    registerLater<T>(DependencyScope::scoped, std::move(factory));
  }
  /// `registerAsync<T>(transient, factory)` in a task.
  template <class T, class F>
  void registerUseCase(F factory) {
    registerLater<T>(DependencyScope::transient, std::move(factory));
  }
  /// `registerAsync<T>(lazy, factory)` in a task.
  template <class T, class F>
  void registerViewModel(F factory) {
    registerLater<T>(DependencyScope::lazy, std::move(factory));
  }
  /// Registers, in a task, a factory that hands out `instance` itself (the same object).
  template <class T>
  void registerInstance(std::shared_ptr<T> instance, DependencyScope scope) {
    registerLater<T>(scope,
                     [instance = std::move(instance)](AdvancedDIContainer&)
                         -> asio::awaitable<std::shared_ptr<T>> { co_return instance; });
  }
  /// Registers, in a task, a factory that hands out `instance` under `key` (the key is checked
  /// at the call).
  template <class T>
  void registerInstance(std::string_view key, std::shared_ptr<T> instance, DependencyScope scope) {
    const ServiceKey* keyed = &serviceKey<T>(key);
    auto erased = detail::eraseAsyncFactory<T>(
        [instance = std::move(instance)](
            AdvancedDIContainer&) -> asio::awaitable<std::shared_ptr<T>> { co_return instance; });
    runOnContainerThread([keyed, scope, erased = std::move(erased)](AdvancedDIContainer& c) {
      c.registerFactory(*keyed, scope, DependencyLifetime::application, erased);
    });
  }
  /// Registers each of `Ts`, in order, in one task; each factory call receives the container
  /// and a `TypeTag` of the type being made: `factory(container, TypeTag<T>{})` returns
  /// `asio::awaitable<std::shared_ptr<T>>`.
  template <class... Ts, class F>
  void registerBatch(DependencyScope scope, F factory) {
    constexpr bool kShape = (detail::BatchFactoryOf<F, Ts> && ...);
    static_assert(kShape,
                  "TavrelDI: a batch factory must be callable for each type T as "
                  "(AdvancedDIContainer&, TypeTag<T>) -> asio::awaitable<std::shared_ptr<T>>");
    if constexpr (kShape && sizeof...(Ts) > 0) {
      auto shared = std::make_shared<F>(std::move(factory));
      runOnContainerThread([scope, shared](AdvancedDIContainer& container) {
        (container.registerAsync<Ts>(
             scope, [shared](AdvancedDIContainer& c) { return (*shared)(c, TypeTag<Ts>{}); }),
         ...);
      });
    }
  }
  /// When `condition` holds, `registerAsync<T>(scope, factory)` in a task; otherwise nothing.
  template <class T, class F>
  void registerIf(bool condition, DependencyScope scope, F factory) {
    if (condition) registerLater<T>(scope, std::move(factory));
  }
  /// Registers `production` in a task (in every ordinary build, debug and release alike);
  /// `development` is neither called nor kept. A framework built with the compile definition
  /// `TAVRELDI_DEVELOPMENT` registers `development` instead.
  template <class T, class D, class P>
  void registerForEnvironment(DependencyScope scope, D development, P production) {
    constexpr bool kShape = detail::AsyncFactoryOf<D, T> && detail::AsyncFactoryOf<P, T>;
    static_assert(kShape,
                  "TavrelDI: both factories must be callable as "
                  "(AdvancedDIContainer&) -> asio::awaitable<std::shared_ptr<T>>");
    if constexpr (kShape) {
      if (isDevelopmentBuild()) {
        registerLater<T>(scope, std::move(development));
      } else {
        registerLater<T>(scope, std::move(production));
      }
    }
  }
  /// Completes once every task started by the convenience registrations so far has run.
  [[nodiscard]] virtual asio::awaitable<void> awaitPendingRegistrations() = 0;

  // ---- Scopes, cleanup, diagnostics ---------------------------------------------------

  /// Makes (or empties) the scope `id`; prints "🔧 Created scope: <id>".
  [[nodiscard]] virtual asio::awaitable<void> createScope(std::string id) = 0;
  /// Drops the scope `id` and its instances; prints "🗑️ Disposed scope: <id>".
  [[nodiscard]] virtual asio::awaitable<void> disposeScope(std::string id) = 0;
  /// Makes `id` the scope that scoped instances live in.
  [[nodiscard]] virtual asio::awaitable<void> setCurrentScope(std::string id) = 0;
  /// The current scope identifier ("default" at first). Home thread only.
  [[nodiscard]] virtual std::string getCurrentScope() const = 0;
  /// Empties the caches and counters; keeps registrations, observed edges and the scope.
  [[nodiscard]] virtual asio::awaitable<void> cleanup() = 0;
  /// The metadata registered under `name`, or nothing. Home thread only.
  [[nodiscard]] virtual std::optional<DependencyMetadata> getMetadata(
      std::string_view name) const = 0;
  /// A copy of the observed dependencies. Home thread only.
  [[nodiscard]] virtual DependencyMap getDependencyMap() const = 0;
  /// The number of registered factories. Home thread only.
  [[nodiscard]] virtual std::int64_t getRegisteredServicesCount() const = 0;
  /// Prints one line per registration's metadata. Home thread only.
  virtual void debugPrintMetadata() const = 0;
  /// Prints one line per factory ("async factory" / "sync factory"). Home thread only.
  virtual void debugPrintFactories() const = 0;
  /// A snapshot of the counters and timings.
  [[nodiscard]] virtual asio::awaitable<PerformanceMetrics> getPerformanceMetrics() = 0;

  // ---- Graph --------------------------------------------------------------------------

  /// Checks that every registered name has its record; throws `DependencyResolutionError`
  /// (`validationError`) otherwise, prints "✅ All dependencies are properly registered".
  [[nodiscard]] virtual asio::awaitable<void> validateDependencies() = 0;
  /// Checks every registration against its declared and observed dependencies together, and
  /// returns what is wrong: dependencies that are not registered, scoped services held by
  /// services kept beyond one scope, and cycles (see `findRegistrationProblems`). Runs no
  /// factory, changes nothing and prints nothing; never throws but `std::bad_alloc`.
  [[nodiscard]] virtual asio::awaitable<RegistrationReport> validateRegistrations() = 0;
  /// The graph of registrations and observed dependencies, with its analysis.
  [[nodiscard]] virtual asio::awaitable<DependencyGraph> getDependencyGraph() = 0;
  /// The analysis of the current graph.
  [[nodiscard]] virtual asio::awaitable<GraphAnalysis> analyzeDependencyGraph() = 0;
  /// The analysis of the current graph (same figures as `analyzeDependencyGraph`).
  [[nodiscard]] virtual asio::awaitable<GraphAnalysis> analyzeDependencyGraphWithMetrics() = 0;

  // ---- Preloading ---------------------------------------------------------------------

  /// Resolves every non-transient registration by name; failures are printed, never thrown.
  [[nodiscard]] virtual asio::awaitable<void> preloadDependencies() = 0;
  /// Runs every factory of a non-transient registration and caches the instance by scope.
  [[nodiscard]] virtual asio::awaitable<void> preloadAllGeneric() = 0;
  /// Runs every factory, grouped by category, and drops the instances.
  [[nodiscard]] virtual asio::awaitable<void> preloadSmart() = 0;
  /// Runs every non-ViewModel factory, then every ViewModel factory, dropping the instances.
  [[nodiscard]] virtual asio::awaitable<void> preloadViewModelsOnly() = 0;

  // ---- Type-erased primitives ---------------------------------------------------------

  /// Registers `factory` under `key` (what `registerAsync`/`registerSync` call). Home thread.
  virtual void registerFactory(const ServiceKey& key, DependencyScope scope,
                               DependencyLifetime lifetime, FactoryType factory) = 0;
  /// Stores metadata under `key` (what `registerWithMetadata` calls). Home thread only.
  virtual void registerMetadata(const ServiceKey& key, DependencyMetadata metadata) = 0;
  /// Resolves `key` (what `resolve` calls).
  [[nodiscard]] virtual asio::awaitable<AnyInstance> resolveInstance(const ServiceKey& key) = 0;
  /// Resolves `key` at once when its instance is cached and the call is on the home thread:
  /// prints, records and returns exactly what `resolveInstance` would, without a suspension.
  /// Otherwise returns an empty instance having printed and changed nothing (then call
  /// `resolveInstance`). What `resolve` tries first.
  [[nodiscard]] virtual AnyInstance resolveCachedInstance(const ServiceKey& key) = 0;
  /// Starts resolving `key` for a caller that awaits the factory itself (what `resolve` calls
  /// first): returns the instance when the resolution needs no factory call or a synchronous one;
  /// otherwise returns empty, and either leaves `pending` holding the factory to await (see
  /// `detail::PendingResolution`) or, having printed and changed nothing, leaves it empty (then
  /// call `resolveInstance`). The default declines all but what `resolveCachedInstance` serves.
  [[nodiscard]] virtual AnyInstance startResolution(const ServiceKey& key,
                                                    detail::PendingResolution& pending);
  /// Resolves `key` from the caches (what `resolveSync` calls). Home thread only.
  [[nodiscard]] virtual AnyInstance resolveInstanceSync(const ServiceKey& key) = 0;
  /// Resolves a registration by its type name (used by preloading); no type check.
  [[nodiscard]] virtual asio::awaitable<AnyInstance> resolveByName(std::string name) = 0;
  /// Runs `task` later on the container's thread, unless the container is gone by then.
  virtual void runOnContainerThread(std::function<void(AdvancedDIContainer&)> task) = 0;
  /// The executor of the container's home thread.
  [[nodiscard]] virtual const asio::any_io_executor& executor() const noexcept = 0;

 private:
  // What both forms of `resolve` do: the cached instance at once when there is one; else the
  // factory awaited right here when the container can hand it over, else the whole resolution.
  // (Awaits into named locals only: see Config.hpp.) Its frame comes from the framework's cache.
  template <class T>
  asio::awaitable<std::shared_ptr<T>> resolveKeyed(detail::PooledFrame /*unused*/,
                                                   const ServiceKey& key) {
    detail::PendingResolution pending;
    AnyInstance instance = startResolution(key, pending);
    if (instance) co_return std::move(instance).template take<T>();
    if (!pending.awaitsFactory()) {
      AnyInstance made = co_await resolveInstance(key);
      co_return std::move(made).template take<T>();
    }
    std::exception_ptr error;
    try {
      if (const TypedAsyncFactory<T>* typed = pending.factory().template typedFactory<T>()) {
        std::shared_ptr<T> made = co_await (*typed)(pending.context());
        instance = AnyInstance::of<T>(std::move(made));
      } else {
        AnyInstance made = co_await (*pending.factory().asyncFactory())(pending.context());
        instance = std::move(made);
      }
    } catch (...) {
      error = std::current_exception();
    }
    if (pending.awayFromHome()) co_await pending.returnHome();
    AnyInstance finished = pending.finish(std::move(instance), error);
    co_return std::move(finished).template take<T>();
  }
  template <class T, class F>
  void registerLater(DependencyScope scope, F factory) {
    auto erased = detail::eraseAsyncFactory<T>(std::move(factory));
    runOnContainerThread([scope, erased = std::move(erased)](AdvancedDIContainer& container) {
      container.registerFactory(serviceKey<T>(), scope, DependencyLifetime::application, erased);
    });
  }
  [[nodiscard]] static bool isDevelopmentBuild() noexcept;
};

}  // namespace tavreldi
