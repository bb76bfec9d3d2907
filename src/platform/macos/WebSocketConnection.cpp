#include "platform/macos/WebSocketConnection.hpp"

#include <utility>

#include "base/Limits.hpp"
#include "platform/macos/NetworkErrors.hpp"

namespace tallyfox::mac_os {
namespace {

/// A network that vanished is noticed within a minute: a ping goes out every half, and is to be answered by the next.
constexpr Seconds pingPeriod{30};
/// Long enough for an answer over a network that is just coming up.
constexpr Seconds proofTime{4};
/// How long the other side may take to answer a close frame.
constexpr Seconds closingTime{5};
/// How long the reason for a failed call may take: the system tells of the end right after it.
constexpr Seconds reasonTime{1};

bool isRealCode(std::uint16_t code) {
  return code != 0 && code != 1005 && code != 1006 && code != 1015;
}

}  // namespace

void WebSocketConnection::start(std::unique_ptr<WebSocketWire> wire, Seconds timeout) {
  if (phase_ != Phase::connecting) return;
  wire_ = std::move(wire);
  wire_->after(timeout, [weak = weak_from_this()] {
    const auto self = weak.lock();
    if (self && self->phase_ == Phase::connecting) self->end({timedOutText});
  });
  wire_->connect();
}

void WebSocketConnection::send(std::string text, SendCompletion completion) {
  if (failure_) return gate_->call(completion, std::unexpected(*failure_));
  if (outgoingBytes_ + text.size() > limits::outgoingBytes)
    return gate_->call(completion, std::unexpected(TransportError{"Too much is waiting to be sent."}));
  outgoingBytes_ += text.size();
  outgoing_.push_back({std::move(text), std::move(completion)});
  if (phase_ == Phase::open && outgoing_.size() == 1) sendNext();
}

void WebSocketConnection::receive(ReceiveCompletion completion) {
  if (waitingFrame_) {
    const Bytes frame = std::move(*waitingFrame_);
    waitingFrame_.reset();
    receiveNext();
    return gate_->call(completion, frame);
  }
  if (failure_) return gate_->call(completion, std::unexpected(*failure_));
  receivers_.push_back(std::move(completion));
}

void WebSocketConnection::cancel(std::uint16_t closeCode) {
  if (phase_ == Phase::connecting || phase_ == Phase::failing) return end({cancelledText});
  if (phase_ != Phase::open) return;
  phase_ = Phase::closing;
  wire_->close(closeCode);
  // Keeps the connection until then, also for an owner that is gone.
  wire_->after(closingTime, [self = shared_from_this()] { self->end({cancelledText}); });
  failPending({cancelledText});
}

void WebSocketConnection::abandon() {
  if (phase_ != Phase::closing) end({"The connection was dropped."});
}

void WebSocketConnection::opened() {
  if (phase_ != Phase::connecting) return;
  phase_ = Phase::open;
  receiveNext();
  if (!outgoing_.empty()) sendNext();
  checkLife();
  const auto onOpen = std::exchange(events_.onOpen, nullptr);
  gate_->call(onOpen);
}

void WebSocketConnection::sent() {
  if (phase_ != Phase::open || outgoing_.empty()) return;  // the completion was told of the end already
  const Outgoing frame = std::move(outgoing_.front());
  outgoing_.pop_front();
  outgoingBytes_ -= frame.text.size();
  if (!outgoing_.empty()) sendNext();
  gate_->call(frame.completion, std::expected<void, TransportError>{});
}

void WebSocketConnection::received(Bytes frame) {
  isReceiving_ = false;
  if (phase_ != Phase::open && phase_ != Phase::closing) return;
  noteLife();
  if (frame.size() > limits::frameBytes) return end({frameTooLargeText});
  // While closing, the frames that come before the other side's answer are taken and forgotten.
  if (phase_ == Phase::open && receivers_.empty()) {
    waitingFrame_ = std::move(frame);
    return;
  }
  receiveNext();
  if (phase_ != Phase::open) return;
  const auto receiver = std::move(receivers_.front());
  receivers_.pop_front();
  gate_->call(receiver, std::move(frame));
}

void WebSocketConnection::heard() {
  noteLife();
}

void WebSocketConnection::demandProof() {
  if (phase_ != Phase::open || isBusy()) return;
  wire_->ping();
  wire_->after(proofTime, [weak = weak_from_this(), before = signsOfLife_] {
    const auto self = weak.lock();
    if (self && self->phase_ == Phase::open && self->signsOfLife_ == before && !self->isBusy())
      self->end({connectionLostText});
  });
}

void WebSocketConnection::closed(std::uint16_t code) {
  if (!isRealCode(code)) return end({"The other side closed the connection."});
  end({"The other side closed the connection with code " + std::to_string(code) + ".", code});
}

void WebSocketConnection::failed(TransportError reason, std::uint16_t code) {
  if (phase_ == Phase::connecting) return end(std::move(reason));
  // While closing, calls fail because of it, and the code is our own: the close frame is still to be let out.
  if (phase_ != Phase::open) return;
  if (isRealCode(code)) return closed(code);
  phase_ = Phase::failing;
  reason_ = std::move(reason);
  wire_->after(reasonTime, [weak = weak_from_this()] {
    if (const auto self = weak.lock(); self && self->phase_ == Phase::failing) self->end(*self->reason_);
  });
}

void WebSocketConnection::ended(TransportError reason) {
  end(reason_.value_or(std::move(reason)));
}

void WebSocketConnection::sendNext() {
  wire_->send(outgoing_.front().text);
}

/// Reads one frame ahead of the owner, so that pings are answered and a close is seen whether or not it asks.
void WebSocketConnection::receiveNext() {
  if ((phase_ != Phase::open && phase_ != Phase::closing) || isReceiving_ || waitingFrame_) return;
  isReceiving_ = true;
  wire_->receive();
}

void WebSocketConnection::noteLife() {
  isProving_ = false;
  ++signsOfLife_;
}

/// A ping waits behind a frame of ours that is on its way, and its answer behind one that the owner does not take.
bool WebSocketConnection::isBusy() const {
  return !outgoing_.empty() || waitingFrame_;
}

void WebSocketConnection::checkLife() {
  if (phase_ != Phase::open) return;
  if (isProving_ && !isBusy()) return end({connectionLostText});
  wire_->after(pingPeriod, [weak = weak_from_this()] {
    if (const auto self = weak.lock()) self->checkLife();
  });
  if (isBusy()) return;
  isProving_ = true;
  wire_->ping();
}

void WebSocketConnection::failPending(const TransportError& failure) {
  if (!failure_) failure_ = failure;
  const auto outgoing = std::exchange(outgoing_, {});
  const auto receivers = std::exchange(receivers_, {});
  outgoingBytes_ = 0;
  for (const auto& frame : outgoing)
    gate_->call(frame.completion, std::unexpected(*failure_));
  for (const auto& receiver : receivers)
    gate_->call(receiver, std::unexpected(*failure_));
}

/// Once: the end of the connection, for whatever reason, and of its callbacks.
void WebSocketConnection::end(TransportError failure) {
  const Phase before = std::exchange(phase_, Phase::ended);
  if (before == Phase::ended) return;
  const auto self = shared_from_this();
  if (const auto wire = std::exchange(wire_, nullptr)) wire->drop();
  const auto events = std::exchange(events_, {});
  if (before != Phase::connecting) gate_->call(events.onClose);
  failPending(failure);
}

}  // namespace tallyfox::mac_os
