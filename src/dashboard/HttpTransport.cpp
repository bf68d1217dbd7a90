// The dashboard's HTTP exchanges on cpp-httplib: HTTPS with certificate verification, clear
// text only for loopback hosts (checked when the endpoint was parsed).

#define CPPHTTPLIB_OPENSSL_SUPPORT
#include "dashboard/detail/HttpTransport.hpp"

#include <fmt/format.h>
#include <httplib.h>

#include <algorithm>
#include <charconv>
#include <cstdint>
#include <memory>

#include "dashboard/detail/ConnectionBytes.hpp"
#include "dashboard/detail/RequestWatchdog.hpp"
#include "tavreldi/dashboard/DashboardError.hpp"

namespace tavreldi::detail {
namespace {

constexpr std::size_t kExcerptLength = 200;
// What a connection may receive besides the answer's body: TLS handshake, status line, headers,
// chunk and record framing.
constexpr std::uint64_t kFramingAllowance = std::uint64_t{64} << 10U;

std::unique_ptr<httplib::ClientImpl> makeClient(const DashboardEndpoint& endpoint,
                                                const TransportSettings& settings) {
  if (!endpoint.secure) return std::make_unique<httplib::ClientImpl>(endpoint.host, endpoint.port);
  auto client = std::make_unique<httplib::SSLClient>(endpoint.host, endpoint.port);
  client->enable_server_certificate_verification(true);
  if (settings.caFile) client->set_ca_cert_path(*settings.caFile);
  return client;
}

// What went wrong, in words; the library's own error name follows in parentheses.
std::string describe(httplib::Error error) {
  switch (error) {
    case httplib::Error::Connection:
      return "could not connect to the server";
    case httplib::Error::ConnectionTimeout:
      return "connecting to the server timed out";
    case httplib::Error::Read:
      return "no complete answer could be read";
    case httplib::Error::Write:
      return "the request could not be sent";
    case httplib::Error::SSLConnection:
      return "the TLS connection could not be established";
    case httplib::Error::SSLLoadingCerts:
      return "the trusted certificates could not be loaded";
    case httplib::Error::SSLServerVerification:
      return "the server certificate could not be verified";
    default:
      return "the request failed";
  }
}

// What went wrong when no complete answer arrived, in words; the library's own error name
// follows in parentheses. A request that ran out of time says so, and in which phase.
std::string failureText(const httplib::ClientImpl& client, bool secure, httplib::Error error,
                        bool timedOut, std::chrono::milliseconds timeout) {
  if (timedOut) {
    const char* phase = "while reading the answer";
    if (error == httplib::Error::Connection || error == httplib::Error::ConnectionTimeout) {
      phase = "while connecting";
    } else if (error == httplib::Error::SSLConnection) {
      phase = "during the TLS handshake";
    } else if (error == httplib::Error::Write) {
      phase = "while sending";
    }
    return fmt::format("the request timed out after {} ms {}", timeout.count(), phase);
  }
  std::string text = describe(error);
  if (secure && error == httplib::Error::SSLServerVerification) {
    const long verifyResult =
        static_cast<const httplib::SSLClient&>(client).get_openssl_verify_result();
    text += verifyResult != X509_V_OK
                ? fmt::format(": {}", X509_verify_cert_error_string(verifyResult))
                : std::string(": it does not match the host name");
  }
  return text + fmt::format(" ({})", httplib::to_string(error));
}

// The answer's declared length exceeds `limit`.
bool declaresMoreThan(const httplib::Response& response, std::size_t limit) {
  const std::string declared = response.get_header_value("Content-Length");
  std::uint64_t length = 0;
  const auto [end, error] =
      std::from_chars(declared.data(), declared.data() + declared.size(), length);
  return error == std::errc{} && end == declared.data() + declared.size() && length > limit;
}

}  // namespace

HttpAnswer sendHttpRequest(const DashboardEndpoint& endpoint, const TransportSettings& settings,
                           const HttpRequest& request) {
  // Counts what the connection receives, headers included, which the library reads whole.
  ConnectionBytes received;
  const std::uint64_t receiveLimit =
      std::min<std::uint64_t>(settings.maxAnswerBytes, UINT64_MAX - kFramingAllowance) +
      kFramingAllowance;
  const auto client = makeClient(endpoint, settings);
  client->set_socket_options([&received](int socket) { received.follow(socket); });
  // The library limits each step; the watchdog below limits the whole exchange.
  client->set_connection_timeout(settings.timeout);
  client->set_read_timeout(settings.timeout);
  client->set_write_timeout(settings.timeout);
  client->set_keep_alive(false);
  client->set_follow_location(false);

  httplib::Request out;
  out.method = request.method;
  out.path = endpoint.pathFor(request.path);
  out.headers = {{"Accept", "application/json"}, {"User-Agent", "TavrelDI-Dashboard"}};
  if (settings.bearerToken) out.headers.emplace("Authorization", "Bearer " + *settings.bearerToken);
  if (!request.body.empty()) {
    out.body = request.body;
    out.headers.emplace("Content-Type", "application/json");
  }
  // The body is kept here, up to the limit; reading stops at the first byte over it.
  HttpAnswer answer;
  bool tooLarge = false;
  out.response_handler = [&](const httplib::Response& response) {
    tooLarge = declaresMoreThan(response, settings.maxAnswerBytes);
    return !tooLarge;
  };
  out.content_receiver = [&](const char* data, std::size_t length, std::uint64_t, std::uint64_t) {
    tooLarge = length > settings.maxAnswerBytes - answer.body.size();
    if (!tooLarge) answer.body.append(data, length);
    return !tooLarge;
  };

  httplib::Response response;
  httplib::Error error = httplib::Error::Success;
  bool answered = false;
  RequestWatchdog::Verdict verdict = RequestWatchdog::Verdict::none;
  const auto deadline = std::chrono::steady_clock::now() + settings.timeout;
  {
    const RequestWatchdog watchdog(
        deadline, [&] { return received.received() > receiveLimit; },
        [&client] { client->stop(); });
    answered = client->send(out, response, error);
    verdict = watchdog.verdict();
  }
  // A failure after too much was received is the answer's size, also when the library gave up
  // before the watchdog looked.
  tooLarge = tooLarge || verdict == RequestWatchdog::Verdict::overLimit ||
             (!answered && received.received() > receiveLimit);
  // The library's own time limit for one step is the whole request's, so a failure once the
  // deadline has passed is the time limit too, also when the library gave up before the
  // watchdog's thread got to run (as on a loaded machine).
  const bool timedOut = verdict == RequestWatchdog::Verdict::timedOut ||
                        (!answered && std::chrono::steady_clock::now() >= deadline);
  const auto fail = [&](DashboardErrorKind kind, const std::string& what) {
    const std::string message = fmt::format("Dashboard request {} {} failed: {}", request.method,
                                            endpoint.urlFor(request.path), what);
    return DashboardError(kind, redact(message, settings.bearerToken));
  };
  if (tooLarge) {
    throw fail(DashboardErrorKind::answerTooLarge,
               fmt::format("the answer is larger than the limit of {} bytes (maxAnswerBytes)",
                           settings.maxAnswerBytes));
  }
  if (!answered || timedOut) {
    throw fail(DashboardErrorKind::transport,
               failureText(*client, endpoint.secure, error, timedOut, settings.timeout));
  }
  answer.status = response.status;
  return answer;
}

std::string redact(std::string text, const std::optional<std::string>& secret) {
  if (!secret || secret->empty()) return text;
  constexpr std::string_view replacement = "[redacted]";
  for (auto at = text.find(*secret); at != std::string::npos;
       at = text.find(*secret, at + replacement.size())) {
    text.replace(at, secret->size(), replacement);
  }
  return text;
}

std::string redactedExcerpt(std::string_view body, const std::optional<std::string>& secret) {
  return bodyExcerpt(redact(std::string(body), secret));
}

std::string bodyExcerpt(std::string_view body) {
  std::string out;
  std::size_t characters = 0;
  std::size_t i = 0;
  while (i < body.size() && characters < kExcerptLength) {
    const auto lead = static_cast<unsigned char>(body[i]);
    std::size_t length = lead < 0x80    ? 1
                         : lead >= 0xF0 ? 4
                         : lead >= 0xE0 ? 3
                         : lead >= 0xC0 ? 2
                                        : 1;
    length = std::min(length, body.size() - i);
    if (lead < 0x20 || lead == 0x7f) {
      out += ' ';
    } else {
      out.append(body.substr(i, length));
    }
    i += length;
    ++characters;
  }
  if (i < body.size()) out += "...";
  return out;
}

}  // namespace tavreldi::detail
