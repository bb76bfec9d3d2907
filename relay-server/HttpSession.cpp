#include "HttpSession.hpp"

#include <algorithm>
#include <array>
#include <boost/asio/as_tuple.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <boost/beast/http/error.hpp>
#include <boost/beast/http/read.hpp>
#include <boost/beast/http/write.hpp>
#include <chrono>
#include <utility>

#include "AgentSession.hpp"
#include "PhoneSession.hpp"
#include "RequestOrigin.hpp"
#include "RequestRules.hpp"
#include "base/HttpDate.hpp"

namespace tallyfox::server {
namespace {

namespace asio = boost::asio;
namespace http = boost::beast::http;
namespace websocket = boost::beast::websocket;

using Clock = std::chrono::steady_clock;

constexpr auto resultOf = asio::as_tuple(asio::use_awaitable);
constexpr std::string_view phonePath = "/phone";
/// How much of a refused request is read and thrown away, so that its sender gets to see the answer.
constexpr std::size_t discardedBytes = 1U * 1024U * 1024U;

asio::ip::address peerOf(const asio::ip::tcp::socket& socket) {
  boost::system::error_code gone;
  return socket.remote_endpoint(gone).address();
}

void setDate(http::fields& fields) {
  const auto now = std::chrono::floor<std::chrono::microseconds>(std::chrono::system_clock::now());
  fields.set(http::field::date, formattedHttpDate(now));
}

}  // namespace

HttpSession::HttpSession(asio::ip::tcp::socket socket, Dependencies dependencies)
    : peer_(peerOf(socket)),
      stream_(std::move(socket)),
      deadline_(stream_.get_executor()),
      buffer_(dependencies.limits.headerBytes + dependencies.limits.bodyBytes),
      dependencies_(dependencies) {}

asio::awaitable<std::unique_ptr<PeerSession>> HttpSession::run() {
  if (const auto wait = dependencies_.clientLimits.connectionRefusal(peer_, Clock::now())) {
    dependencies_.metrics.refusals.add(RelayMetrics::Refusal::connectionRate);
    co_await refusePolitely(*wait);
    co_return nullptr;
  }
  requestBy_ = Clock::now() + dependencies_.limits.requestTime;
  endsAt_ = Clock::now() + dependencies_.limits.pageTime;
  if (dependencies_.tls != nullptr && !co_await handshaken()) co_return nullptr;
  while (co_await serveRequest()) {
  }
  co_return std::move(upgraded_);
}

asio::awaitable<bool> HttpSession::handshaken() {
  const auto place = admitted();
  if (turnedAway_ || stream_.encrypt(*dependencies_.tls)) co_return false;
  endAt(requestBy_);
  const auto [error, nothing] = co_await stream_.async_handshake(resultOf);
  using Handshake = RelayMetrics::Handshake;
  dependencies_.metrics.tlsHandshakes.add(error ? Handshake::failed : Handshake::done);
  // The client is to see why, if it has been told.
  if (error && !turnedAway_) co_await linger();
  co_return !error;
}

asio::awaitable<bool> HttpSession::serveRequest() {
  Parser parser;
  parser.header_limit(static_cast<std::uint32_t>(dependencies_.limits.headerBytes));
  parser.body_limit(dependencies_.limits.bodyBytes);
  const auto [error, wait] = co_await readRequest(parser);
  if (turnedAway_) {
    // A connection that was kept has asked nothing.
    if (requests_ == 0) co_await respond(plainResponse(HttpStatus::service_unavailable));
  } else if (wait) {
    co_await respond(tooManyRequests(*wait));
  } else if (error) {
    co_await refuse(error);
  } else if (auto breach = ruleBreach(parser.get(), buffer_.size())) {
    co_await respond(std::move(*breach));
  } else if (asksForWebSocket(parser.get())) {
    HttpRequest request = parser.release();
    // The handshake looks at the first line of each alone.
    request.set(http::field::connection, "Upgrade");
    request.set(http::field::upgrade, "websocket");
    co_await upgrade(request);
  } else {
    co_return co_await answer(parser.get());
  }
  co_return false;
}

asio::awaitable<bool> HttpSession::answer(const HttpRequest& request) {
  ++requests_;
  if (dependencies_.page != nullptr) {
    if (auto response = PageRoutes(*dependencies_.page, dependencies_.tls != nullptr).answer(request)) {
      co_return co_await respondPage(std::move(*response), request.keep_alive());
    }
  }
  if (isRegistration(request)) {
    if (const auto wait = dependencies_.clientLimits.registrationRefusal(peer_, request, Clock::now())) {
      dependencies_.metrics.refusals.add(RelayMetrics::Refusal::registrationRate);
      co_await respond(tooManyRequests(*wait));
      co_return false;
    }
  }
  HttpRoutes routes(dependencies_.hub.access(), dependencies_.drain.isUnderWay());
  HttpResponse response = co_await routes.answer(request);
  co_await respond(std::move(response));
  co_return false;
}

std::unique_ptr<UnauthenticatedConnections::Ticket> HttpSession::admitted() {
  return dependencies_.unauthenticated.admit([this](CloseCode) {
    turnedAway_ = true;
    stream_.cancel();
  });
}

asio::awaitable<HttpSession::Refused> HttpSession::readRequest(Parser& parser) {
  const auto place = admitted();
  if (turnedAway_) co_return Refused{.error = asio::error::operation_aborted};
  endAt(requestBy_);
  const auto [headerError, headerBytes] = co_await http::async_read_header(stream_, buffer_, parser, resultOf);
  if (headerError) co_return Refused{.error = headerError};
  isHead_ = parser.get().method() == http::verb::head;
  if (const auto wait = dependencies_.clientLimits.requestRefusal(peer_, parser.get(), Clock::now())) {
    dependencies_.metrics.refusals.add(RelayMetrics::Refusal::requestRate);
    co_return Refused{.error = {}, .wait = wait};
  }
  // What follows an upgrade's header belongs to the WebSocket.
  if (asksForWebSocket(parser.get())) co_return Refused{};
  const auto [bodyError, bodyBytes] = co_await http::async_read(stream_, buffer_, parser, resultOf);
  co_return Refused{.error = bodyError};
}

asio::awaitable<void> HttpSession::upgrade(const HttpRequest& request) {
  if (dependencies_.drain.isUnderWay()) {
    dependencies_.metrics.refusals.add(RelayMetrics::Refusal::draining);
    const auto wait = dependencies_.drain.reconnectAfter(Clock::now());
    co_return co_await respond(unavailable(std::chrono::ceil<std::chrono::seconds>(wait)));
  }
  const boost::beast::string_view target = request.target();
  if (pathOf({target.data(), target.size()}) == phonePath) {
    if (isFromAnotherSite(request, dependencies_.clientLimits.isTrustedProxy(peer_))) {
      co_return co_await respond(plainResponse(HttpStatus::forbidden));
    }
    auto socket = co_await accepted(request, dependencies_.limits.phoneFrameBytes);
    if (!socket) co_return;
    upgraded_ = std::make_unique<PhoneSession>(
        std::move(socket), PhoneSession::Dependencies{.hub = dependencies_.hub,
                                                      .unauthenticated = dependencies_.unauthenticated,
                                                      .log = dependencies_.log,
                                                      .limits = dependencies_.limits,
                                                      .metrics = dependencies_.metrics});
    co_return;
  }
  const auto token = bearerToken(request);
  if (!token) co_return co_await respond(plainResponse(HttpStatus::unauthorized));
  auto pairingID = co_await dependencies_.hub.access().pairingOfToken(std::string(*token));
  if (!pairingID) co_return co_await respond(plainResponse(statusOf(pairingID.error())));
  if (const auto wait = dependencies_.clientLimits.agentRefusal(*pairingID, Clock::now())) {
    dependencies_.metrics.refusals.add(RelayMetrics::Refusal::agentRate);
    co_return co_await respond(tooManyRequests(*wait));
  }
  auto socket = co_await accepted(request, dependencies_.limits.agentFrameBytes);
  if (!socket) co_return;
  upgraded_ = std::make_unique<AgentSession>(
      std::move(socket),
      AgentSession::Dependencies{
          .hub = dependencies_.hub, .limits = dependencies_.limits, .metrics = dependencies_.metrics},
      std::move(*pairingID));
}

asio::awaitable<std::shared_ptr<PeerSocket>> HttpSession::accepted(const HttpRequest& request,
                                                                   std::size_t greatestFrameBytes) {
  deadline_.cancel();
  WebSocket socket(std::move(stream_));
  // PeerSocket watches for silence itself: the stream's own idle timer can only ping at half its time-out.
  socket.set_option(websocket::stream_base::timeout{.handshake_timeout = dependencies_.limits.requestTime,
                                                    .idle_timeout = websocket::stream_base::none(),
                                                    .keep_alive_pings = false});
  socket.auto_fragment(false);
  socket.text(true);
  const auto [error] = co_await socket.async_accept(request, resultOf);
  if (error) co_return nullptr;
  count(HttpStatus::switching_protocols);
  dependencies_.metrics.handshakeSeconds.observe(Clock::now() - acceptedAt_);
  co_return std::make_shared<PeerSocket>(std::move(socket), dependencies_.limits, dependencies_.metrics,
                                         greatestFrameBytes);
}

asio::awaitable<void> HttpSession::refuse(boost::system::error_code error) {
  if (error == http::error::header_limit || error == http::error::buffer_overflow) {
    co_await respond(plainResponse(HttpStatus::request_header_fields_too_large));
  } else if (error == http::error::body_limit) {
    co_await respond(plainResponse(HttpStatus::payload_too_large));
  } else if (error.category() == make_error_code(http::error::bad_method).category() &&
             error != http::error::end_of_stream) {
    co_await respond(plainResponse(HttpStatus::bad_request));
  }
}

asio::awaitable<void> HttpSession::refusePolitely(std::chrono::seconds wait) {
  // Telling it would take a handshake, which is what an attacker wants.
  if (dependencies_.tls != nullptr) co_return;
  const auto place = dependencies_.clientLimits.politeRefusal();
  if (place) co_await respond(tooManyRequests(wait));
}

asio::awaitable<void> HttpSession::respond(HttpResponse response) {
  count(response.result());
  endAt(Clock::now() + dependencies_.limits.closeTime);
  setDate(response);
  response.prepare_payload();
  if (isHead_) response.body().clear();
  const auto [error, written] = co_await http::async_write(stream_, response, resultOf);
  if (!error) co_await linger();
}

asio::awaitable<bool> HttpSession::respondPage(PageResponse response, bool keeps) {
  // Who loads the page is a stranger until the end, however slowly it reads.
  const auto place = admitted();
  const bool lasts = Clock::now() + dependencies_.limits.keepAliveTime < endsAt_;
  keeps = keeps && lasts && requests_ < dependencies_.limits.requestsPerConnection;
  if (turnedAway_) co_return false;
  endAt(endsAt_);
  count(response.result());
  response.keep_alive(keeps);
  setDate(response);
  const auto [error, written] = co_await http::async_write(stream_, response, resultOf);
  requestBy_ = std::min(Clock::now() + dependencies_.limits.keepAliveTime, endsAt_);
  if (!error && !keeps) co_await linger();
  co_return keeps && !error;
}

void HttpSession::count(HttpStatus status) {
  const auto code = static_cast<unsigned>(status);
  dependencies_.metrics.responses.add(code);
  if (code >= 400)
    dependencies_.log.write(log_event::requestRefused, {LogField::network(peer_), LogField::status(code)});
}

asio::awaitable<void> HttpSession::linger() {
  endAt(Clock::now() + dependencies_.limits.closeTime);
  stream_.shutdownSend();
  std::array<char, 4096> scrap;
  for (std::size_t discarded = 0; discarded < discardedBytes;) {
    const auto [readError, size] = co_await stream_.socket().async_read_some(asio::buffer(scrap), resultOf);
    if (readError) co_return;
    discarded += size;
  }
}

void HttpSession::endAt(Clock::time_point time) {
  deadline_.expires_at(time);
  deadline_.async_wait([weak = weak_from_this()](boost::system::error_code cancelled) {
    const auto self = weak.lock();
    // It may have been set anew after its end, before this call.
    if (self && !cancelled && self->deadline_.expiry() <= Clock::now()) self->stream_.close();
  });
}

}  // namespace tallyfox::server
