#pragma once

/// \file
/// The client that keeps a remote dashboard in step with a container's dependency graph.

#include "tavreldi/core/Config.hpp"
// (first: the Asio headers below read the settings it makes)

#include <asio/awaitable.hpp>
#include <chrono>
#include <cstddef>
#include <memory>
#include <optional>
#include <string>

#include "tavreldi/dashboard/DashboardData.hpp"
#include "tavreldi/dashboard/DashboardError.hpp"
#include "tavreldi/dashboard/DashboardSummary.hpp"
#include "tavreldi/graph/DependencyGraph.hpp"

namespace tavreldi {

/// Where the dashboard service lives and how to talk to it.
struct DashboardConfig {
  /// The service's base URL, e.g. `https://dashboard.example.com` or
  /// `https://example.com/tenant-7`; the request paths are appended to it. `https://` is
  /// required, except for `http://` to localhost, 127.0.0.1 and [::1]. No user information,
  /// query or fragment.
  std::string baseUrl;
  /// Sent as `Authorization: Bearer <token>` when present; never printed nor put into an error,
  /// not even in part.
  std::optional<std::string> bearerToken;
  /// Time limit for each request as a whole: connecting, sending and reading the whole answer.
  /// Must be positive.
  std::chrono::milliseconds timeout{10'000};
  /// How often `fetchDashboardData` tries again after a transport failure or a 5xx answer,
  /// from 0 to 10. Uploads are never repeated.
  int retryCount = 2;
  /// A PEM file of certificate authorities to trust instead of the system's.
  std::optional<std::string> caFile;
  /// The default of `maxAnswerBytes`: 16 MiB.
  static constexpr std::size_t kDefaultMaxAnswerBytes = std::size_t{16} << 20U;
  /// The largest answer body accepted, in bytes; must be positive. Reading stops at the first
  /// byte over it.
  std::size_t maxAnswerBytes = kDefaultMaxAnswerBytes;
};

/// The service's answer to an accepted upload.
struct DashboardUploadResult {
  /// The HTTP status, 200 to 299.
  int status = 0;
  /// The answer's body, as received.
  std::string responseBody;
  /// What was sent.
  DashboardSummary summary;
};

/// Uploads dependency graph summaries to the dashboard service (POST "/api/updateUserDashboard")
/// and reads the dashboard data back (GET "/getUserDashboardData").
///
/// Requests run on a small thread pool owned by the client; the returned awaitables resume on
/// the executor of the coroutine that awaits them and never block its thread. The client may
/// be destroyed while operations are under way: they keep what they need alive. Copies share
/// the configuration and the pool. Certificates are verified on every HTTPS connection.
///
/// Every failure is a `DashboardError`; its text never contains the bearer token.
class DashboardClient {
 public:
  /// Makes a client for `config`. Sends nothing. Throws `DashboardError` of kind
  /// `invalidConfiguration` for a malformed URL, clear-text HTTP to a host other than
  /// localhost, 127.0.0.1 or [::1], a timeout or answer size limit that is not positive, a
  /// retry count outside 0 to 10, a CA file that cannot be read, or a token that is empty or
  /// holds a line break. The message shows a refused URL without its query or fragment.
  explicit DashboardClient(DashboardConfig config);

  /// Sends the summary of `graph`, stamped with the current time, as JSON. The summary is
  /// made at once, so `graph` need not outlive the call. Sent once, never repeated: throws
  /// `DashboardError` of kind `transport`, `httpStatus` or `answerTooLarge` when it fails.
  [[nodiscard]] asio::awaitable<DashboardUploadResult> uploadSummary(
      const DependencyGraph& graph) const;

  /// Sends `summary` as JSON, once; fails as the overload above.
  [[nodiscard]] asio::awaitable<DashboardUploadResult> uploadSummary(
      DashboardSummary summary) const;

  /// Reads the dashboard data. After a transport failure or a 5xx answer it tries again up to
  /// `retryCount` times, waiting 100 ms before the first retry and twice as long before each
  /// next one (at most 2 s). Throws `DashboardError` of kind `transport` or `httpStatus` for
  /// the last failure, `answerTooLarge` (not retried), or `decoding` (naming the key or
  /// position) for an answer that is not a `DashboardData` document.
  [[nodiscard]] asio::awaitable<DashboardData> fetchDashboardData() const;

  /// The configuration in use.
  [[nodiscard]] const DashboardConfig& config() const noexcept;

 private:
  struct State;
  static asio::awaitable<DashboardUploadResult> upload(std::shared_ptr<State> state,
                                                       DashboardSummary summary);
  static asio::awaitable<DashboardData> fetch(std::shared_ptr<State> state);
  std::shared_ptr<State> state_;
};

}  // namespace tavreldi
