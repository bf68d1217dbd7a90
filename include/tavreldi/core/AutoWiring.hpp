#pragma once

/// \file
/// Auto-wiring: the factory and the declared dependencies of a type registered with
/// `registerType`, made from the type's constructor.
///
/// A dependency is a constructor parameter of type `std::shared_ptr<D>` (by value or by
/// reference to const; `std::shared_ptr<const D>` counts as `D`). The list of a type's
/// dependencies comes from the first of these that it has:
///
/// 1. the registration: `registerType<T, tavreldi::Dependencies<A, B>>(scope)`;
/// 2. the type: a member `using Dependencies = tavreldi::Dependencies<A, B>;`;
/// 3. deduction from the constructors, at compile time: a class must be constructible from
///    `std::shared_ptr` arguments at exactly one number of arguments, from 0 to
///    `kMaxDeducedDependencies`, and then each parameter's `D` is read off that constructor; an
///    aggregate is made from its leading `std::shared_ptr` members (those before the first
///    member of any other type). Several constructors that take `std::shared_ptr` arguments, or
///    a constructor template, defeat deduction: the type then names its dependencies as above.
///
/// A type with no list and no deducible constructor, an abstract type registered without an
/// implementation, and an implementation that does not derive from its interface each fail to
/// compile with one `static_assert` that says what to write.

#include "tavreldi/core/Config.hpp"
// (first: the Asio headers below read the settings it makes)

#include <array>
#include <asio/awaitable.hpp>
#include <cstddef>
#include <exception>
#include <memory>
#include <span>
#include <type_traits>
#include <utility>

#include "tavreldi/core/AnyInstance.hpp"
#include "tavreldi/core/Dependencies.hpp"
#include "tavreldi/core/PendingResolution.hpp"
#include "tavreldi/core/PooledFrame.hpp"
#include "tavreldi/core/TypeName.hpp"

