#include <gtest/gtest.h>

#include <cstdio>
#include <regex>
#include <thread>

#include "support/AsyncTest.hpp"
#include "support/RecordingProvider.hpp"
#include "support/SampleServices.hpp"
#include "tavreldi/core/LineWriter.hpp"

namespace tavreldi {
namespace {

class LineSinksTest : public testing::AsyncTest {
 protected:
  void TearDown() override { setLineSink(nullptr); }

  // A concatenated line (registration) and a formatted one (scope), printed on a new thread.
  void printOnAnotherThread() {
    std::thread([this] {
      auto container = makeContainer();
      container->registerSync<sample::Logger>(DependencyScope::singleton, makeNow<sample::Logger>);
      run(container->createScope("s"));
    }).join();
  }
  std::vector<std::string> lines;  // read once the printing threads are joined
  std::shared_ptr<LineSink> callback =
      LineSinks::callback([this](std::string_view line) { lines.emplace_back(line); });
};

TEST_F(LineSinksTest, TheDefaultSinkGetsEveryThreadsLinesUnlessTheThreadHasItsOwn) {
  setLineSink(callback);
  printOnAnotherThread();
  ASSERT_EQ(lines.size(), 2U);
  EXPECT_EQ(lines[1], "🔧 Created scope: s");
  {  // this thread's own sink comes first, on this thread only
    const LineRecorder own;
    writeLine("mine");
    std::thread([] { writeLine("theirs"); }).join();
    EXPECT_EQ(own.lines(), std::vector<std::string>{"mine"});
  }
  EXPECT_EQ(lines.back(), "theirs");
  const std::string text = lines[0] + "\n" + lines[1] + "\n";
  // A sink, and what it writes to standard output and to standard error.
  const std::tuple<std::shared_ptr<LineSink>, std::string, std::string> rows[] = {
      {LineSinks::standardOutput(), text, ""},
      {LineSinks::standardError(), "", text},
      {LineSinks::discard(), "", ""}};
  for (const auto& [sink, out, err] : rows) {
    setLineSink(sink);
    EXPECT_EQ(lineSink(), sink);
    ::testing::internal::CaptureStdout();
    ::testing::internal::CaptureStderr();
    printOnAnotherThread();
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), err);
    EXPECT_EQ(::testing::internal::GetCapturedStdout(), out);
  }
}

// Lines bound for standard output may go out together, but never after output that user code (a
// factory, a telemetry provider) writes once they are due.
TEST_F(LineSinksTest, StandardOutputKeepsTheFrameworksLinesInOrderWithUserOutput) {
  struct PrintingProvider final : testing::RecordingProvider {
    void trackEvent(std::string_view name, const OptionalParameters& /*parameters*/) override {
      std::printf("provider: %.*s\n", static_cast<int>(name.size()), name.data());
    }
  };
  auto container = makeContainer();
  container->registerSync<sample::Logger>(DependencyScope::singleton, [](auto&) {
    std::printf("factory\n");
    return std::make_shared<sample::Logger>();
  });
  run(container->awaitPendingRegistrations());
  container->configureAnalytics(std::make_shared<PrintingProvider>());
  ::testing::internal::CaptureStdout();
  (void)run(container->resolve<sample::Logger>());
  (void)run(container->resolve<sample::Logger>());
  // The durations, the one figure that varies, written "(took T)".
  const std::string out =
      std::regex_replace(::testing::internal::GetCapturedStdout(),
                         std::regex(R"(\(took [0-9]+\.[0-9]{3}s\))"), "(took T)");
  EXPECT_EQ(out,
            "🔍 Resolving: Logger\n🔄 resolveSingleton called for: Logger\n"
            "   🔄 Creating new instance for: Logger\nfactory\n"
            "   💾 Caching instance for: Logger\n   ✅ Instance cached successfully for: Logger\n"
            "provider: dependency_resolved\n✅ Resolved: Logger (took T)\n"
            "🔍 Resolving: Logger\n🔄 resolveSingleton called for: Logger\n"
            "   ✅ Found cached instance for: Logger\n"
            "provider: dependency_resolved\n✅ Resolved: Logger (took T)\n");
}

}  // namespace
}  // namespace tavreldi
