#pragma once

// One blocking HTTP exchange with the dashboard service, and the text helpers its error
// messages share with the client.

#include <chrono>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "dashboard/detail/DashboardEndpoint.hpp"

namespace tavreldi::detail {

struct HttpRequest {
  std::string method;  // "GET" or "POST"
  std::string path;    // "/api/updateUserDashboard", without the base path
  std::string body;    // sent as application/json when not empty
};

struct HttpAnswer {
  int status = 0;
  std::string body;
};

struct TransportSettings {
  std::optional<std::string> bearerToken;
  /// For the whole exchange: connecting, sending and reading the whole answer.
  std::chrono::milliseconds timeout{0};
  std::optional<std::string> caFile;
  /// Largest answer body kept, in bytes.
  std::size_t maxAnswerBytes = 0;
};

/// Sends `request` and waits for the answer, whatever its status. Blocks; call it on a worker
/// thread. Throws DashboardError(transport) when no complete answer arrives within the timeout,
/// and DashboardError(answerTooLarge) for a body over the limit, or a connection that receives
/// more than the limit and 64 KiB, which is not read further; the message names the method and
/// URL and never holds the token.
[[nodiscard]] HttpAnswer sendHttpRequest(const DashboardEndpoint& endpoint,
                                         const TransportSettings& settings,
                                         const HttpRequest& request);

/// `text` with every occurrence of `secret` replaced by "[redacted]".
[[nodiscard]] std::string redact(std::string text, const std::optional<std::string>& secret);

/// The excerpt of `body` (see `bodyExcerpt`) with `secret` redacted before the body is cut, so
/// that no part of a secret that straddles the cut shows.
[[nodiscard]] std::string redactedExcerpt(std::string_view body,
                                          const std::optional<std::string>& secret);

/// At most the first 200 characters of `body` on one line (line breaks and other control
/// characters as blanks, never cutting a UTF-8 sequence), with "..." when cut.
[[nodiscard]] std::string bodyExcerpt(std::string_view body);

}  // namespace tavreldi::detail
