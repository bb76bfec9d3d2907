#include "PhoneFrames.hpp"

#include "base/Json.hpp"

namespace tallyfox::server {
namespace {

Frame frameOf(const Json& message) {
  return std::make_shared<const std::string>(jsonText(message));
}

}  // namespace

Frame relayWelcome(bool agentConnected) {
  return frameOf({{"type", "relay.welcome"}, {"version", 1}, {"agentConnected", agentConnected}});
}

Frame agentStatus(bool agentConnected) {
  return frameOf({{"type", "agent.status"}, {"agentConnected", agentConnected}});
}

Frame decisionUndeliverable(std::string_view decisionID, std::string_view reason) {
  return frameOf({{"type", "decision.undeliverable"}, {"decisionID", decisionID}, {"reason", reason}});
}

Frame relayRestart(std::chrono::milliseconds reconnectAfter) {
  const double seconds = std::chrono::duration<double>(reconnectAfter).count();
  return frameOf({{"type", "relay.restart"}, {"reconnectAfter", seconds}});
}

Frame pushStatus(bool subscribed) {
  return frameOf({{"type", "push.status"}, {"subscribed", subscribed}});
}

Frame pushRefused(std::string_view reason) {
  return frameOf({{"type", "push.status"}, {"subscribed", false}, {"reason", reason}});
}

Frame phoneUnpaired() {
  return frameOf(Json::object({{"type", "phone.unpaired"}}));
}

}  // namespace tallyfox::server
