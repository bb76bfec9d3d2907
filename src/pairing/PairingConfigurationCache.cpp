#include <utility>

#include "pairing/PairingConfiguration.hpp"

namespace tallyfox {

std::optional<RelayLaunchConfiguration> PairingConfigurationCache::launchConfiguration() const {
  const std::scoped_lock lock(lock_);
  return launchConfiguration_;
}

void PairingConfigurationCache::setLaunchConfiguration(RelayLaunchConfiguration configuration) {
  const std::scoped_lock lock(lock_);
  launchConfiguration_ = std::move(configuration);
}

std::optional<PairingPayload> PairingConfigurationCache::pairingPayload() const {
  const std::scoped_lock lock(lock_);
  return pairingPayload_;
}

void PairingConfigurationCache::setPairingPayload(PairingPayload payload) {
  const std::scoped_lock lock(lock_);
  pairingPayload_ = std::move(payload);
}

std::optional<InstallationSecrets> PairingConfigurationCache::installationSecrets() const {
  const std::scoped_lock lock(lock_);
  return installationSecrets_;
}

void PairingConfigurationCache::setInstallationSecrets(InstallationSecrets secrets) {
  const std::scoped_lock lock(lock_);
  installationSecrets_ = std::move(secrets);
  credentialError_.reset();
}

std::optional<std::string> PairingConfigurationCache::credentialError() const {
  const std::scoped_lock lock(lock_);
  return credentialError_;
}

void PairingConfigurationCache::setCredentialError(std::string description) {
  const std::scoped_lock lock(lock_);
  credentialError_ = std::move(description);
}

void PairingConfigurationCache::reset() {
  const std::scoped_lock lock(lock_);
  launchConfiguration_.reset();
  pairingPayload_.reset();
  installationSecrets_.reset();
  credentialError_.reset();
}

}  // namespace tallyfox
