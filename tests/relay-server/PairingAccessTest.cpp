// Who may speak for a pairing: the first token for good, no other, and nobody once it is revoked.
#include "PairingAccess.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Recorders.hpp"
#include "TemporaryDirectory.hpp"

namespace tallyfox::server {
namespace {

using testing::awaited;
using Refusal = PairingAccess::Refusal;

class PairingAccessTest : public ::testing::Test {
 protected:
  testing::TemporaryDirectory directory;
  testing::RecordedConsole console;
  RelayLog log{console};
  SqlitePairingStore store = testing::openedStore(directory.path());
  PairingAccess access{store, log};
};

TEST_F(PairingAccessTest, firstTokenIsAcceptedAgainAndAnotherOneRefused) {
  EXPECT_TRUE(awaited(access.registerToken("P1", "token")));
  EXPECT_TRUE(awaited(access.registerToken("P1", "token")));
  EXPECT_EQ(awaited(access.registerToken("P1", "other")), std::unexpected(Refusal::unauthorized));
  EXPECT_EQ(awaited(access.pairingOfToken("token")), "P1");
  EXPECT_EQ(awaited(access.pairingOfToken("other")), std::unexpected(Refusal::unauthorized));
}

TEST_F(PairingAccessTest, checksAPhonesSecretAgainstItsOwnPairing) {
  ASSERT_TRUE(awaited(access.registerToken("P1", "one")));
  ASSERT_TRUE(awaited(access.registerToken("P2", "two")));
  EXPECT_TRUE(awaited(access.check("P1", "one")));
  EXPECT_EQ(awaited(access.check("P1", "two")), std::unexpected(Refusal::unauthorized));
  EXPECT_EQ(awaited(access.check("P3", "one")), std::unexpected(Refusal::unauthorized));
  EXPECT_EQ(awaited(access.check("P1", "")), std::unexpected(Refusal::unauthorized));
}

TEST_F(PairingAccessTest, revocationIsToldToItsOwnTokenAlone) {
  ASSERT_TRUE(awaited(access.registerToken("P1", "token")));
  ASSERT_TRUE(awaited(store.revokePairing("P1")));
  EXPECT_EQ(awaited(access.registerToken("P1", "token")), std::unexpected(Refusal::revoked));
  EXPECT_EQ(awaited(access.pairingOfToken("token")), std::unexpected(Refusal::revoked));
  EXPECT_EQ(awaited(access.check("P1", "token")), std::unexpected(Refusal::revoked));
  EXPECT_EQ(awaited(access.registerToken("P1", "other")), std::unexpected(Refusal::unauthorized));
  EXPECT_EQ(awaited(access.check("P1", "other")), std::unexpected(Refusal::unauthorized));
}

TEST_F(PairingAccessTest, sameTokenForANewPairingLeadsThere) {
  ASSERT_TRUE(awaited(access.registerToken("P1", "token")));
  ASSERT_TRUE(awaited(access.registerToken("P2", "token")));
  EXPECT_EQ(awaited(access.pairingOfToken("token")), "P2");
}

TEST_F(PairingAccessTest, logsShortenedIdsAndNoToken) {
  ASSERT_TRUE(awaited(access.registerToken("abcdefghijklmnop", "very-secret-token")));
  EXPECT_EQ(console.text(), "Pairing abcdefghijkl registered.\n");
}

}  // namespace
}  // namespace tallyfox::server
