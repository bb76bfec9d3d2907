#pragma once

#include <memory>

#include "platform/WebSocketTransport.hpp"

namespace tallyfox::mac_os {

/// WebSockets of the system's URL sessions. Callbacks run on a serial queue of the transport's own. Tasks may outlive
/// the transport. A task that is destroyed drops its connection; whether the system says goodbye to the other side then
/// is the system's affair.
class URLSessionWebSocketTransport : public WebSocketTransport {
 public:
  URLSessionWebSocketTransport();
  ~URLSessionWebSocketTransport() override;
  std::unique_ptr<WebSocketTask> start(const WebSocketRequest& request, WebSocketEvents events) override;
  /// For when the machine has slept: connections whose other side is not heard within four seconds end. Any thread.
  void demandProofOfLife();

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace tallyfox::mac_os