namespace tavreldi {

class AdvancedDIContainer;

/// The most constructor parameters that deduction tries; longer lists are named explicitly
/// with `Dependencies`, which has no limit.
inline constexpr std::size_t kMaxDeducedDependencies = 12;

namespace detail {

template <class T>
inline constexpr bool isDependencies = false;
template <class... Ds>
inline constexpr bool isDependencies<Dependencies<Ds...>> = true;

// ---- Counting: how many std::shared_ptr arguments the type is made from ---------------------

// Stands for one constructor argument: converts to any std::shared_ptr (and to nothing else,
// so that copy and move constructors never match).
struct AnyService {
  template <class D>
  operator std::shared_ptr<D>() const;  // NOLINT(google-explicit-constructor)
};
template <std::size_t>
using AnyServiceAt = AnyService;

// Aggregates are probed with braces (parenthesised aggregate initialisation is not everywhere),
// classes as `std::make_shared` constructs them.
template <class T, std::size_t... Is>
constexpr bool makeableFromServices(std::index_sequence<Is...> /*unused*/) {
  if constexpr (std::is_aggregate_v<T>) {
    return requires { T{AnyServiceAt<Is>{}...}; };
  } else {
    return std::is_constructible_v<T, AnyServiceAt<Is>...>;
  }
}

inline constexpr std::size_t kNoCount = static_cast<std::size_t>(-1);

// For a class, the one count of std::shared_ptr arguments it is made from (kNoCount when there
// is none, or more than one); for an aggregate, the greatest.
template <class T, std::size_t... Ns>
constexpr std::size_t serviceArgumentCount(std::index_sequence<Ns...> /*unused*/) {
  constexpr std::array<bool, sizeof...(Ns)> makeable{
      makeableFromServices<T>(std::make_index_sequence<Ns>{})...};
  std::size_t counts = 0;
  std::size_t found = kNoCount;
  for (std::size_t n = 0; n < makeable.size(); ++n) {
    if (makeable[n]) {
      ++counts;
      found = n;
    }
  }
  return std::is_aggregate_v<T> || counts == 1 ? found : kNoCount;
}

// ---- Deduction: which D each argument converts to --------------------------------------------
//
// The argument at position I of T's N-argument construction is a RecordingService. When
// overload resolution converts it to std::shared_ptr<D>, the conversion's default template
// argument instantiates RecordParameter<T, N, I, D>, whose friend defines
// `recordedParameter(ParameterSlot<T, N, I>)` to return D; the deduction then reads D back
// from that function's return type. Only the one count found above is probed this way.

template <class T, std::size_t N, std::size_t I>
struct ParameterSlot {
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-template-friend"
#endif
  friend constexpr auto recordedParameter(ParameterSlot /*unused*/);
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic pop
#endif
};

template <class T, std::size_t N, std::size_t I, class D>
struct RecordParameter {
  friend constexpr auto recordedParameter(ParameterSlot<T, N, I> /*unused*/) {
    return std::type_identity<D>{};
  }
};

template <class T, std::size_t N, std::size_t I>
struct RecordingService {
  template <class D, std::size_t = sizeof(RecordParameter<T, N, I, std::remove_cv_t<D>>)>
  operator std::shared_ptr<D>() const;  // NOLINT(google-explicit-constructor)
};

/// What deduction yields for a type it cannot read.
struct NotDeducible {};

// Only ever named in decltype: the body is instantiated for its return type, never run.
template <class T, std::size_t N, std::size_t... Is>
auto recordParameters(std::index_sequence<Is...> /*unused*/) {
  if constexpr (std::is_aggregate_v<T>) {
    using Probe = decltype(T{RecordingService<T, N, Is>{}...});
    (void)sizeof(Probe);
  } else {
    using Probe = decltype(T(RecordingService<T, N, Is>{}...));
    (void)sizeof(Probe);
  }
  // A constructor template takes the arguments without converting them: nothing recorded.
  if constexpr ((requires { recordedParameter(ParameterSlot<T, N, Is>{}); } && ...)) {
    return Dependencies<typename decltype(recordedParameter(ParameterSlot<T, N, Is>{}))::type...>{};
  } else {
    return NotDeducible{};
  }
}

template <class T, std::size_t N = serviceArgumentCount<T>(
                       std::make_index_sequence<kMaxDeducedDependencies + 1>{})>
struct DeducedDependencies {
  using type = decltype(recordParameters<T, N>(std::make_index_sequence<N>{}));
};
template <class T>
struct DeducedDependencies<T, kNoCount> {
  using type = NotDeducible;
};

// The list the type declares as its member `Dependencies`, or void.
template <class T>
struct DeclaredDependencies {
  using type = void;
};
template <class T>
requires isDependencies<typename T::Dependencies>
struct DeclaredDependencies<T> {
  using type = typename T::Dependencies;
};

// Whether T is made from one std::shared_ptr per listed dependency, in order.
template <class T, class... Ds>
constexpr bool makeableFrom(Dependencies<Ds...> /*unused*/) {
  if constexpr (std::is_aggregate_v<T>) {
    return requires { T{std::declval<std::shared_ptr<Ds>>()...}; };
  } else {
    return std::is_constructible_v<T, std::shared_ptr<Ds>...>;
  }
}
template <class T>
constexpr bool makeableFrom(NotDeducible /*unused*/) {
  return false;
}

// ---- The registration's options: [Impl] [Dependencies<...>] ----------------------------------

template <class Service, class... Options>
struct WiringOptions {
  static constexpr bool valid = false;
  using Impl = Service;
  using Listed = void;
};
template <class Service>
struct WiringOptions<Service> {
  static constexpr bool valid = true;
  using Impl = Service;
  using Listed = void;
};
template <class Service, class Option>
struct WiringOptions<Service, Option> {
  static constexpr bool valid = true;
  using Impl = std::conditional_t<isDependencies<Option>, Service, Option>;
  using Listed = std::conditional_t<isDependencies<Option>, Option, void>;
};
template <class Service, class Implementation, class List>
struct WiringOptions<Service, Implementation, List> {
  static constexpr bool valid = !isDependencies<Implementation> && isDependencies<List>;
  using Impl = std::conditional_t<valid, Implementation, Service>;
  using Listed = std::conditional_t<valid, List, void>;
};

// ---- The factory -------------------------------------------------------------------------------

template <class Service, class Impl, class List>
struct AutoWiredFactory;

template <class Service, class Impl, class... Ds>
struct AutoWiredFactory<Service, Impl, Dependencies<Ds...>> {
  /// The keys of the dependencies, in parameter order (process lifetime).
  static std::span<const ServiceKey* const> dependencyKeys() {
    static const std::array<const ServiceKey*, sizeof...(Ds)> keys{&serviceKey<Ds>()...};
    return keys;
  }

