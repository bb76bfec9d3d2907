#pragma once

#include "platform/Keychain.hpp"

namespace tallyfox::linux_os {

/// The two keychains of a Linux desktop behind one interface: each item goes to the keychain that it names.
class LinuxKeychain : public Keychain {
 public:
  /// Both outlive this.
  LinuxKeychain(Keychain& dataProtection, Keychain& legacy) : dataProtection_(dataProtection), legacy_(legacy) {}

  KeychainStatus update(const KeychainItem& item, ByteView value) override { return of(item).update(item, value); }
  KeychainStatus add(const KeychainItem& item, ByteView value) override { return of(item).add(item, value); }
  std::expected<Bytes, KeychainStatus> copyMatching(const KeychainItem& item) override {
    return of(item).copyMatching(item);
  }
  KeychainStatus remove(const KeychainItem& item) override { return of(item).remove(item); }

 private:
  [[nodiscard]] Keychain& of(const KeychainItem& item) {
    return item.useDataProtectionKeychain ? dataProtection_ : legacy_;
  }

  Keychain& dataProtection_;
  Keychain& legacy_;
};

}  // namespace tallyfox::linux_os
