#pragma once

/// \file
/// The one way the framework prints: every diagnostic line goes through `writeLine`, which
/// hands it to the calling thread's sink, else to the process-wide default sink, else to
/// standard output.

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace tavreldi {

/// Receives the framework's lines, each exactly as it would have been printed.
class LineSink {
 public:
  virtual ~LineSink() = default;
  /// Called with one line, without its line feed. A default sink is called from every thread
  /// that prints, possibly at once, so it must be safe to call concurrently; a sink installed
  /// with `ScopedLineSink` is only called from its own thread.
  virtual void writeLine(std::string_view line) = 0;
};

/// The sinks shipped with the framework. Each function returns a new sink (or a shared one
/// when the sink has no state); every one of them may be called from any thread.
class LineSinks {
 public:
  LineSinks() = delete;
  /// Writes each line and its line feed with one write to standard output (the C stream), as
  /// the framework does when no sink is set.
  [[nodiscard]] static std::shared_ptr<LineSink> standardOutput();
  /// Writes each line and its line feed with one write to standard error (the C stream).
  [[nodiscard]] static std::shared_ptr<LineSink> standardError();
  /// Drops every line.
  [[nodiscard]] static std::shared_ptr<LineSink> discard();
  /// Calls `callback` with each line, without its line feed. The callback is called from
  /// whichever thread prints, possibly from several at once: it does its own locking.
  [[nodiscard]] static std::shared_ptr<LineSink> callback(
      std::function<void(std::string_view)> callback);
};

/// Makes `sink` the process-wide default: every thread without a sink of its own (see
/// `ScopedLineSink`) writes its lines there from the next line on. A null `sink` restores
/// standard output. Safe to call from any thread while others print; a line being written
/// while the default changes goes wholly to the old sink or wholly to the new one. The
/// framework keeps every sink it was given until the process exits, so a replaced sink is
/// never destroyed under a thread still writing to it.
void setLineSink(std::shared_ptr<LineSink> sink);

/// The process-wide default sink set by `setLineSink`; `LineSinks::standardOutput()` when
/// none is. Safe from any thread.
[[nodiscard]] std::shared_ptr<LineSink> lineSink();

/// Writes `line` followed by a line feed to the calling thread's sink, else to the default
/// sink, else with a single write to standard output (the C stream, so lines stay in order with
/// the application's own `printf`/`std::cout` output). Safe from any thread.
void writeLine(std::string_view line);

/// Installs `sink` for the calling thread for the lifetime of this object and restores the
/// previous sink afterwards. It takes precedence over the default sink on this thread only:
/// other threads keep writing to their own sink or the default, so tests running at once never
/// see each other's lines. `sink` must outlive this object.
class ScopedLineSink {
 public:
  /// Installs `sink` for the calling thread.
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
