// docs/relay-protocol-vectors.json, by which other phones check themselves, against this implementation. The file was
// computed independently of it.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>

#include "PhoneFrames.hpp"
#include "PhoneHello.hpp"
#include "base/Crypto.hpp"
#include "base/Encoding.hpp"
#include "model/PendingApproval.hpp"
#include "model/RelayCommands.hpp"
#include "pairing/PairingPayload.hpp"
#include "relay/RelayCrypto.hpp"
#include "relay/RelayMessages.hpp"

namespace tallyfox::server {
namespace {

const Json& vectors() {
  static const Json parsed = [] {
    std::ifstream file(TALLYFOX_SOURCE_DIR "/docs/relay-protocol-vectors.json");
    return Json::parse(std::string(std::istreambuf_iterator<char>(file), {}));
  }();
  return parsed;
}

/// The cases of one list, which must not be empty.
const Json& cases(const char* name) {
  const Json& list = vectors().at(name);
  EXPECT_FALSE(list.empty()) << name;
  return list;
}

EncryptedRelayPayload payloadIn(const Json& value) {
  return EncryptedRelayPayload::decoded(value).value();
}

std::string openedText(const EncryptedRelayPayload& payload, const std::string& secret) {
  const auto opened = RelayCrypto::open(payload, secret);
  return opened ? std::string(textOf(*opened)) : "does not open: " + description(opened.error());
}

TEST(ProtocolVectors, keysAreDerivedFromTheTrimmedSecret) {
  for (const Json& each : cases("keys")) {
    EXPECT_EQ(hexEncoded(RelayCrypto::key(each.at("secret").get<std::string>())), each.at("keyHex").get<std::string>())
        << each;
  }
}

TEST(ProtocolVectors, sealedPayloadsOpenAndAreSealedAlike) {
  for (const Json& each : cases("sealedPayloads")) {
    const std::string secret = each.at("secret");
    const std::string plaintext = each.at("plaintext");
    const EncryptedRelayPayload payload = payloadIn(each.at("payload"));
    EXPECT_EQ(openedText(payload, secret), plaintext);

    const Bytes nonceBytes = base64Decoded(payload.nonce).value();
    ASSERT_EQ(nonceBytes.size(), aesGcmNonceBytes);
    EXPECT_EQ(hexEncoded(nonceBytes), each.at("nonceHex").get<std::string>());
    AesGcmNonce nonce{};
    std::ranges::copy(nonceBytes, nonce.begin());
    EXPECT_EQ(base64Encoded(aesGcmSealed(RelayCrypto::key(secret), nonce, bytesOf(plaintext)).value()),
              payload.ciphertext);
  }
}

TEST(ProtocolVectors, spoiledPayloadsDoNotOpen) {
  for (const Json& each : cases("payloadsThatDoNotOpen")) {
    EXPECT_FALSE(RelayCrypto::open(payloadIn(each.at("payload")), each.at("secret").get<std::string>()))
        << each.at("why");
  }
}

TEST(ProtocolVectors, nonceMemberIsIgnoredWhenOpening) {
  const Json& vector = vectors().at("payloadWithOtherNonceMember");
  EXPECT_EQ(openedText(payloadIn(vector.at("payload")), vector.at("secret")),
            vector.at("plaintext").get<std::string>());
}

TEST(ProtocolVectors, snapshotDigestsFollowIdsAndLabels) {
  for (const Json& each : cases("snapshotDigests")) {
    std::vector<PendingApproval> approvals;
    for (const Json& approval : each.at("approvals")) {
      PendingApproval& added = approvals.emplace_back();
      added.id = Uuid::parsed(approval.at("id").get<std::string>()).value();
      for (const Json& label : approval.at("buttons"))
        added.buttons.push_back({.label = label, .role = "AXButton"});
    }
    EXPECT_EQ(RelayCrypto::snapshotID(approvals), each.at("snapshotDigest").get<std::string>());
    EXPECT_EQ(hexEncoded(sha256(bytesOf(each.at("digestInput").get<std::string>()))),
              each.at("snapshotDigest").get<std::string>());
  }
}

TEST(ProtocolVectors, pairingCodeIsReadAndWrittenAlike) {
  const Json& vector = vectors().at("pairingCode");
  const std::string text = vector.at("text");
  const auto payload = PairingPayload::decoded(Json::parse(text));
  ASSERT_TRUE(payload) << payload.error().description;
  EXPECT_EQ(*payload, (PairingPayload{.backendURL = vector.at("backendURL"),
                                      .pairingID = vector.at("pairingID"),
                                      .relaySecret = vector.at("relaySecret"),
                                      .e2eSecret = vector.at("e2eSecret")}));
  EXPECT_EQ(payload->encoded(), text);
}

TEST(ProtocolVectors, spoiledPairingCodesAreRefused) {
  for (const Json& each : cases("pairingCodesThatAreRefused")) {
    const auto json = parsedJson(each.at("text").get<std::string>());
    EXPECT_FALSE(json && PairingPayload::decoded(*json)) << each.at("why");
  }
}

TEST(ProtocolVectors, hellosAreRead) {
  for (const Json& each : cases("hellos")) {
    const auto hello = PhoneHello::decoded(jsonText(each));
    ASSERT_TRUE(hello) << hello.error().description;
    EXPECT_EQ(hello->pairingID, each.at("pairingID").get<std::string>());
    EXPECT_EQ(hello->relaySecret, each.at("relaySecret").get<std::string>());
    EXPECT_EQ(hello->deviceID, each.at("deviceID").get<std::string>());
    EXPECT_EQ(hello->deviceName, each.at("deviceName").get<std::string>());
    EXPECT_EQ(hello->platform.has_value(), each.contains("platform") && each.at("platform").is_string());
  }
}

TEST(ProtocolVectors, spoiledHellosAreRefused) {
  for (const Json& each : cases("hellosThatAreRefused"))
    EXPECT_FALSE(PhoneHello::decoded(jsonText(each.at("frame")))) << each.at("why");
}

TEST(ProtocolVectors, relayFramesAreWrittenAlike) {
  const std::vector<Frame> written = {relayWelcome(true),
                                      relayWelcome(false),
                                      agentStatus(true),
                                      agentStatus(false),
                                      decisionUndeliverable("decision-1", "offline"),
                                      decisionUndeliverable("decision-1", "uncertain"),
                                      phoneUnpaired()};
  const Json& frames = cases("relayFrames");
  ASSERT_EQ(frames.size(), written.size());
  for (std::size_t at = 0; at < written.size(); ++at)
    EXPECT_EQ(nlohmann::json(Json::parse(*written[at])), nlohmann::json(frames[at]));
}

TEST(ProtocolVectors, framesAboutWebPushAreWrittenAlike) {
  const std::vector<Frame> written = {pushStatus(true), pushStatus(false), pushRefused("service")};
  const Json& frames = cases("pushFrames");
  ASSERT_EQ(frames.size(), written.size());
  for (std::size_t at = 0; at < written.size(); ++at)
    EXPECT_EQ(nlohmann::json(Json::parse(*written[at])), nlohmann::json(frames[at]));
}

/// The frame decoded as its record and encoded again, and the sealed part of the record.
struct Reread {
  Json frame;
  EncryptedRelayPayload sealed;
};

template <typename Record>
Reread reread(const Json& frame, EncryptedRelayPayload Record::* sealed) {
  const auto record = Record::decoded(frame);
  EXPECT_TRUE(record) << frame;
  return record ? Reread{record->json(), (*record).*sealed} : Reread{};
}

Reread reread(const Json& frame) {
  const std::string type = relayMessageType(frame).value();
  if (type == relay_type::macSnapshot) return reread(frame, &MacSnapshotRelayMessage::encryptedApprovals);
  if (type == relay_type::approvalResult) return reread(frame, &ApprovalResultRelayMessage::encryptedResult);
  if (type == relay_type::approvalRequest) return reread(frame, &ApprovalRequestRelayMessage::encryptedRequest);
  return reread(frame, &ApprovalSuppressionRelayMessage::encryptedSuppression);
}

Json writtenAgain(const std::string& type, const Json& plaintext) {
  if (type == relay_type::macSnapshot) return approvalsJson(decodedApprovals(plaintext).value());
  if (type == relay_type::approvalResult) return ApprovalResultCommand::decoded(plaintext).value().json();
  if (type == relay_type::approvalRequest) return ApprovalRequestCommand::decoded(plaintext).value().json();
  return ApprovalSuppressionCommand::decoded(plaintext).value().json();
}

TEST(ProtocolVectors, framesAndWhatIsSealedInThemAreReadAndWrittenAlike) {
  for (const Json& each : cases("frames")) {
    const Json& frame = each.at("frame");
    const Reread again = reread(frame);
    // The order of members is nobody's promise.
    EXPECT_EQ(nlohmann::json(again.frame), nlohmann::json(frame)) << each.at("name");
    EXPECT_EQ(again.sealed, payloadIn(frame.at(each.at("sealedMember").get<std::string>())));
    const Json plaintext = Json::parse(openedText(again.sealed, each.at("secret")));
    EXPECT_EQ(plaintext, Json::parse(each.at("plaintext").get<std::string>()));
    EXPECT_EQ(nlohmann::json(writtenAgain(frame.at("type"), plaintext)), nlohmann::json(plaintext)) << each.at("name");
  }
}

}  // namespace
}  // namespace tallyfox::server
