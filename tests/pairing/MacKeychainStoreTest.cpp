// The thin keychain layer: which call follows which status, and which lines are printed, word for word.

#include "pairing/MacKeychainStore.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>
#include <ostream>
#include <string>
#include <vector>

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

constexpr KeychainStatus success = 0;
constexpr KeychainStatus missingEntitlement = -34018;
constexpr KeychainStatus itemNotFound = -25300;
constexpr KeychainStatus duplicateItem = -25299;

/// The answers of the keychain to a `set`, as far as it is to come to them, and what becomes of it.
struct SetCase {
  bool useDataProtectionKeychain;
  std::vector<KeychainStatus> updates;
  std::optional<KeychainStatus> addition;
  bool isSet;
  std::vector<std::string> lines;

  friend void PrintTo(const SetCase& one, std::ostream* out) {
    *out << (one.useDataProtectionKeychain ? "data-protection" : "legacy") << ", updates "
         << testing::PrintToString(one.updates) << ", addition " << testing::PrintToString(one.addition);
  }
};

class MacKeychainStoreSet : public MacKeychainStoreTest, public testing::WithParamInterface<SetCase> {};

TEST_P(MacKeychainStoreSet, followsEachStatus) {
  const auto& [protection, updates, addition, isSet, lines] = GetParam();
  std::vector<std::string> calls;
  const auto expectCall = [&, suffix = protection ? " data-protection" : " legacy"](
                              MemoryKeychain::Operation operation, const char* name, KeychainStatus status) {
    keychain.failNext(operation, protection, status);
    calls.push_back(std::string(name) + suffix);
  };
  expectCall(MemoryKeychain::Operation::update, "update", updates[0]);
  if (addition) expectCall(MemoryKeychain::Operation::add, "add", *addition);
  if (updates.size() > 1) expectCall(MemoryKeychain::Operation::update, "update", updates[1]);
  EXPECT_EQ(set("text", protection), isSet);
  EXPECT_EQ(keychain.calls(), calls);
  EXPECT_EQ(console.lines(), lines);
}

std::vector<SetCase> setCases() {
  const auto unable = [](const char* what, KeychainStatus status) {
    return std::vector<std::string>{std::string("Unable to ") + what +
                                    " account in Keychain: " + std::to_string(status)};
  };
  std::vector<SetCase> cases;
  for (const bool protection : {true, false}) {
    cases.push_back({protection, {success}, {}, true, {}});
    for (const KeychainStatus other : {duplicateItem, authFailed, KeychainStatus{1}}) {
      cases.push_back({protection, {other}, {}, false, unable("update", other)});
    }
    for (const KeychainStatus other : {itemNotFound, authFailed, KeychainStatus{1}}) {
      cases.push_back({protection, {itemNotFound}, other, false, unable("save", other)});
    }
    cases.push_back({protection, {itemNotFound}, success, true, {}});
    cases.push_back({protection, {itemNotFound, success}, duplicateItem, true, {}});
    for (const KeychainStatus other : {itemNotFound, duplicateItem, missingEntitlement, authFailed}) {
      cases.push_back({protection, {itemNotFound, other}, duplicateItem, false, {}});
    }
  }
  cases.push_back({true, {missingEntitlement}, {}, false, {}});
  cases.push_back({false, {missingEntitlement}, {}, false, unable("update", missingEntitlement)});
  cases.push_back({true, {itemNotFound}, missingEntitlement, false, {}});
  cases.push_back({false, {itemNotFound}, missingEntitlement, false, unable("save", missingEntitlement)});
  return cases;
}
INSTANTIATE_TEST_SUITE_P(Statuses, MacKeychainStoreSet, testing::ValuesIn(setCases()));

TEST_F(MacKeychainStoreTest, readsOnInTheLegacyKeychainForTwoStatusesOnly) {
  keychain.put(item(false), copyOfBytes("legacy"));
  for (const KeychainStatus status : {itemNotFound, missingEntitlement}) {
    keychain.failNext(MemoryKeychain::Operation::copyMatching, true, status);
    EXPECT_EQ(store.readData("account"), copyOfBytes("legacy")) << status;
  }
  const auto calls = keychain.calls().size();
  for (const KeychainStatus status : {duplicateItem, authFailed, KeychainStatus{1}}) {
    keychain.failNext(MemoryKeychain::Operation::copyMatching, true, status);
    EXPECT_EQ(store.readData("account"), std::unexpected(KeychainError{status}));
  }
  EXPECT_EQ(keychain.calls().size(), calls + 3);
  EXPECT_THAT(console.lines(), IsEmpty());
}

TEST_F(MacKeychainStoreTest, takesOneStatusOfTheLegacyKeychainForNoItem) {
  keychain.setDataProtectionAvailable(false);
  keychain.put(item(false), copyOfBytes("legacy"));
  keychain.failNext(MemoryKeychain::Operation::copyMatching, false, itemNotFound);
  const auto read = store.readData("account");
  ASSERT_TRUE(read.has_value());
  EXPECT_EQ(*read, std::nullopt);
  for (const KeychainStatus status : {missingEntitlement, duplicateItem, authFailed}) {
    keychain.failNext(MemoryKeychain::Operation::copyMatching, false, status);
    EXPECT_EQ(store.readData("account"), std::unexpected(KeychainError{status}));
  }
}

TEST_F(MacKeychainStoreTest, printsEveryStatusOfARemovalButTwo) {
  for (const bool protection : {true, false}) {
    for (const KeychainStatus status : {success, itemNotFound}) {
      keychain.failNext(MemoryKeychain::Operation::remove, protection, status);
      store.remove("account", protection);
    }
    EXPECT_THAT(console.lines(), IsEmpty());
    for (const KeychainStatus status : {missingEntitlement, duplicateItem, authFailed}) {
      keychain.failNext(MemoryKeychain::Operation::remove, protection, status);
      store.remove("account", protection);
    }
    EXPECT_THAT(console.lines(), ElementsAre("Unable to delete account from Keychain: -34018",
                                             "Unable to delete account from Keychain: -25299",
                                             "Unable to delete account from Keychain: -25293"));
    console.clear();
  }
}

}  // namespace
}  // namespace tallyfox
