// The dashboard's HTTP exchanges on cpp-httplib: HTTPS with certificate verification, clear
// text only for loopback hosts (checked when the endpoint was parsed).

#define CPPHTTPLIB_OPENSSL_SUPPORT
#include "dashboard/detail/HttpTransport.hpp"

#include <fmt/format.h>
#include <httplib.h>

#include <memory>

#include "tavreldi/dashboard/DashboardError.hpp"

namespace tavreldi::detail {
namespace {

constexpr std::size_t kExcerptLength = 200;

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

std::string failureText(const httplib::ClientImpl& client, bool secure, httplib::Error error,
                        std::chrono::milliseconds elapsed, std::chrono::milliseconds timeout) {
  std::string text = describe(error);
  if (secure && error == httplib::Error::SSLServerVerification) {
    const long verifyResult =
        static_cast<const httplib::SSLClient&>(client).get_openssl_verify_result();
    text += verifyResult != X509_V_OK
                ? fmt::format(": {}", X509_verify_cert_error_string(verifyResult))
                : std::string(": it does not match the host name");
  }
  text += fmt::format(" ({})", httplib::to_string(error));
  const bool mayBeTimeout = error == httplib::Error::Read || error == httplib::Error::Write ||
                            error == httplib::Error::Connection ||
                            error == httplib::Error::ConnectionTimeout ||
                            error == httplib::Error::SSLConnection;
  if (mayBeTimeout && elapsed >= timeout) {
    text += fmt::format(", timed out after {} ms", timeout.count());
  }
  return text;
}

}  // namespace

HttpAnswer sendHttpRequest(const DashboardEndpoint& endpoint, const TransportSettings& settings,
                           const HttpRequest& request) {
  const auto client = makeClient(endpoint, settings);
  client->set_connection_timeout(settings.timeout);
  client->set_read_timeout(settings.timeout);
  client->set_write_timeout(settings.timeout);
  client->set_keep_alive(false);
  client->set_follow_location(false);

  httplib::Headers headers{{"Accept", "application/json"}, {"User-Agent", "TavrelDI-Dashboard"}};
  if (settings.bearerToken) headers.emplace("Authorization", "Bearer " + *settings.bearerToken);

  const std::string path = endpoint.pathFor(request.path);
  const auto started = std::chrono::steady_clock::now();
  const httplib::Result result = request.method == "POST"
                                     ? client->Post(path, headers, request.body, "application/json")
                                     : client->Get(path, headers);
  if (!result) {
    const auto elapsed = std::chrono::duration_cast<std::chrono::milliseconds>(
        std::chrono::steady_clock::now() - started);
    const std::string message = fmt::format(
        "Dashboard request {} {} failed: {}", request.method, endpoint.urlFor(request.path),
        failureText(*client, endpoint.secure, result.error(), elapsed, settings.timeout));
    throw DashboardError(DashboardErrorKind::transport, redact(message, settings.bearerToken));
  }
  return HttpAnswer{result->status, result->body};
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
