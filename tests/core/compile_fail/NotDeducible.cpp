// Expect: registerType<T>: cannot deduce the dependencies of T from its constructors
#include "tavreldi/core/AdvancedDIContainer.hpp"

struct Config {};
struct TwoWays {  // two constructors that take std::shared_ptr arguments
  explicit TwoWays(std::shared_ptr<Config> /*unused*/) {}
  TwoWays(std::shared_ptr<Config> /*unused*/, std::shared_ptr<Config> /*unused*/) {}
};

void registerIt(tavreldi::AdvancedDIContainer& c) {
  c.registerType<TwoWays>(tavreldi::DependencyScope::singleton);
}
