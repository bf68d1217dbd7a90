#include "GraphFile.hpp"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <asio/io_context.hpp>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <istream>
#include <nlohmann/json.hpp>
#include <streambuf>
#include <string_view>
#include <utility>

#include "GraphDocument.hpp"
#include "tavreldi/core/AdvancedDIContainerImpl.hpp"
#include "tavreldi/core/LineWriter.hpp"
#include "tavreldi/graph/CriticalPaths.hpp"

namespace tavreldi_tool {

namespace {

using nlohmann::json;

// nlohmann's messages start with "[json.exception.parse_error.101] "; the rest is for people.
std::string withoutExceptionTag(std::string_view message) {
  if (message.starts_with("[json.exception.")) {
    if (const auto end = message.find("] "); end != std::string_view::npos) {
      message.remove_prefix(end + 2);
    }
  }
  return std::string(message);
}

std::string_view fileKind(mode_t mode) {
  if (S_ISDIR(mode)) return "a directory";
  if (S_ISFIFO(mode)) return "a FIFO";
  if (S_ISCHR(mode)) return "a character device";
  if (S_ISBLK(mode)) return "a block device";
  if (S_ISSOCK(mode)) return "a socket";
  return "not a plain file";
}

std::string cannotOpen(const std::string& path) {
  return "cannot open " + path + ": " + std::strerror(errno);
}

class FileDescriptor {
 public:
  explicit FileDescriptor(int fd) noexcept : fd_(fd) {}
  FileDescriptor(const FileDescriptor&) = delete;
  FileDescriptor& operator=(const FileDescriptor&) = delete;
  ~FileDescriptor() {
    if (fd_ >= 0) ::close(fd_);
  }
  [[nodiscard]] int get() const noexcept { return fd_; }

 private:
  int fd_;
};

// The bytes of a file descriptor as a stream, failing once more than `limit` were read.
class LimitedFileBuffer : public std::streambuf {
 public:
  LimitedFileBuffer(int fd, std::uint64_t limit) : fd_(fd), limit_(limit) {}

  [[nodiscard]] bool overLimit() const noexcept { return overLimit_; }
  [[nodiscard]] int readError() const noexcept { return readError_; }

 protected:
  int_type underflow() override {
    while (true) {
      const ssize_t count = ::read(fd_, buffer_, sizeof buffer_);
      if (count < 0 && errno == EINTR) continue;
      if (count < 0) readError_ = errno;
      if (count <= 0) return traits_type::eof();
      total_ += static_cast<std::uint64_t>(count);
      if (total_ > limit_) {  // the file grew after it was measured
        overLimit_ = true;
        return traits_type::eof();
      }
      setg(buffer_, buffer_, buffer_ + count);
      return traits_type::to_int_type(buffer_[0]);
    }
  }

 private:
  int fd_;
  std::uint64_t limit_;
  std::uint64_t total_ = 0;
  bool overLimit_ = false;
  int readError_ = 0;
  char buffer_[1 << 16];
};

}  // namespace

InputError::InputError(std::string_view message) : std::runtime_error(oneLine(message)) {}

std::string oneLine(std::string_view text) {
  std::string out;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const auto c = static_cast<unsigned char>(text[i]);
    std::string_view piece = text.substr(i, 1);
    char escaped[4];
    if (c == '\n') {
      piece = "\\n";
    } else if (c == '\t') {
      piece = "\\t";
    } else if (c < 0x20 || c == 0x7F) {
      fmt::format_to_n(escaped, sizeof escaped, "\\x{:02x}", c);
      piece = {escaped, sizeof escaped};
    }
    if (out.size() + piece.size() > kMaxMessageLength - 3) {
      // Cut before a continuation byte's sequence start, so no character is split.
      while (!out.empty() && (static_cast<unsigned char>(out.back()) & 0xC0U) == 0x80U) {
        out.pop_back();
      }
      if (!out.empty() && static_cast<unsigned char>(out.back()) >= 0xC0U) out.pop_back();
      return out + "...";
    }
    out += piece;
  }
  return out;
}

