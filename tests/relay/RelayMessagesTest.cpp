// The outer messages as they travel: every member of every record, what may be absent, and what is refused.

#include "relay/RelayMessages.hpp"

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

namespace tallyfox {
namespace {

const EncryptedRelayPayload payload{1, "bm9uY2U=", "Y2lwaGVy"};
const Json payloadJson = {{"version", 1}, {"nonce", "bm9uY2U="}, {"ciphertext", "Y2lwaGVy"}};
const std::string momentText = "2024-05-01T09:30:00Z";
const Date moment = parsedISO8601(momentText).value();

/// A record with all its members, and its JSON.
template <typename Record>
struct Sample {
  Record record;
  Json json;
  std::set<std::string> optional;
};

const Sample<MacSnapshotRelayMessage> snapshot{{moment, true, payload, 2, "ax1:00"},
                                               {{"type", "mac.snapshot"},
                                                {"observedAt", momentText},
                                                {"accessibilityTrusted", true},
                                                {"encryptedApprovals", payloadJson},
                                                {"approvalCount", 2},
                                                {"snapshotID", "ax1:00"}},
                                               {}};
const Sample<ApprovalResultRelayMessage> result{{"decision-1", payload, moment},
                                                {{"type", "approval.result"},
                                                 {"decisionID", "decision-1"},
                                                 {"encryptedResult", payloadJson},
                                                 {"issuedAt", momentText}},
                                                {}};
const Sample<UnpairPhoneRelayMessage> unpair{
    {"device-1", moment}, {{"type", "phone.unpair"}, {"deviceID", "device-1"}, {"issuedAt", momentText}}, {"deviceID"}};
const Sample<ApprovalRequestRelayMessage> request{{"decision-1", payload, moment},
                                                  {{"type", "approval.request"},
                                                   {"decisionID", "decision-1"},
                                                   {"encryptedRequest", payloadJson},
                                                   {"issuedAt", momentText}},
                                                  {"issuedAt"}};
const Sample<ApprovalSuppressionRelayMessage> suppression{{"approval.suppress", "decision-1", payload, moment},
                                                          {{"type", "approval.suppress"},
                                                           {"decisionID", "decision-1"},
                                                           {"encryptedSuppression", payloadJson},
                                                           {"issuedAt", momentText}},
                                                          {"issuedAt"}};
const Sample<PhoneStatusRelayMessage> status{
    {true, 1, std::vector<RelayPhoneStatus>{{"device-1", "Phone", "ios", true}}},
    {{"type", "phone.status"},
     {"phoneConnected", true},
     {"phoneCount", 1},
     {"phones", {{{"deviceID", "device-1"}, {"deviceName", "Phone"}, {"platform", "ios"}, {"connected", true}}}}},
    {"phones"}};

template <typename Record>
void expectForm(const Sample<Record>& sample) {
  EXPECT_EQ(sample.record.json(), sample.json);
  EXPECT_EQ(Record::decoded(sample.json), sample.record);
  for (const auto& item : sample.json.items()) {
    Json lacking = sample.json;
    lacking.erase(item.key());
    Json null = sample.json;
    null[item.key()] = nullptr;
    Json mistyped = sample.json;
    mistyped[item.key()] = Json{{"wrong", 1}};
    const bool mayLack = sample.optional.contains(item.key());
    EXPECT_EQ(Record::decoded(lacking).has_value(), mayLack) << item.key();
    EXPECT_EQ(Record::decoded(null).has_value(), mayLack) << item.key();
    EXPECT_FALSE(Record::decoded(mistyped).has_value()) << item.key();
    if (mayLack) {
      EXPECT_EQ(Record::decoded(lacking)->json(), lacking) << item.key();
    }
  }
  Json extended = sample.json;
  extended["unlisted"] = 1;
  EXPECT_EQ(Record::decoded(extended), sample.record);
  Json otherType = sample.json;
  otherType["type"] = "approval.other";
  EXPECT_FALSE(Record::decoded(otherType).has_value());
}

TEST(RelayMessages, carryASnapshot) {
  expectForm(snapshot);
}
TEST(RelayMessages, carryAResult) {
  expectForm(result);
}
TEST(RelayMessages, carryAnUnpairRequest) {
  expectForm(unpair);
}
TEST(RelayMessages, carryARequest) {
  expectForm(request);
}
TEST(RelayMessages, carryASuppression) {
  expectForm(suppression);
}
TEST(RelayMessages, carryAPhoneStatus) {
  expectForm(status);
}

TEST(RelayMessages, carryAnUnsuppression) {
  Json json = suppression.json;
  json["type"] = "approval.unsuppress";
  const auto message = ApprovalSuppressionRelayMessage::decoded(json);
  ASSERT_TRUE(message.has_value());
  EXPECT_EQ(message->type, "approval.unsuppress");
  EXPECT_EQ(message->json(), json);
}

TEST(RelayMessages, unpairThePairingAsAWholeWithoutAnyDeviceKey) {
  const UnpairPhoneRelayMessage message{std::nullopt, moment};
  EXPECT_EQ(jsonText(message.json()), R"({"type":"phone.unpair","issuedAt":"2024-05-01T09:30:00Z"})");
}

TEST(RelayMessages, writeDatesWithWholeSeconds) {
  const UnpairPhoneRelayMessage message{std::nullopt, moment + std::chrono::milliseconds(999)};
  EXPECT_EQ(message.json()["issuedAt"], "2024-05-01T09:30:00Z");
}

TEST(RelayMessages, readDatesWithAndWithoutFractions) {
  for (const char* text : {"2024-05-01T09:30:00Z", "2024-05-01T09:30:00.5Z"}) {
    Json json = request.json;
    json["issuedAt"] = text;
    const auto message = ApprovalRequestRelayMessage::decoded(json);
    ASSERT_TRUE(message.has_value()) << text;
    EXPECT_EQ(message->issuedAt, parsedISO8601(text));
  }
}

TEST(RelayMessages, failAsAWholeForAnyOtherDate) {
  Json json = request.json;
  json["issuedAt"] = "2024-05-01 09:30:00";
  const auto message = ApprovalRequestRelayMessage::decoded(json);
  ASSERT_FALSE(message.has_value());
  EXPECT_EQ(message.error().description, "Expected ISO-8601 date string.");
}

TEST(RelayMessages, failAsAWholeForOneWrongPhone) {
  Json json = status.json;
  json["phones"].push_back({{"deviceID", "device-2"}});
  EXPECT_FALSE(PhoneStatusRelayMessage::decoded(json).has_value());
}

TEST(RelayMessages, sayTheirTypeWhateverElseTheyHold) {
  EXPECT_EQ(relayMessageType({{"type", "anything"}, {"decisionID", 7}}), "anything");
  EXPECT_FALSE(relayMessageType({{"Type", "phone.status"}}).has_value());
  EXPECT_FALSE(relayMessageType({{"type", 1}}).has_value());
  EXPECT_FALSE(relayMessageType({{"type", nullptr}}).has_value());
  EXPECT_FALSE(relayMessageType(Json::array({"type"})).has_value());
}

}  // namespace
}  // namespace tallyfox
