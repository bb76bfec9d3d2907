// The content of a pairing code: compact JSON in declaration order with escaped slashes, readable as standard JSON.

#include "pairing/PairingPayload.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tallyfox {
namespace {

using testing::HasSubstr;

PairingPayload sample() {
  PairingPayload payload;
  payload.backendURL = "https://relay.example.com:8443";
  payload.pairingID = "tallyfox-1";
  payload.relaySecret = "token";
  payload.e2eSecret = "secret";
  return payload;
}

TEST(PairingPayload, isCompactJsonInDeclarationOrderWithEscapedSlashes) {
  EXPECT_EQ(sample().encoded(),
            R"({"type":"tallyfox.pairing","version":1,"backendURL":"https:\/\/relay.example.com:8443",)"
            R"("pairingID":"tallyfox-1","relaySecret":"token","e2eSecret":"secret"})");
}

TEST(PairingPayload, namesItsTypeAndVersion) {
  EXPECT_THAT(PairingPayload{}.encoded(), HasSubstr(R"("type":"tallyfox.pairing")"));
  EXPECT_THAT(PairingPayload{}.encoded(), HasSubstr(R"("version":1)"));
}

TEST(PairingPayload, isReadBackByAnyJsonReader) {
  const auto json = parsedJson(sample().encoded());
  ASSERT_TRUE(json.has_value());
  EXPECT_EQ(PairingPayload::decoded(*json), sample());
}

TEST(PairingPayload, refusesAnotherTypeVersionOrAMissingField) {
  Json json = *parsedJson(sample().encoded());
  Json otherType = json;
  otherType["type"] = "wifi";
  EXPECT_FALSE(PairingPayload::decoded(otherType).has_value());
  Json otherVersion = json;
  otherVersion["version"] = 2;
  EXPECT_FALSE(PairingPayload::decoded(otherVersion).has_value());
  json.erase("e2eSecret");
  EXPECT_FALSE(PairingPayload::decoded(json).has_value());
}

}  // namespace
}  // namespace tallyfox
