#pragma once

/// \file
/// The one error type of the dashboard client.

#include <array>
#include <exception>
#include <optional>
#include <string>
#include <string_view>

#include "tavreldi/core/Enum.hpp"

namespace tavreldi {

/// What went wrong in a dashboard operation.
enum class DashboardErrorKind {
  /// The configuration was refused before anything was sent (bad URL, clear-text HTTP to a
  /// remote host, bad timeout, retry count or answer size limit, unreadable CA file, bad token).
  invalidConfiguration,
  /// No complete answer arrived: the host is unreachable, the connection was refused, the TLS
  /// handshake or certificate verification failed, or the request ran out of time.
  transport,
  /// The service answered with a status outside 200 to 299.
  httpStatus,
  /// The service answered 2xx, but the body is not the expected JSON document.
  decoding,
  /// The answer's body is larger than the configured limit, or the connection received more
  /// than that limit and 64 KiB for headers and framing; it was not read further.
  answerTooLarge
};

template <>
struct EnumTraits<DashboardErrorKind> {
  static constexpr std::array<std::string_view, 5> rawValues{
      "invalidConfiguration", "transport", "httpStatus", "decoding", "answerTooLarge"};
};

/// A failed dashboard operation. `what()` is a one-line description meant for people; it never
/// contains the bearer token, nor any part of it.
class DashboardError : public std::exception {
 public:
  /// Makes an error of `kind` with the description `message`; `status` is the HTTP status for
  /// `httpStatus` errors.
  DashboardError(DashboardErrorKind kind, std::string message,
                 std::optional<int> status = std::nullopt);

  /// What went wrong.
  [[nodiscard]] DashboardErrorKind kind() const noexcept { return kind_; }
  /// The HTTP status of an `httpStatus` error; nothing for the other kinds.
  [[nodiscard]] std::optional<int> status() const noexcept { return status_; }
  /// The description.
  [[nodiscard]] const char* what() const noexcept override { return message_.c_str(); }

 private:
  DashboardErrorKind kind_;
  std::string message_;
  std::optional<int> status_;
};

}  // namespace tavreldi
