// A phone's first frame: what it must hold, and every way in which it can be malformed.
#include "PhoneHello.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Recorders.hpp"

namespace tallyfox::server {
namespace {

Json hello() {
  return Json::parse(testing::message::hello("Pair_1", "secret", "device-1", "Kim's phone"));
}

TEST(PhoneHello, readsAllItsMembers) {
  EXPECT_EQ(PhoneHello::decoded(jsonText(hello())), (PhoneHello{.pairingID = "Pair_1",
                                                                .relaySecret = "secret",
                                                                .deviceID = "device-1",
                                                                .deviceName = "Kim's phone",
                                                                .platform = "cli"}));
}

TEST(PhoneHello, platformMayBeMissingAndUnknownMembersAreIgnored) {
  Json message = hello();
  message.erase("platform");
  message["colour"] = "green";
  ASSERT_TRUE(PhoneHello::decoded(jsonText(message)));
  EXPECT_EQ(PhoneHello::decoded(jsonText(message))->platform, std::nullopt);
}

TEST(PhoneHello, countsTheNameInCharactersNotBytes) {
  const auto named = [](std::size_t characters) {
    std::string name;
    for (std::size_t count = 0; count < characters; ++count)
      name += "\xE2\x82\xAC";
    Json message = hello();
    message["deviceName"] = name;
    return PhoneHello::decoded(jsonText(message)).has_value();
  };
  EXPECT_FALSE(named(0));
  EXPECT_TRUE(named(1));
  EXPECT_TRUE(named(100));
  EXPECT_FALSE(named(101));
}

TEST(PhoneHello, identifiersHaveABoundedLengthAndAlphabet) {
  const auto accepts = [](const char* key, const std::string& value) {
    Json message = hello();
    message[key] = value;
    return PhoneHello::decoded(jsonText(message)).has_value();
  };
  EXPECT_TRUE(accepts("pairingID", std::string(128, 'a')));
  EXPECT_TRUE(accepts("deviceID", std::string(64, 'a')));
  EXPECT_TRUE(accepts("deviceID", "AZaz09_-"));
  for (const char* key : {"pairingID", "deviceID"}) {
    for (const std::string& bad : {std::string(), std::string(129, 'a'), std::string("a b"), std::string("a/b"),
                                   std::string("a\nb"), std::string("\xC3\xA4")}) {
      EXPECT_FALSE(accepts(key, bad)) << key << " = " << bad;
    }
  }
  EXPECT_FALSE(accepts("deviceID", std::string(65, 'a')));
}

TEST(PhoneHello, refusesEveryMissingOrMistypedMember) {
  for (const char* key : {"type", "version", "pairingID", "relaySecret", "deviceID", "deviceName"}) {
    Json missing = hello();
    missing.erase(key);
    EXPECT_FALSE(PhoneHello::decoded(jsonText(missing))) << key;
    Json mistyped = hello();
    mistyped[key] = Json::array();
    EXPECT_FALSE(PhoneHello::decoded(jsonText(mistyped))) << key;
  }
}

TEST(PhoneHello, refusesOtherTypesOtherVersionsAndWhatIsNoObject) {
  Json otherType = hello();
  otherType["type"] = "phone.goodbye";
  EXPECT_FALSE(PhoneHello::decoded(jsonText(otherType)));
  Json otherVersion = hello();
  otherVersion["version"] = 2;
  EXPECT_FALSE(PhoneHello::decoded(jsonText(otherVersion)));
  for (const char* text : {"", "null", "[]", "\"phone.hello\"", "{", "\xFF"})
    EXPECT_FALSE(PhoneHello::decoded(text));
}

}  // namespace
}  // namespace tallyfox::server
