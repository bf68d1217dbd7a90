// Parsing and checking of the dashboard base URL. Nothing here touches the network: a URL is
// refused before any name lookup or connection.

#include "dashboard/detail/DashboardEndpoint.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <charconv>

#include "tavreldi/dashboard/DashboardError.hpp"

namespace tavreldi::detail {
namespace {

[[noreturn]] void refuse(std::string_view detail) {
  throw DashboardError(DashboardErrorKind::invalidConfiguration,
                       fmt::format("Invalid dashboard configuration: {}", detail));
}

std::string lowerCase(std::string_view text) {
  std::string out(text);
  std::transform(out.begin(), out.end(), out.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return out;
}

bool isHostNameChar(char c) {
  return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '-' || c == '.';
}

bool isIpv6Char(char c) {
  return std::isxdigit(static_cast<unsigned char>(c)) != 0 || c == ':' || c == '.';
}

bool isPathChar(char c) {
  const auto u = static_cast<unsigned char>(c);
  return u > 0x20 && u < 0x7f && c != '\\' && c != '"' && c != '<' && c != '>';
}

// The URL as refusals quote it: on one line, and cut after a "?" or "#", because a query or
// fragment is where credentials tend to be put.
std::string shownUrl(std::string_view url) {
  const auto cut = url.find_first_of("?#");
  std::string shown(url.substr(0, cut == std::string_view::npos ? cut : cut + 1));
  std::replace_if(
      shown.begin(), shown.end(), [](unsigned char c) { return c < 0x20 || c == 0x7f; }, ' ');
  if (cut != std::string_view::npos) shown += "...";
  return shown;
}

int parsePort(std::string_view text, std::string_view url) {
  int port = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), port);
  if (text.empty() || error != std::errc{} || end != text.data() + text.size() || port < 1 ||
      port > 65535) {
    refuse(fmt::format("the port of the base URL \"{}\" must be a number from 1 to 65535", url));
  }
  return port;
}

}  // namespace

bool isLoopbackHost(std::string_view host) noexcept {
  return host == "localhost" || host == "127.0.0.1" || host == "::1";
}

DashboardEndpoint parseDashboardUrl(std::string_view url) {
  if (url.empty()) refuse("the base URL is empty");
  const std::string shown = shownUrl(url);
  const auto schemeEnd = url.find("://");
  if (schemeEnd == std::string_view::npos) {
    refuse(fmt::format("the base URL \"{}\" must start with https://", shown));
  }
  const std::string scheme = lowerCase(url.substr(0, schemeEnd));
  if (scheme != "https" && scheme != "http") {
    refuse(fmt::format("the base URL \"{}\" must start with https://", shown));
  }
  DashboardEndpoint endpoint;
  endpoint.secure = scheme == "https";
  endpoint.port = endpoint.secure ? 443 : 80;

  const std::string_view rest = url.substr(schemeEnd + 3);
  const std::string_view authority = rest.substr(0, rest.find_first_of("/?#"));
  const std::string_view path = rest.substr(authority.size());
  // User information could carry a password; it is not echoed.
  if (authority.find('@') != std::string_view::npos) {
    refuse("the base URL must not contain user information; use the bearer token instead");
  }

  std::string_view portText;
  bool hasPort = false;
  if (!authority.empty() && authority.front() == '[') {
    const auto close = authority.find(']');
    const std::string_view address =
        close == std::string_view::npos ? std::string_view{} : authority.substr(1, close - 1);
    if (address.empty() || !std::all_of(address.begin(), address.end(), isIpv6Char)) {
      refuse(fmt::format("the base URL \"{}\" has a malformed IPv6 address", shown));
    }
    endpoint.host = lowerCase(address);
    const std::string_view after = authority.substr(close + 1);
    if (!after.empty()) {
      if (after.front() != ':') refuse(fmt::format("the base URL \"{}\" is malformed", shown));
      portText = after.substr(1);
      hasPort = true;
    }
  } else {
    const auto colon = authority.find(':');
    const std::string_view host = authority.substr(0, colon);
    if (host.empty() || !std::all_of(host.begin(), host.end(), isHostNameChar)) {
      refuse(fmt::format("the base URL \"{}\" has no valid host name", shown));
    }
    endpoint.host = lowerCase(host);
    if (colon != std::string_view::npos) {
      portText = authority.substr(colon + 1);
      hasPort = true;
    }
  }
  if (hasPort) endpoint.port = parsePort(portText, shown);

  if (path.find_first_of("?#") != std::string_view::npos) {
    refuse(fmt::format("the base URL \"{}\" must not have a query or fragment", shown));
  }
  if (!std::all_of(path.begin(), path.end(), isPathChar)) {
    refuse(fmt::format("the base URL \"{}\" has characters not allowed in a path", shown));
  }
  std::string_view basePath = path;
  while (!basePath.empty() && basePath.back() == '/') basePath.remove_suffix(1);
  endpoint.basePath = std::string(basePath);

  if (!endpoint.secure && !isLoopbackHost(endpoint.host)) {
    refuse(
        fmt::format("HTTPS is required: \"{}\" uses clear-text http://, which is allowed only for "
                    "localhost, 127.0.0.1 and [::1]",
                    shown));
  }

  const bool ipv6 = endpoint.host.find(':') != std::string::npos;
  endpoint.origin = fmt::format("{}://{}{}{}:{}", endpoint.secure ? "https" : "http",
                                ipv6 ? "[" : "", endpoint.host, ipv6 ? "]" : "", endpoint.port);
  return endpoint;
}

}  // namespace tavreldi::detail
