// Any bytes as a relay frame: decoding gives a record or an error, and what was decoded survives another round.

#include <cstddef>
#include <cstdint>

#include "base/Require.hpp"
#include "relay/RelayMessages.hpp"

namespace {

template <typename Record>
void roundTrip(const tallyfox::Json& message) {
  const auto record = Record::decoded(message);
  if (!record) return;
  const auto again = tallyfox::parsedJson(tallyfox::jsonText(record->json()));
  tallyfox::require(again.has_value(), "an encoded record parses");
  const auto decoded = Record::decoded(*again);
  tallyfox::require(decoded.has_value(), "an encoded record decodes");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const auto message = tallyfox::parsedJson(tallyfox::textOf({data, size}));
  if (!message) return 0;
  static_cast<void>(tallyfox::relayMessageType(*message));
  roundTrip<tallyfox::MacSnapshotRelayMessage>(*message);
  roundTrip<tallyfox::ApprovalResultRelayMessage>(*message);
  roundTrip<tallyfox::UnpairPhoneRelayMessage>(*message);
  roundTrip<tallyfox::ApprovalRequestRelayMessage>(*message);
  roundTrip<tallyfox::ApprovalSuppressionRelayMessage>(*message);
  roundTrip<tallyfox::PhoneStatusRelayMessage>(*message);
  roundTrip<tallyfox::PendingApproval>(*message);
  return 0;
}
