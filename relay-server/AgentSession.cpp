#include "AgentSession.hpp"

#include <utility>

namespace tallyfox::server {

AgentSession::AgentSession(std::shared_ptr<PeerSocket> socket, RelayHub& hub, std::string pairingID)
    : socket_(std::move(socket)), hub_(hub), pairingID_(std::move(pairingID)) {}

AgentSession::~AgentSession() {
  socket_->finish();
  if (joined_) hub_.agentLeft(pairingID_, *socket_);
}

boost::asio::awaitable<void> AgentSession::run() {
  socket_->start();
  if (const auto admitted = co_await hub_.agentJoined(pairingID_, *socket_); !admitted) {
    socket_->close(admitted.error());
    co_return;
  }
  joined_ = true;
  while (const Frame frame = co_await socket_->read())
    co_await hub_.agentFrame(pairingID_, *socket_, frame);
}

}  // namespace tallyfox::server
