// Compiles and runs the README's examples, and checks that the README (and, for the quick start,
// the getting started guide) shows them verbatim.

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <utility>

#include "tavreldi/core/LineWriter.hpp"

std::string quickstart();
std::pair<long, long> invoiceTimes();

namespace {

std::string readFile(const std::string& path) {
  std::ifstream in(path);
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

TEST(ReadmeExample, RunsAndIsShownVerbatim) {
  tavreldi::LineRecorder quiet;
  EXPECT_EQ(quickstart(), "Greeter -> Logger");
  // The override example: the app keeps its real clock, the test's child sees the fake.
  EXPECT_EQ(invoiceTimes(), std::pair(1L, 42L));
  const std::pair<const char*, const char*> shown[] = {
      {"README.md", "quickstart.cpp"},
      {"docs/getting-started.md", "quickstart.cpp"},
      {"README.md", "overrides.cpp"}};
  for (const auto& [page, file] : shown) {
    const auto example = readFile(std::string(TAVRELDI_SOURCE_DIR "/docs/examples/") + file);
    ASSERT_FALSE(example.empty()) << file;
    EXPECT_NE(readFile(std::string(TAVRELDI_SOURCE_DIR "/") + page).find(example),
              std::string::npos)
        << page << " must contain docs/examples/" << file << " verbatim";
  }
}

}  // namespace
