#include "relay/RelayMessages.hpp"

#include <cstdint>
#include <utility>

namespace tallyfox {
namespace {

/// Every record starts by what it is; a message of another type is not this record.
void expectType(JsonObjectReader& reader, std::string_view type) {
  const std::string actual = reader.string("type");
  if (actual != type) reader.fail({"The message is of another type."});
}

EncryptedRelayPayload sealedMember(JsonObjectReader& reader, std::string_view key) {
  auto payload = EncryptedRelayPayload::decoded(reader.member(key));
  if (payload) return std::move(*payload);
  reader.fail(std::move(payload.error()));
  return {};
}

std::vector<RelayPhoneStatus> phoneList(JsonObjectReader& reader, const Json& value) {
  std::vector<RelayPhoneStatus> phones;
  if (!value.is_array()) {
    reader.fail({"The member \"phones\" is not an array."});
    return phones;
  }
  for (const Json& element : value) {
    auto phone = RelayPhoneStatus::decoded(element);
    if (phone)
      phones.push_back(std::move(*phone));
    else
      reader.fail(std::move(phone.error()));
  }
  return phones;
}

}  // namespace

Json MacSnapshotRelayMessage::json() const {
  return {{"type", relay_type::macSnapshot},
          {"observedAt", formattedISO8601(observedAt)},
          {"accessibilityTrusted", accessibilityTrusted},
          {"encryptedApprovals", encryptedApprovals.json()},
          {"approvalCount", approvalCount},
          {"snapshotID", snapshotID}};
}

std::expected<MacSnapshotRelayMessage, DecodingError> MacSnapshotRelayMessage::decoded(const Json& value) {
  JsonObjectReader reader(value);
  MacSnapshotRelayMessage message;
  expectType(reader, relay_type::macSnapshot);
  message.observedAt = reader.date("observedAt");
  message.accessibilityTrusted = reader.boolean("accessibilityTrusted");
  message.encryptedApprovals = sealedMember(reader, "encryptedApprovals");
  message.approvalCount = reader.integer("approvalCount", INT64_MIN, INT64_MAX);
  message.snapshotID = reader.string("snapshotID");
  return reader.finish(std::move(message));
}

Json ApprovalResultRelayMessage::json() const {
  return {{"type", relay_type::approvalResult},
          {"decisionID", decisionID},
          {"encryptedResult", encryptedResult.json()},
          {"issuedAt", formattedISO8601(issuedAt)}};
}

std::expected<ApprovalResultRelayMessage, DecodingError> ApprovalResultRelayMessage::decoded(const Json& value) {
  JsonObjectReader reader(value);
  ApprovalResultRelayMessage message;
  expectType(reader, relay_type::approvalResult);
  message.decisionID = reader.string("decisionID");
  message.encryptedResult = sealedMember(reader, "encryptedResult");
  message.issuedAt = reader.date("issuedAt");
  return reader.finish(std::move(message));
}

Json UnpairPhoneRelayMessage::json() const {
  Json value = {{"type", relay_type::phoneUnpair}};
  if (deviceID) value["deviceID"] = *deviceID;
  value["issuedAt"] = formattedISO8601(issuedAt);
  return value;
}

std::expected<UnpairPhoneRelayMessage, DecodingError> UnpairPhoneRelayMessage::decoded(const Json& value) {
  JsonObjectReader reader(value);
  UnpairPhoneRelayMessage message;
  expectType(reader, relay_type::phoneUnpair);
  message.deviceID = reader.optionalString("deviceID");
  message.issuedAt = reader.date("issuedAt");
  return reader.finish(std::move(message));
}

Json ApprovalRequestRelayMessage::json() const {
  Json value = {
      {"type", relay_type::approvalRequest}, {"decisionID", decisionID}, {"encryptedRequest", encryptedRequest.json()}};
  if (issuedAt) value["issuedAt"] = formattedISO8601(*issuedAt);
  return value;
}

std::expected<ApprovalRequestRelayMessage, DecodingError> ApprovalRequestRelayMessage::decoded(const Json& value) {
  JsonObjectReader reader(value);
  ApprovalRequestRelayMessage message;
  expectType(reader, relay_type::approvalRequest);
  message.decisionID = reader.string("decisionID");
  message.encryptedRequest = sealedMember(reader, "encryptedRequest");
  message.issuedAt = reader.optionalDate("issuedAt");
  return reader.finish(std::move(message));
}

Json ApprovalSuppressionRelayMessage::json() const {
  Json value = {{"type", type}, {"decisionID", decisionID}, {"encryptedSuppression", encryptedSuppression.json()}};
  if (issuedAt) value["issuedAt"] = formattedISO8601(*issuedAt);
  return value;
}

std::expected<ApprovalSuppressionRelayMessage, DecodingError> ApprovalSuppressionRelayMessage::decoded(
    const Json& value) {
  JsonObjectReader reader(value);
  ApprovalSuppressionRelayMessage message;
  message.type = reader.string("type");
  if (message.type != relay_type::approvalSuppress && message.type != relay_type::approvalUnsuppress)
    reader.fail({"The message is of another type."});
  message.decisionID = reader.string("decisionID");
  message.encryptedSuppression = sealedMember(reader, "encryptedSuppression");
  message.issuedAt = reader.optionalDate("issuedAt");
  return reader.finish(std::move(message));
}

Json PhoneStatusRelayMessage::json() const {
  Json value = {{"type", relay_type::phoneStatus}, {"phoneConnected", phoneConnected}, {"phoneCount", phoneCount}};
  if (!phones) return value;
  value["phones"] = Json::array();
  for (const auto& phone : *phones)
    value["phones"].push_back(phone.json());
  return value;
}

std::expected<PhoneStatusRelayMessage, DecodingError> PhoneStatusRelayMessage::decoded(const Json& value) {
  JsonObjectReader reader(value);
  PhoneStatusRelayMessage message;
  expectType(reader, relay_type::phoneStatus);
  message.phoneConnected = reader.boolean("phoneConnected");
  message.phoneCount = reader.integer("phoneCount", INT64_MIN, INT64_MAX);
  if (const Json* phones = reader.optionalMember("phones")) message.phones = phoneList(reader, *phones);
  return reader.finish(std::move(message));
}

std::expected<std::string, DecodingError> relayMessageType(const Json& message) {
  JsonObjectReader reader(message);
  auto type = reader.string("type");
  return reader.finish(std::move(type));
}

}  // namespace tallyfox
