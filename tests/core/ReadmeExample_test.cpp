// Compiles and runs the README's usage example, and checks that the README and the getting
// started guide show it verbatim.

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>

#include "tavreldi/core/LineWriter.hpp"

std::string quickstart();

namespace {

std::string readFile(const std::string& path) {
  std::ifstream in(path);
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

TEST(ReadmeExample, RunsAndIsShownVerbatim) {
  tavreldi::LineRecorder quiet;
  EXPECT_EQ(quickstart(), "Greeter -> Logger");
  const auto example = readFile(TAVRELDI_SOURCE_DIR "/docs/examples/quickstart.cpp");
  ASSERT_FALSE(example.empty());
  for (const char* page : {"README.md", "docs/getting-started.md"}) {
    EXPECT_NE(readFile(std::string(TAVRELDI_SOURCE_DIR "/") + page).find(example),
              std::string::npos)
        << page << " must contain docs/examples/quickstart.cpp verbatim";
  }
}

}  // namespace
