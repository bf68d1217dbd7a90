#pragma once

/// \file
/// Type-erased instances and factories as the container stores them.

#include "tavreldi/core/Config.hpp"
// (first: the Asio headers below read the settings it makes)

#include <asio/awaitable.hpp>
#include <functional>
#include <memory>
#include <string>
#include <typeinfo>
#include <utility>
#include <vector>

namespace tavreldi {

class AdvancedDIContainer;

/// A service instance with the type it was registered as.
struct AnyInstance {
  /// The instance, or null.
  std::shared_ptr<void> pointer;
  /// The type the instance was registered as, or null.
  const std::type_info* type = nullptr;

  /// True when an instance is held.
  [[nodiscard]] explicit operator bool() const noexcept { return pointer != nullptr; }
  /// True when the instance was registered as `T`.
  template <class T>
  [[nodiscard]] bool holds() const noexcept {
    return type != nullptr && *type == typeid(T);
  }
  /// The instance as `T`; the caller has checked `holds<T>()`.
  template <class T>
  [[nodiscard]] std::shared_ptr<T> as() const noexcept {
    return std::static_pointer_cast<T>(pointer);
  }
  /// The instance as `T`, moved out; the caller has checked `holds<T>()`.
  template <class T>
  [[nodiscard]] std::shared_ptr<T> take() && noexcept {
    return std::static_pointer_cast<T>(std::move(pointer));
  }
  /// Wraps `instance` as registered type `T`.
  template <class T>
  [[nodiscard]] static AnyInstance of(std::shared_ptr<T> instance) {
    return {std::static_pointer_cast<void>(std::move(instance)), &typeid(T)};
  }
};

/// A synchronous factory: makes an instance or throws.
using SyncFactory = std::function<AnyInstance(AdvancedDIContainer&)>;
/// An asynchronous factory: a coroutine that makes an instance or throws.
using AsyncFactory = std::function<asio::awaitable<AnyInstance>(AdvancedDIContainer&)>;
/// An asynchronous factory of `T` whose coroutine makes a `T` itself.
template <class T>
using TypedAsyncFactory = std::function<asio::awaitable<std::shared_ptr<T>>(AdvancedDIContainer&)>;

/// The factory of one registration: synchronous or asynchronous. Shared, so that a call in
/// progress keeps its factory alive even if the type is registered again meanwhile; a copy costs
/// one reference count.
class FactoryType {
 public:
  FactoryType() = default;
  /// Holds a synchronous factory.
  static FactoryType sync(SyncFactory factory) {
    FactoryType f;
    f.held_ = std::make_shared<const Held>(Held{std::move(factory), {}, {}, nullptr});
    return f;
  }
  /// Holds an asynchronous factory.
  static FactoryType async(AsyncFactory factory) {
    FactoryType f;
    f.held_ = std::make_shared<const Held>(Held{{}, std::move(factory), {}, nullptr});
    return f;
  }
  /// Holds an asynchronous factory of `T` in both forms: `typed` for `resolve<T>`, which awaits
  /// it directly, and `erased` (an adapter around `typed`) for every other path.
  template <class T>
  static FactoryType async(std::shared_ptr<const TypedAsyncFactory<T>> typed, AsyncFactory erased) {
    FactoryType f;
    f.held_ = std::make_shared<const Held>(
        Held{{}, std::move(erased), std::move(typed), &typeid(TypedAsyncFactory<T>)});
    return f;
  }
  /// True when the factory is asynchronous.
  [[nodiscard]] bool isAsync() const noexcept { return held_ && held_->async; }
  /// True when a factory is held.
  [[nodiscard]] explicit operator bool() const noexcept {
    return held_ && (held_->sync || held_->async);
  }
  /// The synchronous factory, or null.
  [[nodiscard]] const SyncFactory* syncFactory() const noexcept {
    return held_ && held_->sync ? &held_->sync : nullptr;
  }
  /// The asynchronous factory, or null.
  [[nodiscard]] const AsyncFactory* asyncFactory() const noexcept {
    return held_ && held_->async ? &held_->async : nullptr;
  }
  /// The asynchronous factory as a `TypedAsyncFactory<T>` when it was registered as one, or null.
  template <class T>
  [[nodiscard]] const TypedAsyncFactory<T>* typedFactory() const noexcept {
    if (!held_ || held_->typedAs == nullptr || *held_->typedAs != typeid(TypedAsyncFactory<T>)) {
      return nullptr;
    }
    return static_cast<const TypedAsyncFactory<T>*>(held_->typed.get());
  }

 private:
  struct Held {
    SyncFactory sync;
    AsyncFactory async;
    std::shared_ptr<const void> typed;  // a TypedAsyncFactory of the type `typedAs` names
    const std::type_info* typedAs;
  };
  std::shared_ptr<const Held> held_;
};

/// The observed dependencies, in insertion order: each type name (in the order first seen)
/// with the names it was seen to resolve (in the order first seen).
class DependencyMap {
 public:
  /// A type name and the names it was seen to resolve.
  using Entry = std::pair<std::string, std::vector<std::string>>;
  DependencyMap() = default;
  /// Takes the entries as they are, in their order.
  explicit DependencyMap(std::vector<Entry> entries) : entries_(std::move(entries)) {}
  /// The dependencies of `name`, or null when it has no entry.
  [[nodiscard]] const std::vector<std::string>* find(std::string_view name) const noexcept {
    for (const auto& [key, value] : entries_) {
      if (key == name) return &value;
    }
    return nullptr;
  }
  /// The number of type names with an entry.
  [[nodiscard]] std::size_t size() const noexcept { return entries_.size(); }
  /// True when nothing was observed.
  [[nodiscard]] bool empty() const noexcept { return entries_.empty(); }
  /// The first entry, in insertion order.
  [[nodiscard]] auto begin() const noexcept { return entries_.begin(); }
  /// Past the last entry.
  [[nodiscard]] auto end() const noexcept { return entries_.end(); }
  /// Equal when the entries and their order are equal.
  friend bool operator==(const DependencyMap&, const DependencyMap&) = default;

 private:
  std::vector<Entry> entries_;
};

}  // namespace tavreldi
