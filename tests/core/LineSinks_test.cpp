#include <gtest/gtest.h>

#include <mutex>
#include <thread>

#include "support/AsyncTest.hpp"
#include "support/SampleServices.hpp"
#include "tavreldi/core/LineWriter.hpp"

namespace tavreldi {
namespace {

using Lines = std::vector<std::string>;

class LineSinksTest : public testing::AsyncTest {
 protected:
  void TearDown() override { setLineSink(nullptr); }

  // A concatenated line (registration) and a formatted one (scope), printed on a new thread.
  void printOnAnotherThread() {
    std::thread([this] {
      auto container = makeContainer();
      container->registerSync<sample::Logger>(
          DependencyScope::singleton, [](auto&) { return std::make_shared<sample::Logger>(); });
      run(container->createScope("s"));
    }).join();
  }
};

TEST_F(LineSinksTest, TheDefaultSinkGetsEveryThreadsLinesUnchanged) {
  Lines lines;
  setLineSink(LineSinks::callback([&](std::string_view line) { lines.emplace_back(line); }));
  printOnAnotherThread();
  ASSERT_EQ(lines.size(), 2U);
  EXPECT_EQ(lines[1], "🔧 Created scope: s");
  const std::string text = lines[0] + "\n" + lines[1] + "\n";

  struct Row {
    std::shared_ptr<LineSink> sink;
    std::string out, err;
  };
  const Row rows[] = {{LineSinks::standardOutput(), text, ""},
                      {LineSinks::standardError(), "", text},
                      {LineSinks::discard(), "", ""}};
  for (const auto& row : rows) {
    setLineSink(row.sink);
    EXPECT_EQ(lineSink(), row.sink);
    ::testing::internal::CaptureStdout();
    ::testing::internal::CaptureStderr();
    printOnAnotherThread();
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), row.err);
    EXPECT_EQ(::testing::internal::GetCapturedStdout(), row.out);
  }
}

TEST_F(LineSinksTest, AThreadsOwnSinkTakesPrecedenceOnThatThreadOnly) {
  Lines viaDefault;
  std::mutex mutex;
  setLineSink(LineSinks::callback([&](std::string_view line) {
    const std::lock_guard lock(mutex);
    viaDefault.emplace_back(line);
  }));
  {
    const LineRecorder own;
    writeLine("mine");
    std::thread([] { writeLine("theirs"); }).join();
    EXPECT_EQ(own.lines(), Lines{"mine"});
  }
  writeLine("after");
  EXPECT_EQ(viaDefault, (Lines{"theirs", "after"}));
}

}  // namespace
}  // namespace tavreldi
