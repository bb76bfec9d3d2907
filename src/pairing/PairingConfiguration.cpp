#include "pairing/PairingConfiguration.hpp"

#include <utility>

#include "base/Url.hpp"
#include "model/RelayAddress.hpp"

namespace tallyfox {
namespace {

constexpr const char* keychainAccount = MacKeychainStore::secretsAccount;
constexpr const char* resourceName = "RelayConfig";

/// The newer variable wins even when it is empty.
std::optional<std::string> newerOrOlder(Environment& environment, const std::string& name) {
  if (auto newer = environment.value("TALLYFOX_" + name)) return newer;
  return environment.value("QUARRYSTONE_" + name);
}

std::optional<RelayLaunchConfiguration> unlessEmpty(RelayLaunchConfiguration configuration) {
  if (configuration.relayURL.empty() || configuration.pairingID.empty()) return std::nullopt;
  return configuration;
}

}  // namespace

PairingConfiguration::PairingConfiguration(Dependencies dependencies)
    : dependencies_(dependencies), keychainStore_(dependencies.keychain, dependencies.console) {}

std::optional<RelayLaunchConfiguration> PairingConfiguration::environmentConfiguration() const {
  auto relayURL = newerOrOlder(dependencies_.environment, "RELAY_URL");
  auto pairingID = newerOrOlder(dependencies_.environment, "PAIRING_ID");
  if (!relayURL || !pairingID) return std::nullopt;
  return unlessEmpty({.relayURL = *std::move(relayURL), .pairingID = *std::move(pairingID)});
}

std::optional<RelayLaunchConfiguration> PairingConfiguration::bundledConfiguration() const {
  const auto resource = dependencies_.bundle.propertyList(resourceName);
  if (!resource) return std::nullopt;
  const auto refuse = [&](const std::string& reason) {
    dependencies_.console.printLine("Unable to read bundled relay configuration: " + reason);
    return std::nullopt;
  };
  if (!*resource) return refuse(resource->error());
  RelayLaunchConfiguration configuration;
  for (const auto& [key, field] :
       {std::pair{"relayURL", &configuration.relayURL}, {"pairingID", &configuration.pairingID}}) {
    const auto member = (*resource)->find(key);
    if (member == (*resource)->end()) return refuse(std::string("The text \"") + key + "\" is missing.");
    *field = member->second;
  }
  return unlessEmpty(std::move(configuration));
}

std::optional<RelayLaunchConfiguration> PairingConfiguration::configuredLaunch() const {
  auto configuration = environmentConfiguration();
  return configuration ? configuration : bundledConfiguration();
}

std::optional<RelayLaunchConfiguration> PairingConfiguration::launchConfiguration() {
  if (auto cached = cache_.launchConfiguration()) return cached;
  auto configuration = configuredLaunch();
  if (!configuration) return std::nullopt;
  const auto secrets = installationSecrets(configuration->pairingID);
  if (!secrets) return std::nullopt;
  configuration->pairingID = secrets->pairingID;
  cache_.setLaunchConfiguration(*configuration);
  return configuration;
}

bool PairingConfiguration::isRelayConfigured() const {
  const auto configuration = configuredLaunch();
  if (!configuration) return false;
  const auto base = backendBaseURL(configuration->relayURL);
  return base && Url::parsed(*base).has_value();
}

std::optional<InstallationSecrets> PairingConfiguration::installationSecrets(const std::optional<std::string>& seed) {
  if (auto cached = cache_.installationSecrets()) return cached;
  const InstallationSecretStorage storage{.defaults = dependencies_.defaults,
                                          .defaultsKey = secret_keys::installationSecrets,
                                          .readKeychain = [this] { return keychainStore_.readData(keychainAccount); },
                                          .writeKeychain = [this](ByteView data) { return storeInKeychain(data); }};
  auto secrets = storage.loadOrCreate(seed);
  if (!secrets) {
    const std::string reason = description(secrets.error());
    cache_.setCredentialError(reason);
    dependencies_.console.printLine("Unable to load pairing credentials: " + reason);
    return std::nullopt;
  }
  dependencies_.defaults.removeObject(secret_keys::perInstallPairingID);
  dependencies_.defaults.removeObject(secret_keys::perInstallE2eSecret);
  cache_.setInstallationSecrets(*secrets);
  return *std::move(secrets);
}

bool PairingConfiguration::storeInKeychain(ByteView data) {
  if (!keychainStore_.set(data, keychainAccount, true)) return keychainStore_.set(data, keychainAccount, false);
  keychainStore_.remove(keychainAccount, false);
  return true;
}

std::optional<PairingPayload> PairingConfiguration::payload() {
  if (auto cached = cache_.pairingPayload()) return cached;
  const auto configuration = launchConfiguration();
  if (!configuration) return std::nullopt;
  auto base = backendBaseURL(configuration->relayURL);
  if (!base) return std::nullopt;
  const InstallationSecrets secrets = installationSecrets(std::nullopt).value_or(InstallationSecrets{});
  PairingPayload payload;
  payload.backendURL = *std::move(base);
  payload.pairingID = configuration->pairingID;
  payload.relaySecret = secrets.relayAuthToken;
  payload.e2eSecret = secrets.e2eSecret;
  cache_.setPairingPayload(payload);
  return payload;
}

void PairingConfiguration::rotateInstallationIdentity() {
  dependencies_.defaults.removeObject(secret_keys::perInstallPairingID);
  dependencies_.defaults.removeObject(secret_keys::perInstallE2eSecret);
  dependencies_.defaults.removeObject(secret_keys::installationSecrets);
  keychainStore_.remove(keychainAccount, true);
  keychainStore_.remove(keychainAccount, false);
  cache_.reset();
}

}  // namespace tallyfox
