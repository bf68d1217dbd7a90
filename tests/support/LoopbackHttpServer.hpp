#pragma once

// A real HTTP or HTTPS server on 127.0.0.1 with an ephemeral port, for client tests: it records
// every request and answers each with the next scripted answer (the last one repeated).
// Header-only: it needs cpp-httplib with OpenSSL, which only the tests that use it link.

#define CPPHTTPLIB_OPENSSL_SUPPORT
#include <httplib.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace tavreldi::testing {

/// What the server saw of one request.
struct RecordedRequest {
  std::string method;
  std::string path;
  httplib::Headers headers;
  std::string body;

  /// The value of header `name` (case-insensitive), or "" when absent.
  [[nodiscard]] std::string header(const std::string& name) const {
    const auto it = headers.find(name);
    return it == headers.end() ? std::string() : it->second;
  }
};

/// How the server answers one request.
struct ScriptedAnswer {
  int status = 200;
  std::string body;
  /// Wait this long before answering, unless `release()` is called first.
  std::chrono::milliseconds delay{0};
  /// When set, the body is sent chunked, a byte after each such pause, until `release()`.
  std::chrono::milliseconds dripEvery{0};
  /// When set, a header "X-Padding" of this many characters is sent.
  std::size_t paddingBytes = 0;
};

class LoopbackHttpServer {
 public:
  /// Starts a plain HTTP server.
  explicit LoopbackHttpServer(std::vector<ScriptedAnswer> answers)
      : LoopbackHttpServer(std::move(answers), std::make_unique<httplib::Server>(), "http") {}

  /// Starts an HTTPS server presenting the PEM certificate chain and key in the two files.
  LoopbackHttpServer(std::vector<ScriptedAnswer> answers, const std::string& certificateFile,
                     const std::string& keyFile)
      : LoopbackHttpServer(
            std::move(answers),
            std::make_unique<httplib::SSLServer>(certificateFile.c_str(), keyFile.c_str()),
            "https") {}

  ~LoopbackHttpServer() { stop(); }
  LoopbackHttpServer(const LoopbackHttpServer&) = delete;
  LoopbackHttpServer& operator=(const LoopbackHttpServer&) = delete;

  /// "http://127.0.0.1:PORT" or "https://127.0.0.1:PORT".
  [[nodiscard]] std::string url() const {
    return scheme_ + "://127.0.0.1:" + std::to_string(port_);
  }

  /// Every request received so far, in order.
  [[nodiscard]] std::vector<RecordedRequest> requests() const {
    const std::lock_guard lock(mutex_);
    return requests_;
  }

  /// Ends the delay of answers that are waiting, and of every later one.
  void release() {
    const std::lock_guard lock(mutex_);
    released_ = true;
    wake_.notify_all();
  }

  /// Stops accepting and waits for the server thread; delayed answers are released.
  void stop() {
    release();
    server_->stop();
    if (thread_.joinable()) thread_.join();
  }