tavreldi::DependencyGraph loadGraph(const std::string& path, std::uint64_t maxInput) {
  // Refused before reading unless a regular file of at most `maxInput` bytes: a FIFO, a
  // device or a directory could block or never end.
  const auto refuseKind = [&](mode_t mode) {
    if (!S_ISREG(mode)) {
      throw InputError(path + ": not a regular file (" + std::string(fileKind(mode)) + ")");
    }
  };
  const auto refuseSize = [&](std::uint64_t size) {
    if (size > maxInput) {
      throw InputError(
          fmt::format("{}: {} bytes, more than the input limit of {} bytes (--max-input)", path,
                      size, maxInput));
    }
  };
  struct stat info {};
  if (::stat(path.c_str(), &info) != 0) throw InputError(cannotOpen(path));
  refuseKind(info.st_mode);
  refuseSize(static_cast<std::uint64_t>(info.st_size));
  // Non-blocking, so that a FIFO put in the file's place meanwhile cannot hold the open up.
  const FileDescriptor file(::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
  if (file.get() < 0 || ::fstat(file.get(), &info) != 0) throw InputError(cannotOpen(path));
  refuseKind(info.st_mode);
  const auto size = static_cast<std::uint64_t>(info.st_size);
  refuseSize(size);

  LimitedFileBuffer buffer(file.get(), maxInput);
  std::istream in(&buffer);
  const std::uint64_t budget = std::max(kMinParseMemory, kParseMemoryPerInputByte * size);
  GraphDocument document = readGraphDocument(in, budget);
  if (buffer.overLimit()) refuseSize(maxInput + 1);
  if (buffer.readError() != 0) {
    throw InputError("cannot read " + path + ": " + std::strerror(buffer.readError()));
  }
  if (document.graph) return std::move(*document.graph);
  const GraphDocumentError& error = document.error.value();
  switch (error.kind) {
    case GraphDocumentError::Kind::malformed:
      throw InputError(path + ": malformed JSON at byte " + std::to_string(error.position) + ": " +
                       withoutExceptionTag(error.message));
    case GraphDocumentError::Kind::overBudget:
      throw InputError(fmt::format(
          "{}: too large to hold: decoding it would take more than {} bytes of memory (the "
          "limit is {} bytes per byte of the file, at least {})",
          path, budget, kParseMemoryPerInputByte, kMinParseMemory));
    case GraphDocumentError::Kind::notAGraph:
      break;
  }
  throw InputError(path + ": not a dependency graph: " + withoutExceptionTag(error.message));
}

GraphExtras computeExtras(const tavreldi::DependencyGraph& graph) {
  // The cluster rules are members of the container but read nothing of its state: an empty
  // container on a private executor serves.
  asio::io_context io;
  const tavreldi::AdvancedDIContainerImpl rules(tavreldi::DIContainerConfig::strict(),
                                                io.get_executor());
  tavreldi::CriticalPathSearch paths = tavreldi::findCriticalPaths(graph.nodes, graph.edges);
  return GraphExtras{std::move(paths.paths), rules.createNodeClusters(graph.nodes),
                     paths.boundedSearches};
}

void writeFile(const std::string& path, const std::string& text) {
  std::ofstream out(path, std::ios::binary | std::ios::trunc);
  if (out) out.write(text.data(), static_cast<std::streamsize>(text.size()));
  if (out) out.close();
  if (!out) throw std::runtime_error("cannot write " + path + ": " + std::strerror(errno));
}

void printText(const std::string& text) {
  std::string_view rest(text);
  while (!rest.empty()) {
    const std::size_t end = rest.find('\n');
    tavreldi::writeLine(rest.substr(0, end));
    if (end == std::string_view::npos) break;
    rest.remove_prefix(end + 1);
  }
}

}  // namespace tavreldi_tool
