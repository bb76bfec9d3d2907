// What the client makes of frames: requests, suppressions and phone statuses in their order, and one line for every
// frame that it cannot use.

#include <gmock/gmock.h>

#include "base/Limits.hpp"
#include "relay/RelayClientFixture.hpp"

namespace tallyfox {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using testing::StartsWith;

class RelayClientReceiving : public RelayClientFixture {
 protected:
  void SetUp() override {
    RelayClientFixture::SetUp();
    connectAndOpen();
  }
  static Json suppression(const std::string& type, const std::string& action) {
    const ApprovalSuppressionCommand command{action, std::nullopt, sampleApproval().suppressionID};
    return ApprovalSuppressionRelayMessage{type, "decision-1", sealed(command.json()), std::nullopt}.json();
  }
  void expectOneDecodingLine() {
    EXPECT_THAT(console.lines(), ElementsAre(StartsWith("Unable to decode relay message: ")));
    EXPECT_GT(console.lines().at(0).size(), std::string("Unable to decode relay message: ").size());
    console.clear();
  }
};

const RelayConnectionStatus connected{.relayConnected = true, .phoneConnected = false, .phoneCount = 0, .phones = {}};

TEST_F(RelayClientReceiving, handsOverARequest) {
  Json message = request();
  message["issuedAt"] = "2024-05-01T09:30:00.5Z";
  deliver(message);
  const ApprovalRequestEnvelope expected{
      "decision-1", {sampleApproval().id, "Cancel"}, parsedISO8601("2024-05-01T09:30:00.5Z")};
  EXPECT_THAT(requests, ElementsAre(expected));
  EXPECT_THAT(statuses, ElementsAre(connected));
  EXPECT_TRUE(onQueue);
  EXPECT_THAT(console.lines(), IsEmpty());
}

TEST_F(RelayClientReceiving, handsOverARequestWithoutItsTime) {
  deliver(request());
  ASSERT_THAT(requests, SizeIs(1));
  EXPECT_EQ(requests[0].issuedAt, std::nullopt);
}

TEST_F(RelayClientReceiving, handsOverASuppression) {
  deliver(suppression("approval.suppress", "suppress"));
  EXPECT_THAT(suppressions,
              ElementsAre(ApprovalSuppressionCommand{"suppress", std::nullopt, sampleApproval().suppressionID}));
  EXPECT_THAT(statuses, ElementsAre(connected));
  EXPECT_TRUE(onQueue);
}

TEST_F(RelayClientReceiving, handsTheInnerActionOverWhateverTheOuterTypeSays) {
  deliver(suppression("approval.unsuppress", "suppress"));
  ASSERT_THAT(suppressions, SizeIs(1));
  EXPECT_EQ(suppressions[0].action, "suppress");
}

TEST_F(RelayClientReceiving, takesOverThePhones) {
  const std::vector<RelayPhoneStatus> phones = {{"device-1", "Phone", "ios", true}, {"device-2", "Other", {}, {}}};
  deliver(PhoneStatusRelayMessage{true, 2, phones}.json());
  EXPECT_THAT(statuses, ElementsAre(RelayConnectionStatus{true, true, 2, phones}));
}

TEST_F(RelayClientReceiving, takesAnAbsentListOfPhonesForAnEmptyOne) {
  deliver(PhoneStatusRelayMessage{true, 1, std::vector<RelayPhoneStatus>{{"device-1", "Phone", {}, {}}}}.json());
  deliver(PhoneStatusRelayMessage{true, 1, std::nullopt}.json());
  EXPECT_EQ(statuses.back(), (RelayConnectionStatus{true, true, 1, {}}));
}

TEST_F(RelayClientReceiving, keepsThePhonesWhenARequestReportsTheRelay) {
  deliver(PhoneStatusRelayMessage{true, 1, std::nullopt}.json());
  deliver(request());
  EXPECT_EQ(statuses.back(), (RelayConnectionStatus{true, true, 1, {}}));
}

TEST_F(RelayClientReceiving, forgetsThePhonesWithTheConnection) {
  deliver(PhoneStatusRelayMessage{true, 1, std::nullopt}.json());
  network.close(0);
  time.runDue();
  EXPECT_EQ(statuses.back(), RelayConnectionStatus{});
}

TEST_F(RelayClientReceiving, keepsTheOrderOfFrames) {
  for (int i = 0; i < 20; ++i)
    network.deliver(0, jsonText(request("decision-" + std::to_string(i))));
  time.runDue();
  ASSERT_THAT(requests, SizeIs(20));
  for (std::size_t i = 0; i < requests.size(); ++i)
    EXPECT_EQ(requests[i].decisionID, "decision-" + std::to_string(i));
}

TEST_F(RelayClientReceiving, dropsUnknownTypesWithoutAWord) {
  for (const char* type : {"relay.welcome", "Approval.Request", "mac.snapshot", ""})
    deliver(Json{{"type", type}});
  EXPECT_THAT(console.lines(), IsEmpty());
  EXPECT_THAT(statuses, IsEmpty());
}

TEST_F(RelayClientReceiving, printsOneLineForEachFrameThatIsNoMessageAndReadsOn) {
  Json lacking = request();
  lacking.erase("decisionID");
  for (const std::string& text :
       {std::string("hello"), std::string(), std::string("\xFF\xFE"), std::string("[]"), std::string(R"({"type":7})"),
        std::string(R"({"type":"phone.status","phoneConnected":"yes","phoneCount":1})"), jsonText(lacking),
        R"({"type":"phone.status","deep":)" + std::string(100'000, '[')}) {
    deliver(text);
    expectOneDecodingLine();
  }
  EXPECT_THAT(statuses, IsEmpty());
  deliver(request());
  EXPECT_THAT(requests, SizeIs(1));
}

TEST_F(RelayClientReceiving, saysWhatADateShouldBe) {
  Json message = request();
  message["issuedAt"] = "2024-05-01 09:30:00";
  deliver(message);
  EXPECT_THAT(console.lines(), ElementsAre("Unable to decode relay message: Expected ISO-8601 date string."));
  EXPECT_THAT(requests, IsEmpty());
}

TEST_F(RelayClientReceiving, printsOneLineForAPayloadThatItCannotOpen) {
  Json forged = request();
  forged["encryptedRequest"]["ciphertext"] = "no base64";
  deliver(forged);
  expectOneDecodingLine();

  const auto foreign = RelayCrypto::seal(bytesOf("{}"), "another secret").value();
  deliver(ApprovalRequestRelayMessage{"decision-1", foreign, std::nullopt}.json());
  expectOneDecodingLine();
  deliver(ApprovalSuppressionRelayMessage{"approval.suppress", "decision-1", foreign, std::nullopt}.json());
  expectOneDecodingLine();

  deliver(ApprovalRequestRelayMessage{"decision-1", sealed({{"buttonLabel", "OK"}}), std::nullopt}.json());
  expectOneDecodingLine();
  EXPECT_THAT(requests, IsEmpty());
  EXPECT_THAT(suppressions, IsEmpty());

  deliver(request());
  EXPECT_THAT(requests, SizeIs(1));
}

TEST_F(RelayClientReceiving, reportsTheRelayEvenForAPayloadThatItCannotOpen) {
  const auto foreign = RelayCrypto::seal(bytesOf("{}"), "another secret").value();
  deliver(ApprovalRequestRelayMessage{"decision-1", foreign, std::nullopt}.json());
  EXPECT_THAT(statuses, ElementsAre(connected));
  deliver(ApprovalSuppressionRelayMessage{"approval.suppress", "decision-1", foreign, std::nullopt}.json());
  EXPECT_THAT(statuses, ElementsAre(connected, connected));
}

TEST_F(RelayClientReceiving, losesTheConnectionToAFrameBeyondTheLimits) {
  deliver(std::string(limits::frameBytes + 1, ' '));
  EXPECT_EQ(statuses.back(), RelayConnectionStatus{});
  time.advance(Seconds(3));
  EXPECT_EQ(socketCount(), 2U);
}

}  // namespace
}  // namespace tallyfox
