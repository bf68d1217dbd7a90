#include <gtest/gtest.h>

#include <thread>

#include "support/AsyncTest.hpp"
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
      container->registerSync<sample::Logger>(
          DependencyScope::singleton, [](auto&) { return std::make_shared<sample::Logger>(); });
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
  const struct {
    std::shared_ptr<LineSink> sink;
    std::string out, err;
  } rows[] = {{LineSinks::standardOutput(), text, ""},
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

}  // namespace
}  // namespace tavreldi
