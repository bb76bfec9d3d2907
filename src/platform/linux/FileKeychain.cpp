#include "platform/linux/FileKeychain.hpp"

#include <cerrno>

#include "base/Limits.hpp"
#include "platform/posix/PlainFileName.hpp"

namespace tallyfox::linux_os {
namespace {

KeychainStatus statusOf(const FileError& error) {
  if (error.isMissing()) return keychain_status::itemNotFound;
  if (error.code == EEXIST) return keychain_status::duplicateItem;
  return keychain_status::notAvailable;
}

KeychainStatus statusOf(const std::expected<void, FileError>& result) {
  return result ? keychain_status::success : statusOf(result.error());
}

}  // namespace

std::expected<PrivateDirectory, KeychainStatus> FileKeychain::directory(const KeychainItem& item, bool create) const {
  if (item.useDataProtectionKeychain) return std::unexpected(keychain_status::missingEntitlement);
  if (!posix_os::isPlainFileName(item.account)) return std::unexpected(keychain_status::notAvailable);
  auto directory = PrivateDirectory::open(dataHome_, create);
  for (const std::string& name : {std::string("tallyfox"), std::string("keychain"), item.service}) {
    if (!directory) break;
    directory = directory->inside(name, create);
  }
  if (!directory) return std::unexpected(statusOf(directory.error()));
  return std::move(*directory);
}

std::expected<Bytes, KeychainStatus> FileKeychain::valueIn(const PrivateDirectory& directory,
                                                           const KeychainItem& item) {
  auto value = directory.read(item.account, limits::storedFileBytes, true);
  if (!value) return std::unexpected(statusOf(value.error()));
  return std::move(*value);
}

KeychainStatus FileKeychain::update(const KeychainItem& item, ByteView value) {
  const std::scoped_lock lock(mutex_);
  const auto place = directory(item, false);
  if (!place) return place.error();
  // What cannot be read is not overwritten either: it may be the only copy of a pairing.
  if (const auto present = valueIn(*place, item); !present) return present.error();
  return statusOf(place->replace(item.account, value));
}

KeychainStatus FileKeychain::add(const KeychainItem& item, ByteView value) {
  const std::scoped_lock lock(mutex_);
  const auto place = directory(item, true);
  if (!place) return place.error();
  if (const auto present = valueIn(*place, item); !present && present.error() != keychain_status::itemNotFound)
    return present.error();
  return statusOf(place->add(item.account, value));
}

std::expected<Bytes, KeychainStatus> FileKeychain::copyMatching(const KeychainItem& item) {
  const std::scoped_lock lock(mutex_);
  const auto place = directory(item, false);
  if (!place) return std::unexpected(place.error());
  return valueIn(*place, item);
}

KeychainStatus FileKeychain::remove(const KeychainItem& item) {
  const std::scoped_lock lock(mutex_);
  const auto place = directory(item, false);
  if (!place) return place.error();
  return statusOf(place->remove(item.account));
}

}  // namespace tallyfox::linux_os
