// Expect: this factory returns std::shared_ptr<T>, but an asynchronous registration expects
#include "tavreldi/core/AdvancedDIContainer.hpp"

struct Clock {};

void registerIt(tavreldi::AdvancedDIContainer& c) {
  c.registerAsync<Clock>(tavreldi::DependencyScope::singleton,
                         [](tavreldi::AdvancedDIContainer&) { return std::make_shared<Clock>(); });
}
