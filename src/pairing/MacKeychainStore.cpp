#include "pairing/MacKeychainStore.hpp"

#include <fmt/format.h>

namespace tallyfox {

KeychainItem MacKeychainStore::item(const std::string& account, bool useDataProtectionKeychain) {
  return {.service = "com.tallyfox.agent", .account = account, .useDataProtectionKeychain = useDataProtectionKeychain};
}

bool MacKeychainStore::set(ByteView data, const std::string& account, bool useDataProtectionKeychain) {
  const KeychainItem target = item(account, useDataProtectionKeychain);
  const auto isMissingKeychain = [&](KeychainStatus status) {
    return useDataProtectionKeychain && status == keychain_status::missingEntitlement;
  };

  const KeychainStatus updated = keychain_.update(target, data);
  if (updated == keychain_status::success) return true;
  if (isMissingKeychain(updated)) return false;
  if (updated != keychain_status::itemNotFound) {
    console_.printLine(fmt::format("Unable to update {} in Keychain: {}", account, updated));
    return false;
  }

  const KeychainStatus added = keychain_.add(target, data);
  if (added == keychain_status::success) return true;
  if (added == keychain_status::duplicateItem) return keychain_.update(target, data) == keychain_status::success;
  if (isMissingKeychain(added)) return false;
  console_.printLine(fmt::format("Unable to save {} in Keychain: {}", account, added));
  return false;
}

std::expected<std::optional<Bytes>, KeychainError> MacKeychainStore::readData(const std::string& account) {
  auto protectedItem = keychain_.copyMatching(item(account, true));
  if (protectedItem) return *std::move(protectedItem);
  if (protectedItem.error() != keychain_status::itemNotFound &&
      protectedItem.error() != keychain_status::missingEntitlement) {
    return std::unexpected(KeychainError{protectedItem.error()});
  }
  auto legacyItem = keychain_.copyMatching(item(account, false));
  if (legacyItem) return *std::move(legacyItem);
  if (legacyItem.error() == keychain_status::itemNotFound) return std::nullopt;
  return std::unexpected(KeychainError{legacyItem.error()});
}

void MacKeychainStore::remove(const std::string& account, bool useDataProtectionKeychain) {
  const KeychainStatus status = keychain_.remove(item(account, useDataProtectionKeychain));
  if (status == keychain_status::success || status == keychain_status::itemNotFound) return;
  console_.printLine(fmt::format("Unable to delete {} from Keychain: {}", account, status));
}

}  // namespace tallyfox
