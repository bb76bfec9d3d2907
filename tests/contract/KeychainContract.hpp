#pragma once

/// What every keychain keeps to: exact bytes, the four operations, and status codes that tell not-found, duplicate and
/// missing apart.
///
/// A backend joins with INSTANTIATE_TYPED_TEST_SUITE_P(Name, KeychainContract, TheBackend), where TheBackend is
/// default-constructible, its keychains empty at first, and has
///   Keychain& keychain();
///   bool hasDataProtectionKeychain();   whether this instance has one; join twice where both can be had

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/Keychain.hpp"

namespace tallyfox::contract {

template <typename Backend>
class KeychainContract : public testing::Test {
 protected:
  [[nodiscard]] Keychain& keychain() { return backend.keychain(); }

  /// The same item in every keychain that is there.
  [[nodiscard]] std::vector<KeychainItem> items(const std::string& service = "com.tallyfox.contract",
                                                const std::string& account = "account-v1") {
    std::vector<KeychainItem> all{{service, account, false}};
    if (backend.hasDataProtectionKeychain()) all.push_back({service, account, true});
    return all;
  }

  Backend backend;
};

inline const Bytes firstKeychainValue{'{', 0, 255, 10, '}'};
inline const Bytes secondKeychainValue{'x'};

TYPED_TEST_SUITE_P(KeychainContract);

TYPED_TEST_P(KeychainContract, hasNoItemAtFirst) {
  for (const KeychainItem& item : this->items()) {
    EXPECT_EQ(this->keychain().copyMatching(item), std::unexpected(keychain_status::itemNotFound));
    EXPECT_EQ(this->keychain().update(item, firstKeychainValue), keychain_status::itemNotFound);
    EXPECT_EQ(this->keychain().remove(item), keychain_status::itemNotFound);
    EXPECT_EQ(this->keychain().copyMatching(item), std::unexpected(keychain_status::itemNotFound));
  }
}

TYPED_TEST_P(KeychainContract, givesBackTheExactBytes) {
  for (const KeychainItem& item : this->items()) {
    EXPECT_EQ(this->keychain().add(item, firstKeychainValue), keychain_status::success);
    EXPECT_EQ(this->keychain().copyMatching(item), firstKeychainValue);
  }
}

TYPED_TEST_P(KeychainContract, keepsAnEmptyValueAsAnItem) {
  for (const KeychainItem& item : this->items()) {
    EXPECT_EQ(this->keychain().add(item, Bytes{}), keychain_status::success);
    EXPECT_EQ(this->keychain().copyMatching(item), Bytes{});
  }
}

TYPED_TEST_P(KeychainContract, refusesToAddAnItemTwice) {
  for (const KeychainItem& item : this->items()) {
    EXPECT_EQ(this->keychain().add(item, firstKeychainValue), keychain_status::success);
    EXPECT_EQ(this->keychain().add(item, secondKeychainValue), keychain_status::duplicateItem);
    EXPECT_EQ(this->keychain().copyMatching(item), firstKeychainValue);
  }
}

TYPED_TEST_P(KeychainContract, replacesTheWholeValueOnUpdate) {
  for (const KeychainItem& item : this->items()) {
    EXPECT_EQ(this->keychain().add(item, firstKeychainValue), keychain_status::success);
    EXPECT_EQ(this->keychain().update(item, secondKeychainValue), keychain_status::success);
    EXPECT_EQ(this->keychain().copyMatching(item), secondKeychainValue);
  }
}

TYPED_TEST_P(KeychainContract, canAddAgainWhatWasRemoved) {
  for (const KeychainItem& item : this->items()) {
    EXPECT_EQ(this->keychain().add(item, firstKeychainValue), keychain_status::success);
    EXPECT_EQ(this->keychain().remove(item), keychain_status::success);
    EXPECT_EQ(this->keychain().copyMatching(item), std::unexpected(keychain_status::itemNotFound));
    EXPECT_EQ(this->keychain().remove(item), keychain_status::itemNotFound);
    EXPECT_EQ(this->keychain().add(item, secondKeychainValue), keychain_status::success);
    EXPECT_EQ(this->keychain().copyMatching(item), secondKeychainValue);
  }
}

TYPED_TEST_P(KeychainContract, tellsItemsApartByServiceAndAccount) {
  for (const KeychainItem& item : this->items()) {
    KeychainItem otherService = item;
    otherService.service = "com.tallyfox.other";
    KeychainItem otherAccount = item;
    otherAccount.account = "account-v2";
    EXPECT_EQ(this->keychain().add(item, firstKeychainValue), keychain_status::success);
    EXPECT_EQ(this->keychain().copyMatching(otherService), std::unexpected(keychain_status::itemNotFound));
    EXPECT_EQ(this->keychain().copyMatching(otherAccount), std::unexpected(keychain_status::itemNotFound));
    EXPECT_EQ(this->keychain().add(otherService, secondKeychainValue), keychain_status::success);
    EXPECT_EQ(this->keychain().add(otherAccount, secondKeychainValue), keychain_status::success);
    EXPECT_EQ(this->keychain().copyMatching(item), firstKeychainValue);
    EXPECT_EQ(this->keychain().remove(otherService), keychain_status::success);
    EXPECT_EQ(this->keychain().copyMatching(otherAccount), secondKeychainValue);
  }
}

TYPED_TEST_P(KeychainContract, keepsTheTwoKeychainsApartOrSaysThatOneIsMissing) {
  const KeychainItem legacy = this->items().front();
  KeychainItem dataProtection = legacy;
  dataProtection.useDataProtectionKeychain = true;
  EXPECT_EQ(this->keychain().add(legacy, firstKeychainValue), keychain_status::success);
  if (this->backend.hasDataProtectionKeychain()) {
    EXPECT_EQ(this->keychain().copyMatching(dataProtection), std::unexpected(keychain_status::itemNotFound));
    EXPECT_EQ(this->keychain().add(dataProtection, secondKeychainValue), keychain_status::success);
    EXPECT_EQ(this->keychain().remove(dataProtection), keychain_status::success);
  } else {
    EXPECT_EQ(this->keychain().update(dataProtection, secondKeychainValue), keychain_status::missingEntitlement);
    EXPECT_EQ(this->keychain().add(dataProtection, secondKeychainValue), keychain_status::missingEntitlement);
    EXPECT_EQ(this->keychain().copyMatching(dataProtection), std::unexpected(keychain_status::missingEntitlement));
    EXPECT_EQ(this->keychain().remove(dataProtection), keychain_status::missingEntitlement);
  }
  EXPECT_EQ(this->keychain().copyMatching(legacy), firstKeychainValue);
}

REGISTER_TYPED_TEST_SUITE_P(KeychainContract, hasNoItemAtFirst, givesBackTheExactBytes, keepsAnEmptyValueAsAnItem,
                            refusesToAddAnItemTwice, replacesTheWholeValueOnUpdate, canAddAgainWhatWasRemoved,
                            tellsItemsApartByServiceAndAccount, keepsTheTwoKeychainsApartOrSaysThatOneIsMissing);

}  // namespace tallyfox::contract
