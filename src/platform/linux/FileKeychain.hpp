#pragma once

#include <mutex>
#include <string>

#include "platform/Keychain.hpp"
#include "platform/linux/PrivateFiles.hpp"

namespace tallyfox::linux_os {

/// The legacy keychain: a file of mode 0600 with the raw bytes for each item, as
/// DATA_HOME/tallyfox/keychain/SERVICE/ACCOUNT. An item that others can read, that is no plain file or too large is
/// notAvailable, and so is a name that is no plain file name. Items of the data protection keychain are none of its.
class FileKeychain : public Keychain {
 public:
  explicit FileKeychain(std::string dataHome) : dataHome_(std::move(dataHome)) {}

  KeychainStatus update(const KeychainItem& item, ByteView value) override;
  KeychainStatus add(const KeychainItem& item, ByteView value) override;
  std::expected<Bytes, KeychainStatus> copyMatching(const KeychainItem& item) override;
  KeychainStatus remove(const KeychainItem& item) override;

 private:
  [[nodiscard]] std::expected<PrivateDirectory, KeychainStatus> directory(const KeychainItem& item, bool create) const;
  [[nodiscard]] static std::expected<Bytes, KeychainStatus> valueIn(const PrivateDirectory& directory,
                                                                    const KeychainItem& item);

  std::string dataHome_;
  std::mutex mutex_;
};

}  // namespace tallyfox::linux_os
