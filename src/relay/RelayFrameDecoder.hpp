#pragma once

#include <expected>
#include <string>
#include <variant>

#include "base/Bytes.hpp"
#include "model/RelayCommands.hpp"
#include "relay/RelayMessages.hpp"

namespace tallyfox {

/// A frame of a type that the agent does not know; dropped without a word.
struct UnknownRelayFrame {
  bool operator==(const UnknownRelayFrame&) const = default;
};

using IncomingRelayFrame = std::variant<UnknownRelayFrame, ApprovalRequestRelayMessage, ApprovalSuppressionRelayMessage,
                                        PhoneStatusRelayMessage>;

/// The outer message of one frame from the relay. Pure; any thread.
[[nodiscard]] std::expected<IncomingRelayFrame, DecodingError> decodedRelayFrame(ByteView frame);

/// The commands that those messages seal. The error is a sentence for a log line. Pure; any thread.
[[nodiscard]] std::expected<ApprovalRequestCommand, DecodingError> openedRequest(
    const ApprovalRequestRelayMessage& message, const std::string& secret);
[[nodiscard]] std::expected<ApprovalSuppressionCommand, DecodingError> openedSuppression(
    const ApprovalSuppressionRelayMessage& message, const std::string& secret);

}  // namespace tallyfox
