#pragma once

#include <memory>

#include "platform/WebSocketTransport.hpp"
#include "platform/linux/NetworkThread.hpp"

namespace tallyfox::linux_os {

/// WebSocket connections of the network thread. Tasks may outlive that thread; their callbacks then do not run.
class BeastWebSocketTransport : public WebSocketTransport {
 public:
  explicit BeastWebSocketTransport(NetworkThread& network) : core_(network.core()) {}
  std::unique_ptr<WebSocketTask> start(const WebSocketRequest& request, WebSocketEvents events) override;

 private:
  std::weak_ptr<NetworkCore> core_;
};

}  // namespace tallyfox::linux_os
