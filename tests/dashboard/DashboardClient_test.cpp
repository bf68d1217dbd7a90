// The dashboard client against real servers on the loopback interface.

#include "tavreldi/dashboard/DashboardClient.hpp"

#include <gtest/gtest.h>

#include <asio.hpp>
#include <nlohmann/json.hpp>
#include <string>
#include <thread>

#include "support/AsyncTest.hpp"
#include "support/LoopbackHttpServer.hpp"

namespace tavreldi {
namespace {

using std::chrono::milliseconds;
using testing::LoopbackHttpServer;
using testing::ScriptedAnswer;
using testing::TestCertificates;

constexpr const char* kToken = "tok-9f8e7d6c5b4a";

const std::string kDataJson = R"({"updatedAt": "2026-03-04T05:06:07.089Z", "totalNodes": 2,
  "totalDependencies": 1, "healthScore": 91.25, "hasCircularDependencies": true,
  "services": [{"id": "UserAPI", "scope": "singleton", "layer": 1}]})";

DashboardConfig configFor(std::string url, int retryCount = 0) {
  return DashboardConfig{std::move(url), kToken, milliseconds(5000), retryCount, std::nullopt};
}

DependencyGraph smallGraph() {
  DependencyGraph graph;
  graph.nodes.emplace_back().id = "UserAPI";
  graph.analysis.totalNodes = 1;
  return graph;
}

class DashboardClientTest : public testing::AsyncTest {
 protected:
  /// Calls `operation`, expecting a DashboardError of `kind` and `status` whose text holds
  /// `part` and never the token; returns the error's text.
  template <class Operation>
  static std::string failing(Operation operation, DashboardErrorKind kind, const std::string& part,
                             std::optional<int> status = std::nullopt) {
    try {
      operation();
    } catch (const DashboardError& error) {
      const std::string text = error.what();
      EXPECT_EQ(error.kind(), kind) << text;
      EXPECT_EQ(error.status(), status) << text;
      EXPECT_NE(text.find(part), std::string::npos) << text;
      EXPECT_EQ(text.find(kToken), std::string::npos) << text;
      return text;
    }
    ADD_FAILURE() << "no DashboardError";
    return {};
  }

  /// `failing` for a dashboard operation, run to completion.
  template <class T>
  std::string failure(asio::awaitable<T> operation, DashboardErrorKind kind,
                      const std::string& part, std::optional<int> status = std::nullopt) {
    return failing([&] { (void)run(std::move(operation)); }, kind, part, status);
  }
};

TEST_F(DashboardClientTest, UploadPostsTheSummaryOnceWithTokenAndJsonType) {
  LoopbackHttpServer server({{201, R"({"ok":true})"}});
  const DashboardClient client(configFor(server.url() + "/tenant-7/"));
  DashboardSummary summary = makeDashboardSummary(smallGraph(), std::chrono::system_clock::now());
  const DashboardUploadResult result = run(client.uploadSummary(summary));
  EXPECT_EQ(std::tie(result.status, result.responseBody, result.summary),
            std::tuple(201, R"({"ok":true})", summary));

  (void)run(client.uploadSummary(smallGraph()));
  const auto requests = server.requests();
  ASSERT_EQ(requests.size(), 2U);
  for (const auto& request : requests) {
    EXPECT_EQ(request.method + " " + request.path, "POST /tenant-7/api/updateUserDashboard");
    EXPECT_EQ(request.header("Authorization"), std::string("Bearer ") + kToken);
    EXPECT_EQ(request.header("Content-Type"), "application/json");
  }
  EXPECT_EQ(nlohmann::json::parse(requests[0].body), nlohmann::json(summary));
  const auto sent = nlohmann::json::parse(requests[1].body).get<DashboardSummary>();
  EXPECT_EQ(std::tie(sent.nodes, sent.analysis), std::tie(summary.nodes, summary.analysis));
}

