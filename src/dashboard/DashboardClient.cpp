// The dashboard client: configuration checks, the worker pool that runs the blocking
// exchanges, the read's retries and the decoding of answers.

#include "tavreldi/dashboard/DashboardClient.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <asio/associated_executor.hpp>
#include <asio/async_result.hpp>
#include <asio/execution/outstanding_work.hpp>
#include <asio/post.hpp>
#include <asio/prefer.hpp>
#include <asio/steady_timer.hpp>
#include <asio/this_coro.hpp>
#include <asio/thread_pool.hpp>
#include <asio/use_awaitable.hpp>
#include <exception>
#include <fstream>
#include <nlohmann/json.hpp>
#include <utility>

#include "dashboard/detail/DashboardEndpoint.hpp"
#include "dashboard/detail/HttpTransport.hpp"

namespace tavreldi {
namespace {

constexpr std::string_view kUploadPath = "/api/updateUserDashboard";
constexpr std::string_view kDataPath = "/getUserDashboardData";
constexpr int kMaxRetries = 10;
constexpr std::chrono::milliseconds kFirstBackoff{100};
constexpr std::chrono::milliseconds kMaxBackoff{2000};

[[noreturn]] void refuse(std::string_view detail) {
  throw DashboardError(DashboardErrorKind::invalidConfiguration,
                       fmt::format("Invalid dashboard configuration: {}", detail));
}

void checkConfig(const DashboardConfig& config) {
  if (config.timeout.count() <= 0) {
    refuse(fmt::format("the timeout must be positive, found {} ms", config.timeout.count()));
  }
  if (config.maxAnswerBytes == 0) refuse("the answer size limit must be positive, found 0 bytes");
  if (config.retryCount < 0 || config.retryCount > kMaxRetries) {
    refuse(fmt::format("the retry count must be from 0 to {}, found {}", kMaxRetries,
                       config.retryCount));
  }
  if (config.bearerToken) {
    if (config.bearerToken->empty()) refuse("the bearer token is empty");
    if (config.bearerToken->find_first_of("\r\n") != std::string::npos) {
      refuse("the bearer token contains a line break");
    }
  }
  if (config.caFile && !std::ifstream(*config.caFile).good()) {
    refuse(fmt::format("cannot read the CA file \"{}\"", *config.caFile));
  }
}

}  // namespace

struct DashboardClient::State {
  explicit State(DashboardConfig configuration)
      : config(std::move(configuration)),
        endpoint(detail::parseDashboardUrl(config.baseUrl)),
        transport{config.bearerToken, config.timeout, config.caFile, config.maxAnswerBytes} {}

  // Runs one exchange on the pool and resumes the awaiting coroutine on its own executor.
  // The pool task holds copies only, never the state, so the pool is never joined from
  // one of its own threads.
  asio::awaitable<detail::HttpAnswer> exchange(detail::HttpRequest request) {
    auto work = [endpoint = endpoint, transport = transport, request = std::move(request)] {
      return detail::sendHttpRequest(endpoint, transport, request);
    };
    return asio::async_initiate<decltype(asio::use_awaitable),
                                void(std::exception_ptr, detail::HttpAnswer)>(
        [this, work = std::move(work)](auto handler) mutable {
          auto caller = asio::prefer(asio::get_associated_executor(handler),
                                     asio::execution::outstanding_work.tracked);
          asio::post(pool, [work = std::move(work), handler = std::move(handler),
                            caller = std::move(caller)]() mutable {
            std::exception_ptr failure;
            detail::HttpAnswer answer;
            try {
              answer = work();
            } catch (...) {
              failure = std::current_exception();
            }
            asio::post(caller, [handler = std::move(handler), failure,
                                answer = std::move(answer)]() mutable {
              std::move(handler)(failure, std::move(answer));
            });
          });
        },
        asio::use_awaitable);
  }

  [[nodiscard]] DashboardError statusError(const detail::HttpRequest& request,
                                           const detail::HttpAnswer& answer) const {
    const std::string excerpt = detail::redactedExcerpt(answer.body, config.bearerToken);
    const std::string message =
        fmt::format("Dashboard request {} {} answered HTTP {}{}{}", request.method,
                    endpoint.urlFor(request.path), answer.status, excerpt.empty() ? "" : ": ",
                    excerpt.empty() ? std::string(" with an empty body") : excerpt);
    return {DashboardErrorKind::httpStatus, detail::redact(message, config.bearerToken),
            answer.status};
  }

