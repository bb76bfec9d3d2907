#pragma once

#include <boost/asio/awaitable.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/beast/websocket/stream.hpp>
#include <memory>
#include <optional>

#include "OutgoingQueue.hpp"
#include "RelayLimits.hpp"
#include "RelayPeer.hpp"
#include "metrics/RelayMetrics.hpp"
#include "tls/ClientStream.hpp"

namespace tallyfox::server {

using WebSocket = boost::beast::websocket::stream<ClientStream>;

/// One open WebSocket: a bounded queue out, frames in, pings, and a close that cannot hang. Its coroutines keep it
/// alive until the socket is closed.
class PeerSocket final : public RelayPeer, public std::enable_shared_from_this<PeerSocket> {
 public:
  /// `socket` has finished its handshake. A frame above `greatestFrameBytes` closes it.
  PeerSocket(WebSocket socket, const RelayLimits& limits, RelayMetrics& metrics, std::size_t greatestFrameBytes);

  /// Starts writing and watching.
  void start();
  /// The next frame; null when the peer is gone or is being closed. One at a time.
  [[nodiscard]] boost::asio::awaitable<Frame> read();
  /// Instead of reading, at most a quarter of the time that silence may last; ends early when the socket does.
  [[nodiscard]] boost::asio::awaitable<void> pause(std::chrono::milliseconds length);
  /// Says that nothing is read any more: ends the socket, after a close that is under way.
  void finish();

  bool send(Frame frame, FrameType type) override;
  using RelayPeer::close;
  void close(CloseCode code, std::string reason) override;

 private:
  boost::asio::awaitable<void> write();
  /// Asks for pings and ends when the peer has been silent for too long.
  boost::asio::awaitable<void> watch();
  void heard();
  void countEnd(boost::system::error_code error);
  void cut();

  WebSocket socket_;
  const RelayLimits& limits_;
  RelayMetrics& metrics_;
  std::size_t greatestFrameBytes_;
  OutgoingQueue queue_;
  boost::asio::steady_timer wake_;  ///< ends the writer's wait
  boost::asio::steady_timer watchTimer_;
  boost::asio::steady_timer pauseTimer_;
  boost::asio::steady_timer closeDeadline_;
  boost::asio::steady_timer::time_point heardAt_;
  std::optional<CloseCode> closeCode_;
  std::string closeReason_;
  bool pingDue_ = false;
  bool finished_ = false;
  bool isCut_ = false;
};

}  // namespace tallyfox::server
