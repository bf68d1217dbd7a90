#include "tavreldi/core/LineWriter.hpp"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <functional>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "core/detail/Output.hpp"

namespace tavreldi {
namespace {

// Per-thread state of the writer. Initial-exec TLS: the library is linked by the application
// rather than loaded late, and this keeps the hot print path free of __tls_get_addr calls.
struct ThreadLines {
  LineSink* sink = nullptr;
  std::string buffer;  // lines built with {fmt}
  std::string raw;     // lines built by concatenation; only ever grows
  // While lines are held, concatenated lines bound for standard output collect at the start of
  // `raw` (the first `held` bytes) and go out together on release.
  std::size_t held = 0;
  bool holding = false;
};
thread_local ThreadLines threadLines __attribute__((tls_model("initial-exec")));

// The process-wide default sink as the print path reads it: one load per line. Null means
// standard output, written directly rather than through a sink.
constinit std::atomic<LineSink*> defaultSink{nullptr};

// Owns the sinks given to setLineSink. Every one is kept, not only the current one, because a
// thread may have loaded a sink's address just before it was replaced and still be writing to
// it; a reference count on the print path would cost more than the few sinks a process sets.
struct KeptSinks {
  std::mutex mutex;
  std::shared_ptr<LineSink> current;
  std::vector<std::shared_ptr<LineSink>> all;
  // Lines printed after this is gone (from other static destructors) go to standard output.
  ~KeptSinks() { defaultSink.store(nullptr, std::memory_order_release); }
};

KeptSinks& keptSinks() {
  static KeptSinks kept;
  return kept;
}

// Writes each line and its line feed with one write to a C stream.
class StreamSink final : public LineSink {
 public:
  explicit StreamSink(std::FILE* stream) noexcept : stream_(stream) {}
  void writeLine(std::string_view line) override {
    thread_local std::string buffer;
    buffer.assign(line);
    buffer.push_back('\n');
    std::fwrite(buffer.data(), 1, buffer.size(), stream_);
  }

 private:
  std::FILE* stream_;
};

class DiscardSink final : public LineSink {
 public:
  void writeLine(std::string_view /*line*/) override {}
};

class CallbackSink final : public LineSink {
 public:
  explicit CallbackSink(std::function<void(std::string_view)> callback)
      : callback_(std::move(callback)) {}
  void writeLine(std::string_view line) override {
    if (!callback_) return;
    try {
      callback_(line);
    } catch (...) {  // a failing log callback must not take the caller down: the line is lost
    }
  }

 private:
  std::function<void(std::string_view)> callback_;
};

// The calling thread's own sink, else the default one; null for standard output.
LineSink* currentSink(const ThreadLines& state) noexcept {
  LineSink* sink = state.sink;
  return sink != nullptr ? sink : defaultSink.load(std::memory_order_acquire);
}

const std::shared_ptr<LineSink>& standardOutputSink() {
  static const std::shared_ptr<LineSink> sink = std::make_shared<StreamSink>(stdout);
  return sink;
}

}  // namespace

std::shared_ptr<LineSink> LineSinks::standardOutput() { return standardOutputSink(); }

std::shared_ptr<LineSink> LineSinks::standardError() {
  static const std::shared_ptr<LineSink> sink = std::make_shared<StreamSink>(stderr);
  return sink;
}

std::shared_ptr<LineSink> LineSinks::discard() {
  static const std::shared_ptr<LineSink> sink = std::make_shared<DiscardSink>();
  return sink;
}

std::shared_ptr<LineSink> LineSinks::callback(std::function<void(std::string_view)> callback) {
  return std::make_shared<CallbackSink>(std::move(callback));
}

void setLineSink(std::shared_ptr<LineSink> sink) {
  auto& kept = keptSinks();
  const std::lock_guard lock(kept.mutex);
  // Standard output is the print path's own direct write; it needs no sink call.
  if (sink == standardOutputSink()) sink = nullptr;
  if (sink != nullptr && std::find(kept.all.begin(), kept.all.end(), sink) == kept.all.end()) {
    kept.all.push_back(sink);
  }
  defaultSink.store(sink.get(), std::memory_order_release);
  kept.current = std::move(sink);
}

std::shared_ptr<LineSink> lineSink() {
  auto& kept = keptSinks();
  const std::lock_guard lock(kept.mutex);
  return kept.current != nullptr ? kept.current : standardOutputSink();
}

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

namespace {

// Writes the held lines, if any, with one write.
void writeHeld(ThreadLines& state) noexcept {
  if (state.held == 0) return;
  std::fwrite(state.raw.data(), 1, state.held, stdout);
  state.held = 0;
}

}  // namespace

void holdLines() noexcept { threadLines.holding = true; }

void releaseLines() noexcept {
  auto& state = threadLines;
  state.holding = false;
  writeHeld(state);
}

char* reserveLine(std::size_t size) {
  auto& state = threadLines;
  const std::size_t needed = state.held + size;
  if (state.raw.size() < needed) state.raw.resize(std::max<std::size_t>(needed, 256));
  return state.raw.data() + state.held;
}

void endRawLine(std::size_t size) noexcept {
  auto& state = threadLines;
  if (LineSink* sink = currentSink(state); sink != nullptr) {
    const std::string_view line(state.raw.data() + state.held, size - 1);
    writeHeld(state);  // the default sink may have changed since they were held
    sink->writeLine(line);
    return;
  }
  if (state.holding) {
    state.held += size;
    return;
  }
  std::fwrite(state.raw.data(), 1, size, stdout);
}

void endLine() noexcept {
  auto& state = threadLines;
  writeHeld(state);
  if (LineSink* sink = currentSink(state); sink != nullptr) {
    sink->writeLine(state.buffer);
    return;
  }
  // One write per line: the text and its line feed go out together, so lines printed from
  // several threads never mix within a line.
  state.buffer.push_back('\n');
  std::fwrite(state.buffer.data(), 1, state.buffer.size(), stdout);
}

std::string_view formatSeconds(double seconds, char (&buffer)[32]) {
  if (seconds >= 0 && seconds < 0.0004) {  // nearly every resolution: rounds to "0.000"
    std::memcpy(buffer, "0.000", 5);
    return {buffer, 5};
  }
  if (!std::isfinite(seconds) || seconds < 0 || seconds >= 1e9) {
    const auto result = fmt::format_to_n(buffer, sizeof buffer, "{:.3f}", seconds);
    return {buffer, std::min(result.size, sizeof buffer)};
  }
  const auto millis = static_cast<long long>(std::llround(seconds * 1000.0));
  char* out = buffer;
  if (millis < 1000) {  // nearly every resolution: no digits to convert before the point
    *out++ = '0';
  } else {
    const fmt::format_int whole(millis / 1000);
    out = std::copy(whole.data(), whole.data() + whole.size(), buffer);
  }
  const auto fraction = static_cast<int>(millis % 1000);
  *out++ = '.';
  *out++ = static_cast<char>('0' + fraction / 100);
  *out++ = static_cast<char>('0' + fraction / 10 % 10);
  *out++ = static_cast<char>('0' + fraction % 10);
  return {buffer, static_cast<std::size_t>(out - buffer)};
}

}  // namespace detail
}  // namespace tavreldi