TEST_F(DashboardClientTest, FetchDecodesTheDataOffTheCallersThreadEvenAfterTheClientIsGone) {
  // The answer waits until the caller's thread, still free, releases it.
  LoopbackHttpServer server({{200, kDataJson, milliseconds(10'000)}});
  // The operation outlives the client that started it.
  auto client = std::make_unique<DashboardClient>(configFor(server.url()));
  asio::awaitable<DashboardData> operation = client->fetchDashboardData();
  client.reset();
  bool releasedWhilePending = false;
  std::thread::id resumedOn;
  auto fetch = [&]() -> asio::awaitable<DashboardData> {
    DashboardData data = co_await std::move(operation);
    resumedOn = std::this_thread::get_id();
    co_return data;
  };
  auto releaser = [&]() -> asio::awaitable<void> {
    asio::steady_timer timer(co_await asio::this_coro::executor);
    while (server.requests().empty()) {
      timer.expires_after(milliseconds(5));
      co_await timer.async_wait(asio::use_awaitable);
    }
    releasedWhilePending = true;
    server.release();
  };
  asio::co_spawn(io, releaser(), asio::detached);
  const DashboardData data = run(fetch());
  EXPECT_TRUE(releasedWhilePending);
  EXPECT_EQ(resumedOn, std::this_thread::get_id());
  EXPECT_EQ(data, nlohmann::json::parse(kDataJson).get<DashboardData>());
  const auto requests = server.requests();
  ASSERT_EQ(requests.size(), 1U);
  EXPECT_EQ(requests[0].method + " " + requests[0].path, "GET /getUserDashboardData");
  EXPECT_EQ(requests[0].header("Authorization"), std::string("Bearer ") + kToken);
}

TEST_F(DashboardClientTest, HttpsVerifiesTheServerCertificate) {
  const auto& certificates = TestCertificates::get();
  LoopbackHttpServer server({{200, "{}"}}, certificates.serverCertificateFile,
                            certificates.serverKeyFile);
  DashboardConfig trusting = configFor(server.url());
  trusting.caFile = certificates.caFile;
  EXPECT_EQ(run(DashboardClient(trusting).uploadSummary(smallGraph())).status, 200);
  ASSERT_EQ(server.requests().size(), 1U);

  // Without the test CA the system's authorities do not vouch for the server.
  failure(DashboardClient(configFor(server.url())).uploadSummary(smallGraph()),
          DashboardErrorKind::transport,
          "Dashboard request POST " + server.url() +
              "/api/updateUserDashboard failed: the server certificate could not be verified: "
              "unable to get local issuer certificate (SSLServerVerification)");
  EXPECT_EQ(server.requests().size(), 1U);
}

TEST_F(DashboardClientTest, StatusFailuresCarryStatusAndBodyStartAndRetryOnlyReads) {
  // The body echoes the token: the message must still not show it.
  const std::string body = std::string(kToken) + " " + std::string(250, 'x');
  LoopbackHttpServer missing({{404, body}});
  const std::string text = failure(
      DashboardClient(configFor(missing.url(), 3)).fetchDashboardData(),
      DashboardErrorKind::httpStatus,
      "Dashboard request GET " + missing.url() + "/getUserDashboardData answered HTTP 404: ", 404);
  // The excerpt is the body's first 200 characters, with the token redacted.
  EXPECT_EQ(text.substr(text.find(": ") + 2), "[redacted] " + std::string(200 - 11, 'x') + "...");
  EXPECT_EQ(missing.requests().size(), 1U);  // 4xx is not retried
  // Nor is any fragment of a token shown that straddles the excerpt's end.
  LoopbackHttpServer cut({{404, std::string(190, 'x') + kToken + std::string(50, 'y')}});
  failure(DashboardClient(configFor(cut.url())).fetchDashboardData(),
          DashboardErrorKind::httpStatus,
          "answered HTTP 404: " + std::string(190, 'x') + "[redacted]...", 404);

  LoopbackHttpServer flaky({{500, "busy"}, {200, kDataJson}});
  EXPECT_EQ(run(DashboardClient(configFor(flaky.url(), 1)).fetchDashboardData()).totalNodes, 2);
  EXPECT_EQ(flaky.requests().size(), 2U);

  LoopbackHttpServer failing({{500, "down"}});
  failure(DashboardClient(configFor(failing.url(), 3)).uploadSummary(smallGraph()),
          DashboardErrorKind::httpStatus, "answered HTTP 500: down", 500);
  EXPECT_EQ(failing.requests().size(), 1U);  // uploads are never repeated
}

TEST_F(DashboardClientTest, TransportFailuresAndUndecodableAnswers) {
  // One time limit for the whole request: an answer that is late, or that drips in a byte at a
  // time with each read well within the limit, fails alike.
  for (const ScriptedAnswer& late : {ScriptedAnswer{200, kDataJson, milliseconds(10'000)},
                                     ScriptedAnswer{200, kDataJson, {}, milliseconds(50)}}) {
    LoopbackHttpServer slow({late});
    DashboardConfig impatient = configFor(slow.url());
    impatient.timeout = milliseconds(200);
    failure(DashboardClient(impatient).fetchDashboardData(), DashboardErrorKind::transport,
            "/getUserDashboardData failed: the request timed out after 200 ms while reading the "
            "answer");
    slow.stop();
  }

  // Answers over the size limit, declared or sent chunked, are neither read further nor retried;
  // one at the limit is accepted.
  for (const milliseconds dripEvery : {milliseconds(0), milliseconds(1)}) {
    LoopbackHttpServer server({{200, std::string(101, ' '), {}, dripEvery}});
    DashboardConfig small = configFor(server.url(), 2);
    small.maxAnswerBytes = 100;
    failure(DashboardClient(small).fetchDashboardData(), DashboardErrorKind::answerTooLarge,
            "/getUserDashboardData failed: the answer is larger than the limit of 100 bytes "
            "(maxAnswerBytes)");
    EXPECT_EQ(server.requests().size(), 1U);
    small.maxAnswerBytes = 101;
    EXPECT_EQ(run(DashboardClient(small).uploadSummary(smallGraph())).responseBody.size(), 101U);
  }
  // Headers count as well, with some room for them: the library reads them whole.
  LoopbackHttpServer padded({{200, "{}", {}, {}, std::size_t{1} << 20U}});
  DashboardConfig small = configFor(padded.url());
  small.maxAnswerBytes = 100;
  failure(DashboardClient(small).fetchDashboardData(), DashboardErrorKind::answerTooLarge,
          "the answer is larger than the limit of 100 bytes");

  LoopbackHttpServer closed({{200, "{}"}});
  const std::string closedUrl = closed.url();
  closed.stop();
  failure(DashboardClient(configFor(closedUrl, 1)).fetchDashboardData(),
          DashboardErrorKind::transport,
          "Dashboard request GET " + closedUrl +
              "/getUserDashboardData failed: could not connect to the server (Connection)");

  nlohmann::json incomplete = nlohmann::json::parse(kDataJson);
  incomplete.erase("totalNodes");
  LoopbackHttpServer wrong({{200, incomplete.dump()}, {200, std::string("{") + kToken}});
  const DashboardClient client(configFor(wrong.url()));
  failure(client.fetchDashboardData(), DashboardErrorKind::decoding,
          "Dashboard answer to GET " + wrong.url() +
              "/getUserDashboardData does not decode: Key not found: \"totalNodes\"");
  // The parser's quote of what it last read may cut the token: it is left out.
  failure(client.fetchDashboardData(), DashboardErrorKind::decoding,
          "does not decode: not JSON: parse error at line 1, column 3: syntax error while parsing "
          "object key - invalid literal; expected string literal");
}

TEST_F(DashboardClientTest, RefusesBadConfigurationBeforeSendingAnything) {
  const auto refused = [](const DashboardConfig& config, const std::string& part) {
    failing([&] { (void)DashboardClient(config); }, DashboardErrorKind::invalidConfiguration, part);
  };
  // Refused while parsing the URL (no name lookup, no socket; DashboardEndpoint's test has the
  // refusals), the URL quoted with the token redacted wherever it is.
  refused(configFor("http://example.com/" + std::string(kToken)),
          "Invalid dashboard configuration: HTTPS is required: \"http://example.com/[redacted]\" "
          "uses clear-text http://");
  const std::string remote = "https://example.com";
  refused({remote, kToken, milliseconds(0), 0, {}}, "the timeout must be positive, found 0 ms");
  refused(configFor(remote, -1), "the retry count must be from 0 to 10, found -1");
  refused({remote, kToken, milliseconds(5000), 0, {}, 0},
          "the answer size limit must be positive, found 0 bytes");
  refused({remote, kToken, milliseconds(5000), 0, "/nonexistent/ca.pem"},
          "cannot read the CA file \"/nonexistent/ca.pem\"");
  refused({remote, std::string(kToken) + "\r\nX-Injected: 1", milliseconds(5000), 0, {}},
          "the bearer token contains a line break");
}

}  // namespace
}  // namespace tavreldi
