#include "push/PushClient.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <boost/asio/as_tuple.hpp>
#include <boost/asio/connect.hpp>
#include <boost/asio/ssl/host_name_verification.hpp>
#include <boost/asio/ssl/stream.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/this_coro.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/http/empty_body.hpp>
#include <boost/beast/http/parser.hpp>
#include <boost/beast/http/read.hpp>
#include <boost/beast/http/string_body.hpp>
#include <boost/beast/http/write.hpp>
#include <charconv>
#include <string_view>
#include <utility>
#include <vector>

#include "base/HttpDate.hpp"

namespace tallyfox::server {
namespace {

namespace asio = boost::asio;
namespace http = boost::beast::http;
using asio::ip::tcp;

constexpr auto resultOf = asio::as_tuple(asio::use_awaitable);

std::string_view viewOf(boost::beast::string_view text) {
  return {text.data(), text.size()};
}

/// `Retry-After` in seconds or as a date; absent when it says neither.
std::optional<std::chrono::seconds> retryAfter(const http::fields& fields) {
  const std::string_view text = viewOf(fields[http::field::retry_after]);
  // Nine digits are decades, and fit every type below.
  if (!text.empty() && text.size() <= 9 && std::ranges::all_of(text, [](char c) { return c >= '0' && c <= '9'; })) {
    unsigned seconds = 0;
    std::from_chars(text.data(), text.data() + text.size(), seconds);
    return std::chrono::seconds(seconds);
  }
  const auto date = parsedHttpDate(text);
  if (!date) return std::nullopt;
  return std::max(std::chrono::ceil<std::chrono::seconds>(*date - std::chrono::system_clock::now()),
                  std::chrono::seconds(0));
}

PushOutcome outcomeOf(const http::response_header<>& answer) {
  using Kind = PushOutcome::Kind;
  const unsigned status = answer.result_int();
  PushOutcome outcome{.kind = Kind::refused, .reason = std::to_string(status)};
  if (status >= 200 && status < 300) outcome.kind = Kind::accepted;
  if (status == 404 || status == 410) outcome.kind = Kind::gone;
  if (status == 429 || status >= 500) {
    outcome.kind = Kind::later;
    outcome.retryAfter = retryAfter(answer);
  }
  return outcome;
}

}  // namespace

/// One request's connection; ended as a whole by time or from outside.
struct PushClient::Exchange {
  Exchange(const asio::any_io_executor& executor, asio::ssl::context& tls)
      : resolver(executor), stream(executor, tls), deadline(executor) {}

  void abort() {
    resolver.cancel();
    boost::system::error_code ignored;
    stream.lowest_layer().close(ignored);
    isAborted = true;
  }