  /// Resolves every dependency through `container`, one after the other in parameter order,
  /// each into a named local (what `co_await container.resolve<D>()` does), then makes the
  /// instance. A named coroutine, templated on the container only so that this header need not
  /// include it. Its frame comes from the framework's cache.
  template <class Container>
  static asio::awaitable<AnyInstance> make(PooledFrame /*unused*/, Container& container) {
    std::array<AnyInstance, sizeof...(Ds)> resolved;
    std::size_t next = 0;
    for (const ServiceKey* key : dependencyKeys()) {
      PendingResolution pending;
      AnyInstance dependency = container.startResolution(*key, pending);
      if (pending.awaitsFactory()) {
        std::exception_ptr error;
        try {
          AnyInstance made = co_await (*pending.factory().asyncFactory())(pending.context());
          dependency = std::move(made);
        } catch (...) {
          error = std::current_exception();
        }
        if (pending.awayFromHome()) co_await pending.returnHome();
        dependency = pending.finish(std::move(dependency), error);
      } else if (!dependency) {
        AnyInstance made = co_await container.resolveInstance(*key);
        dependency = std::move(made);
      }
      resolved[next++] = std::move(dependency);
    }
    std::shared_ptr<Service> instance = construct(resolved, std::index_sequence_for<Ds...>{});
    co_return AnyInstance::of<Service>(std::move(instance));
  }

 private:
  template <std::size_t... Is>
  static std::shared_ptr<Impl> construct(std::array<AnyInstance, sizeof...(Ds)>& resolved,
                                         std::index_sequence<Is...> /*unused*/) {
#if !defined(__cpp_aggregate_paren_init)
    if constexpr (std::is_aggregate_v<Impl>) {
      return std::make_shared<Impl>(Impl{resolved[Is].template as<Ds>()...});
    } else {
      return std::make_shared<Impl>(resolved[Is].template as<Ds>()...);
    }
#else
    return std::make_shared<Impl>(resolved[Is].template as<Ds>()...);
#endif
  }
};

/// Everything `registerType<Service, Options...>` needs: checks the options (one
/// `static_assert` fires for a wrong registration), picks the dependency list and makes the
/// factory.
template <class Service, class... Options>
struct AutoWiring {
 private:
  using Parsed = WiringOptions<Service, Options...>;
  using Impl = typename Parsed::Impl;
  using Declared =
      std::conditional_t<std::is_void_v<typename Parsed::Listed>, DeclaredDependencies<Impl>,
                         std::type_identity<typename Parsed::Listed>>;
  static constexpr bool kListed = !std::is_void_v<typename Declared::type>;
  using List = typename std::conditional_t<kListed, Declared, DeducedDependencies<Impl>>::type;

  static constexpr bool kShape = Parsed::valid;
  static constexpr bool kDerives = kShape && std::is_convertible_v<Impl*, Service*>;
  static constexpr bool kConcrete = kDerives && !std::is_abstract_v<Impl>;
  static constexpr bool kKnown = kConcrete && !std::is_same_v<List, NotDeducible>;
  static constexpr bool kMakeable = kKnown && (!kListed || makeableFrom<Impl>(List{}));

  // Named only; used only when the registration is right.
  using Factory = AutoWiredFactory<Service, Impl, List>;

 public:
  /// The dependencies' keys, in parameter order.
  static std::span<const ServiceKey* const> dependencyKeys() {
    if constexpr (kMakeable) {
      return Factory::dependencyKeys();
    } else {
      return {};
    }
  }
  /// The factory, for a container of type `Container`. Fails to compile, with one
  /// `static_assert`, for a registration that cannot work.
  template <class Container>
  static AsyncFactory factory() {
    // In the function, not the class: a failed assertion then leaves the class usable, so it is
    // the only error.
    static_assert(kShape,
                  "registerType<T, Options...>: the options are an implementation type, "
                  "tavreldi::Dependencies<...>, or both in that order");
    static_assert(!kShape || kDerives,
                  "registerType<Interface, Impl>: Impl must derive publicly from Interface");
    static_assert(!kDerives || kConcrete,
                  "registerType<T>: T is abstract; bind an implementation with "
                  "registerType<T, Impl>(scope)");
    static_assert(!kConcrete || kKnown,
                  "registerType<T>: cannot deduce the dependencies of T from its constructors "
                  "(it needs exactly one constructor whose parameters are all std::shared_ptr, or "
                  "to be an aggregate); name them in T with "
                  "`using Dependencies = tavreldi::Dependencies<A, B>;` or at the call with "
                  "registerType<T, tavreldi::Dependencies<A, B>>(scope)");
    static_assert(!kKnown || kMakeable,
                  "registerType<T, tavreldi::Dependencies<...>>: T cannot be made from one "
                  "std::shared_ptr per listed dependency, in that order");
    if constexpr (kMakeable) {
      return [](Container& container) {
        return Factory::template make<Container>(PooledFrame{}, container);
      };
    } else {
      return {};
    }
  }
};

/// Sets the declared dependencies of the registration under `key` to the names of
/// `dependencies`, in order (its metadata's `dependencies`); prints nothing. Called right after
/// the registration itself, on the container's home thread.
void declareDependencies(AdvancedDIContainer& container, const ServiceKey& key,
                         std::span<const ServiceKey* const> dependencies);

}  // namespace detail
}  // namespace tavreldi
