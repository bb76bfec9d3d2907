// The thin keychain layer: which call follows which status, and which lines are printed, word for word.

#include "pairing/MacKeychainStore.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "platform/memory/MemoryServices.hpp"

namespace tallyfox {
namespace {

using memory::MemoryKeychain;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr KeychainStatus authFailed = -25293;

class MacKeychainStoreTest : public testing::Test {
 protected:
  KeychainItem item(bool useDataProtectionKeychain) {
    return {"com.tallyfox.agent", "account", useDataProtectionKeychain};
  }
  bool set(const std::string& text, bool useDataProtectionKeychain) {
    return store.set(bytesOf(text), "account", useDataProtectionKeychain);
  }

  MemoryKeychain keychain;
  memory::MemoryConsole console;
  MacKeychainStore store{keychain, console};
};

TEST_F(MacKeychainStoreTest, addsAnItemThatIsNotThereAndUpdatesItAfterwards) {
  EXPECT_TRUE(set("one", true));
  EXPECT_TRUE(set("two", true));
  EXPECT_THAT(keychain.calls(), ElementsAre("update data-protection", "add data-protection", "update data-protection"));
  EXPECT_EQ(keychain.stored(item(true)), copyOfBytes("two"));
  EXPECT_EQ(keychain.stored(item(false)), std::nullopt);
  EXPECT_THAT(console.lines(), IsEmpty());
}

TEST_F(MacKeychainStoreTest, isSilentWithoutTheDataProtectionKeychain) {
  keychain.setDataProtectionAvailable(false);
  EXPECT_FALSE(set("one", true));
  EXPECT_THAT(console.lines(), IsEmpty());
}

TEST_F(MacKeychainStoreTest, isSilentWhenTheDataProtectionKeychainRefusesTheAddition) {
  keychain.failNext(MemoryKeychain::Operation::add, true, keychain_status::missingEntitlement);
  EXPECT_FALSE(set("one", true));
  EXPECT_THAT(console.lines(), IsEmpty());
}

TEST_F(MacKeychainStoreTest, speaksOfAMissingEntitlementInTheLegacyKeychain) {
  keychain.failNext(MemoryKeychain::Operation::update, false, keychain_status::missingEntitlement);
  EXPECT_FALSE(set("one", false));
  EXPECT_THAT(console.lines(), ElementsAre("Unable to update account in Keychain: -34018"));
}

TEST_F(MacKeychainStoreTest, updatesAgainWhenTheItemAppearedMeanwhile) {
  keychain.put(item(false), copyOfBytes("other"));
  keychain.failNext(MemoryKeychain::Operation::update, false, keychain_status::itemNotFound);
  EXPECT_TRUE(set("mine", false));
  EXPECT_THAT(keychain.calls(), ElementsAre("update legacy", "add legacy", "update legacy"));
  EXPECT_EQ(keychain.stored(item(false)), copyOfBytes("mine"));
}

TEST_F(MacKeychainStoreTest, failsSilentlyWhenTheSecondUpdateFails) {
  keychain.put(item(false), copyOfBytes("other"));
  keychain.failNext(MemoryKeychain::Operation::update, false, keychain_status::itemNotFound);
  keychain.failNext(MemoryKeychain::Operation::update, false, authFailed);
  EXPECT_FALSE(set("mine", false));
  EXPECT_THAT(console.lines(), IsEmpty());
}

TEST_F(MacKeychainStoreTest, printsAFailedAdditionAndAFailedUpdate) {
  keychain.failNext(MemoryKeychain::Operation::add, false, authFailed);
  EXPECT_FALSE(set("one", false));
  keychain.failNext(MemoryKeychain::Operation::update, true, authFailed);
  EXPECT_FALSE(set("one", true));
  EXPECT_THAT(console.lines(), ElementsAre("Unable to save account in Keychain: -25293",
                                           "Unable to update account in Keychain: -25293"));
}

TEST_F(MacKeychainStoreTest, readsTheDataProtectionKeychainFirst) {
  keychain.put(item(true), copyOfBytes("protected"));
  keychain.put(item(false), copyOfBytes("legacy"));
  EXPECT_EQ(store.readData("account"), copyOfBytes("protected"));
  EXPECT_THAT(keychain.calls(), ElementsAre("copyMatching data-protection"));
}

TEST_F(MacKeychainStoreTest, readsTheLegacyKeychainWhenTheOtherHasNoItemOrIsMissing) {
  keychain.put(item(false), copyOfBytes("legacy"));
  EXPECT_EQ(store.readData("account"), copyOfBytes("legacy"));
  keychain.setDataProtectionAvailable(false);
  EXPECT_EQ(store.readData("account"), copyOfBytes("legacy"));
}

TEST_F(MacKeychainStoreTest, readsNothingWhenNeitherHasTheItem) {
  const auto read = store.readData("account");
  ASSERT_TRUE(read.has_value());
  EXPECT_EQ(*read, std::nullopt);
}

TEST_F(MacKeychainStoreTest, failsToReadWithAnyOtherStatus) {
  keychain.failNext(MemoryKeychain::Operation::copyMatching, true, authFailed);
  EXPECT_EQ(store.readData("account"), std::unexpected(KeychainError{authFailed}));
  keychain.failNext(MemoryKeychain::Operation::copyMatching, false, keychain_status::missingEntitlement);
  EXPECT_EQ(store.readData("account"), std::unexpected(KeychainError{keychain_status::missingEntitlement}));
}

TEST_F(MacKeychainStoreTest, removesSilentlyAlsoWhatIsNotThere) {
  keychain.put(item(true), copyOfBytes("protected"));
  store.remove("account", true);
  store.remove("account", true);
  EXPECT_EQ(keychain.stored(item(true)), std::nullopt);
  EXPECT_THAT(console.lines(), IsEmpty());
}

TEST_F(MacKeychainStoreTest, printsAFailedRemoval) {
  keychain.failNext(MemoryKeychain::Operation::remove, false, authFailed);
  store.remove("account", false);
  EXPECT_THAT(console.lines(), ElementsAre("Unable to delete account from Keychain: -25293"));
}

}  // namespace
}  // namespace tallyfox
