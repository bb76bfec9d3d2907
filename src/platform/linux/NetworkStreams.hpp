#pragma once

#include <boost/asio/awaitable.hpp>
#include <boost/beast/core/tcp_stream.hpp>
#include <boost/beast/ssl/ssl_stream.hpp>
#include <chrono>
#include <optional>

#include "platform/WebSocketTransport.hpp"
#include "platform/linux/NetworkThread.hpp"
#include "platform/linux/ProxySettings.hpp"

namespace tallyfox::linux_os {

/// Types of our own, so that ending a WebSocket over them is ours to define.
class PlainStream : public boost::beast::tcp_stream {
 public:
  using basic_stream::basic_stream;
};
class TlsStream : public boost::beast::ssl_stream<PlainStream> {
 public:
  using ssl_stream::ssl_stream;
};
/// Where a connection goes and how it gets there.
struct NetworkRoute {
  NetworkAddress address;
  std::expected<std::optional<Proxy>, TransportError> proxy;
};
using NetworkDeadline = std::chrono::steady_clock::time_point;

/// The moment `timeout` from now; far off for lengths that are no number or infinite.
[[nodiscard]] NetworkDeadline deadlineAfter(Seconds timeout);

/// Resolves the host and connects to the first of its addresses that answers; each has an equal share of the time that
/// is left. Gives the failure, or nothing when connected. Never through a proxy.
[[nodiscard]] boost::asio::awaitable<std::optional<TransportError>> connectStream(PlainStream& stream,
                                                                                  const NetworkRoute& route,
                                                                                  NetworkDeadline deadline);
/// The same, through the proxy where there is one, then the TLS handshake with proof that the certificate is valid for
/// the host: a proxy sees where a connection goes, not what passes.
[[nodiscard]] boost::asio::awaitable<std::optional<TransportError>> connectStream(TlsStream& stream,
                                                                                  const NetworkRoute& route,
                                                                                  NetworkDeadline deadline);
/// Drops the connection at once; pending operations fail.
void closeStream(PlainStream& stream);
void closeStream(TlsStream& stream);

}  // namespace tallyfox::linux_os
