// Expect: an asynchronous factory must be callable as (AdvancedDIContainer&) -> asio::awaitable
#include "tavreldi/core/ContainerBuilder.hpp"

struct Clock {};

void registerIt(tavreldi::ContainerBuilder& builder) {
  builder.registerService<Clock>(
      [](tavreldi::AdvancedDIContainerImpl&) -> asio::awaitable<std::shared_ptr<Clock>> {
        co_return std::make_shared<Clock>();
      });
}
