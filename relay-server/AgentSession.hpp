#pragma once

#include <boost/asio/awaitable.hpp>
#include <memory>
#include <string>

#include "PeerSession.hpp"
#include "PeerSocket.hpp"
#include "RelayHub.hpp"

namespace tallyfox::server {

/// One agent's socket, from its handshake to its end. Leaves the hub when destroyed.
class AgentSession final : public PeerSession {
 public:
  struct Dependencies {
    RelayHub& hub;
    const RelayLimits& limits;
    RelayMetrics& metrics;
  };
  AgentSession(std::shared_ptr<PeerSocket> socket, Dependencies dependencies, std::string pairingID);
  ~AgentSession() override;
  AgentSession(const AgentSession&) = delete;
  AgentSession& operator=(const AgentSession&) = delete;

  [[nodiscard]] boost::asio::awaitable<void> run() override;

 private:
  /// Waits as long as the agent should have, if its frame came too early.
  [[nodiscard]] boost::asio::awaitable<void> slowDown(std::size_t bytes);

  std::shared_ptr<PeerSocket> socket_;
  Dependencies dependencies_;
  std::string pairingID_;
  FrameRate rate_;
  bool joined_ = false;
};

}  // namespace tallyfox::server
