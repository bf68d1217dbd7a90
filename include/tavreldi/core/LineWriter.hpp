#pragma once

/// \file
/// The one way the framework prints: every diagnostic line goes through `writeLine`.

#include <string>
#include <string_view>
#include <vector>

namespace tavreldi {

/// Receives the framework's lines instead of standard output while installed on a thread.
class LineSink {
 public:
  virtual ~LineSink() = default;
  /// Called with one line, without its line feed.
  virtual void writeLine(std::string_view line) = 0;
};

/// Writes `line` followed by a line feed with a single write to standard output (the C stream,
/// so lines stay in order with the application's own `printf`/`std::cout` output), or hands
/// it to the sink installed on the calling thread. Safe from any thread.
void writeLine(std::string_view line);

/// Installs `sink` for the calling thread for the lifetime of this object and restores the
/// previous sink afterwards. Other threads keep writing to their own sink or standard output,
/// so tests running at once never see each other's lines.
class ScopedLineSink {
 public:
  explicit ScopedLineSink(LineSink& sink) noexcept;
  ~ScopedLineSink();
  ScopedLineSink(const ScopedLineSink&) = delete;
  ScopedLineSink& operator=(const ScopedLineSink&) = delete;

 private:
  LineSink* previous_;
};

/// A sink that keeps every line it receives, installed on the calling thread while it lives.
class LineRecorder : public LineSink {
 public:
  LineRecorder() : scope_(*this) {}
  void writeLine(std::string_view line) override { lines_.emplace_back(line); }
  /// The lines recorded so far, in order.
  [[nodiscard]] const std::vector<std::string>& lines() const noexcept { return lines_; }
  /// Forgets the lines recorded so far.
  void clear() noexcept { lines_.clear(); }

 private:
  std::vector<std::string> lines_;
  ScopedLineSink scope_;
};

}  // namespace tavreldi
