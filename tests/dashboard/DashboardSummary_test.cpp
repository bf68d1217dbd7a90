// The dashboard records: the summary taken from a graph, the JSON forms and their strict
// decoding, and the checks on the base URL and on body excerpts.

#include "tavreldi/dashboard/DashboardSummary.hpp"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <string>

#include "dashboard/detail/DashboardEndpoint.hpp"
#include "dashboard/detail/HttpTransport.hpp"
#include "tavreldi/dashboard/DashboardData.hpp"
#include "tavreldi/dashboard/DashboardError.hpp"

namespace tavreldi {
namespace {

Timestamp at(std::string_view text) { return parseIso8601(text).value(); }

DependencyGraph sampleGraph() {
  DependencyGraph graph;
  DependencyNode api;
  api.id = "UserAPI";
  api.scope = DependencyScope::singleton;
  api.layer = 1;
  api.type = NodeType::service;
  api.dependencies = {"Ignored"};  // not part of the summary
  DependencyNode repository;
  repository.id = "UserRepository";
  repository.scope = DependencyScope::scoped;
  repository.layer = 2;
  repository.type = NodeType::repository;
  repository.isCircular = true;
  graph.nodes = {api, repository};
  DependencyEdge edge;
  edge.from = "UserRepository";
  edge.to = "UserAPI";
  edge.relationship = "depends on";
  edge.relationshipType = RelationshipType::dataFlow;
  edge.isCircular = true;
  graph.edges = {edge};
  graph.analysis.totalNodes = 2;
  graph.analysis.totalDependencies = 1;
  graph.analysis.maxDepth = 2;
  graph.analysis.hasCircularDependencies = true;
  graph.analysis.circularDependencyChains = {{"UserRepository", "UserAPI", "UserRepository"}};
  graph.analysis.healthScore.overall = 72.5;
  graph.analysis.healthScore.performance = 10;  // only the overall score is summarised
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

  auto missing = expected;
  missing["analysis"].erase("cacheEfficiency");
  try {
    (void)missing.get<DashboardSummary>();
    FAIL() << "decoded without cacheEfficiency";
  } catch (const DecodingError& error) {
    EXPECT_STREQ(error.what(),
                 "Invalid value for key \"analysis\": Key not found: \"cacheEfficiency\"");
  }
  auto badType = expected;
  badType["edges"][0]["relationshipType"] = "dataflow";
  EXPECT_THROW((void)badType.get<DashboardSummary>(), DecodingError);
}

TEST(DashboardData, HasAStrictJsonForm) {
  const auto json = nlohmann::json::parse(R"({
    "updatedAt": "2026-01-02T03:04:05.678Z", "totalNodes": 3, "totalDependencies": 2,
    "healthScore": 88.5, "hasCircularDependencies": false,
    "services": [{"id": "Logger", "scope": "transient", "layer": 0},
                 {"id": "UserAPI", "scope": "singleton", "layer": 1}]})");
  const DashboardData expected{
      at("2026-01-02T03:04:05.678Z"),
      3,
      2,
      88.5,
      false,
      {{"Logger", DependencyScope::transient, 0}, {"UserAPI", DependencyScope::singleton, 1}}};
  EXPECT_EQ(json.get<DashboardData>(), expected);
  EXPECT_EQ(nlohmann::json(expected), json);

  const auto expectFailure = [](nlohmann::json broken, const std::string& message) {
    try {
      (void)broken.get<DashboardData>();
      ADD_FAILURE() << "decoded " << broken.dump();
    } catch (const DecodingError& error) {
      EXPECT_EQ(error.what(), message);
    }
  };
  auto noLayer = json;
  noLayer["services"][1].erase("layer");
  expectFailure(noLayer, "Invalid value for key \"services\": Key not found: \"layer\"");
  auto badDate = json;
  badDate["updatedAt"] = "yesterday";
  expectFailure(badDate,
                "Data corrupted for key \"updatedAt\": expected an ISO 8601 date, found "
                "\"yesterday\"");
  auto noFlag = json;
  noFlag.erase("hasCircularDependencies");
  expectFailure(noFlag, "Key not found: \"hasCircularDependencies\"");
}

TEST(DashboardEndpoint, ParsesTheBaseUrlAndRefusesUnsafeOrMalformedOnes) {
  const auto plain = detail::parseDashboardUrl("HTTPS://Dash.Example.com/tenant-7//");
  EXPECT_TRUE(plain.secure);
  EXPECT_EQ(plain.host, "dash.example.com");
  EXPECT_EQ(plain.port, 443);
  EXPECT_EQ(plain.urlFor("/getUserDashboardData"),
            "https://dash.example.com:443/tenant-7/getUserDashboardData");
  const auto ipv6 = detail::parseDashboardUrl("http://[::1]:8080");
  EXPECT_FALSE(ipv6.secure);
  EXPECT_EQ(ipv6.host, "::1");
  EXPECT_EQ(ipv6.urlFor("/x"), "http://[::1]:8080/x");
  EXPECT_EQ(detail::parseDashboardUrl("http://localhost").port, 80);

  const auto refused = [](std::string_view url) -> std::string {
    try {
      (void)detail::parseDashboardUrl(url);
    } catch (const DashboardError& error) {
      EXPECT_EQ(error.kind(), DashboardErrorKind::invalidConfiguration);
      return error.what();
    }
    ADD_FAILURE() << "accepted " << url;
    return {};
  };
  EXPECT_EQ(refused("http://127.0.0.2:80"),
            "Invalid dashboard configuration: HTTPS is required: \"http://127.0.0.2:80\" uses "
            "clear-text http://, which is allowed only for localhost, 127.0.0.1 and [::1]");
  EXPECT_EQ(refused("https://user:pw@example.com"),
            "Invalid dashboard configuration: the base URL must not contain user information; "
            "use the bearer token instead");
  EXPECT_EQ(refused("ftp://example.com"),
            "Invalid dashboard configuration: the base URL \"ftp://example.com\" must start "
            "with https://");
  EXPECT_NE(refused("https://example.com:0").find("must be a number from 1 to 65535"),
            std::string::npos);
  EXPECT_NE(refused("https://example.com/a?b=c").find("must not have a query or fragment"),
            std::string::npos);
  EXPECT_NE(refused("https://:443/").find("has no valid host name"), std::string::npos);
}

TEST(DashboardText, ExcerptsBodiesAndRedactsTheToken) {
  EXPECT_EQ(detail::bodyExcerpt("line one\nline\ttwo"), "line one line two");
  EXPECT_EQ(detail::bodyExcerpt(std::string(200, 'a')), std::string(200, 'a'));
  EXPECT_EQ(detail::bodyExcerpt(std::string(201, 'a')), std::string(200, 'a') + "...");
  // 199 ASCII characters then a two-byte "é" and more: the "é" is the 200th character, whole.
  EXPECT_EQ(detail::bodyExcerpt(std::string(199, 'a') + "\xC3\xA9xyz"),
            std::string(199, 'a') + "\xC3\xA9...");
  EXPECT_EQ(detail::redact("Bearer tok tok!", std::string("tok")), "Bearer [redacted] [redacted]!");
  EXPECT_EQ(detail::redact("no token", std::nullopt), "no token");
}

}  // namespace
}  // namespace tavreldi
