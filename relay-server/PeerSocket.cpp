#include "PeerSocket.hpp"

#include <algorithm>
#include <boost/asio/as_tuple.hpp>
#include <boost/asio/buffer.hpp>
#include <boost/asio/co_spawn.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <exception>
#include <string>
#include <utility>

#include "base/Text.hpp"

namespace tallyfox::server {
namespace {

namespace asio = boost::asio;
namespace websocket = boost::beast::websocket;

using Clock = asio::steady_timer::clock_type;

constexpr auto resultOf = asio::as_tuple(asio::use_awaitable);

bool isAscii(char c) {
  return (static_cast<unsigned char>(c) & 0x80) == 0;
}

}  // namespace

PeerSocket::PeerSocket(WebSocket socket, const RelayLimits& limits, RelayMetrics& metrics,
                       std::size_t greatestFrameBytes)
    : socket_(std::move(socket)),
      limits_(limits),
      metrics_(metrics),
      greatestFrameBytes_(greatestFrameBytes),
      queue_(limits.outgoingBytes, limits.outgoingFrames),
      wake_(socket_.get_executor()),
      watchTimer_(socket_.get_executor()),
      pauseTimer_(socket_.get_executor()),
      closeDeadline_(socket_.get_executor()),
      heardAt_(Clock::now()) {
  // The stream's own limit would tear the connection down with the frame half read, and the close code with it.
  socket_.read_message_max(0);
  socket_.control_callback([this](websocket::frame_type, boost::beast::string_view) { heard(); });
}

void PeerSocket::start() {
  asio::co_spawn(socket_.get_executor(), write(),
                 [self = shared_from_this()](const std::exception_ptr&) { self->cut(); });
  asio::co_spawn(socket_.get_executor(), watch(),
                 [self = shared_from_this()](const std::exception_ptr&) { self->cut(); });
}

asio::awaitable<Frame> PeerSocket::read() {
  std::string text;
  auto buffer = asio::dynamic_buffer(text);
  do {
    // In pieces, so that a long frame on a slow line counts as a sign of life.
    const auto [error, size] = co_await socket_.async_read_some(buffer, 0, resultOf);
    heard();
    if (!error && text.size() > greatestFrameBytes_) close(CloseCode::frameTooLarge);
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
  wake_.cancel();
}

bool PeerSocket::send(Frame frame, FrameType type) {
  if (closeCode_ || finished_) return false;
  const std::size_t bytes = frame->size();
  if (!queue_.push(std::move(frame))) {
    // What waits would come too late to be of use, and must not delay the close.
    queue_.clear();
    ++metrics_.slowConsumers;
    close(CloseCode::slowConsumer);
    return false;
  }
  metrics_.frameOut(type, bytes);
  wake_.cancel();
  return true;
}

void PeerSocket::close(CloseCode code, std::string reason) {
  if (closeCode_ || finished_) return;
  closeCode_ = code;
  closeReason_ = std::move(reason);
  pauseTimer_.cancel();
  metrics_.relayCloses.add(static_cast<unsigned>(code));
  wake_.cancel();
  closeDeadline_.expires_after(limits_.closeTime);
  closeDeadline_.async_wait([weak = weak_from_this()](boost::system::error_code cancelled) {
    if (const auto self = weak.lock(); self && !cancelled) self->cut();
  });
}

asio::awaitable<void> PeerSocket::write() {
  while (closeCode_ || !finished_) {
    if (const Frame frame = queue_.pop()) {
      const auto [error, size] = co_await socket_.async_write(asio::buffer(*frame), resultOf);
      if (error) co_return;
    } else if (closeCode_) {
      const websocket::close_reason reason(static_cast<websocket::close_code>(*closeCode_), closeReason_);
      co_await socket_.async_close(reason, resultOf);
      co_return;
    } else if (pingDue_) {
      pingDue_ = false;
      const websocket::ping_data nothing;
      const auto [error] = co_await socket_.async_ping(nothing, resultOf);
      if (error) co_return;
    } else {
      wake_.expires_at(asio::steady_timer::time_point::max());
      co_await wake_.async_wait(resultOf);
    }
  }
}

asio::awaitable<void> PeerSocket::watch() {
  auto nextPing = Clock::now() + limits_.pingInterval;
  while (!isCut_) {
    watchTimer_.expires_at(std::min(nextPing, heardAt_ + limits_.idleTime));
    const auto [cancelled] = co_await watchTimer_.async_wait(resultOf);
    const auto now = Clock::now();
    if (cancelled || now >= heardAt_ + limits_.idleTime) co_return;
    if (now < nextPing) continue;
    nextPing = now + limits_.pingInterval;
    pingDue_ = true;
    wake_.cancel();
  }
}

void PeerSocket::countEnd(boost::system::error_code error) {
  if (closeCode_) return;
  if (error == websocket::error::closed) {
    metrics_.peerCloses.add(socket_.reason().code);
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
  watchTimer_.cancel();
  closeDeadline_.cancel();
  wake_.cancel();
  socket_.next_layer().close();
}

}  // namespace tallyfox::server
