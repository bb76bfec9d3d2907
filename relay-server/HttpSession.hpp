#pragma once

#include <boost/asio/awaitable.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/http/parser.hpp>
#include <chrono>
#include <memory>
#include <optional>

#include "ClientLimits.hpp"
#include "Drain.hpp"
#include "HttpRoutes.hpp"
#include "PeerSession.hpp"
#include "PeerSocket.hpp"
#include "RelayHub.hpp"
#include "RelayLimits.hpp"
#include "RelayLog.hpp"
#include "UnauthenticatedConnections.hpp"
#include "page/PageRoutes.hpp"
#include "tls/ClientStream.hpp"

namespace tallyfox::server {

/// One accepted connection: reads its request, then answers it or becomes a WebSocket session. Only a connection that
/// loads the phone page may ask several times.
class HttpSession : public std::enable_shared_from_this<HttpSession> {
 public:
  struct Dependencies {
    RelayHub& hub;
    UnauthenticatedConnections& unauthenticated;
    RelayLog& log;
    const RelayLimits& limits;
    ClientLimits& clientLimits;
    RelayMetrics& metrics;
    Drain& drain;
    const PageFiles* page;  ///< null without one
    SSL_CTX* tls;           ///< null when the connection is plain
  };
  HttpSession(boost::asio::ip::tcp::socket socket, Dependencies dependencies);
  HttpSession(const HttpSession&) = delete;
  HttpSession& operator=(const HttpSession&) = delete;

  /// What the connection has become; null when it has been answered.
  [[nodiscard]] boost::asio::awaitable<std::unique_ptr<PeerSession>> run();

 private:
  /// What one connection comes to before it is answered.
  struct Refused {
    boost::system::error_code error;
    std::optional<std::chrono::seconds> wait{};  ///< the client has used up its requests
  };
  using Parser = boost::beast::http::request_parser<boost::beast::http::string_body>;

  [[nodiscard]] boost::asio::awaitable<bool> handshaken();
  /// Whether the connection is kept for another request.
  [[nodiscard]] boost::asio::awaitable<bool> serveRequest();
  [[nodiscard]] std::unique_ptr<UnauthenticatedConnections::Ticket> admitted();
  [[nodiscard]] boost::asio::awaitable<Refused> readRequest(Parser& parser);
  /// Whether the connection is kept.
  [[nodiscard]] boost::asio::awaitable<bool> answer(const HttpRequest& request);
  [[nodiscard]] boost::asio::awaitable<void> upgrade(const HttpRequest& request);
  /// Null when the handshake failed; the client was told by then.
  [[nodiscard]] boost::asio::awaitable<std::shared_ptr<PeerSocket>> accepted(const HttpRequest& request,
                                                                             std::size_t greatestFrameBytes);
  /// Answers and closes.
  [[nodiscard]] boost::asio::awaitable<void> respond(HttpResponse response);
  void count(HttpStatus status);
  /// Answers; whether the connection is kept.
  [[nodiscard]] boost::asio::awaitable<bool> respondPage(PageResponse response, bool keeps);
  /// Closes such that the client gets to see the answer.
  [[nodiscard]] boost::asio::awaitable<void> linger();
  [[nodiscard]] boost::asio::awaitable<void> refuse(boost::system::error_code error);

  /// Tells a connection beyond its address's limit to wait, unless too many are being told.
  [[nodiscard]] boost::asio::awaitable<void> refusePolitely(std::chrono::seconds wait);

  /// Cuts the connection then, in place of any earlier such time.
  void endAt(std::chrono::steady_clock::time_point time);

  boost::asio::ip::address peer_;
  std::chrono::steady_clock::time_point acceptedAt_ = std::chrono::steady_clock::now();
  ClientStream stream_;
  boost::asio::steady_timer deadline_;
  boost::beast::flat_buffer buffer_;
  Dependencies dependencies_;
  std::chrono::steady_clock::time_point requestBy_;  ///< when the next request has to be there
  std::chrono::steady_clock::time_point endsAt_;     ///< for a connection that loads the page
  std::size_t requests_ = 0;                         ///< answered
  std::unique_ptr<PeerSession> upgraded_;
  bool isHead_ = false;  ///< the request asks for the head of an answer alone
  bool turnedAway_ = false;
};

}  // namespace tallyfox::server
