// Runs the built tavreldi command and checks its output, files and exit statuses.

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "support/GraphFixture.hpp"
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
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
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
    graph.nodes.push_back(
        testing::node(names[i], scopes[i], {next}, 4 - static_cast<std::int64_t>(i), i >= 3));
    graph.edges.push_back(testing::edge(names[i], next, i >= 3));
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
    return {WIFEXITED(raw) ? WEXITSTATUS(raw) : -1, readFile(out), readFile(err)};
  }

  // Expects exit status 2, no standard output and one standard error line holding `message`.
  ToolRun expectRejected(const std::vector<std::string>& args, const std::string& message) {
    ToolRun result = run(args);
    EXPECT_EQ(result.status, 2) << result.err;
    EXPECT_EQ(result.out, "");
    EXPECT_NE(result.err.find(message), std::string::npos)
        << "stderr: " << result.err << "\nexpected: " << message;
    EXPECT_EQ(result.err.find('\n'), result.err.size() - 1) << result.err;
    return result;
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
  EXPECT_EQ(std::tie(shallow.status, shallow.out),
            std::tuple(0, DiagramGenerators::generateTreeVisualization(graph, 2)));
  EXPECT_NE(shallow.out, DiagramGenerators::generateTreeVisualization(graph, 5));
  // The viewer page (--type html) is written, opened and used by viewer.test.mjs.
}

TEST_F(CliTest, ReportPrintsTheAnalysis) {
  const ToolRun result = run({"report", graphFile});
  ASSERT_EQ(result.status, 0) << result.err;
  const auto row = [](const std::string& label, const std::string& value) {
    return "  " + label + std::string(34 - label.size(), ' ') + value;
  };
  EXPECT_TRUE(result.out.starts_with("Dependency graph: " + graphFile + "\n")) << result.out;
  // The view model's longest path runs into the cycle and stops at its first repeat.
  for (const std::string& line : std::vector<std::string>{
           row("Services", "5"), row("Circular dependencies", "yes (1 cycles)"),
           row("Testability", "80.0"), row("Overall", "0.900"), "Cycles (1)",
           "  1. UserAPI -> Cache -> UserAPI", "Critical paths (3)",
           "  Critical Path 1, 6 services: ProfileViewModel -> LoadProfileUseCase -> "
           "Repository<User> -> UserAPI -> Cache -> UserAPI",
           "  Infrastructure Cluster (5): ProfileViewModel, LoadProfileUseCase, Repository<User>, "
           "UserAPI, Cache",
           "  1. [High] Architecture: Resolve Circular Dependencies",
           "     Found 2 circular dependencies that should be resolved",
           "     Affects: UserAPI, Cache; impact High; effort Medium", "Registration problems (1)",
           "  1. [circularDependency] Circular dependency: UserAPI -> Cache -> UserAPI"}) {
    EXPECT_NE(("\n" + result.out).find("\n" + line + "\n"), std::string::npos) << line;
  }
}

