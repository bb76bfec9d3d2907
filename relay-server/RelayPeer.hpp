#pragma once

#include <memory>
#include <string>

#include "CloseCode.hpp"
#include "metrics/FrameType.hpp"

namespace tallyfox::server {

/// One text frame, shared by all the sockets that it goes to.
using Frame = std::shared_ptr<const std::string>;

/// The far end of one WebSocket, as the routing sees it. Neither call waits, and neither calls back into the routing.
class RelayPeer {
 public:
  virtual ~RelayPeer() = default;
  /// False when the peer is closing or has fallen too far behind (and is then being closed): the frame will not arrive.
  virtual bool send(Frame frame, FrameType type) = 0;
  /// Closes once the frames already accepted are out. The first code stays.
  virtual void close(CloseCode code, std::string reason) = 0;
  void close(CloseCode code) { close(code, {}); }
};

}  // namespace tallyfox::server
