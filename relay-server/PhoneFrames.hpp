#pragma once

#include <chrono>
#include <string_view>

#include "RelayPeer.hpp"

/// The frames that the relay itself says to phones; everything else that phones get is the agent's own.
namespace tallyfox::server {

[[nodiscard]] Frame relayWelcome(bool agentConnected);
[[nodiscard]] Frame agentStatus(bool agentConnected);
/// `reason` is `offline`, or `uncertain` when the decision may have been delivered all the same.
[[nodiscard]] Frame decisionUndeliverable(std::string_view decisionID, std::string_view reason);
[[nodiscard]] Frame phoneUnpaired();
[[nodiscard]] Frame relayRestart(std::chrono::milliseconds reconnectAfter);
[[nodiscard]] Frame pushStatus(bool subscribed);
/// Why it was not subscribed.
[[nodiscard]] Frame pushRefused(std::string_view reason);

}  // namespace tallyfox::server
