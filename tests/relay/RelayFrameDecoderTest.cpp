// From the bytes of a frame to its message, and from a message to the command that it seals.

#include "relay/RelayFrameDecoder.hpp"

#include <gtest/gtest.h>

#include <string>
#include <variant>

#include "base/Encoding.hpp"
#include "base/IllFormedJson.hpp"
#include "base/Limits.hpp"

namespace tallyfox {
namespace {

const std::string secret = "secret";
const Uuid id = Uuid::parsed("E621E1F8-C36C-495A-93FC-0C247A3E6E5F").value();

EncryptedRelayPayload sealed(const std::string& plaintext) {
  return RelayCrypto::seal(bytesOf(plaintext), secret).value();
}

std::expected<IncomingRelayFrame, DecodingError> decoded(const std::string& text) {
  return decodedRelayFrame(bytesOf(text));
}

template <typename Message>
bool holds(const std::expected<IncomingRelayFrame, DecodingError>& frame) {
  return frame && std::holds_alternative<Message>(*frame);
}

TEST(RelayFrameDecoder, tellsTheFourKnownTypes) {
  const ApprovalRequestRelayMessage request{"d", sealed("x"), std::nullopt};
  const PhoneStatusRelayMessage status{true, 1, std::nullopt};
  EXPECT_TRUE(holds<ApprovalRequestRelayMessage>(decoded(jsonText(request.json()))));
  EXPECT_TRUE(holds<PhoneStatusRelayMessage>(decoded(jsonText(status.json()))));
  for (const char* type : {"approval.suppress", "approval.unsuppress"}) {
    const ApprovalSuppressionRelayMessage suppression{type, "d", sealed("x"), std::nullopt};
    EXPECT_TRUE(holds<ApprovalSuppressionRelayMessage>(decoded(jsonText(suppression.json())))) << type;
  }
}

TEST(RelayFrameDecoder, doesNotKnowAnyOtherTypeAndLooksAtNothingElseOfIt) {
  for (const char* type : {"mac.snapshot", "approval.result", "Approval.Request", "phone.status ", "", "relay.welcome"})
    EXPECT_TRUE(holds<UnknownRelayFrame>(decoded(jsonText({{"type", type}, {"decisionID", 1}})))) << type;
}

TEST(RelayFrameDecoder, failsForAFrameThatIsNoMessage) {
  for (const std::string text : {"", "hello", "[]", "{}", R"({"type":1})", R"({"type":"phone.status"})", "\xFF",
                                 R"({"type":"approval.request","decisionID":"d"})"})
    EXPECT_FALSE(decoded(text).has_value()) << text;
}

TEST(RelayFrameDecoder, failsForAFrameBeyondTheLimits) {
  EXPECT_FALSE(decoded(std::string(limits::frameBytes + 1, ' ')).has_value());
  EXPECT_FALSE(
      decoded(R"({"type":"x","deep":)" + std::string(100'000, '[') + std::string(100'000, ']') + "}").has_value());
}

TEST(RelayFrameDecoder, opensARequest) {
  const ApprovalRequestCommand command{id, "OK"};
  EXPECT_EQ(openedRequest({"d", sealed(jsonText(command.json())), std::nullopt}, secret), command);
}

TEST(RelayFrameDecoder, opensASuppression) {
  const ApprovalSuppressionCommand command{"suppress", std::nullopt, id};
  EXPECT_EQ(openedSuppression({"approval.unsuppress", "d", sealed(jsonText(command.json())), std::nullopt}, secret),
            command);
}

TEST(RelayFrameDecoder, failsForAPayloadThatDoesNotOpenOrHoldsNoCommand) {
  const std::string good = jsonText(ApprovalRequestCommand{id, "OK"}.json());
  EXPECT_FALSE(openedRequest({"d", sealed(good), std::nullopt}, "other secret").has_value());
  EXPECT_FALSE(openedRequest({"d", {1, "", "no base64"}, std::nullopt}, secret).has_value());
  EXPECT_FALSE(openedRequest({"d", sealed("no json"), std::nullopt}, secret).has_value());
  EXPECT_FALSE(openedRequest({"d", sealed("{}"), std::nullopt}, secret).has_value());
  EXPECT_FALSE(openedSuppression({"approval.suppress", "d", sealed(good), std::nullopt}, secret).has_value());
}

TEST(RelayFrameDecoder, failsForEveryIllFormedFrame) {
  const std::string good = jsonText(ApprovalRequestRelayMessage{"d", sealed("{}"), std::nullopt}.json());
  ASSERT_TRUE(decoded(good).has_value());
  for (const auto& [name, text] : illFormedJson(good))
    EXPECT_FALSE(decoded(text).has_value()) << name;
}

TEST(RelayFrameDecoder, failsForEveryIllFormedCommandInsideAGoodSeal) {
  const std::string request = jsonText(ApprovalRequestCommand{id, "OK"}.json());
  const std::string suppression = jsonText(ApprovalSuppressionCommand{"suppress", id, id}.json());
  for (const auto& [name, text] : illFormedJson(request))
    EXPECT_FALSE(openedRequest({"d", sealed(text), std::nullopt}, secret).has_value()) << name;
  for (const auto& [name, text] : illFormedJson(suppression))
    EXPECT_FALSE(openedSuppression({"approval.suppress", "d", sealed(text), std::nullopt}, secret).has_value()) << name;
}

TEST(RelayFrameDecoder, failsForWrongBase64AndShortBoxes) {
  const std::string good = sealed(jsonText(ApprovalRequestCommand{id, "OK"}.json())).ciphertext;
  ASSERT_TRUE(openedRequest({"d", {1, "", good}, std::nullopt}, secret).has_value());
  for (std::size_t size = 0; size < good.size(); ++size)
    EXPECT_FALSE(openedRequest({"d", {1, "", good.substr(0, size)}, std::nullopt}, secret).has_value()) << size;
  for (const std::string& wrong : {good + "\n", " " + good, good + "=", good + "AAAA", "-_" + good.substr(2)})
    EXPECT_FALSE(openedRequest({"d", {1, "", wrong}, std::nullopt}, secret).has_value()) << wrong;
  for (std::size_t size = 0; size < aesGcmNonceBytes + aesGcmTagBytes; ++size) {
    const EncryptedRelayPayload box{1, "", base64Encoded(Bytes(size, 0))};
    EXPECT_FALSE(openedRequest({"d", box, std::nullopt}, secret).has_value()) << size;
  }
}

TEST(RelayFrameDecoder, countsTheLastOfTwoTypes) {
  EXPECT_TRUE(holds<UnknownRelayFrame>(decoded(R"({"type":"phone.status","type":"relay.welcome"})")));
  EXPECT_TRUE(holds<PhoneStatusRelayMessage>(
      decoded(R"({"type":1,"phoneConnected":false,"phoneCount":0,"type":"phone.status"})")));
}

TEST(RelayFrameDecoder, readsEscapedNulsAndSurrogatePairs) {
  const auto command = openedRequest(
      {"d", sealed(R"({"approvalID":")" + id.text() + R"(","buttonLabel":"a\u0000\ud83d\ude00"})"), {}}, secret);
  ASSERT_TRUE(command.has_value());
  EXPECT_EQ(command->buttonLabel, std::string("a\0", 2) + "😀");
}

}  // namespace
}  // namespace tallyfox