TEST_F(CliTest, BadInputIsNamedAndExitsWithStatusTwo) {
  const std::string missing = (dir / "missing.json").string();
  expectRejected({"render", missing, "--type", "tree"},
                 "tavreldi render: cannot open " + missing + ": No such file or directory");

  // Unreadable, wrong or hostile documents for the loader both commands share (numbers beyond
  // range, texts that would break the line, JSON that would take far more memory than its size,
  // files of a megabyte and more), and the expected message.
  nlohmann::json noAnalysis = graph, badLayer = graph, badEdge = graph, badScope = graph;
  noAnalysis.erase("analysis");
  badLayer["nodes"][2]["layer"] = "top";
  badEdge["edges"][1].erase("to");
  badScope["nodes"][0]["scope"] = "line\nbreak" + std::string(1000, 'x');
  const std::string text = nlohmann::json(graph).dump();
  const auto withLayer = [&](const std::string& number) {
    std::string changed = text;
    return changed.replace(changed.find("\"layer\":4"), 9, "\"layer\":" + number);
  };
  const std::string deep = std::string(1 << 20, '[') + std::string(1 << 20, ']');
  std::string tiny = "{\"nodes\":[{\"dependencies\":[";
  for (int i = 0; i < (1 << 20); ++i) tiny += "\"a\",\"b\",";
  const std::vector<std::pair<std::string, std::string>> files{
      {R"({"nodes": [})", "malformed JSON at byte 12"},  // the 12th byte is the brace
      {text.substr(0, 100), "malformed JSON at byte 101"},
      {"", "malformed JSON at byte 1"},
      {noAnalysis.dump(), "not a dependency graph: Key not found: \"analysis\""},
      {badLayer.dump(), "Invalid value for key \"nodes\": Type mismatch for key \"layer\""},
      {badEdge.dump(), "Invalid value for key \"edges\": Key not found: \"to\""},
      {"[1, 2]", "expected an object for DependencyGraph"},
      // Bytes count from 1; the parser names the number's last one.
      {withLayer("1e400"), "malformed JSON at byte " +
                               std::to_string(text.find("\"layer\":4") + 13) +
                               ": number overflow parsing '1e400'"},
      {withLayer("1.5"), "Type mismatch for key \"layer\": expected a 64-bit integer, found 1.5"},
      {withLayer("1e300"), "expected a 64-bit integer, found 1e+300"},
      {withLayer("18446744073709551616"),
       "expected a 64-bit integer, found 1.8446744073709552e+19"},
      {withLayer("1" + std::string(10000, '0')), "number overflow parsing"},
      {badScope.dump(), "invalid value \"line\\nbreakxxx"},
      {deep, "too large to hold: decoding it would take more than 67108864 bytes of memory"},
      {tiny, "too large to hold"}};
  const std::string bad = (dir / "bad.json").string();
  for (const auto& [content, message] : files) {
    writeFile(bad, content);
    EXPECT_TRUE(
        expectRejected({"report", bad}, message).err.starts_with("tavreldi report: " + bad));
    expectRejected({"render", bad, "--type", "tree"}, message);
  }
  // Nothing but regular files within the input limit is read.
  const std::string fifo = (dir / "fifo").string();
  ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
  expectRejected({"report", fifo}, fifo + ": not a regular file (a FIFO)");
  expectRejected({"report", "/dev/zero"}, "/dev/zero: not a regular file (a character device)");
  expectRejected({"render", dir.string(), "--type", "json"}, "not a regular file (a directory)");
  expectRejected({"report", graphFile, "--max-input", "1K"},
                 graphFile + ": " + std::to_string(fs::file_size(graphFile)) +
                     " bytes, more than the input limit of 1024 bytes (--max-input)");
  EXPECT_EQ(run({"report", graphFile, "--max-input", "1M"}).status, 0);
  expectRejected({"report", graphFile, "--max-input", "-1"}, "--max-input: must not be negative");

  expectRejected({"render", graphFile, "--type", "pie"}, "pie not in");
  expectRejected({"render", graphFile}, "--type is required");
  expectRejected({"render", graphFile, "--type", "tree", "--colour"}, "--colour");
  expectRejected({"render", graphFile, "--type", "tree", "--max-depth", "-1"},
                 "--max-depth: must not be negative");
  expectRejected({"render", graphFile, "--type", "tree", "--max-depth", "deep"}, "deep");
  expectRejected({}, "A subcommand is required");
  expectRejected({"draw"}, "unknown command \"draw\" (commands: demo, render, report");
}

// Dense graphs: the tree's text stops at the output limit, and critical paths through dense
// cycles are searched within a step budget that the report names.
TEST_F(CliTest, DenseGraphsStayWithinTheLimits) {
  DependencyGraph dense;
  const auto add = [&dense](const std::string& from, const std::string& to) {
    dense.edges.push_back(testing::edge(from, to));
  };
  dense.nodes.emplace_back().id = "Root";
  for (int i = 0; i < 8; ++i) dense.nodes.emplace_back().id = "A" + std::to_string(i);
  for (int i = 0; i < 16; ++i) dense.nodes.emplace_back().id = "B" + std::to_string(i);
  for (int a = 0; a < 8; ++a) {
    for (int b = 0; b < 16; ++b) {
      add("A" + std::to_string(a), "B" + std::to_string(b));
      add("B" + std::to_string(b), "A" + std::to_string(a));
    }
  }
  add("Root", "A0");
  const std::string file = (dir / "dense.json").string();
  writeFile(file, nlohmann::json(dense).dump());

  expectRejected({"render", file, "--type", "tree", "--max-depth", "40"},
                 file +
                     ": the tree diagram is larger than the output limit of 67108864 bytes "
                     "(--max-output)");
  expectRejected({"render", file, "--type", "mermaid", "--max-output", "1K"},
                 "the mermaid diagram is larger than the output limit of 1024 bytes");
  const std::string page = (dir / "dense.html").string();
  const ToolRun html = run({"render", file, "--type", "html", "--max-depth", "12", "--max-output",
                            "1M", "--output", page});
  EXPECT_EQ(html.status, 0) << html.err;
  const std::string written = readFile(page);
  const std::size_t note = written.find("the tree diagram is larger than the output limit of ");
  EXPECT_NE(written.find(" bytes; it is left out of this page.", note), std::string::npos);
  EXPECT_LE(written.size(), 1u << 20);

  const ToolRun report = run({"report", file});
  ASSERT_EQ(report.status, 0) << report.err;
  EXPECT_NE(report.out.find("  Critical Path 1, 18 services: Root -> A0 -> B0 -> A1 -> B1 -> "),
            std::string::npos)
      << report.out;
  EXPECT_NE(report.out.find("\n  Bounded: the longest-path searches from 24 services in dense "
                            "cycles reached their step limit; their paths are the longest found "
                            "within it\n\nClusters\n"),
            std::string::npos)
      << report.out;
}

TEST_F(CliTest, HelpVersionAndTheDemoPage) {
  const ToolRun version = run({"--version"});
  EXPECT_EQ(std::tie(version.status, version.out), std::tuple(0, "tavreldi 0.1.0\n"));
  for (const auto& [command, option] : std::vector<std::pair<std::string, std::string>>{
           {"render", "--max-output"}, {"report", "--max-input"}, {"demo", "--html"}}) {
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
