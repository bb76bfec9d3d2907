// The secrets of an installation: their form, their JSON, how random text is made and how a seed becomes a pairing id.

#include "pairing/InstallationSecrets.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <span>
#include <string>

namespace tallyfox {
namespace {

using testing::MatchesRegex;

std::string pairingIDFor(const std::string& seed) {
  return createdPairingID(&seed);
}
bool failingSource(std::span<std::uint8_t>) {
  return false;
}

TEST(InstallationSecrets, areUsableWhenNoFieldIsBlank) {
  EXPECT_TRUE((InstallationSecrets{"a", "b", "c"}.isUsable()));
  EXPECT_FALSE((InstallationSecrets{" \n", "b", "c"}.isUsable()));
  EXPECT_FALSE((InstallationSecrets{"a", "", "c"}.isUsable()));
  EXPECT_FALSE((InstallationSecrets{"a", "b", "\t"}.isUsable()));
}

TEST(InstallationSecrets, surviveJson) {
  const InstallationSecrets secrets{"tallyfox-1", "token", "secret"};
  EXPECT_EQ(jsonText(secrets.json()), R"({"pairingID":"tallyfox-1","relayAuthToken":"token","e2eSecret":"secret"})");
  EXPECT_EQ(InstallationSecrets::decoded(secrets.json()), secrets);
}

TEST(InstallationSecrets, refuseJsonWithoutAField) {
  EXPECT_FALSE(InstallationSecrets::decoded(Json{{"pairingID", "p"}, {"relayAuthToken", "t"}}).has_value());
}

TEST(RandomHex, hasTwoLowerCaseDigitsAByteAndDiffersEachTime) {
  EXPECT_THAT(randomHex(16), MatchesRegex("[0-9a-f]{32}"));
  EXPECT_THAT(randomHex(32), MatchesRegex("[0-9a-f]{64}"));
  EXPECT_NE(randomHex(32), randomHex(32));
}

TEST(RandomHex, fallsBackToSixtyFourDigitsWhenTheSourceFails) {
  EXPECT_THAT(randomHex(16, failingSource), MatchesRegex("[0-9a-f]{64}"));
  EXPECT_NE(randomHex(16, failingSource), randomHex(16, failingSource));
}

TEST(PairingID, hasTheDefaultPrefixWithoutASeed) {
  EXPECT_THAT(createdPairingID(nullptr), MatchesRegex("tallyfox-[0-9a-f]{32}"));
}

TEST(PairingID, takesTheSeedBeforeItsFirstHyphen) {
  EXPECT_THAT(pairingIDFor("Office Mac-42"), MatchesRegex("office-mac-[0-9a-f]{32}"));
  EXPECT_THAT(pairingIDFor("Studio-Mac-42"), MatchesRegex("studio-[0-9a-f]{32}"));
  EXPECT_THAT(pairingIDFor("  studio\n"), MatchesRegex("studio-[0-9a-f]{32}"));
  EXPECT_THAT(pairingIDFor("my_mac"), MatchesRegex("my_mac-[0-9a-f]{32}"));
  EXPECT_THAT(pairingIDFor("_.Desk!-1"), MatchesRegex("desk-[0-9a-f]{32}"));
}

TEST(PairingID, replacesOneCharacterBeyondAsciiByOneHyphen) {
  EXPECT_THAT(pairingIDFor("B\u00FCro"), MatchesRegex("b-ro-[0-9a-f]{32}"));
}

TEST(PairingID, hasTheDefaultPrefixForASeedOfPunctuation) {
  for (const char* seed : {"!!!", "", "-office", "___", "   ", "\u00FC"}) {
    EXPECT_THAT(pairingIDFor(seed), MatchesRegex("tallyfox-[0-9a-f]{32}")) << seed;
  }
}

}  // namespace
}  // namespace tallyfox
