#include "phone/PhoneCommand.hpp"

#include <utility>

namespace tallyfox::phone {

void PhoneCommand::connect(const PhonePairing& pairing) {
  PhoneEvents events;
  events.onWelcome = [this](bool agentConnected) { welcomed(agentConnected); };
  events.onSnapshot = [this](const PhoneSnapshot& snapshot) { snapshotArrived(snapshot); };
  events.onResult = [this](const PhoneResult& result) { resultArrived(result); };
  events.onAgentStatus = [this](bool agentConnected) { agentStatusChanged(agentConnected); };
  events.onUndeliverable = [this](const std::string& decisionID) { decisionUndeliverable(decisionID); };
  events.onProblem = [&output = context_.output](const std::string& problem) { output.error(problem); };
  events.onDisconnected = [this](const PhoneDisconnection& why) {
    connection_.reset();
    disconnected(why);
  };
  connection_ = std::make_unique<PhoneConnection>(
      PhoneConnection::Dependencies{context_.transport, context_.queue, context_.clock}, pairing, std::move(events));
}

bool PhoneCommand::connectPaired() {
  const auto pairing = context_.store.load();
  if (!pairing)
    fail(exit_status::error, pairing.error());
  else if (!*pairing)
    fail(exit_status::error, "This phone is not paired. Pair it with: tallyfox-phone pair");
  else
    connect(**pairing);
  return pairing && *pairing;
}

void PhoneCommand::finish(int status) {
  connection_.reset();
  timeLimit_.reset();
  later_.reset();
  const auto finished = std::exchange(finish_, nullptr);
  if (finished) context_.queue.post([finished, status] { finished(status); });
}

void PhoneCommand::fail(int status, const std::string& text) {
  if (!finish_) return;
  output().error(text);
  finish(status);
}

void PhoneCommand::limitTime(Seconds limit) {
  timeLimit_ = context_.queue.after(limit, lifetime_.guard([this] { timedOut(); }));
}

void PhoneCommand::later(Seconds delay, std::function<void()> work) {
  later_ = context_.queue.after(delay, lifetime_.guard(std::move(work)));
}

}  // namespace tallyfox::phone