 private:
  LoopbackHttpServer(std::vector<ScriptedAnswer> answers, std::unique_ptr<httplib::Server> server,
                     std::string scheme)
      : answers_(std::move(answers)), server_(std::move(server)), scheme_(std::move(scheme)) {
    if (answers_.empty() || !server_->is_valid()) {
      throw std::runtime_error("LoopbackHttpServer: no answers or invalid certificate files");
    }
    server_->set_keep_alive_timeout(1);
    server_->set_read_timeout(std::chrono::seconds(2));
    const auto handler = [this](const httplib::Request& request, httplib::Response& response) {
      answer(request, response);
    };
    server_->Get(".*", handler);
    server_->Post(".*", handler);
    port_ = server_->bind_to_any_port("127.0.0.1");
    if (port_ <= 0) throw std::runtime_error("LoopbackHttpServer: cannot bind 127.0.0.1");
    // The socket listens from here on; connections wait in the backlog until the loop runs.
    thread_ = std::thread([this] { server_->listen_after_bind(); });
    // stop() only takes effect once the loop runs, so wait for it (bounded).
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (!server_->is_running() && std::chrono::steady_clock::now() < deadline) {
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
  }

  void answer(const httplib::Request& request, httplib::Response& response) {
    std::unique_lock lock(mutex_);
    requests_.push_back({request.method, request.path, request.headers, request.body});
    const ScriptedAnswer scripted = answers_[std::min(requests_.size(), answers_.size()) - 1];
    wake_.wait_for(lock, scripted.delay, [this] { return released_; });
    lock.unlock();
    response.status = scripted.status;
    if (scripted.paddingBytes > 0)
      response.set_header("X-Padding", std::string(scripted.paddingBytes, 'a'));
    if (scripted.dripEvery.count() == 0) {
      response.set_content(scripted.body, "application/json");
      return;
    }
    response.set_chunked_content_provider(
        "application/json", [this, scripted](std::size_t offset, httplib::DataSink& sink) {
          std::unique_lock dripLock(mutex_);
          // Ends early once released, and when the client has gone.
          if (offset == scripted.body.size() ||
              wake_.wait_for(dripLock, scripted.dripEvery, [this] { return released_; })) {
            sink.done();
            return true;
          }
          return sink.write(scripted.body.data() + offset, 1);
        });
  }

  const std::vector<ScriptedAnswer> answers_;
  std::unique_ptr<httplib::Server> server_;
  const std::string scheme_;
  int port_ = 0;
  std::thread thread_;
  mutable std::mutex mutex_;
  std::condition_variable wake_;
  std::vector<RecordedRequest> requests_;
  bool released_ = false;
};

/// A test certificate authority and a server certificate for 127.0.0.1 signed by it, made with
/// the openssl command once per process in a temporary directory.
struct TestCertificates {
  std::string caFile;
  std::string serverCertificateFile;
  std::string serverKeyFile;

  static const TestCertificates& get() {
    static const Directory directory;
    static const TestCertificates certificates = make(directory.path);
    return certificates;
  }

 private:
  struct Directory {
    Directory() {
      std::string pattern =
          (std::filesystem::temp_directory_path() / "tavreldi-dashboard-XXXXXX").string();
      if (mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("cannot make a temp dir");
      path = pattern;
    }
    ~Directory() {
      std::error_code ignored;
      std::filesystem::remove_all(path, ignored);
    }
    std::filesystem::path path;
  };

  static TestCertificates make(const std::filesystem::path& dir) {
    std::ofstream(dir / "openssl.cnf")
        << "[req]\ndistinguished_name = dn\nprompt = no\n[dn]\nCN = unused\n"
           "[ca]\nbasicConstraints = critical,CA:TRUE\nkeyUsage = critical,keyCertSign,cRLSign\n"
           "subjectKeyIdentifier = hash\n[server]\nbasicConstraints = CA:FALSE\n"
           "keyUsage = critical,digitalSignature\nextendedKeyUsage = serverAuth\n"
           "subjectAltName = IP:127.0.0.1\n";
    const std::string in = "cd '" + dir.string() + "' && ";
    const std::string key = " -newkey ec -pkeyopt ec_paramgen_curve:prime256v1 -nodes";
    const std::string quiet = " >openssl.log 2>&1";
    run(in + "openssl req -x509 -config openssl.cnf -extensions ca -subj '/CN=TavrelDI Test CA'" +
        key + " -keyout ca.key -out ca.pem -days 2" + quiet);
    run(in + "openssl req -new -config openssl.cnf -subj '/CN=127.0.0.1'" + key +
        " -keyout server.key -out server.csr" + quiet);
    run(in +
        "openssl x509 -req -in server.csr -CA ca.pem -CAkey ca.key -set_serial 2 -days 2 "
        "-extfile openssl.cnf -extensions server -out server.pem" +
        quiet);
    return {(dir / "ca.pem").string(), (dir / "server.pem").string(),
            (dir / "server.key").string()};
  }

  static void run(const std::string& command) {
    if (std::system(command.c_str()) != 0) {
      throw std::runtime_error("certificate generation failed: " + command);
    }
  }
};

}  // namespace tavreldi::testing
