#include "tavreldi/core/LineWriter.hpp"

#include <cstdio>

#include "core/detail/Output.hpp"

namespace tavreldi {
namespace {
thread_local LineSink* currentSink = nullptr;
}  // namespace

void writeLine(std::string_view line) {
  auto& buffer = detail::lineBuffer();
  buffer.clear();
  buffer.append(line);
  buffer.push_back('\n');
  detail::emitLine(std::string_view(buffer.data(), buffer.size()));
}

ScopedLineSink::ScopedLineSink(LineSink& sink) noexcept : previous_(currentSink) {
  currentSink = &sink;
}

ScopedLineSink::~ScopedLineSink() { currentSink = previous_; }

namespace detail {
fmt::memory_buffer& lineBuffer() noexcept {
  thread_local fmt::memory_buffer buffer;
  return buffer;
}

void emitLine(std::string_view textWithLineFeed) {
  if (currentSink != nullptr) {
    currentSink->writeLine(textWithLineFeed.substr(0, textWithLineFeed.size() - 1));
    return;
  }
  // One write per line: the text and its line feed go out together, so lines printed from
  // several threads never mix within a line.
  std::fwrite(textWithLineFeed.data(), 1, textWithLineFeed.size(), stdout);
}
}  // namespace detail

}  // namespace tavreldi
