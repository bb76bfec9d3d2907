#include "PeerSocket.hpp"

#include <algorithm>
#include <boost/asio/as_tuple.hpp>
#include <boost/asio/buffer.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <string>
#include <utility>

#include "base/Text.hpp"

namespace tallyfox::server {
namespace {

namespace asio = boost::asio;
namespace websocket = boost::beast::websocket;

using Clock = asio::steady_timer::clock_type;

constexpr auto resultOf = asio::as_tuple(asio::use_awaitable);

/// The room of a string without an allocation: idle sockets wait for a frame with no more than that.
const std::size_t idleReadBytes = std::string().capacity();

bool isAscii(char c) {
  return (static_cast<unsigned char>(c) & 0x80) == 0;
}

}  // namespace

PeerSocket::PeerSocket(WebSocket socket, const RelayLimits& limits, RelayMetrics& metrics,
                       std::size_t greatestFrameBytes)
    : socket_(std::move(socket)),
      limits_(limits),
      metrics_(metrics),
      queue_(limits.outgoingBytes, limits.outgoingFrames),
      timer_(socket_.get_executor()),
      pauseTimer_(socket_.get_executor()),
      heardAt_(Clock::now()),
      nextPing_(heardAt_ + limits.pingInterval) {
  socket_.read_message_max(greatestFrameBytes);
  socket_.control_callback([this](websocket::frame_type, boost::beast::string_view) { heard(); });
}

void PeerSocket::start() {
  watch();
}

asio::awaitable<Frame> PeerSocket::read() {
  // A close under way reads for itself; another read could make each wait for the other.
  if (closeCode_) co_return nullptr;
  std::string text;
  auto buffer = asio::dynamic_buffer(text);
  do {
    // In pieces, so that a long frame on a slow line counts as a sign of life.
    const auto [error, size] = co_await socket_.async_read_some(buffer, text.empty() ? idleReadBytes : 0, resultOf);
    heard();
    if (error) countEnd(error);
    if (error || closeCode_) co_return nullptr;
  } while (!socket_.is_message_done());
  // The stream does not see that a character is cut by the end of a message whose last frame is empty.
  if (socket_.got_text() && !text.empty() && !isAscii(text.back()) && !isValidUtf8(text)) {
    close(CloseCode::invalidText);
    co_return nullptr;
  }
  // No message is binary: whoever sends one gets what malformed text gets, whatever is in it.
  if (socket_.got_binary()) text.clear();
  co_return std::make_shared<const std::string>(std::move(text));
}

asio::awaitable<void> PeerSocket::pause(std::chrono::milliseconds length) {
  if (isCut_ || closeCode_) co_return;
  pauseTimer_.expires_after(std::min(length, limits_.idleTime / 4));
  co_await pauseTimer_.async_wait(resultOf);
}

void PeerSocket::finish() {
  finished_ = true;
  write();
}

bool PeerSocket::send(Frame frame, FrameType type) {
  if (closeCode_ || finished_ || isCut_) return false;
  const std::size_t bytes = frame->size();
  if (!queue_.push(std::move(frame))) {
    // What waits would come too late to be of use, and must not delay the close.
    queue_.clear();
    ++metrics_.slowConsumers;
    close(CloseCode::slowConsumer);
    return false;
  }
  metrics_.frameOut(type, bytes);
  write();
  return true;
}

void PeerSocket::close(CloseCode code, std::string reason) {
  if (closeCode_ || finished_) return;
  closeCode_ = code;
  closeReason_ = std::move(reason);
  pauseTimer_.cancel();
  metrics_.relayCloses.add(static_cast<unsigned>(code));
  closeBy_ = Clock::now() + limits_.closeTime;
  watch();
  write();
}

void PeerSocket::write() {
  if (isWriting_ || isCut_) return;
  if (const Frame frame = queue_.pop()) {
    isWriting_ = true;
    socket_.async_write(
        asio::buffer(*frame),
        [self = shared_from_this(), frame](boost::system::error_code error, std::size_t) { self->written(error); });
  } else if (closeCode_) {
    sayClose();
  } else if (finished_) {
    cut();
  } else if (pingDue_) {
    ping();
  }
}

void PeerSocket::written(boost::system::error_code error) {
  isWriting_ = false;
  error ? cut() : write();
}

void PeerSocket::ping() {
  isWriting_ = true;
  pingDue_ = false;
  const websocket::ping_data nothing;
  socket_.async_ping(nothing, [self = shared_from_this()](boost::system::error_code error) { self->written(error); });
}

void PeerSocket::sayClose() {
  isWriting_ = true;
  const websocket::close_reason reason(static_cast<websocket::close_code>(*closeCode_), closeReason_);
  socket_.async_close(reason, [self = shared_from_this()](boost::system::error_code) { self->cut(); });
}

void PeerSocket::watch() {
  if (isCut_) return;
  timer_.expires_at(closeCode_ ? closeBy_ : std::min(nextPing_, heardAt_ + limits_.idleTime));
  timer_.async_wait([weak = weak_from_this()](boost::system::error_code cancelled) {
    if (const auto self = weak.lock(); self && !cancelled) self->timePassed();
  });
}

void PeerSocket::timePassed() {
  const auto now = Clock::now();
  // It may have been set anew after its end, before this call.
  if (timer_.expiry() > now) return;
  if (closeCode_ || now >= heardAt_ + limits_.idleTime) return cut();
  if (now >= nextPing_) {
    nextPing_ = now + limits_.pingInterval;
    pingDue_ = true;
    write();
  }
  watch();
}

void PeerSocket::countEnd(boost::system::error_code error) {
  if (closeCode_) return;
  if (error == websocket::error::closed) {
    metrics_.peerCloses.add(socket_.reason().code);
  } else if (error == websocket::error::message_too_big) {
    metrics_.relayCloses.add(static_cast<unsigned>(CloseCode::frameTooLarge));
  } else {
    ++metrics_.cuts;
  }
}

void PeerSocket::heard() {
  heardAt_ = Clock::now();
}

void PeerSocket::cut() {
  isCut_ = true;
  pauseTimer_.cancel();
  timer_.cancel();
  socket_.next_layer().close();
}

}  // namespace tallyfox::server
