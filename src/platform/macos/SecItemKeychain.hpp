#pragma once

#include "platform/Keychain.hpp"

namespace tallyfox::mac_os {

/// Generic passwords in the data protection keychain and in the login keychain's file. The system's status codes are
/// passed on as they are. The file's keychain may ask the owner to unlock it, and keeps no rule about when an item can
/// be read.
class SecItemKeychain : public Keychain {
 public:
  KeychainStatus update(const KeychainItem& item, ByteView value) override;
  KeychainStatus add(const KeychainItem& item, ByteView value) override;
  std::expected<Bytes, KeychainStatus> copyMatching(const KeychainItem& item) override;
  KeychainStatus remove(const KeychainItem& item) override;
};

}  // namespace tallyfox::mac_os
