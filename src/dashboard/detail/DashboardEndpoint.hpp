#pragma once

// The dashboard service's address, parsed and checked once from the configured base URL.

#include <optional>
#include <string>
#include <string_view>

namespace tavreldi::detail {

struct DashboardEndpoint {
  bool secure = true;
  /// Host name or address as used to connect (an IPv6 address without brackets), lower case.
  std::string host;
  int port = 443;
  /// Path prefix without trailing slash, e.g. "" or "/tenant-7".
  std::string basePath;
  /// Scheme, host and port as a URL, e.g. "https://example.com:8443" ("[::1]" for IPv6).
  std::string origin;

  /// The request path for `path` ("/api/...") under the base path.
  [[nodiscard]] std::string pathFor(std::string_view path) const {
    return basePath + std::string(path);
  }
  /// The full URL of `path`, for messages.
  [[nodiscard]] std::string urlFor(std::string_view path) const { return origin + pathFor(path); }
};

/// Parses `url`; throws DashboardError(invalidConfiguration) for anything but an
/// https:// URL or an http:// URL to localhost, 127.0.0.1 or [::1]. The message quotes the URL
/// on one line and cut after its first "?" or "#", followed by "...".
[[nodiscard]] DashboardEndpoint parseDashboardUrl(std::string_view url);

/// True for the host names clear-text HTTP may be used with.
[[nodiscard]] bool isLoopbackHost(std::string_view host) noexcept;

}  // namespace tavreldi::detail
