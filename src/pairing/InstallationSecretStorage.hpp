#pragma once

#include <expected>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <variant>

#include "base/Bytes.hpp"
#include "pairing/InstallationSecrets.hpp"
#include "platform/Keychain.hpp"
#include "platform/UserDefaults.hpp"

namespace tallyfox {

/// The preference keys of this installation's identity.
namespace secret_keys {
inline constexpr const char* installationSecrets = "tallyfox.installation-secrets-v1";
/// From before the secrets became one record; read for migration only.
inline constexpr const char* perInstallPairingID = "tallyfox.per-install-pairing-id";
inline constexpr const char* perInstallE2eSecret = "tallyfox.per-install-e2e-secret";
}  // namespace secret_keys

struct KeychainError {
  KeychainStatus status = 0;
  bool operator==(const KeychainError&) const = default;
  [[nodiscard]] std::string description() const;
};

enum class StorageError { invalidStoredSecrets, unableToSave };
[[nodiscard]] std::string_view description(StorageError error);

using SecretsError = std::variant<StorageError, KeychainError>;
[[nodiscard]] std::string description(const SecretsError& error);

/// The secrets that a keychain or preferences hold as these bytes; fails unless they are usable.
[[nodiscard]] std::expected<InstallationSecrets, SecretsError> decodedSecrets(ByteView bytes);

/// Loads the secrets, migrates older copies, or creates them: stored before they are used, read back before they count.
struct InstallationSecretStorage {
  UserDefaults& defaults;
  std::string defaultsKey;
  std::function<std::expected<std::optional<Bytes>, KeychainError>()> readKeychain;
  std::function<bool(ByteView)> writeKeychain;

  [[nodiscard]] std::expected<InstallationSecrets, SecretsError> loadOrCreate(
      const std::optional<std::string>& seed) const;
};

}  // namespace tallyfox
