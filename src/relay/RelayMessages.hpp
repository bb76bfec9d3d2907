#pragma once

#include <expected>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "base/Date.hpp"
#include "base/Json.hpp"
#include "model/RelayConnectionStatus.hpp"
#include "relay/RelayCrypto.hpp"

namespace tallyfox {

namespace relay_type {
inline constexpr std::string_view macSnapshot = "mac.snapshot";
inline constexpr std::string_view approvalResult = "approval.result";
inline constexpr std::string_view phoneUnpair = "phone.unpair";
inline constexpr std::string_view approvalRequest = "approval.request";
inline constexpr std::string_view approvalSuppress = "approval.suppress";
inline constexpr std::string_view approvalUnsuppress = "approval.unsuppress";
inline constexpr std::string_view phoneStatus = "phone.status";
}  // namespace relay_type

/// Agent to relay to phones.
struct MacSnapshotRelayMessage {
  Date observedAt{};
  bool accessibilityTrusted = false;
  EncryptedRelayPayload encryptedApprovals;
  std::int64_t approvalCount = 0;
  std::string snapshotID;
  bool operator==(const MacSnapshotRelayMessage&) const = default;
  [[nodiscard]] Json json() const;
  [[nodiscard]] static std::expected<MacSnapshotRelayMessage, DecodingError> decoded(const Json& value);
};

/// Agent to relay to phones.
struct ApprovalResultRelayMessage {
  std::string decisionID;
  EncryptedRelayPayload encryptedResult;
  Date issuedAt{};
  bool operator==(const ApprovalResultRelayMessage&) const = default;
  [[nodiscard]] Json json() const;
  [[nodiscard]] static std::expected<ApprovalResultRelayMessage, DecodingError> decoded(const Json& value);
};

/// Agent to relay. Without a device the whole pairing is meant.
struct UnpairPhoneRelayMessage {
  std::optional<std::string> deviceID;
  Date issuedAt{};
  bool operator==(const UnpairPhoneRelayMessage&) const = default;
  [[nodiscard]] Json json() const;
  [[nodiscard]] static std::expected<UnpairPhoneRelayMessage, DecodingError> decoded(const Json& value);
};

/// Phone to relay to agent.
struct ApprovalRequestRelayMessage {
  std::string decisionID;
  EncryptedRelayPayload encryptedRequest;
  std::optional<Date> issuedAt;
  bool operator==(const ApprovalRequestRelayMessage&) const = default;
  [[nodiscard]] Json json() const;
  [[nodiscard]] static std::expected<ApprovalRequestRelayMessage, DecodingError> decoded(const Json& value);
};

/// Phone to relay to agent; `type` is approval.suppress or approval.unsuppress.
struct ApprovalSuppressionRelayMessage {
  std::string type;
  std::string decisionID;
  EncryptedRelayPayload encryptedSuppression;
  std::optional<Date> issuedAt;
  bool operator==(const ApprovalSuppressionRelayMessage&) const = default;
  [[nodiscard]] Json json() const;
  [[nodiscard]] static std::expected<ApprovalSuppressionRelayMessage, DecodingError> decoded(const Json& value);
};

/// Relay to agent.
struct PhoneStatusRelayMessage {
  bool phoneConnected = false;
  std::int64_t phoneCount = 0;
  std::optional<std::vector<RelayPhoneStatus>> phones;
  bool operator==(const PhoneStatusRelayMessage&) const = default;
  [[nodiscard]] Json json() const;
  [[nodiscard]] static std::expected<PhoneStatusRelayMessage, DecodingError> decoded(const Json& value);
};

/// The string member `type` of a frame, everything else ignored.
[[nodiscard]] std::expected<std::string, DecodingError> relayMessageType(const Json& message);

}  // namespace tallyfox
