// What every store of pairings promises, over each of them.
#include "storage/PairingStore.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "MemoryPairingStore.hpp"
#include "Recorders.hpp"
#include "StoreUnderTest.hpp"
#include "TemporaryDirectory.hpp"

namespace tallyfox::server {
namespace {

using testing::awaited;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using testing::StoreUnderTest;
using Admission = PairingStore::Admission;

Sha256Digest hashOf(std::string_view token) {
  return sha256(bytesOf(token));
}

const DeviceRecord kim{.id = "D1", .name = "Kim's phone", .platform = "cli"};
const DeviceRecord other{.id = "D0", .name = "Other"};

class PairingStoreTest : public ::testing::TestWithParam<testing::StoreMaker> {
 protected:
  void SetUp() override { subject = GetParam().make(); }
  PairingStore& store() { return subject->store(); }
  void registerPairing(const std::string& id = "P1", const std::string& token = "token") {
    ASSERT_EQ(awaited(store().registerPairing(id, hashOf(token))),
              (PairingRecord{.id = id, .tokenHash = hashOf(token)}));
  }
  Admission admit(const DeviceRecord& device, const std::string& pairingID = "P1", std::size_t greatest = 16) {
    return awaited(store().admitDevice(pairingID, device, greatest)).value();
  }

  std::unique_ptr<StoreUnderTest> subject;
};

TEST_P(PairingStoreTest, knowsNothingAtFirst) {
  EXPECT_EQ(awaited(store().pairing("P1")).value(), std::nullopt);
  EXPECT_EQ(awaited(store().pairingOfToken(hashOf("token"))).value(), std::nullopt);
  EXPECT_THAT(awaited(store().pairedDevices("P1")).value(), IsEmpty());
}

TEST_P(PairingStoreTest, findsAPairingByItsNameAndItsToken) {
  registerPairing();
  const PairingRecord expected{.id = "P1", .tokenHash = hashOf("token")};
  EXPECT_EQ(awaited(store().pairing("P1")).value(), expected);
  EXPECT_EQ(awaited(store().pairingOfToken(hashOf("token"))).value(), expected);
  EXPECT_EQ(awaited(store().pairing("P2")).value(), std::nullopt);
  EXPECT_EQ(awaited(store().pairing("p1")).value(), std::nullopt);
  EXPECT_EQ(awaited(store().pairingOfToken(hashOf("other"))).value(), std::nullopt);
}

TEST_P(PairingStoreTest, keepsNamesOfTheGreatestLengthApart) {
  const std::string longest(128, '_');
  const std::string sibling = std::string(127, '_') + "-";
  registerPairing(longest, "one");
  registerPairing(sibling, "two");
  EXPECT_EQ(awaited(store().pairing(longest)).value()->tokenHash, hashOf("one"));
  EXPECT_EQ(awaited(store().pairing(sibling)).value()->tokenHash, hashOf("two"));
}

TEST_P(PairingStoreTest, neverChangesTheTokenOfAPairing) {
  registerPairing();
  EXPECT_EQ(awaited(store().registerPairing("P1", hashOf("other"))).value().tokenHash, hashOf("token"));
  EXPECT_EQ(awaited(store().pairing("P1")).value()->tokenHash, hashOf("token"));
  EXPECT_EQ(awaited(store().pairingOfToken(hashOf("other"))).value(), std::nullopt);
}

TEST_P(PairingStoreTest, aTokenStandsForThePairingRegisteredLast) {
  registerPairing("P1");
  registerPairing("P2");
  EXPECT_EQ(awaited(store().pairingOfToken(hashOf("token"))).value()->id, "P2");
  registerPairing("P1");
  EXPECT_EQ(awaited(store().pairingOfToken(hashOf("token"))).value()->id, "P1");
}

TEST_P(PairingStoreTest, aRevokedPairingIsKnownAndStaysRevoked) {
  registerPairing();
  ASSERT_EQ(admit(kim), Admission::paired);
  ASSERT_TRUE(awaited(store().revokePairing("P1")));
  EXPECT_TRUE(awaited(store().pairing("P1")).value()->revoked);
  EXPECT_TRUE(awaited(store().pairingOfToken(hashOf("token"))).value()->revoked);
  EXPECT_THAT(awaited(store().pairedDevices("P1")).value(), IsEmpty());
  EXPECT_EQ(admit(kim), Admission::noPairing);
  EXPECT_TRUE(awaited(store().registerPairing("P1", hashOf("token"))).value().revoked);
  EXPECT_TRUE(awaited(store().pairing("P1")).value()->revoked);
  EXPECT_TRUE(awaited(store().revokePairing("P1"))) << "again";
  EXPECT_TRUE(awaited(store().revokePairing("P9"))) << "none";
  EXPECT_EQ(awaited(store().pairing("P9")).value(), std::nullopt);
}

TEST_P(PairingStoreTest, listsPhonesInTheOrderInWhichTheyPaired) {
  registerPairing();
  EXPECT_EQ(admit(kim), Admission::paired);
  EXPECT_EQ(admit(other), Admission::paired);
  EXPECT_THAT(awaited(store().pairedDevices("P1")).value(), ElementsAre(kim, other));
}

TEST_P(PairingStoreTest, aPairedPhoneMayChangeItsNameAndKeepsItsPlace) {
  registerPairing();
  ASSERT_EQ(admit(kim), Admission::paired);
  ASSERT_EQ(admit(other), Admission::paired);
  const DeviceRecord renamed{.id = "D1", .name = "Kïm\"s\n", .platform = {}};
  EXPECT_EQ(admit(renamed), Admission::paired);
  EXPECT_THAT(awaited(store().pairedDevices("P1")).value(), ElementsAre(renamed, other));
}

TEST_P(PairingStoreTest, admitsOnlySoManyPhonesAndKnownOnesBeyond) {
  registerPairing();
  EXPECT_EQ(admit(kim, "P1", 1), Admission::paired);
  EXPECT_EQ(admit(other, "P1", 1), Admission::tooManyPhones);
  EXPECT_EQ(admit(kim, "P1", 1), Admission::paired);
  ASSERT_TRUE(awaited(store().forgetDevice("P1", "D1")));
  EXPECT_EQ(admit(other, "P1", 1), Admission::paired);
}

TEST_P(PairingStoreTest, anUnpairedPhoneTakesNoPlace) {
  registerPairing();
  ASSERT_EQ(admit(kim), Admission::paired);
  ASSERT_EQ(awaited(store().unpairDevice("P1", "D1")), true);
  EXPECT_EQ(admit(other, "P1", 1), Admission::paired);
}

TEST_P(PairingStoreTest, admitsNobodyToAPairingThatIsNotThere) {
  EXPECT_EQ(admit(kim, "P9"), Admission::noPairing);
  EXPECT_THAT(awaited(store().pairedDevices("P9")).value(), IsEmpty());
  EXPECT_EQ(awaited(store().unpairDevice("P9", "D1")), false);
  EXPECT_TRUE(awaited(store().forgetDevice("P9", "D1")));
  EXPECT_EQ(awaited(store().pairing("P9")).value(), std::nullopt);
}

TEST_P(PairingStoreTest, keepsThePhonesOfPairingsApart) {
  registerPairing("P1", "one");
  registerPairing("P2", "two");
  ASSERT_EQ(admit(kim, "P1"), Admission::paired);
  EXPECT_THAT(awaited(store().pairedDevices("P2")).value(), IsEmpty());
  EXPECT_EQ(awaited(store().unpairDevice("P2", "D1")), false);
  EXPECT_EQ(admit(kim, "P2"), Admission::paired);
}

TEST_P(PairingStoreTest, anUnpairedPhoneStaysUnpaired) {
  registerPairing();
  ASSERT_EQ(admit(kim), Admission::paired);
  EXPECT_EQ(awaited(store().unpairDevice("P1", "D1")), true);
  EXPECT_EQ(awaited(store().unpairDevice("P1", "D1")), false);
  EXPECT_EQ(awaited(store().unpairDevice("P1", "D2")), false);
  EXPECT_THAT(awaited(store().pairedDevices("P1")).value(), IsEmpty());
  EXPECT_EQ(admit(kim), Admission::unpaired);
  ASSERT_TRUE(awaited(store().forgetDevice("P1", "D1")));
  EXPECT_EQ(admit(kim), Admission::unpaired) << "leaving does not undo what the owner did";
}

TEST_P(PairingStoreTest, remembersWhereAPhoneWantsToBeAskedToLook) {
  registerPairing();
  ASSERT_EQ(admit(kim), Admission::paired);
  ASSERT_EQ(admit(other), Admission::paired);
  EXPECT_EQ(awaited(store().setPushEndpoint("P1", "D1", "https://push.example/1")), true);
  DeviceRecord asking = kim;
  asking.pushEndpoint = "https://push.example/1";
  EXPECT_THAT(awaited(store().pairedDevices("P1")).value(), ElementsAre(asking, other));
  asking.name = "Renamed";
  DeviceRecord renamed = kim;
  renamed.name = asking.name;
  EXPECT_EQ(admit(renamed), Admission::paired) << "that says nothing of the endpoint";
  EXPECT_THAT(awaited(store().pairedDevices("P1")).value(), ElementsAre(asking, other));
  EXPECT_EQ(awaited(store().setPushEndpoint("P1", "D1", std::nullopt)), true);
  EXPECT_THAT(awaited(store().pairedDevices("P1")).value(), ElementsAre(renamed, other));
}

TEST_P(PairingStoreTest, forgetsWhereToAskAPhoneThatIsPairedNoLonger) {
  registerPairing();
  ASSERT_EQ(admit(kim), Admission::paired);
  ASSERT_EQ(awaited(store().setPushEndpoint("P1", "D1", "https://push.example/1")), true);
  ASSERT_TRUE(awaited(store().forgetDevice("P1", "D1")));
  EXPECT_EQ(awaited(store().setPushEndpoint("P1", "D1", "https://push.example/2")), false);
  ASSERT_EQ(admit(kim), Admission::paired);
  EXPECT_THAT(awaited(store().pairedDevices("P1")).value(), ElementsAre(kim));
  ASSERT_EQ(awaited(store().unpairDevice("P1", "D1")), true);
  EXPECT_EQ(awaited(store().setPushEndpoint("P1", "D1", "https://push.example/3")), false);
  EXPECT_EQ(awaited(store().setPushEndpoint("P9", "D1", "https://push.example/4")), false);
}

TEST_P(PairingStoreTest, aPhoneThatLeftMayPairAgainAsANewOne) {
  registerPairing();
  ASSERT_EQ(admit(kim), Admission::paired);
  ASSERT_EQ(admit(other), Admission::paired);
  EXPECT_TRUE(awaited(store().forgetDevice("P1", "D1")));
  EXPECT_THAT(awaited(store().pairedDevices("P1")).value(), ElementsAre(other));
  EXPECT_EQ(admit(kim), Admission::paired);
  EXPECT_THAT(awaited(store().pairedDevices("P1")).value(), ElementsAre(other, kim));
  EXPECT_TRUE(awaited(store().forgetDevice("P1", "D9")));
}

TEST_P(PairingStoreTest, callsAtOnceLeaveNothingOut) {
  registerPairing();
  boost::asio::io_context io;
  std::list<testing::Pending<StorageResult<Admission>>> pending;
  for (int number = 0; number < 20; ++number)
    pending.emplace_back(io, store().admitDevice("P1", {.id = "D" + std::to_string(number), .name = "Phone"}, 16));
  io.run();
  std::map<Admission, int> outcomes;
  for (const auto& each : pending)
    ++outcomes[each.value().value()];
  EXPECT_EQ(outcomes, (std::map<Admission, int>{{Admission::paired, 16}, {Admission::tooManyPhones, 4}}));
  EXPECT_EQ(awaited(store().pairedDevices("P1")).value().size(), 16U);
}

TEST_P(PairingStoreTest, ofTwoTokensAtOnceOneWins) {
  boost::asio::io_context io;
  const testing::Pending one(io, store().registerPairing("P1", hashOf("one")));
  const testing::Pending two(io, store().registerPairing("P1", hashOf("two")));
  io.run();
  const auto stored = awaited(store().pairing("P1")).value();
  ASSERT_TRUE(stored);
  EXPECT_EQ(one.value(), *stored);
  EXPECT_EQ(two.value(), *stored);
}

INSTANTIATE_TEST_SUITE_P(Stores, PairingStoreTest, ::testing::ValuesIn(testing::storeMakers()),
                         [](const auto& each) { return each.param.name; });

}  // namespace
}  // namespace tallyfox::server
