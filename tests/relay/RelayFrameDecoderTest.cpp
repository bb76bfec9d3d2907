// From the bytes of a frame to its message, and from a message to the command that it seals.

#include "relay/RelayFrameDecoder.hpp"

#include <gtest/gtest.h>

#include <string>
#include <variant>

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

}  // namespace
}  // namespace tallyfox