  tcp::resolver resolver;
  asio::ssl::stream<tcp::socket> stream;
  asio::steady_timer deadline;
  bool isAborted = false;
};

PushClient::PushClient(VapidKey key, const PushOptions& options, const PushLimits& limits)
    : key_(std::move(key)),
      contact_(options.contact),
      services_(options.services),
      limits_(limits),
      tls_(asio::ssl::context::tls_client) {}

PushClient::~PushClient() = default;

std::expected<std::unique_ptr<PushClient>, std::string> PushClient::make(const PushOptions& options,
                                                                         const PushLimits& limits) {
  auto key = VapidKey::read(options.key);
  if (!key) return std::unexpected(std::move(key.error()));
  std::unique_ptr<PushClient> client(new PushClient(std::move(*key), options, limits));
  boost::system::error_code error;
  if (options.authorities.empty()) {
    client->tls_.set_default_verify_paths(error);
    if (error) return std::unexpected(fmt::format("Unable to read the system's certificates: {}", error.message()));
  } else {
    client->tls_.load_verify_file(options.authorities.string(), error);
    if (error) {
      return std::unexpected(
          fmt::format("Unable to read the certificates {}: {}", options.authorities.string(), error.message()));
    }
  }
  SSL_CTX_set_min_proto_version(client->tls_.native_handle(), TLS1_2_VERSION);
  client->tls_.set_verify_mode(asio::ssl::verify_peer);
  return client;
}

void PushClient::abort() {
  for (Exchange* const exchange : exchanges_)
    exchange->abort();
}

asio::awaitable<PushOutcome> PushClient::post(PushEndpoint endpoint, std::string topic) {
  const auto executor = co_await asio::this_coro::executor;
  const auto exchange = std::make_shared<Exchange>(executor, tls_);
  exchange->deadline.expires_after(limits_.requestTime);
  exchange->deadline.async_wait([weak = std::weak_ptr(exchange)](boost::system::error_code cancelled) {
    if (const auto running = weak.lock(); running && !cancelled) running->abort();
  });
  exchanges_.insert(exchange.get());
  auto outcome = co_await exchanged(*exchange, endpoint, topic);
  exchanges_.erase(exchange.get());
  if (outcome) co_return std::move(*outcome);
  if (exchange->isAborted) co_return PushOutcome{.reason = "no answer in time"};
  co_return PushOutcome{.reason = std::move(outcome.error())};
}

asio::awaitable<std::expected<PushOutcome, std::string>> PushClient::exchanged(Exchange& exchange,
                                                                               const PushEndpoint& endpoint,
                                                                               const std::string& topic) {
  const auto [unresolved, found] =
      co_await exchange.resolver.async_resolve(endpoint.host, std::to_string(endpoint.port), resultOf);
  if (unresolved) co_return std::unexpected(unresolved.message());
  std::vector<tcp::endpoint> places(found.begin(), found.end());
  if (!services_.mayBeInner(endpoint)) {
    // A name may point inwards at any time, so the address is looked at each time.
    std::erase_if(places, [](const tcp::endpoint& place) { return !isPublicAddress(place.address()); });
    if (places.empty()) co_return PushOutcome{.kind = PushOutcome::Kind::refused, .reason = "no public address"};
  }
  if (exchange.isAborted) co_return std::unexpected("");
  auto& stream = exchange.stream;
  const auto [unreachable, place] = co_await asio::async_connect(stream.next_layer(), places, resultOf);
  if (unreachable) co_return std::unexpected(unreachable.message());
  stream.set_verify_callback(asio::ssl::host_name_verification(endpoint.host));
  if (SSL_set_tlsext_host_name(stream.native_handle(), endpoint.host.c_str()) != 1)
    co_return std::unexpected("the host cannot be named");
  const auto [untrusted] = co_await stream.async_handshake(asio::ssl::stream_base::client, resultOf);
  if (untrusted) co_return std::unexpected(untrusted.message());

  http::request<http::empty_body> request(http::verb::post, endpoint.target, 11);
  const std::string authorization = key_.authorization(endpoint.origin(), contact_, std::chrono::system_clock::now());
  if (authorization.empty()) co_return std::unexpected("the request cannot be signed");
  request.set(http::field::host, endpoint.authority());
  request.set(http::field::authorization, authorization);
  request.set("TTL", std::to_string(limits_.timeToLive.count()));
  request.set("Urgency", "high");
  request.set("Topic", topic);
  request.set(http::field::user_agent, "tallyfox-relay");
  request.content_length(0);
  request.keep_alive(false);
  const auto [unsent, sent] = co_await http::async_write(stream, request, resultOf);
  if (unsent) co_return std::unexpected(unsent.message());
  boost::beast::flat_buffer buffer(limits_.answerBytes);
  http::response_parser<http::string_body> parser;
  parser.body_limit(limits_.answerBytes);
  // The header says it all.
  const auto [unanswered, received] = co_await http::async_read_header(stream, buffer, parser, resultOf);
  if (unanswered) co_return std::unexpected(unanswered.message());
  co_return outcomeOf(parser.get());
}

}  // namespace tallyfox::server
