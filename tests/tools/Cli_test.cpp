// Runs the built tavreldi command and checks its output, files and exit statuses.

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <vector>

#include "tavreldi/graph/DependencyGraph.hpp"
#include "tavreldi/visualization/DiagramGenerators.hpp"

namespace tavreldi {
namespace {

namespace fs = std::filesystem;

struct ToolRun {
  int status = -1;  // -1 when the process did not exit normally (a crash)
  std::string out;
  std::string err;
};

std::string readFile(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream text;
  text << in.rdbuf();
  return text.str();
}

void writeFile(const fs::path& path, const std::string& text) {
  std::ofstream(path, std::ios::binary) << text;
}

std::string shellQuoted(const std::string& text) {
  std::string out = "'";
  for (const char c : text) out += c == '\'' ? std::string("'\\''") : std::string(1, c);
  return out + "'";
}

// A view model down to an API that forms a cycle with a cache.
DependencyGraph savedGraph() {
  using S = DependencyScope;
  const std::vector<std::string> names{"ProfileViewModel", "LoadProfileUseCase", "Repository<User>",
                                       "UserAPI", "Cache"};
  const std::vector<S> scopes{S::lazy, S::transient, S::scoped, S::singleton, S::singleton};
  DependencyGraph graph;
  for (std::size_t i = 0; i < names.size(); ++i) {
    const std::string& next = names[i == 4 ? 3 : i + 1];  // the cache closes the cycle
    DependencyNode& node = graph.nodes.emplace_back();
    node.id = names[i];
    node.scope = scopes[i];
    node.layer = static_cast<std::int64_t>(4 - i);
    node.dependencies = {next};
    node.isCircular = i >= 3;
    DependencyEdge& edge = graph.edges.emplace_back();
    edge.from = names[i];
    edge.to = next;
    edge.isCircular = i >= 3;
  }
  GraphAnalysis& analysis = graph.analysis;
  analysis.hasCircularDependencies = true;
  analysis.circularDependencyChains = {{"UserAPI", "Cache"}};
  analysis.healthScore = HealthScore{0.9, 0.5, 0, 80, 0.8, 0.9, 0.85};
  analysis.recommendations = {{RecommendationType::architecture, RecommendationPriority::high,
                               "Resolve Circular Dependencies",
                               "Found 2 circular dependencies that should be resolved",
                               analysis.circularDependencyChains[0], "High", EffortLevel::medium}};
  return graph;
}

class CliTest : public ::testing::Test {
 protected:
  void SetUp() override {
    const char* fromEnvironment = std::getenv("TAVRELDI_TOOL");
    tool = fromEnvironment ? fromEnvironment : TAVRELDI_BINARY_DIR "/tools/tavreldi/tavreldi";
    if (!fs::exists(tool)) GTEST_SKIP() << "the tavreldi tool is not built: " << tool;
    dir = fs::temp_directory_path() / ("tavreldi-cli-" + std::to_string(::getpid()));
    fs::create_directories(dir);
    graphFile = (dir / "graph.json").string();
    writeFile(graphFile, nlohmann::json(graph).dump(2));
  }
  void TearDown() override {
    std::error_code ignored;
    if (!dir.empty()) fs::remove_all(dir, ignored);
  }

  ToolRun run(const std::vector<std::string>& args) {
    std::string command = shellQuoted(tool);
    for (const auto& arg : args) command += " " + shellQuoted(arg);
    const fs::path out = dir / "stdout.txt", err = dir / "stderr.txt";
    command += " >" + shellQuoted(out.string()) + " 2>" + shellQuoted(err.string()) + " </dev/null";
    const int raw = std::system(command.c_str());
    ToolRun result;
    result.status = WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
    result.out = readFile(out);
    result.err = readFile(err);
    return result;
  }

  // Expects exit status 2, nothing on standard output and `message` within standard error.
  void expectRejected(const std::vector<std::string>& args, const std::string& message) {
    const ToolRun result = run(args);
    EXPECT_EQ(result.status, 2) << result.err;
    EXPECT_EQ(result.out, "");
    EXPECT_NE(result.err.find(message), std::string::npos)
        << "stderr: " << result.err << "\nexpected: " << message;
  }

