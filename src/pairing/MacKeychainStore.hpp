#pragma once

#include <expected>
#include <optional>
#include <string>

#include "base/Console.hpp"
#include "pairing/InstallationSecretStorage.hpp"
#include "platform/Keychain.hpp"

namespace tallyfox {

/// Items of the service "com.tallyfox.agent" in the data-protection keychain, else the legacy one. Blocking; any
/// thread.
class MacKeychainStore {
 public:
  /// The account under which the installation's secrets are kept.
  static constexpr const char* secretsAccount = "installation-secrets-v1";
  [[nodiscard]] static KeychainItem item(const std::string& account, bool useDataProtectionKeychain);

  MacKeychainStore(Keychain& keychain, Console& console) : keychain_(keychain), console_(console) {}
  [[nodiscard]] bool set(ByteView data, const std::string& account, bool useDataProtectionKeychain);
  [[nodiscard]] std::expected<std::optional<Bytes>, KeychainError> readData(const std::string& account);
  void remove(const std::string& account, bool useDataProtectionKeychain);

 private:
  Keychain& keychain_;
  Console& console_;
};

}  // namespace tallyfox
