#pragma once

#include <boost/asio/awaitable.hpp>

namespace tallyfox::server {

/// The WebSocket of an agent or a phone, from its handshake to its end.
class PeerSession {
 public:
  virtual ~PeerSession() = default;
  [[nodiscard]] virtual boost::asio::awaitable<void> run() = 0;
};

}  // namespace tallyfox::server
