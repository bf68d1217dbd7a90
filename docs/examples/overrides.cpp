#include <asio.hpp>
#include <memory>
#include <tavreldi/tavreldi.hpp>
#include <utility>

struct Clock {
  virtual ~Clock() = default;
  [[nodiscard]] virtual long now() const { return 1; }  // stands for the system clock
};
struct FakeClock final : Clock {
  [[nodiscard]] long now() const override { return 42; }
};
struct Invoice {
  explicit Invoice(const std::shared_ptr<Clock>& clock) : issuedAt(clock->now()) {}
  long issuedAt;
};

// The app's wiring as it is, and a test's child container in which the clock is a fake.
std::pair<long, long> invoiceTimes() {
  asio::io_context io;
  auto app = std::make_shared<tavreldi::AdvancedDIContainerImpl>(
      tavreldi::DIContainerConfig::strict(), io.get_executor());
  app->registerType<Clock>(tavreldi::DependencyScope::singleton);
  app->registerType<Invoice>(tavreldi::DependencyScope::transient);
  auto real = asio::co_spawn(io, app->resolve<Invoice>(), asio::use_future);
  io.run();  // the app has its real clock cached now

  // Everything the app registers, with one registration replaced; the replacement counts from
  // the next resolution on, cached original or not, and the app itself is left as it was.
  auto test = app->createChild();
  test->registerType<Clock, FakeClock>(tavreldi::DependencyScope::singleton);
  auto faked = asio::co_spawn(io, test->resolve<Invoice>(), asio::use_future);
  io.restart();
  io.run();
  return {real.get()->issuedAt, faked.get()->issuedAt};  // {1, 42}
}
