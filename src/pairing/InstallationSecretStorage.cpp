#include "pairing/InstallationSecretStorage.hpp"

#include <fmt/format.h>

#include "base/Text.hpp"

namespace tallyfox {
namespace {

constexpr std::size_t secretBytes = 32;

/// The value of an older key, unless it is blank or no text.
std::optional<std::string> olderValue(UserDefaults& defaults, const char* key) {
  const auto value = defaults.object(key);
  if (!value) return std::nullopt;
  const auto* text = std::get_if<std::string>(&*value);
  if (text == nullptr || trimmed(*text).empty()) return std::nullopt;
  return *text;
}

InstallationSecrets createdSecrets(UserDefaults& defaults, const std::optional<std::string>& seed) {
  const auto pairingID = olderValue(defaults, secret_keys::perInstallPairingID);
  const auto e2eSecret = olderValue(defaults, secret_keys::perInstallE2eSecret);
  return {.pairingID = pairingID ? *pairingID : createdPairingID(seed ? &*seed : nullptr),
          .relayAuthToken = randomHex(secretBytes),
          .e2eSecret = e2eSecret ? *e2eSecret : randomHex(secretBytes)};
}

}  // namespace

std::string KeychainError::description() const {
  return fmt::format("Keychain is unavailable ({}). Unlock the login keychain and reopen Tallyfox.", status);
}

std::string_view description(StorageError error) {
  switch (error) {
    case StorageError::invalidStoredSecrets:
      return "Stored pairing credentials could not be read.";
    case StorageError::unableToSave:
      return "Pairing credentials could not be saved to Keychain. Unlock the login keychain and reopen Tallyfox.";
  }
  return {};
}

std::string description(const SecretsError& error) {
  if (const auto* keychain = std::get_if<KeychainError>(&error)) return keychain->description();
  return std::string(description(std::get<StorageError>(error)));
}

std::expected<InstallationSecrets, SecretsError> decodedSecrets(ByteView bytes) {
  const auto json = parsedJson(textOf(bytes));
  if (!json) return std::unexpected(StorageError::invalidStoredSecrets);
  auto secrets = InstallationSecrets::decoded(*json);
  if (!secrets || !secrets->isUsable()) return std::unexpected(StorageError::invalidStoredSecrets);
  return *std::move(secrets);
}

std::expected<InstallationSecrets, SecretsError> InstallationSecretStorage::loadOrCreate(
    const std::optional<std::string>& seed) const {
  const auto stored = readKeychain();
  if (!stored) return std::unexpected(stored.error());
  if (*stored) {
    auto secrets = decodedSecrets(**stored);
    if (secrets) defaults.removeObject(defaultsKey);
    return secrets;
  }

  InstallationSecrets secrets;
  const auto preference = defaults.object(defaultsKey);
  if (const auto* bytes = preference ? std::get_if<Bytes>(&*preference) : nullptr) {
    auto older = decodedSecrets(*bytes);
    if (!older) return older;
    secrets = *std::move(older);
  } else {
    secrets = createdSecrets(defaults, seed);
  }

  const Bytes written = copyOfBytes(jsonText(secrets.json()));
  if (!writeKeychain(written)) return std::unexpected(StorageError::unableToSave);
  const auto readBack = readKeychain();
  if (!readBack || *readBack != written) return std::unexpected(StorageError::unableToSave);
  defaults.removeObject(defaultsKey);
  return secrets;
}

}  // namespace tallyfox
