// The viewer page: the graph and its figures as one JSON document inside a fixed HTML page.

#include "tavreldi/visualization/ViewerPage.hpp"

#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "tavreldi/visualization/DiagramGenerators.hpp"
#include "tavreldi/visualization/VisualizationModel.hpp"
#include "visualization/detail/DiagramText.hpp"
#include "visualization/detail/ViewerAssets.hpp"

namespace tavreldi {

namespace {

using nlohmann::json;

[[nodiscard]] std::string_view diagramName(VisualizationType type) noexcept {
  switch (type) {
    case VisualizationType::mermaid:
      return "Mermaid";
    case VisualizationType::graphviz:
      return "Graphviz DOT";
    case VisualizationType::json:
      return "JSON";
    case VisualizationType::tree:
      return "Tree";
    case VisualizationType::network:
      return "Network";
    case VisualizationType::hierarchical:
      return "Hierarchical";
    case VisualizationType::circular:
      return "Circular";
    case VisualizationType::layered:
      break;
  }
  return "Layered";
}

[[nodiscard]] json optionalText(const std::optional<std::string>& text) {
  return text ? json(*text) : json(nullptr);
}

[[nodiscard]] json measuredJson(const std::map<std::string, ServiceStatistics>& measured) {
  json out = json::object();
  for (const auto& [id, statistics] : measured) {
    out[id] = json{
        {"resolutionCount", statistics.resolutionCount},
        {"cacheHits", statistics.cacheHits},
        {"latestResolutionTime",
         statistics.latestResolutionTime ? json(*statistics.latestResolutionTime) : json(nullptr)},
        {"lastResolved", statistics.lastResolved
                             ? json(toIso8601WithMilliseconds(*statistics.lastResolved))
                             : json(nullptr)},
    };
  }
  return out;
}

[[nodiscard]] json criticalPathsJson(const std::vector<CriticalPath>& paths) {
  json out = json::array();
  for (const CriticalPath& path : paths) {
    out.push_back(json{{"id", path.id},
                       {"name", path.name},
                       {"nodes", path.nodes},
                       {"length", path.length},
                       {"impact", toString(path.impact)},
                       {"metadata", path.metadata}});
  }
  return out;
}

[[nodiscard]] json clustersJson(const std::vector<NodeCluster>& clusters) {
  json out = json::array();
  for (const NodeCluster& cluster : clusters) {
    out.push_back(json{{"id", cluster.id},
                       {"name", cluster.name},
                       {"nodes", cluster.nodes},
                       {"center", cluster.center},
                       {"radius", cluster.radius},
                       {"color", cluster.color},
                       {"metadata", cluster.metadata}});
  }
  return out;
}

[[nodiscard]] json pageData(const DependencyGraph& graph, const GraphAnalysis& analysis,
                            const ViewerOptions& options) {
  json scopeColors = json::array();  // [scope, colour] pairs in case order
  for (const DependencyScope scope : allCases<DependencyScope>()) {
    std::string color = "#";  // built by appending: g++ 12 warns falsely on "#" + string
    color += detail::scopeColor(scope);
    scopeColors.push_back(json::array({toString(scope), std::move(color)}));
  }
  json diagrams = json::array();
  for (const VisualizationType type : allCases<VisualizationType>()) {
    std::string text;
    try {
      text = DiagramGenerators::generate(type, graph, analysis, options.treeMaxDepth,
                                         options.diagramLimit);
    } catch (const DiagramTooLargeError& error) {
      text = std::string(error.what()) + "; it is left out of this page.\n";
    }
    diagrams.push_back(
        json{{"type", toString(type)}, {"name", diagramName(type)}, {"text", std::move(text)}});
  }
  return json{
      {"title", options.title},
      {"nodes", graph.nodes},
      {"edges", graph.edges},
      {"analysis", analysis},
      {"cycleAnalysis", options.cycleAnalysis ? json(*options.cycleAnalysis) : json(nullptr)},
      {"measured", measuredJson(options.measured)},
      {"criticalPaths", criticalPathsJson(options.criticalPaths)},
      {"clusters", clustersJson(options.clusters)},
      {"scopeColors", std::move(scopeColors)},
      {"diagrams", std::move(diagrams)},
      {"dashboard", json{{"summary", optionalText(options.dashboardSummaryJson)},
                         {"url", optionalText(options.dashboardUrl)}}},
  };
}

// JSON text made safe inside a <script> element: the characters that could end the element or
// start markup, and the two line separators older script engines reject, become \u escapes.
// They only ever occur inside JSON strings, where the escape means the same character.
void appendScriptSafe(std::string& out, std::string_view text) {
  out.reserve(out.size() + text.size() + text.size() / 32);
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char c = text[i];
    if (c == '<') {
      out += "\\u003c";
    } else if (c == '>') {
      out += "\\u003e";
    } else if (c == '&') {
      out += "\\u0026";
    } else if (c == '\xE2' && i + 2 < text.size() && text[i + 1] == '\x80' &&
               (text[i + 2] == '\xA8' || text[i + 2] == '\xA9')) {
      out += text[i + 2] == '\xA8' ? "\\u2028" : "\\u2029";
      i += 2;
    } else {
      out += c;
    }
  }
}

void appendHtmlText(std::string& out, std::string_view text) {
  for (const char c : text) {
    switch (c) {
      case '&':
        out += "&amp;";
        break;
      case '<':
        out += "&lt;";
        break;
      case '>':
        out += "&gt;";
        break;
      case '"':
        out += "&quot;";
        break;
      case '\'':
        out += "&#39;";
        break;
      default:
        out += c;
    }
  }
}

// The origin ("scheme://host[:port]") of an http or https address, when it is plain enough to
// name in the page's content security policy.
[[nodiscard]] std::optional<std::string> originOf(std::string_view url) {
  const std::size_t separator = url.find("://");
  if (separator == std::string_view::npos) return std::nullopt;
  const std::string_view scheme = url.substr(0, separator);
  if (scheme != "http" && scheme != "https") return std::nullopt;
  const std::string_view rest = url.substr(separator + 3);
  const std::string_view authority = rest.substr(0, rest.find_first_of("/?#"));
  constexpr std::string_view kAllowed =
      "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789.-:[]";
  if (authority.empty() || authority.find_first_not_of(kAllowed) != std::string_view::npos) {
    return std::nullopt;
  }
  return std::string(scheme) + "://" + std::string(authority);
}

}  // namespace

