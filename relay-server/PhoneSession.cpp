#include "PhoneSession.hpp"

#include <boost/asio/steady_timer.hpp>
#include <boost/asio/this_coro.hpp>
#include <utility>

#include "PhoneHello.hpp"

namespace tallyfox::server {

PhoneSession::PhoneSession(std::shared_ptr<PeerSocket> socket, Dependencies dependencies)
    : socket_(std::move(socket)),
      dependencies_(dependencies),
      rate_(dependencies.limits.phoneRate, std::chrono::steady_clock::now()) {}

PhoneSession::~PhoneSession() {
  socket_->finish();
  if (joined_) dependencies_.hub.phoneLeft(*joined_, *socket_);
}

boost::asio::awaitable<void> PhoneSession::run() {
  socket_->start();
  if (!co_await enter()) co_return;
  while (const Frame frame = co_await socket_->read()) {
    if (isTooFast(frame)) continue;
    if (const auto verdict = co_await dependencies_.hub.phoneFrame(*joined_, *socket_, frame); !verdict) {
      socket_->close(verdict.error());
    }
  }
}

boost::asio::awaitable<bool> PhoneSession::enter() {
  const auto place = dependencies_.unauthenticated.admit([this](CloseCode code) { socket_->close(code); });
  const Frame hello = co_await firstFrame();
  if (!hello) co_return false;
  co_return co_await join(hello);
}

boost::asio::awaitable<Frame> PhoneSession::firstFrame() {
  boost::asio::steady_timer deadline(co_await boost::asio::this_coro::executor, dependencies_.limits.helloTime);
  deadline.async_wait([weak = std::weak_ptr(socket_), &metrics = dependencies_.metrics](auto cancelled) {
    const auto socket = weak.lock();
    if (!socket || cancelled) return;
    metrics.refusals.add(RelayMetrics::Refusal::helloTime);
    socket->close(CloseCode::malformed);
  });
  co_return co_await socket_->read();
}

boost::asio::awaitable<bool> PhoneSession::join(Frame frame) {
  const auto hello = PhoneHello::decoded(*frame);
  dependencies_.metrics.frameIn(hello ? FrameType::phoneHello : FrameType::malformed, frame->size());
  if (!hello) {
    helloMalformed(hello.error());
    co_return false;
  }
  if (const auto admitted = co_await dependencies_.hub.phoneJoined(*hello, *socket_); !admitted) {
    socket_->close(admitted.error());
    co_return false;
  }
  joined_ = PhoneAddress{.pairingID = hello->pairingID, .deviceID = hello->deviceID};
  co_return true;
}

bool PhoneSession::isTooFast(const Frame& frame) {
  const auto excess = rate_.excess(frame->size(), std::chrono::steady_clock::now());
  if (excess == excess.zero()) return false;
  dependencies_.metrics.refusals.add(RelayMetrics::Refusal::frameRate);
  dependencies_.log.write(log_event::phoneTooFast,
                          {LogField::device(joined_->deviceID), LogField::pairing(joined_->pairingID)});
  socket_->close(CloseCode::tooFast);
  return true;
}

void PhoneSession::helloMalformed(const DecodingError& error) {
  dependencies_.log.write(log_event::helloMalformed, {LogField::reason(error)});
  socket_->close(CloseCode::malformed);
}

}  // namespace tallyfox::server
