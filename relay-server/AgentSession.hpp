#pragma once

#include <boost/asio/awaitable.hpp>
#include <memory>
#include <string>

#include "PeerSocket.hpp"
#include "RelayHub.hpp"

namespace tallyfox::server {

/// One agent's socket, from its handshake to its end. Leaves the hub when destroyed.
class AgentSession {
 public:
  AgentSession(std::shared_ptr<PeerSocket> socket, RelayHub& hub, std::string pairingID);
  ~AgentSession();
  AgentSession(const AgentSession&) = delete;
  AgentSession& operator=(const AgentSession&) = delete;

  [[nodiscard]] boost::asio::awaitable<void> run();

 private:
  std::shared_ptr<PeerSocket> socket_;
  RelayHub& hub_;
  std::string pairingID_;
  bool joined_ = false;
};

}  // namespace tallyfox::server