  [[nodiscard]] DashboardError decodingError(const detail::HttpRequest& request,
                                             std::string_view reason) const {
    const std::string message = fmt::format("Dashboard answer to {} {} does not decode: {}",
                                            request.method, endpoint.urlFor(request.path), reason);
    return {DashboardErrorKind::decoding, detail::redact(message, config.bearerToken)};
  }

  [[nodiscard]] DashboardData decode(const detail::HttpRequest& request,
                                     const std::string& body) const {
    nlohmann::json json;
    try {
      json = nlohmann::json::parse(body);
    } catch (const nlohmann::json::parse_error& error) {
      std::string reason = error.what();
      // Drop the library's "[json.exception.parse_error.101] " tag; keep the position. Drop the
      // "; last read: '...'" quote too: it cuts the body anywhere, possibly inside the token.
      if (const auto tagEnd = reason.find("] "); tagEnd != std::string::npos) {
        reason.erase(0, tagEnd + 2);
      }
      if (const auto quote = reason.find("; last read: '"); quote != std::string::npos) {
        const auto end = reason.rfind("'; expected ");
        reason.erase(quote,
                     end != std::string::npos && end > quote ? end + 1 - quote : std::string::npos);
      }
      throw decodingError(request, "not JSON: " + reason);
    }
    try {
      return json.get<DashboardData>();
    } catch (const DecodingError& error) {
      throw decodingError(request, error.what());
    }
  }

  const DashboardConfig config;
  const detail::DashboardEndpoint endpoint;
  const detail::TransportSettings transport;
  asio::thread_pool pool{2};
};

namespace {

bool isSuccess(int status) { return status >= 200 && status <= 299; }

}  // namespace

DashboardClient::DashboardClient(DashboardConfig config) {
  // Every refusal passes here, so none shows the token, wherever the setting echoed holds it.
  const std::optional<std::string> token = config.bearerToken;
  try {
    checkConfig(config);
    state_ = std::make_shared<State>(std::move(config));
  } catch (const DashboardError& error) {
    throw DashboardError(error.kind(), detail::redact(error.what(), token));
  }
}

const DashboardConfig& DashboardClient::config() const noexcept { return state_->config; }

asio::awaitable<DashboardUploadResult> DashboardClient::uploadSummary(
    const DependencyGraph& graph) const {
  return uploadSummary(makeDashboardSummary(graph, std::chrono::system_clock::now()));
}

asio::awaitable<DashboardUploadResult> DashboardClient::uploadSummary(
    DashboardSummary summary) const {
  return upload(state_, std::move(summary));
}

asio::awaitable<DashboardData> DashboardClient::fetchDashboardData() const { return fetch(state_); }

// The coroutines take the state by value, so they never refer to the client object itself.
asio::awaitable<DashboardUploadResult> DashboardClient::upload(std::shared_ptr<State> state,
                                                               DashboardSummary summary) {
  const detail::HttpRequest request{"POST", std::string(kUploadPath),
                                    nlohmann::json(summary).dump()};
  const detail::HttpAnswer answer = co_await state->exchange(request);
  if (!isSuccess(answer.status)) throw state->statusError(request, answer);
  co_return DashboardUploadResult{answer.status, answer.body, std::move(summary)};
}

asio::awaitable<DashboardData> DashboardClient::fetch(std::shared_ptr<State> state) {
  const detail::HttpRequest request{"GET", std::string(kDataPath), {}};
  std::chrono::milliseconds backoff = kFirstBackoff;
  for (int attempt = 0;; ++attempt) {
    const bool mayRetry = attempt < state->config.retryCount;
    bool transportFailed = false;
    detail::HttpAnswer answer;
    try {
      answer = co_await state->exchange(request);
    } catch (const DashboardError& error) {
      if (!mayRetry || error.kind() != DashboardErrorKind::transport) throw;
      transportFailed = true;
    }
    if (!transportFailed) {
      if (isSuccess(answer.status)) co_return state->decode(request, answer.body);
      if (answer.status < 500 || !mayRetry) throw state->statusError(request, answer);
    }
    asio::steady_timer timer(co_await asio::this_coro::executor, backoff);
    co_await timer.async_wait(asio::use_awaitable);
    backoff = std::min(backoff * 2, kMaxBackoff);
  }
}

}  // namespace tavreldi
