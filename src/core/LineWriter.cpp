#include "tavreldi/core/LineWriter.hpp"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "core/detail/Output.hpp"

namespace tavreldi {
namespace {

// Per-thread state of the writer. Initial-exec TLS: the library is linked by the application
// rather than loaded late, and this keeps the hot print path free of __tls_get_addr calls.
struct ThreadLines {
  LineSink* sink = nullptr;
  std::string buffer;  // lines built with {fmt}
  std::string raw;     // lines built by concatenation; only ever grows
};
thread_local ThreadLines threadLines __attribute__((tls_model("initial-exec")));

}  // namespace

void writeLine(std::string_view line) { detail::printLine(line); }

ScopedLineSink::ScopedLineSink(LineSink& sink) noexcept : previous_(threadLines.sink) {
  threadLines.sink = &sink;
}

ScopedLineSink::~ScopedLineSink() { threadLines.sink = previous_; }

namespace detail {

std::string& beginLine() noexcept {
  threadLines.buffer.clear();
  return threadLines.buffer;
}

char* reserveLine(std::size_t size) {
  auto& raw = threadLines.raw;
  if (raw.size() < size) raw.resize(std::max<std::size_t>(size, 256));
  return raw.data();
}

void endRawLine(std::size_t size) noexcept {
  auto& state = threadLines;
  if (state.sink != nullptr) {
    state.sink->writeLine(std::string_view(state.raw.data(), size - 1));
    return;
  }
  std::fwrite(state.raw.data(), 1, size, stdout);
}

void endLine() noexcept {
  auto& state = threadLines;
  if (state.sink != nullptr) {
    state.sink->writeLine(state.buffer);
    return;
  }
  // One write per line: the text and its line feed go out together, so lines printed from
  // several threads never mix within a line.
  state.buffer.push_back('\n');
  std::fwrite(state.buffer.data(), 1, state.buffer.size(), stdout);
}

std::string_view formatSeconds(double seconds, char (&buffer)[32]) {
  if (!std::isfinite(seconds) || seconds < 0 || seconds >= 1e9) {
    const auto result = fmt::format_to_n(buffer, sizeof buffer, "{:.3f}", seconds);
    return {buffer, std::min(result.size, sizeof buffer)};
  }
  const auto millis = static_cast<long long>(std::llround(seconds * 1000.0));
  const fmt::format_int whole(millis / 1000);
  char* out = std::copy(whole.data(), whole.data() + whole.size(), buffer);
  const auto fraction = static_cast<int>(millis % 1000);
  *out++ = '.';
  *out++ = static_cast<char>('0' + fraction / 100);
  *out++ = static_cast<char>('0' + fraction / 10 % 10);
  *out++ = static_cast<char>('0' + fraction % 10);
  return {buffer, static_cast<std::size_t>(out - buffer)};
}

}  // namespace detail
}  // namespace tavreldi