  std::string tool;
  fs::path dir;
  std::string graphFile;
  const DependencyGraph graph = savedGraph();
};

TEST_F(CliTest, RendersEveryTypeFromASavedGraph) {
  // `generate` itself is checked against fixed texts with the generators.
  const std::string output = (dir / "out.txt").string();
  for (const auto type : allCases<VisualizationType>()) {
    const std::string name(toString(type));
    const ToolRun result = run({"render", graphFile, "--type", name, "--output", output});
    EXPECT_EQ(result.status, 0) << name << ": " << result.err;
    EXPECT_EQ(result.out, "") << name;
    EXPECT_EQ(readFile(output), DiagramGenerators::generate(type, graph, graph.analysis, 5))
        << name;
  }
  // The cycle below the root repeats until the depth limit, so the limit shows in the text.
  const ToolRun shallow = run({"render", graphFile, "--type", "tree", "--max-depth", "2"});
  EXPECT_EQ(shallow.status, 0);
  EXPECT_EQ(shallow.out, DiagramGenerators::generateTreeVisualization(graph, 2));
  EXPECT_NE(shallow.out, DiagramGenerators::generateTreeVisualization(graph, 5));

  const ToolRun page = run({"render", graphFile, "--type", "html", "--output", output});
  EXPECT_EQ(page.status, 0) << page.err;
  const std::string html = readFile(output);
  EXPECT_TRUE(html.starts_with("<!DOCTYPE html>"));
  EXPECT_NE(html.find(R"(Repository\u003cUser\u003e)"), std::string::npos);
}

TEST_F(CliTest, ReportPrintsTheAnalysis) {
  const ToolRun result = run({"report", graphFile});
  ASSERT_EQ(result.status, 0) << result.err;
  const auto row = [](const std::string& label, const std::string& value) {
    return "  " + label + std::string(34 - label.size(), ' ') + value;
  };
  EXPECT_TRUE(result.out.starts_with("Dependency graph: " + graphFile + "\n")) << result.out;
  for (const std::string& line : {
           row("Services", "5"),
           row("Circular dependencies", "yes (1 cycles)"),
           row("Testability", "80.0"),
           row("Overall", "0.900"),
           std::string("Cycles (1)"),
           std::string("  1. UserAPI -> Cache -> UserAPI"),
           // The longest path from the view model runs into the cycle and stops at the first
           // repeated name.
           std::string("Critical paths (3)"),
           std::string("  Critical Path 1, 6 services: ProfileViewModel -> LoadProfileUseCase "
                       "-> Repository<User> -> UserAPI -> Cache -> UserAPI"),
           std::string("  Infrastructure Cluster (5): ProfileViewModel, LoadProfileUseCase, "
                       "Repository<User>, UserAPI, Cache"),
           std::string("  1. [High] Architecture: Resolve Circular Dependencies"),
           std::string("     Found 2 circular dependencies that should be resolved"),
           std::string("     Affects: UserAPI, Cache; impact High; effort Medium"),
           std::string("Registration problems (1)"),
           std::string(
               "  1. [circularDependency] Circular dependency: UserAPI -> Cache -> UserAPI"),
       }) {
    EXPECT_NE(("\n" + result.out).find("\n" + line + "\n"), std::string::npos) << line;
  }
}

TEST_F(CliTest, BadInputIsNamedAndExitsWithStatusTwo) {
  const std::string missing = (dir / "missing.json").string();
  expectRejected({"render", missing, "--type", "tree"},
                 "tavreldi render: cannot open " + missing + ": No such file or directory");
  expectRejected({"report", missing}, "tavreldi report: cannot open " + missing);

  // Unreadable or wrong documents, read by the loader both commands share: the text of the file
  // and the expected message.
  nlohmann::json noAnalysis = graph, badLayer = graph;
  noAnalysis.erase("analysis");
  badLayer["nodes"][2]["layer"] = "top";
  const std::vector<std::pair<std::string, std::string>> files{
      {R"({"nodes": [})", "malformed JSON at byte 12"},  // the 12th byte is the brace
      {readFile(graphFile).substr(0, 100), "malformed JSON at byte 101"},
      {"", "malformed JSON at byte 1"},
      {noAnalysis.dump(), "not a dependency graph: Key not found: \"analysis\""},
      {badLayer.dump(), "Invalid value for key \"nodes\": Type mismatch for key \"layer\""},
      {"[1, 2]", "expected an object for DependencyGraph"}};
  const std::string bad = (dir / "bad.json").string();
  for (const auto& [text, message] : files) {
    writeFile(bad, text);
    expectRejected({"report", bad}, message);
  }

  expectRejected({"render", graphFile, "--type", "pie"}, "pie not in");
  expectRejected({"render", graphFile}, "--type is required");
  expectRejected({"render", graphFile, "--type", "tree", "--colour"}, "--colour");
  expectRejected({"render", graphFile, "--type", "tree", "--max-depth", "-1"},
                 "--max-depth: must not be negative");
  expectRejected({"render", graphFile, "--type", "tree", "--max-depth", "deep"}, "deep");
  expectRejected({}, "A subcommand is required");
  expectRejected({"draw"}, "unknown command \"draw\" (commands: demo, render, report");
}

TEST_F(CliTest, HelpVersionAndTheDemoPage) {
  const ToolRun version = run({"--version"});
  EXPECT_EQ(version.status, 0);
  EXPECT_EQ(version.out, "tavreldi 0.1.0\n");
  for (const auto& [command, option] : std::vector<std::pair<std::string, std::string>>{
           {"render", "--max-depth"}, {"report", "file"}, {"demo", "--html"}}) {
    const ToolRun help = run({command, "--help"});
    EXPECT_EQ(help.status, 0) << command;
    EXPECT_NE(help.out.find(option), std::string::npos) << command;
  }

  const std::string page = (dir / "sample.html").string();
  const ToolRun demo = run({"demo", "--html", page});
  ASSERT_EQ(demo.status, 0) << demo.err;
  EXPECT_NE(demo.out.find("Viewer page written to " + page), std::string::npos);
  // Every dependency of the auto-wired sample is known before anything is resolved.
  EXPECT_NE(demo.out.find("\n8 services, 15 dependencies\n"), std::string::npos);
  const std::string html = readFile(page);
  EXPECT_NE(html.find("<title>TavrelDI sample app</title>"), std::string::npos);
  for (const char* id : {"UserViewModel", "LoadUserUseCase", "UserRepository", "HttpClient",
                         "Logger", "SessionService", "TokenRefresher"}) {
    EXPECT_NE(html.find(std::string("\"id\":\"") + id + "\""), std::string::npos) << id;
  }
  const ToolRun unwritable = run({"demo", "--html", (dir / "no-such-dir" / "page.html").string()});
  EXPECT_EQ(unwritable.status, 1);
  EXPECT_NE(unwritable.err.find("cannot write"), std::string::npos);
}

}  // namespace
}  // namespace tavreldi
