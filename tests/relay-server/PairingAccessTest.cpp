// Who may speak for a pairing: the first token for good, no other, and nobody once it is revoked.
#include "PairingAccess.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Recorders.hpp"
#include "TemporaryDirectory.hpp"

namespace tallyfox::server {
namespace {

using Refusal = PairingAccess::Refusal;

class PairingAccessTest : public ::testing::Test {
 protected:
  testing::TemporaryDirectory directory;
  testing::RecordedConsole console;
  RelayLog log{console};
  RelayDatabase database = testing::openedDatabase(directory.path());
  PairingAccess access{database, log};
};

TEST_F(PairingAccessTest, firstTokenIsAcceptedAgainAndAnotherOneRefused) {
  EXPECT_TRUE(access.registerToken("P1", "token"));
  EXPECT_TRUE(access.registerToken("P1", "token"));
  EXPECT_EQ(access.registerToken("P1", "other"), std::unexpected(Refusal::unauthorized));
  EXPECT_EQ(access.pairingOfToken("token"), "P1");
  EXPECT_EQ(access.pairingOfToken("other"), std::unexpected(Refusal::unauthorized));
}

TEST_F(PairingAccessTest, checksAPhonesSecretAgainstItsOwnPairing) {
  ASSERT_TRUE(access.registerToken("P1", "one"));
  ASSERT_TRUE(access.registerToken("P2", "two"));
  EXPECT_TRUE(access.check("P1", "one"));
  EXPECT_EQ(access.check("P1", "two"), std::unexpected(Refusal::unauthorized));
  EXPECT_EQ(access.check("P3", "one"), std::unexpected(Refusal::unauthorized));
  EXPECT_EQ(access.check("P1", ""), std::unexpected(Refusal::unauthorized));
}

TEST_F(PairingAccessTest, revocationIsToldToItsOwnTokenAlone) {
  ASSERT_TRUE(access.registerToken("P1", "token"));
  ASSERT_TRUE(database.revokePairing("P1"));
  EXPECT_EQ(access.registerToken("P1", "token"), std::unexpected(Refusal::revoked));
  EXPECT_EQ(access.pairingOfToken("token"), std::unexpected(Refusal::revoked));
  EXPECT_EQ(access.check("P1", "token"), std::unexpected(Refusal::revoked));
  EXPECT_EQ(access.registerToken("P1", "other"), std::unexpected(Refusal::unauthorized));
  EXPECT_EQ(access.check("P1", "other"), std::unexpected(Refusal::unauthorized));
}

TEST_F(PairingAccessTest, sameTokenForANewPairingLeadsThere) {
  ASSERT_TRUE(access.registerToken("P1", "token"));
  ASSERT_TRUE(access.registerToken("P2", "token"));
  EXPECT_EQ(access.pairingOfToken("token"), "P2");
}

TEST_F(PairingAccessTest, logsShortenedIdsAndNoToken) {
  ASSERT_TRUE(access.registerToken("abcdefghijklmnop", "very-secret-token"));
  EXPECT_EQ(console.text(), "Pairing abcdefghijkl registered.\n");
}

}  // namespace
}  // namespace tallyfox::server
