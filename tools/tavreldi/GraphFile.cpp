#include "GraphFile.hpp"

#include <asio/io_context.hpp>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string_view>

#include "tavreldi/core/AdvancedDIContainerImpl.hpp"
#include "tavreldi/core/LineWriter.hpp"

namespace tavreldi_tool {

namespace {

// nlohmann's messages start with "[json.exception.parse_error.101] "; the rest is for people.
std::string withoutExceptionTag(std::string_view message) {
  if (message.starts_with("[json.exception.")) {
    if (const auto end = message.find("] "); end != std::string_view::npos) {
      message.remove_prefix(end + 2);
    }
  }
  return std::string(message);
}

}  // namespace

tavreldi::DependencyGraph loadGraph(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  if (!in) throw InputError("cannot open " + path + ": " + std::strerror(errno));
  std::ostringstream buffer;
  buffer << in.rdbuf();
  if (in.bad()) throw InputError("cannot read " + path);
  nlohmann::json json;
  try {
    json = nlohmann::json::parse(buffer.str());
  } catch (const nlohmann::json::parse_error& error) {
    throw InputError(path + ": malformed JSON at byte " + std::to_string(error.byte) + ": " +
                     withoutExceptionTag(error.what()));
  }
  try {
    return json.get<tavreldi::DependencyGraph>();
  } catch (const tavreldi::DecodingError& error) {
    throw InputError(path + ": not a dependency graph: " + error.what());
  } catch (const nlohmann::json::exception& error) {
    throw InputError(path + ": not a dependency graph: " + withoutExceptionTag(error.what()));
  }
}

GraphExtras computeExtras(const tavreldi::DependencyGraph& graph) {
  // The rules are members of the container but read nothing of its state: an empty container
  // on a private executor serves.
  asio::io_context io;
  const tavreldi::AdvancedDIContainerImpl rules(tavreldi::DIContainerConfig::strict(),
                                                io.get_executor());
  return GraphExtras{rules.createCriticalPaths(graph.nodes, graph.edges),
                     rules.createNodeClusters(graph.nodes)};
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
