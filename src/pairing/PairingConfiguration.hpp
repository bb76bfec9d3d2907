#pragma once

#include <mutex>
#include <optional>
#include <string>

#include "base/Console.hpp"
#include "model/RelayLaunchConfiguration.hpp"
#include "pairing/InstallationSecretStorage.hpp"
#include "pairing/InstallationSecrets.hpp"
#include "pairing/MacKeychainStore.hpp"
#include "pairing/PairingPayload.hpp"
#include "platform/ApplicationBundle.hpp"
#include "platform/Environment.hpp"
#include "platform/Keychain.hpp"
#include "platform/UserDefaults.hpp"

namespace tallyfox {

/// What was worked out once. The lock is held only to copy a field in or out.
class PairingConfigurationCache {
 public:
  [[nodiscard]] std::optional<RelayLaunchConfiguration> launchConfiguration() const;
  void setLaunchConfiguration(RelayLaunchConfiguration configuration);
  [[nodiscard]] std::optional<PairingPayload> pairingPayload() const;
  void setPairingPayload(PairingPayload payload);
  [[nodiscard]] std::optional<InstallationSecrets> installationSecrets() const;
  /// Also clears the credential error.
  void setInstallationSecrets(InstallationSecrets secrets);
  [[nodiscard]] std::optional<std::string> credentialError() const;
  void setCredentialError(std::string description);
  void reset();

 private:
  mutable std::mutex lock_;
  std::optional<RelayLaunchConfiguration> launchConfiguration_;
  std::optional<PairingPayload> pairingPayload_;
  std::optional<InstallationSecrets> installationSecrets_;
  std::optional<std::string> credentialError_;
};

/// Which relay, which credentials, what the pairing code holds. Any thread.
class PairingConfiguration {
 public:
  struct Dependencies {
    Environment& environment;
    ApplicationBundle& bundle;
    UserDefaults& defaults;
    Keychain& keychain;
    Console& console;
  };
  explicit PairingConfiguration(Dependencies dependencies);

  [[nodiscard]] std::optional<RelayLaunchConfiguration> environmentConfiguration() const;
  [[nodiscard]] std::optional<RelayLaunchConfiguration> bundledConfiguration() const;
  [[nodiscard]] std::optional<RelayLaunchConfiguration> launchConfiguration();
  /// Whether the environment, else the resource, names a relay whose address leads to an HTTP base address. Asks for no
  /// credentials: a locked keychain does not make the relay unconfigured.
  [[nodiscard]] bool isRelayConfigured() const;
  [[nodiscard]] std::optional<InstallationSecrets> installationSecrets(const std::optional<std::string>& seed);
  [[nodiscard]] std::optional<PairingPayload> payload();
  [[nodiscard]] std::optional<std::string> cachedCredentialError() const { return cache_.credentialError(); }
  /// Forgets this installation's identity; the next request creates a new one, so every paired phone loses it.
  void rotateInstallationIdentity();

 private:
  /// As configured: the pairing id is only a seed.
  [[nodiscard]] std::optional<RelayLaunchConfiguration> configuredLaunch() const;
  [[nodiscard]] bool storeInKeychain(ByteView data);

  Dependencies dependencies_;
  MacKeychainStore keychainStore_;
  PairingConfigurationCache cache_;
};

}  // namespace tallyfox
