// Any bytes as a frame from the relay, as what a frame has sealed, and as what the agent sends: decoding gives a record
// or an error, and what was decoded survives another round.

#include <chrono>
#include <cstddef>
#include <cstdint>

#include "base/Encoding.hpp"
#include "base/Require.hpp"
#include "relay/RelayFrameDecoder.hpp"

namespace tallyfox {
namespace {

const std::string secret = "3f9a0c5e1b7d4a2e8c6f0b1d2e3a4c5b";

/// Sealing is slow, and no command says more in more bytes.
constexpr std::size_t longestCommand = 1024;

/// Dates are written without their fractions.
template <typename Record>
Record asWritten(Record record) {
  const auto drop = [](auto& date) { date = std::chrono::floor<std::chrono::seconds>(date); };
  if constexpr (requires { record.observedAt; }) drop(record.observedAt);
  if constexpr (requires { record.detectedAt; }) drop(record.detectedAt);
  if constexpr (requires { record.issuedAt.has_value(); }) {
    if (record.issuedAt) drop(*record.issuedAt);
  } else if constexpr (requires { record.issuedAt; }) {
    drop(record.issuedAt);
  }
  return record;
}

template <typename Record>
void checkRound(const Record& record) {
  const auto written = parsedJson(jsonText(record.json()));
  require(written.has_value(), "a written record parses");
  require(Record::decoded(*written) == asWritten(record), "a written record reads back");
}

template <typename Record>
void checkRoundOf(const Json& value) {
  if (const auto record = Record::decoded(value)) checkRound(*record);
}

struct FrameCheck {
  void operator()(const UnknownRelayFrame&) const {}
  void operator()(const PhoneStatusRelayMessage& message) const { checkWhole(message); }
  void operator()(const ApprovalRequestRelayMessage& message) const {
    checkWhole(message);
    static_cast<void>(openedRequest(message, secret));
  }
  void operator()(const ApprovalSuppressionRelayMessage& message) const {
    checkWhole(message);
    static_cast<void>(openedSuppression(message, secret));
  }

  template <typename Message>
  static void checkWhole(const Message& message) {
    checkRound(message);
    const auto again = decodedRelayFrame(bytesOf(jsonText(message.json())));
    require(again == IncomingRelayFrame(asWritten(message)), "a written frame is dispatched alike");
  }
};

/// The bytes as a plaintext that the phone has sealed, through the whole of the incoming way.
template <typename Message, typename Command>
void checkSealed(ByteView plaintext, Message message, EncryptedRelayPayload Message::* sealed,
                 std::expected<Command, DecodingError> (*opened)(const Message&, const std::string&)) {
  static constexpr AesGcmNonce nonce{7};
  const auto box = aesGcmSealed(RelayCrypto::key(secret), nonce, plaintext);
  message.*sealed = {1, base64Encoded(nonce), base64Encoded(box.value())};
  const auto frame = decodedRelayFrame(bytesOf(jsonText(message.json())));
  require(frame == IncomingRelayFrame(message), "a sealed command arrives");
  const auto command = opened(std::get<Message>(*frame), secret);
  const auto json = parsedJson(textOf(plaintext));
  const auto direct = json ? Command::decoded(*json) : std::unexpected(json.error());
  require(command == direct, "a seal changes nothing");
  if (command) checkRound(*command);
}

void checkCommands(ByteView plaintext) {
  checkSealed<ApprovalRequestRelayMessage, ApprovalRequestCommand>(
      plaintext, {"d1", {}, std::nullopt}, &ApprovalRequestRelayMessage::encryptedRequest, openedRequest);
  checkSealed<ApprovalSuppressionRelayMessage, ApprovalSuppressionCommand>(
      plaintext, {std::string(relay_type::approvalSuppress), "d1", {}, std::nullopt},
      &ApprovalSuppressionRelayMessage::encryptedSuppression, openedSuppression);
}

/// What the agent sends, as the phone reads it.
void checkOutgoing(const Json& value) {
  checkRoundOf<MacSnapshotRelayMessage>(value);
  checkRoundOf<ApprovalResultRelayMessage>(value);
  checkRoundOf<UnpairPhoneRelayMessage>(value);
  checkRoundOf<ApprovalResultCommand>(value);
  checkRoundOf<PendingApproval>(value);
  const auto approvals = decodedApprovals(value);
  if (!approvals) return;
  const auto again = decodedApprovals(parsedJson(jsonText(approvalsJson(*approvals))).value());
  require(again.has_value() && again->size() == approvals->size(), "a written list reads back");
  require(RelayCrypto::snapshotID(*again) == RelayCrypto::snapshotID(*approvals), "a list keeps its digest");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const ByteView bytes{data, size};
  if (const auto frame = decodedRelayFrame(bytes)) std::visit(FrameCheck{}, *frame);
  if (size <= longestCommand) checkCommands(bytes);
  if (const auto value = parsedJson(textOf(bytes))) checkOutgoing(*value);
  return 0;
}

}  // namespace tallyfox
