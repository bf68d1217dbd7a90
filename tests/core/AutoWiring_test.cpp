#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <set>

#include "support/AsyncTest.hpp"
#include "tavreldi/core/ContainerBuilder.hpp"
#include "tavreldi/core/LineWriter.hpp"
#include "tavreldi/core/RegistrationValidationError.hpp"

namespace tavreldi {
namespace {

using Names = std::vector<std::string>;
using S = DependencyScope;
template <class T>
using P = std::shared_ptr<T>;

struct Config {};
struct Logger {
  explicit Logger(P<Config> c) : config(std::move(c)) {}
  P<Config> config;
};
struct HttpClient {
  virtual ~HttpClient() = default;
};
struct FakeHttpClient final : HttpClient {
  FakeHttpClient(const P<Config>& /*unused*/, const P<const Logger>& l) : logger(l) {}
  P<const Logger> logger;
};
struct UserRepository {  // an aggregate: its leading shared_ptr members
  P<HttpClient> http;
  P<Logger> logger;
  std::string table = "users";
};
struct Overloaded {  // two constructors: the type names its dependencies
  using Dependencies = tavreldi::Dependencies<Logger>;
  Overloaded() = default;
  explicit Overloaded(P<Logger> l) : logger(std::move(l)) {}
  P<Logger> logger;
};
struct Cache {  // a constructor template: the call names them
  template <class... A>
  explicit Cache(A&&... /*unused*/) {}
};
template <int I>
struct Part {};
template <int I>
using R = const P<Part<I>>&;
struct Ten {  // NOLINTNEXTLINE(modernize-pass-by-value): deduction reads const& too
  Ten(R<0>, R<1>, R<2>, R<3>, R<4>, R<5>, R<6>, R<7>, R<8>, R<9> l) : last(l) {}
  P<Part<9>> last;
};

template <int... Is>
void registerParts(AdvancedDIContainer& c, std::integer_sequence<int, Is...> /*unused*/) {
  (c.registerType<Part<Is>>(S::transient), ...);
}

class AutoWiring : public testing::AsyncTest {
 protected:
  std::shared_ptr<AdvancedDIContainerImpl> container = makeContainer();
};

TEST_F(AutoWiring, DeclaresEveryDependencyBeforeAnythingRunsAndWiresTheInstances) {
  LineRecorder quiet;
  container->registerType<Config>(S::singleton);
  container->registerType<Logger>(S::singleton, DependencyLifetime::session);
  container->registerType<HttpClient, FakeHttpClient>(S::singleton);
  container->registerType<UserRepository>(S::scoped);
  container->registerType<Overloaded>(S::transient);
  container->registerType<Cache, Dependencies<Config, HttpClient>>(S::transient);
  registerParts(*container, std::make_integer_sequence<int, 10>{});
  container->registerType<Ten>(S::transient);

  Names tenParts;
  for (int i = 0; i < 10; ++i) tenParts.push_back("Part<" + std::to_string(i) + ">");
  const std::vector<std::pair<std::string, Names>> expected{
      {"Config", {}},
      {"Logger", {"Config"}},
      {"HttpClient", {"Config", "Logger"}},
      {"UserRepository", {"HttpClient", "Logger"}},
      {"Overloaded", {"Logger"}},
      {"Cache", {"Config", "HttpClient"}},
      {"Ten", tenParts}};
  std::set<std::pair<std::string, std::string>> declaredEdges;
  for (const auto& [name, dependencies] : expected) {
    EXPECT_EQ(container->getMetadata(name)->dependencies, dependencies) << name;
    for (const auto& d : dependencies) declaredEdges.emplace(name, d);
  }
  EXPECT_EQ(container->getMetadata("Logger")->lifetime, DependencyLifetime::session);
  const DependencyGraph graph = run(container->getDependencyGraph());
  std::set<std::pair<std::string, std::string>> graphEdges;
  for (const auto& edge : graph.edges) graphEdges.emplace(edge.from.str(), edge.to.str());
  EXPECT_EQ(graphEdges, declaredEdges);
  EXPECT_TRUE(container->getDependencyMap().empty());  // nothing resolved: all declared

  const auto repository = run(container->resolve<UserRepository>());
  const auto http = std::dynamic_pointer_cast<FakeHttpClient>(repository->http);
  ASSERT_NE(http, nullptr);
  EXPECT_EQ(http->logger, repository->logger);  // one singleton
  EXPECT_EQ(repository->logger->config, run(container->resolve<Config>()));
  EXPECT_EQ(repository->table, "users");
  EXPECT_NE(run(container->resolve<Overloaded>())->logger, nullptr);
  EXPECT_NE(run(container->resolve<Ten>())->last, nullptr);
  (void)run(container->resolve<Cache>());
}

// What a hand-written factory of the same services does, dependency by dependency.
asio::awaitable<P<HttpClient>> makeHttp(AdvancedDIContainer& c) {
  auto config = co_await c.resolve<Config>();
  auto logger = co_await c.resolve<Logger>();
  co_return std::make_shared<FakeHttpClient>(config, logger);
}
asio::awaitable<P<UserRepository>> makeRepository(AdvancedDIContainer& c) {
  auto http = co_await c.resolve<HttpClient>();
  auto logger = co_await c.resolve<Logger>();
  co_return std::make_shared<UserRepository>(UserRepository{http, logger});
}

TEST_F(AutoWiring, ResolvesWithTheLinesAndEdgesOfTheHandWrittenFactories) {
  std::vector<Names> lines;
  std::vector<DependencyMap> observed;
  for (const bool autoWired : {true, false}) {
    LineRecorder recorder;
    auto c = makeContainer();
    c->registerType<Config>(S::singleton);
    if (autoWired) {
      c->registerType<Logger>(S::lazy);
      c->registerType<HttpClient, FakeHttpClient>(S::transient);
      c->registerType<UserRepository>(S::scoped);
    } else {
      c->registerAsync<Logger>(S::lazy, resolving<Logger, Config>);
      c->registerAsync<HttpClient>(S::transient, makeHttp);
      c->registerAsync<UserRepository>(S::scoped, makeRepository);
    }
    (void)run(c->resolve<UserRepository>());
    (void)run(c->resolve<HttpClient>());
    lines.push_back(testing::normaliseDurations(recorder.lines()));
    observed.push_back(c->getDependencyMap());
  }
  EXPECT_EQ(lines[0][1], "🔧 Registered Logger with scope: lazy and dependencies: []");
  Names tracked;  // in parameter order
  std::copy_if(lines[0].begin(), lines[0].end(), std::back_inserter(tracked),
               [](const std::string& line) { return line.starts_with("🔗"); });
  EXPECT_EQ(tracked, (Names{"🔗 Dependency tracked: UserRepository -> HttpClient",
                            "🔗 Dependency tracked: HttpClient -> Config",
                            "🔗 Dependency tracked: HttpClient -> Logger"}));
  EXPECT_EQ(lines[0], lines[1]);
  EXPECT_EQ(observed[0], observed[1]);
}

// Three problems of three kinds, in registration order; the cycle is reported once, from its
// first member.
struct Session {
  Session() { ++made; }
  static inline int made = 0;
};
struct Holder {
  P<Session> session;
};
struct Missing {};
struct Orphan {
  P<Missing> missing;
};
struct CycleB;
struct CycleA {
  P<CycleB> b;
};
struct CycleB {
  P<CycleA> a;
};

TEST_F(AutoWiring, ValidationFindsEveryKindOfProblemAtOnceWithoutRunningFactories) {
  LineRecorder quiet;
  ContainerBuilder builder{DIContainerConfig::strict(), io.get_executor()};
  builder.registerType<CycleB>(S::transient)
      .registerType<Session>(S::scoped)
      .registerType<Holder>(S::lazy)
      .registerType<Orphan>(S::transient)
      .registerType<CycleA>(S::singleton)
      .validateOnBuild();
  using Problem = RegistrationProblem;
  using K = RegistrationProblemKind;
  const RegistrationReport expected{
      {Problem{K::circularDependency, "CycleB", Names{"CycleB", "CycleA", "CycleB"},
               "Circular dependency: CycleB -> CycleA -> CycleB"},
       Problem{K::captiveDependency, "Holder", Names{"Holder", "Session"},
               "Holder (lazy) depends on Session (scoped), which it would keep beyond its scope"},
       Problem{K::missingDependency, "Orphan", Names{"Orphan", "Missing"},
               "Orphan depends on Missing, which is not registered"}}};
  const auto error =
      testing::caught<RegistrationValidationError>([&] { (void)run(builder.build()); }).value();
  EXPECT_EQ(error.report(), expected);
  EXPECT_EQ(std::string(error.what()), "3 registration problems: " + expected.problems[0].message +
                                           "; " + expected.problems[1].message + "; " +
                                           expected.problems[2].message);
  EXPECT_EQ(run(builder.container()->validateRegistrations()), expected);
  EXPECT_EQ(Session::made, 0);

  const nlohmann::json json = expected;
  EXPECT_EQ(json["problems"][1]["kind"], "captiveDependency");
  EXPECT_EQ(json.get<RegistrationReport>(), expected);
  nlohmann::json wrong = json;
  wrong["problems"][0]["kind"] = "cycle";
  EXPECT_THROW((void)wrong.get<RegistrationReport>(), DecodingError);
}

}  // namespace
}  // namespace tavreldi
