#include "AgentSession.hpp"

#include <utility>

namespace tallyfox::server {
namespace {

using Clock = std::chrono::steady_clock;

}  // namespace

AgentSession::AgentSession(std::shared_ptr<PeerSocket> socket, Dependencies dependencies, std::string pairingID)
    : socket_(std::move(socket)),
      dependencies_(dependencies),
      pairingID_(std::move(pairingID)),
      rate_(dependencies.limits.agentRate, Clock::now()) {}

AgentSession::~AgentSession() {
  socket_->finish();
  if (joined_) dependencies_.hub.agentLeft(pairingID_, *socket_);
}

boost::asio::awaitable<void> AgentSession::run() {
  socket_->start();
  if (const auto admitted = co_await dependencies_.hub.agentJoined(pairingID_, *socket_); !admitted) {
    socket_->close(admitted.error());
    co_return;
  }
  joined_ = true;
  while (const Frame frame = co_await socket_->read()) {
    co_await dependencies_.hub.agentFrame(pairingID_, *socket_, frame);
    co_await slowDown(frame->size());
  }
}

boost::asio::awaitable<void> AgentSession::slowDown(std::size_t bytes) {
  const auto excess = rate_.excess(bytes, Clock::now());
  if (excess == excess.zero()) co_return;
  ++dependencies_.metrics.pauses;
  co_await socket_->pause(excess);
}

}  // namespace tallyfox::server
