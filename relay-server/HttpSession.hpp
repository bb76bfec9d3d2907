#pragma once

#include <boost/asio/awaitable.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/core/tcp_stream.hpp>
#include <boost/beast/http/parser.hpp>
#include <chrono>
#include <memory>
#include <optional>

#include "ClientLimits.hpp"
#include "HttpRoutes.hpp"
#include "PeerSocket.hpp"
#include "RelayHub.hpp"
#include "RelayLimits.hpp"
#include "RelayLog.hpp"
#include "UnauthenticatedConnections.hpp"

namespace tallyfox::server {

/// One accepted connection: reads its one request, then answers it or becomes a WebSocket session.
class HttpSession {
 public:
  struct Dependencies {
    RelayHub& hub;
    UnauthenticatedConnections& unauthenticated;
    RelayLog& log;
    const RelayLimits& limits;
    ClientLimits& clientLimits;
  };
  HttpSession(boost::asio::ip::tcp::socket socket, Dependencies dependencies);
  HttpSession(const HttpSession&) = delete;
  HttpSession& operator=(const HttpSession&) = delete;

  [[nodiscard]] boost::asio::awaitable<void> run();

 private:
  /// What one connection comes to before it is answered.
  struct Refused {
    boost::system::error_code error;
    std::optional<std::chrono::seconds> wait{};  ///< the client has used up its requests
  };
  using Parser = boost::beast::http::request_parser<boost::beast::http::string_body>;

  [[nodiscard]] boost::asio::awaitable<Refused> readRequest(Parser& parser);
  [[nodiscard]] boost::asio::awaitable<void> upgrade(const HttpRequest& request);
  /// Null when the handshake failed; the client was told by then.
  [[nodiscard]] boost::asio::awaitable<std::shared_ptr<PeerSocket>> accepted(const HttpRequest& request,
                                                                             std::size_t greatestFrameBytes);
  [[nodiscard]] boost::asio::awaitable<void> respond(HttpResponse response);
  [[nodiscard]] boost::asio::awaitable<void> refuse(boost::system::error_code error);

  /// Tells a connection beyond its address's limit to wait, unless too many are being told.
  [[nodiscard]] boost::asio::awaitable<void> refusePolitely(std::chrono::seconds wait);

  boost::asio::ip::address peer_;
  boost::beast::tcp_stream stream_;
  boost::beast::flat_buffer buffer_;
  Dependencies dependencies_;
  bool turnedAway_ = false;
};

}  // namespace tallyfox::server