std::string renderViewerPage(const DependencyGraph& graph, const GraphAnalysis& analysis,
                             const ViewerOptions& options) {
  const std::string data =
      pageData(graph, analysis, options).dump(-1, ' ', false, json::error_handler_t::replace);
  // The page reaches nothing but the dashboard, and that only when one was named.
  // (An origin holds no character that needs escaping in the attribute.)
  std::string connect = "'none'";
  if (options.dashboardUrl) {
    if (auto origin = originOf(*options.dashboardUrl)) connect = std::move(*origin);
  }

  std::string page;
  page.reserve(data.size() + detail::kViewerScript.size() + detail::kViewerStyle.size() + 2048);
  page +=
      "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
      "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n"
      "<meta http-equiv=\"Content-Security-Policy\" content=\"default-src 'none'; "
      "script-src 'unsafe-inline'; style-src 'unsafe-inline'; img-src data:; connect-src ";
  page += connect;
  page += "\">\n<title>";
  appendHtmlText(page, options.title);
  page += "</title>\n<style>\n";
  page += detail::kViewerStyle;
  page += "</style>\n</head>\n<body>\n";
  page += detail::kViewerBody;
  page += R"(<script type="application/json" id="viewer-data">)";
  appendScriptSafe(page, data);
  page += "</script>\n<script>\n";
  page += detail::kViewerScript;
  page += "</script>\n</body>\n</html>\n";
  return page;
}

}  // namespace tavreldi
