// The dashboard records: the summary taken from a graph, the JSON forms and their strict
// decoding, and the checks on the base URL and on body excerpts.

#include "tavreldi/dashboard/DashboardSummary.hpp"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <string>

#include "dashboard/detail/DashboardEndpoint.hpp"
#include "dashboard/detail/HttpTransport.hpp"
#include "support/AsyncTest.hpp"
#include "support/GraphFixture.hpp"
#include "support/JsonDecoding.hpp"
#include "tavreldi/dashboard/DashboardData.hpp"
#include "tavreldi/dashboard/DashboardError.hpp"

namespace tavreldi {
namespace {

Timestamp at(std::string_view text) { return parseIso8601(text).value(); }

DependencyGraph sampleGraph() {
  DependencyGraph graph;
  graph.nodes = {testing::node("UserAPI", DependencyScope::singleton, {}, 1),
                 testing::node("UserRepository", DependencyScope::scoped, {}, 2, true)};
  graph.nodes[0].type = NodeType::service;
  graph.nodes[1].type = NodeType::repository;
  graph.edges = {testing::edge("UserRepository", "UserAPI", true, "", RelationshipType::dataFlow)};
  graph.analysis.totalNodes = 2;
  graph.analysis.totalDependencies = 1;
  graph.analysis.maxDepth = 2;
  graph.analysis.hasCircularDependencies = true;
  graph.analysis.circularDependencyChains = {{"UserRepository", "UserAPI", "UserRepository"}};
  graph.analysis.healthScore.overall = 72.5;
  graph.analysis.cacheEfficiency = 0.75;
  return graph;
}

TEST(DashboardSummary, TakesTheIdentifyingFieldsAndFiguresOfTheGraph) {
  const auto expected = nlohmann::json::parse(R"({
    "nodes": [
      {"id": "UserAPI", "scope": "singleton", "layer": 1, "type": "Service", "isCircular": false},
      {"id": "UserRepository", "scope": "scoped", "layer": 2, "type": "Repository",
       "isCircular": true}],
    "edges": [{"from": "UserRepository", "to": "UserAPI", "relationshipType": "DataFlow",
               "isCircular": true}],
    "analysis": {"totalNodes": 2, "totalDependencies": 1, "maxDepth": 2,
                 "hasCircularDependencies": true,
                 "circularDependencyChains": [["UserRepository", "UserAPI", "UserRepository"]],
                 "healthScore": 72.5, "cacheEfficiency": 0.75},
    "timestamp": "2026-11-22T10:15:30.123Z"})");
  const Timestamp stamp = at("2026-11-22T10:15:30.123Z");
  const DashboardSummary summary = makeDashboardSummary(sampleGraph(), stamp);
  EXPECT_EQ(nlohmann::json(summary), expected);
  EXPECT_EQ(nlohmann::json::parse(dashboardSummaryJson(sampleGraph(), stamp)), expected);
  EXPECT_EQ(expected.get<DashboardSummary>(), summary);

  EXPECT_EQ(testing::decoded<DashboardSummary>(
                testing::changed(expected, "remove", "/analysis/cacheEfficiency")),
            "Invalid value for key \"analysis\": Key not found: \"cacheEfficiency\"");
}

TEST(DashboardData, HasAStrictJsonForm) {
  const auto json = nlohmann::json::parse(R"({
    "updatedAt": "2026-01-02T03:04:05.678Z", "totalNodes": 3, "totalDependencies": 2,
    "healthScore": 88.5, "hasCircularDependencies": false,
    "services": [{"id": "Logger", "scope": "transient", "layer": 0},
                 {"id": "UserAPI", "scope": "singleton", "layer": 1}]})");
  const std::vector<DashboardService> services{{"Logger", DependencyScope::transient, 0},
                                               {"UserAPI", DependencyScope::singleton, 1}};
  const DashboardData expected{at("2026-01-02T03:04:05.678Z"), 3, 2, 88.5, false, services};
  EXPECT_EQ(json.get<DashboardData>(), expected);
  EXPECT_EQ(nlohmann::json(expected), json);

  using testing::changed;
  const std::pair<nlohmann::json, std::string> faults[] = {
      {changed(json, "remove", "/services/1/layer"),
       "Invalid value for key \"services\": Key not found: \"layer\""},
      {changed(json, "replace", "/updatedAt", "yesterday"),
       "Data corrupted for key \"updatedAt\": expected an ISO 8601 date, found \"yesterday\""},
      {changed(json, "remove", "/hasCircularDependencies"),
       "Key not found: \"hasCircularDependencies\""}};
  for (const auto& [document, text] : faults) {
    EXPECT_EQ(testing::decoded<DashboardData>(document), text);
  }
}

TEST(DashboardEndpoint, ParsesTheBaseUrlAndRefusesUnsafeOrMalformedOnes) {
  const auto plain = detail::parseDashboardUrl("HTTPS://Dash.Example.com/tenant-7//");
  EXPECT_EQ(std::tie(plain.secure, plain.host, plain.port),
            std::tuple(true, "dash.example.com", 443));
  EXPECT_EQ(plain.urlFor("/getUserDashboardData"),
            "https://dash.example.com:443/tenant-7/getUserDashboardData");
  const auto ipv6 = detail::parseDashboardUrl("http://[::1]:8080");
  EXPECT_EQ(std::tie(ipv6.secure, ipv6.host), std::tuple(false, "::1"));
  EXPECT_EQ(ipv6.urlFor("/x"), "http://[::1]:8080/x");
  EXPECT_EQ(detail::parseDashboardUrl("http://localhost").port, 80);

  // Clear text only to the loopback interface; no credentials, query or bad port or host.
  const std::vector<std::pair<std::string, std::string>> refusals{
      {"http://127.0.0.2:80",
       "HTTPS is required: \"http://127.0.0.2:80\" uses clear-text http://, which is allowed "
       "only for localhost, 127.0.0.1 and [::1]"},
      {"https://user:pw@example.com",
       "the base URL must not contain user information; use the bearer token instead"},
      {"ftp://example.com", "the base URL \"ftp://example.com\" must start with https://"},
      {"https://example.com:0",
       "the port of the base URL \"https://example.com:0\" must be a number from 1 to 65535"},
      {"https://example.com/a?key=secret",  // quoted without the query, where secrets go
       "the base URL \"https://example.com/a?...\" must not have a query or fragment"},
      {"https://:443/", "the base URL \"https://:443/\" has no valid host name"}};
  for (const auto& [url, message] : refusals) {
    const auto error =
        testing::caught<DashboardError>([&url = url] { (void)detail::parseDashboardUrl(url); });
    EXPECT_EQ(error.value().kind(), DashboardErrorKind::invalidConfiguration) << url;
    EXPECT_EQ(error->what(), "Invalid dashboard configuration: " + message);
  }
}

TEST(DashboardText, ExcerptsBodiesAndRedactsTheToken) {
  EXPECT_EQ(detail::bodyExcerpt("line one\nline\ttwo"), "line one line two");
  EXPECT_EQ(detail::bodyExcerpt(std::string(200, 'a')), std::string(200, 'a'));
  // 199 ASCII characters then a two-byte "é" and more: the "é" is the 200th character, whole.
  EXPECT_EQ(detail::bodyExcerpt(std::string(199, 'a') + "\xC3\xA9xyz"),
            std::string(199, 'a') + "\xC3\xA9...");
  EXPECT_EQ(detail::redactedExcerpt("no token", std::nullopt), "no token");
}

}  // namespace
}  // namespace tavreldi
