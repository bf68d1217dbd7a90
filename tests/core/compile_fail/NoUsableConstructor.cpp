// Expect: registerType<T>: cannot deduce the dependencies of T from its constructors
#include "tavreldi/core/ContainerBuilder.hpp"

struct NeedsPort {
  explicit NeedsPort(int /*unused*/) {}
};

void registerIt(tavreldi::ContainerBuilder& builder) {
  builder.registerType<NeedsPort>(tavreldi::DependencyScope::singleton);
}
