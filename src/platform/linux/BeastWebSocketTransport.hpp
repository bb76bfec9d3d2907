#pragma once

#include <memory>
#include <mutex>
#include <vector>

#include "platform/WebSocketTransport.hpp"
#include "platform/linux/NetworkThread.hpp"

namespace tallyfox::linux_os {

class WebSocketSession;

/// WebSocket connections of the network thread. Tasks may outlive that thread; their callbacks then do not run.
class BeastWebSocketTransport : public WebSocketTransport {
 public:
  explicit BeastWebSocketTransport(NetworkThread& network) : core_(network.core()) {}
  std::unique_ptr<WebSocketTask> start(const WebSocketRequest& request, WebSocketEvents events) override;

  /// For the moment after a sleep, in which the other side may have given a connection up unheard: every one has to
  /// prove within a few seconds that it lives, or ends. Any thread.
  void demandProofOfLife();

 private:
  void remember(const std::shared_ptr<WebSocketSession>& session);

  std::mutex mutex_;
  std::vector<std::weak_ptr<WebSocketSession>> sessions_;
  std::weak_ptr<NetworkCore> core_;
};

}  // namespace tallyfox::linux_os
