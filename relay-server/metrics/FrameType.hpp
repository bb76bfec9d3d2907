#pragma once

#include <algorithm>
#include <array>
#include <cstdint>
#include <string_view>

namespace tallyfox::server {

/// The frames that are counted apart.
enum class FrameType : std::uint8_t {
  macSnapshot,
  approvalResult,
  phoneUnpair,
  approvalRequest,
  approvalSuppress,
  approvalUnsuppress,
  phoneHello,
  phoneLeave,
  pushSubscribe,
  pushUnsubscribe,
  phoneStatus,
  relayWelcome,
  agentStatus,
  undeliverable,
  phoneUnpaired,
  pushStatus,
  relayRestart,
  malformed,
  other,
};

inline constexpr std::array<std::string_view, 19> frameTypeNames{"mac.snapshot",
                                                                 "approval.result",
                                                                 "phone.unpair",
                                                                 "approval.request",
                                                                 "approval.suppress",
                                                                 "approval.unsuppress",
                                                                 "phone.hello",
                                                                 "phone.leave",
                                                                 "push.subscribe",
                                                                 "push.unsubscribe",
                                                                 "phone.status",
                                                                 "relay.welcome",
                                                                 "agent.status",
                                                                 "decision.undeliverable",
                                                                 "phone.unpaired",
                                                                 "push.status",
                                                                 "relay.restart",
                                                                 "malformed",
                                                                 "other"};

/// By the frame's member `type`; `other` for one that the relay does not know.
[[nodiscard]] constexpr FrameType frameTypeOf(std::string_view type) {
  constexpr std::size_t known = frameTypeNames.size() - 2;
  const auto* const found = std::find(frameTypeNames.begin(), frameTypeNames.begin() + known, type);
  if (found == frameTypeNames.begin() + known) return FrameType::other;
  return static_cast<FrameType>(found - frameTypeNames.begin());
}

}  // namespace tallyfox::server
