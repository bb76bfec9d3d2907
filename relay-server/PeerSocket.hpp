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

/// Without compression, which no relay negotiates.
using WebSocket = boost::beast::websocket::stream<ClientStream, false>;

/// One open WebSocket: a bounded queue out, frames in, pings, and a close that cannot hang. Most are idle most of the
/// time, so between frames it holds one timer and one wait for bytes. What it waits for keeps it alive.
class PeerSocket final : public RelayPeer, public std::enable_shared_from_this<PeerSocket> {
 public:
  /// `socket` has finished its handshake. A frame above `greatestFrameBytes` closes it.
  PeerSocket(WebSocket socket, const RelayLimits& limits, RelayMetrics& metrics, std::size_t greatestFrameBytes);

  /// Starts watching.
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
  using Time = boost::asio::steady_timer::time_point;

  /// Writes the next of what waits, unless something is being written.
  void write();
  void written(boost::system::error_code error);
  void ping();
  void sayClose();
  /// Waits for the next ping, for the end of the peer's silence or of its time to close.
  void watch();
  void timePassed();
  void heard();
  void countEnd(boost::system::error_code error);
  void cut();

  WebSocket socket_;
  const RelayLimits& limits_;
  RelayMetrics& metrics_;
  OutgoingQueue queue_;
  boost::asio::steady_timer timer_;
  boost::asio::steady_timer pauseTimer_;
  Time heardAt_;
  Time nextPing_;
  Time closeBy_;
  std::optional<CloseCode> closeCode_;
  std::string closeReason_;
  bool isWriting_ = false;
  bool pingDue_ = false;
  bool finished_ = false;
  bool isCut_ = false;
};

}  // namespace tallyfox::server
