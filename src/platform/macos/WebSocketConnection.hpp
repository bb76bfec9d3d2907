#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "base/CallbackGate.hpp"
#include "platform/WebSocketTransport.hpp"
#include "platform/macos/WebSocketWire.hpp"

namespace tallyfox::mac_os {

using SendCompletion = std::function<void(std::expected<void, TransportError>)>;
using ReceiveCompletion = std::function<void(std::expected<Bytes, TransportError>)>;

/// One connection: what its owner asked for, what the wire told, and what the owner hears of it. All callbacks pass the
/// gate. Network queue only.
class WebSocketConnection : public std::enable_shared_from_this<WebSocketConnection> {
 public:
  WebSocketConnection(WebSocketEvents events, std::shared_ptr<CallbackGate> gate)
      : events_(std::move(events)), gate_(std::move(gate)) {}

  /// Connects; `timeout` bounds everything up to `opened`.
  void start(std::unique_ptr<WebSocketWire> wire, Seconds timeout);
  /// Instead of start: nothing was connected, and every call fails so.
  void refuse(TransportError reason) { end(std::move(reason)); }

  // The owner's calls.
  void send(std::string text, SendCompletion completion);
  void receive(ReceiveCompletion completion);
  void cancel(std::uint16_t closeCode);
  /// The owner is gone: ends the connection, except that a close frame on its way is let through.
  void abandon();
  /// The machine has slept: the connection ends unless the other side is heard within four seconds.
  void demandProof();

  // What the wire tells.
  void opened();
  void sent();
  void received(Bytes frame);
  void heard();  ///< the other side answered a ping
  /// The other side closed. Codes that stand for the lack of one (0, 1005, 1006, 1015) are not passed on.
  void closed(std::uint16_t code);
  /// A call failed; `code` is what the system knows by then of the other side's close, or 0. The end follows, perhaps
  /// with a better reason.
  void failed(TransportError reason, std::uint16_t code = 0);
  /// The wire is done.
  void ended(TransportError reason);

 private:
  enum class Phase { connecting, open, failing, closing, ended };
  struct Outgoing {
    std::string text;
    SendCompletion completion;
  };

  void sendNext();
  void receiveNext();
  void noteLife();
  [[nodiscard]] bool isBusy() const;
  void checkLife();
  void failPending(const TransportError& failure);
  void end(TransportError failure);

  WebSocketEvents events_;
  std::shared_ptr<CallbackGate> gate_;
  std::unique_ptr<WebSocketWire> wire_;  ///< from start to the end
  Phase phase_ = Phase::connecting;
  std::optional<TransportError> reason_;   ///< why a call failed, until the end is told of
  std::optional<TransportError> failure_;  ///< what every further call is told
  std::deque<Outgoing> outgoing_;          ///< the first is on its way once open
  std::size_t outgoingBytes_ = 0;
  std::deque<ReceiveCompletion> receivers_;
  std::optional<Bytes> waitingFrame_;
  bool isReceiving_ = false;
  bool isProving_ = false;         ///< a ping went out and nothing came since
  std::uint64_t signsOfLife_ = 0;  ///< how often the other side was heard
};

}  // namespace tallyfox::mac_os
