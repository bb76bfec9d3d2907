#include "relay/RelayFrameDecoder.hpp"

#include <utility>

namespace tallyfox {
namespace {

template <typename Message>
std::expected<IncomingRelayFrame, DecodingError> decodedAs(const Json& json) {
  auto message = Message::decoded(json);
  if (!message) return std::unexpected(std::move(message.error()));
  return std::move(*message);
}

template <typename Command>
std::expected<Command, DecodingError> opened(const EncryptedRelayPayload& payload, const std::string& secret) {
  const auto plaintext = RelayCrypto::open(payload, secret);
  if (!plaintext) return std::unexpected(DecodingError{description(plaintext.error())});
  const auto json = parsedJson(textOf(*plaintext));
  if (!json) return std::unexpected(json.error());
  return Command::decoded(*json);
}

}  // namespace

std::expected<IncomingRelayFrame, DecodingError> decodedRelayFrame(ByteView frame) {
  const auto json = parsedJson(textOf(frame));
  if (!json) return std::unexpected(json.error());
  const auto type = relayMessageType(*json);
  if (!type) return std::unexpected(type.error());
  if (*type == relay_type::approvalRequest) return decodedAs<ApprovalRequestRelayMessage>(*json);
  if (*type == relay_type::phoneStatus) return decodedAs<PhoneStatusRelayMessage>(*json);
  if (*type == relay_type::approvalSuppress || *type == relay_type::approvalUnsuppress)
    return decodedAs<ApprovalSuppressionRelayMessage>(*json);
  return UnknownRelayFrame{};
}

std::expected<ApprovalRequestCommand, DecodingError> openedRequest(const ApprovalRequestRelayMessage& message,
                                                                   const std::string& secret) {
  return opened<ApprovalRequestCommand>(message.encryptedRequest, secret);
}

std::expected<ApprovalSuppressionCommand, DecodingError> openedSuppression(
    const ApprovalSuppressionRelayMessage& message, const std::string& secret) {
  return opened<ApprovalSuppressionCommand>(message.encryptedSuppression, secret);
}

}  // namespace tallyfox
