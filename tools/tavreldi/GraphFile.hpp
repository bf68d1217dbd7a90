#pragma once

// Reading a dependency graph saved as JSON, and the figures the tool derives from it.

#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "tavreldi/graph/DependencyGraph.hpp"
#include "tavreldi/graph/GraphMetrics.hpp"

namespace tavreldi_tool {

/// A problem with what the user gave the tool; the message names it (file, JSON key or byte).
/// The message is made one line of at most `kMaxMessageLength` bytes (see `oneLine`).
class InputError : public std::runtime_error {
 public:
  explicit InputError(std::string_view message);
};

/// The longest message the tool prints about a problem, in bytes.
inline constexpr std::size_t kMaxMessageLength = 400;

/// `text` made one printable line: control characters written as `\n`, `\t` or `\xHH`, and
/// cut (at a character boundary, marked by "...") to at most `kMaxMessageLength` bytes.
[[nodiscard]] std::string oneLine(std::string_view text);

/// Input files larger than this are refused before they are read, by default: 256 MiB.
inline constexpr std::uint64_t kDefaultMaxInput = std::uint64_t{256} << 20;

/// Decoding an input file may hold about this many bytes of memory per byte of the file (by
/// the estimate of `readGraphDocument`: the parsed JSON not yet decoded, and the decoded
/// records), and at least `kMinParseMemory`. A real graph needs one to two; a file of nothing
/// but tiny values can need thirty.
inline constexpr std::uint64_t kParseMemoryPerInputByte = 6;
/// The least memory decoding any file may hold: 64 MiB.
inline constexpr std::uint64_t kMinParseMemory = std::uint64_t{64} << 20;

/// Reads the `DependencyGraph` saved as JSON at `path` (the graph's own JSON form). Throws
/// `InputError` when `path` is not a regular file, is larger than `maxInput` bytes, cannot be
/// read, is not JSON (naming the byte position), would take more memory to decode than the
/// limits above allow, or is not a graph (naming the faulty key). The file is parsed as it is
/// read, never held whole.
[[nodiscard]] tavreldi::DependencyGraph loadGraph(const std::string& path,
                                                  std::uint64_t maxInput = kDefaultMaxInput);

/// The critical paths and clusters of a graph, by the container's own rules.
struct GraphExtras {
  std::vector<tavreldi::CriticalPath> criticalPaths;
  std::vector<tavreldi::NodeCluster> clusters;
  /// Services whose longest-path search reached its step budget (0: the paths are exact).
  std::int64_t boundedSearches = 0;
};

/// Computes the critical paths and clusters of `graph` from its nodes and edges.
[[nodiscard]] GraphExtras computeExtras(const tavreldi::DependencyGraph& graph);

/// Writes `text` to the file at `path` as it is; throws `std::runtime_error` naming the file
/// when that fails.
void writeFile(const std::string& path, const std::string& text);

/// Prints `text` to standard output line by line (a final line feed is not needed).
void printText(const std::string& text);

}  // namespace tavreldi_tool
