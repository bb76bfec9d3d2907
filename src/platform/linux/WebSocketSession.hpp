#pragma once

#include <functional>
#include <memory>
#include <string>

#include "base/CallbackGate.hpp"
#include "base/HttpHeaders.hpp"
#include "platform/WebSocketTransport.hpp"
#include "platform/linux/NetworkAddress.hpp"
#include "platform/linux/NetworkThread.hpp"

namespace tallyfox::linux_os {

using SendCompletion = std::function<void(std::expected<void, TransportError>)>;
using ReceiveCompletion = std::function<void(std::expected<Bytes, TransportError>)>;

/// One connection; kept alive by its pending operations and until it is abandoned. Network thread only, but for
/// construction. All callbacks pass the gate.
class WebSocketSession {
 public:
  virtual ~WebSocketSession() = default;
  virtual void start(Seconds timeout) = 0;
  virtual void send(std::string text, SendCompletion completion) = 0;
  virtual void receive(ReceiveCompletion completion) = 0;
  virtual void cancel(std::uint16_t closeCode) = 0;
  /// An open connection from which nothing comes within a few seconds, though it is asked, has ended; one that is being
  /// made ends at once.
  virtual void demandProof() = 0;
  /// The owner is gone: ends the connection, except that a close frame on its way is let through.
  virtual void abandon() = 0;
};

[[nodiscard]] std::shared_ptr<WebSocketSession> makeWebSocketSession(NetworkCore& core, const NetworkAddress& address,
                                                                     HeaderList headers, WebSocketEvents events,
                                                                     std::shared_ptr<CallbackGate> gate);

}  // namespace tallyfox::linux_os
