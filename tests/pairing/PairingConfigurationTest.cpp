// Which relay and which identity the agent uses: environment before resource, a cache that is worked out anew only
// after a rotation, and credential failures that are printed, remembered and forgotten again.

#include "pairing/PairingConfiguration.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <string>

#include "platform/memory/MemoryServices.hpp"

namespace tallyfox {
namespace {

using memory::MemoryKeychain;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::MatchesRegex;
using testing::StartsWith;
using Members = std::map<std::string, std::string>;

class PairingConfigurationTest : public testing::Test {
 protected:
  void setEnvironment(const std::string& url, const std::string& seed) {
    environment.set("TALLYFOX_RELAY_URL", url);
    environment.set("TALLYFOX_PAIRING_ID", seed);
  }
  void setResource(std::expected<Members, std::string> content) {
    bundle.resources.insert_or_assign("RelayConfig", content);
  }
  KeychainItem item(bool useDataProtectionKeychain) {
    return {"com.tallyfox.agent", "installation-secrets-v1", useDataProtectionKeychain};
  }

  memory::MemoryEnvironment environment;
  memory::MemoryBundle bundle;
  memory::MemoryUserDefaults defaults;
  MemoryKeychain keychain;
  memory::MemoryConsole console;
  PairingConfiguration pairing{{environment, bundle, defaults, keychain, console}};
};

TEST_F(PairingConfigurationTest, readsTheEnvironmentUnderBothPrefixes) {
  environment.set("QUARRYSTONE_RELAY_URL", "wss://older.example.com");
  environment.set("QUARRYSTONE_PAIRING_ID", "older");
  EXPECT_EQ(pairing.environmentConfiguration(), (RelayLaunchConfiguration{"wss://older.example.com", "older"}));
  setEnvironment("wss://newer.example.com", "newer");
  EXPECT_EQ(pairing.environmentConfiguration(), (RelayLaunchConfiguration{"wss://newer.example.com", "newer"}));
}

TEST_F(PairingConfigurationTest, needsAddressAndSeed) {
  EXPECT_EQ(pairing.environmentConfiguration(), std::nullopt);
  environment.set("TALLYFOX_RELAY_URL", "wss://relay.example.com");
  EXPECT_EQ(pairing.environmentConfiguration(), std::nullopt);
  environment.set("TALLYFOX_PAIRING_ID", "");
  EXPECT_EQ(pairing.environmentConfiguration(), std::nullopt);
}

TEST_F(PairingConfigurationTest, letsAnEmptyNewerAddressDisableTheEnvironment) {
  environment.set("TALLYFOX_RELAY_URL", "");
  environment.set("QUARRYSTONE_RELAY_URL", "wss://older.example.com");
  environment.set("TALLYFOX_PAIRING_ID", "seed");
  EXPECT_EQ(pairing.environmentConfiguration(), std::nullopt);
  setResource(Members{{"relayURL", "wss://bundled.example.com"}, {"pairingID", "bundled"}});
  EXPECT_EQ(pairing.launchConfiguration()->relayURL, "wss://bundled.example.com");
}

TEST_F(PairingConfigurationTest, letsAnEmptyNewerSeedDisableTheEnvironment) {
  environment.set("TALLYFOX_RELAY_URL", "wss://newer.example.com");
  environment.set("TALLYFOX_PAIRING_ID", "");
  environment.set("QUARRYSTONE_PAIRING_ID", "older");
  EXPECT_EQ(pairing.environmentConfiguration(), std::nullopt);
}

TEST_F(PairingConfigurationTest, mixesNewerAndOlderNames) {
  environment.set("TALLYFOX_RELAY_URL", "wss://newer.example.com");
  environment.set("QUARRYSTONE_RELAY_URL", "wss://older.example.com");
  environment.set("QUARRYSTONE_PAIRING_ID", "older");
  EXPECT_EQ(pairing.environmentConfiguration(), (RelayLaunchConfiguration{"wss://newer.example.com", "older"}));
}

TEST_F(PairingConfigurationTest, prefersTheEnvironmentToTheResource) {
  setResource(Members{{"relayURL", "wss://bundled.example.com"}, {"pairingID", "bundled"}});
  setEnvironment("wss://relay.example.com", "seed");
  EXPECT_EQ(pairing.launchConfiguration()->relayURL, "wss://relay.example.com");
}

TEST_F(PairingConfigurationTest, looksAgainWhileNothingIsConfigured) {
  EXPECT_EQ(pairing.launchConfiguration(), std::nullopt);
  EXPECT_THAT(keychain.calls(), IsEmpty()) << "no identity is made for no relay";
  EXPECT_THAT(console.lines(), IsEmpty());
  setEnvironment("wss://relay.example.com", "seed");
  EXPECT_TRUE(pairing.launchConfiguration().has_value());
}

TEST_F(PairingConfigurationTest, doesNotTrimTheEnvironment) {
  setEnvironment(" ", "seed");
  EXPECT_EQ(pairing.environmentConfiguration(), (RelayLaunchConfiguration{" ", "seed"}));
}

TEST_F(PairingConfigurationTest, readsTheResourceSilently) {
  EXPECT_EQ(pairing.bundledConfiguration(), std::nullopt);
  setResource(Members{{"relayURL", "wss://bundled.example.com"}, {"pairingID", "bundled"}, {"other", "x"}});
  EXPECT_EQ(pairing.bundledConfiguration(), (RelayLaunchConfiguration{"wss://bundled.example.com", "bundled"}));
  setResource(Members{{"relayURL", ""}, {"pairingID", "bundled"}});
  EXPECT_EQ(pairing.bundledConfiguration(), std::nullopt);
  setResource(Members{{"relayURL", "wss://bundled.example.com"}, {"pairingID", ""}});
  EXPECT_EQ(pairing.bundledConfiguration(), std::nullopt);
  EXPECT_THAT(console.lines(), IsEmpty());
}

TEST_F(PairingConfigurationTest, printsAnUnreadableResource) {
  setResource(std::unexpected("The file is damaged."));
  EXPECT_EQ(pairing.bundledConfiguration(), std::nullopt);
  EXPECT_THAT(console.lines(), ElementsAre("Unable to read bundled relay configuration: The file is damaged."));
}

TEST_F(PairingConfigurationTest, printsAResourceWithoutPairingIdAndIgnoresIt) {
  setResource(Members{{"relayURL", "wss://bundled.example.com"}});
  EXPECT_EQ(pairing.launchConfiguration(), std::nullopt);
  EXPECT_THAT(console.lines(), ElementsAre(StartsWith("Unable to read bundled relay configuration: ")));
}

TEST_F(PairingConfigurationTest, usesTheSeedForANewIdentityOnly) {
  setEnvironment("wss://relay.example.com/socket", "Office Mac-42");
  const auto configuration = pairing.launchConfiguration();
  ASSERT_TRUE(configuration.has_value());
  EXPECT_EQ(configuration->relayURL, "wss://relay.example.com/socket");
  EXPECT_THAT(configuration->pairingID, MatchesRegex("office-mac-[0-9a-f]{32}"));
  EXPECT_EQ(configuration->pairingID, pairing.installationSecrets(std::nullopt)->pairingID);
}

TEST_F(PairingConfigurationTest, worksTheConfigurationOutOnce) {
  setEnvironment("wss://relay.example.com", "seed");
  const auto first = pairing.launchConfiguration();
  const auto calls = keychain.calls().size();
  environment.set("TALLYFOX_RELAY_URL", "wss://other.example.com");
  EXPECT_EQ(pairing.launchConfiguration(), first);
  EXPECT_EQ(keychain.calls().size(), calls);
}

TEST_F(PairingConfigurationTest, readsTheEnvironmentAgainAfterARotation) {
  setEnvironment("wss://relay.example.com", "seed");
  const auto first = pairing.launchConfiguration();
  environment.set("TALLYFOX_RELAY_URL", "wss://other.example.com");
  pairing.rotateInstallationIdentity();
  const auto second = pairing.launchConfiguration();
  EXPECT_EQ(second->relayURL, "wss://other.example.com");
  EXPECT_NE(second->pairingID, first->pairingID);
}

TEST(PairingConfigurationCache, isEmptyAfterAReset) {
  PairingConfigurationCache cache;
  cache.setLaunchConfiguration({"wss://relay.example.com", "id"});
  cache.setPairingPayload({});
  cache.setInstallationSecrets({"a", "b", "c"});
  cache.setCredentialError("locked");
  cache.reset();
  EXPECT_EQ(cache.launchConfiguration(), std::nullopt);
  EXPECT_EQ(cache.pairingPayload(), std::nullopt);
  EXPECT_EQ(cache.installationSecrets(), std::nullopt);
  EXPECT_EQ(cache.credentialError(), std::nullopt);
}

TEST_F(PairingConfigurationTest, storesInTheDataProtectionKeychainAndClearsTheLegacyCopy) {
  keychain.failNext(MemoryKeychain::Operation::copyMatching, false, keychain_status::itemNotFound);
  keychain.put(item(false), copyOfBytes("left over"));
  ASSERT_TRUE(pairing.installationSecrets(std::nullopt).has_value());
  EXPECT_TRUE(keychain.stored(item(true)).has_value());
  EXPECT_EQ(keychain.stored(item(false)), std::nullopt);
  EXPECT_THAT(console.lines(), IsEmpty());
}

TEST_F(PairingConfigurationTest, storesInTheLegacyKeychainWhenTheOtherFailsAloud) {
  keychain.failNext(MemoryKeychain::Operation::update, true, -25293);
  ASSERT_TRUE(pairing.installationSecrets(std::nullopt).has_value());
  EXPECT_FALSE(keychain.stored(item(true)).has_value());
  EXPECT_TRUE(keychain.stored(item(false)).has_value());
  EXPECT_THAT(console.lines(), ElementsAre("Unable to update installation-secrets-v1 in Keychain: -25293"));
}

TEST_F(PairingConfigurationTest, storesNowhereWhenBothKeychainsFail) {
  keychain.setDataProtectionAvailable(false);
  keychain.failNext(MemoryKeychain::Operation::add, false, -25293);
  EXPECT_EQ(pairing.installationSecrets(std::nullopt), std::nullopt);
  EXPECT_THAT(
      console.lines(),
      ElementsAre("Unable to save installation-secrets-v1 in Keychain: -25293",
                  "Unable to load pairing credentials: Pairing credentials could not be saved to Keychain. Unlock the "
                  "login keychain and reopen Tallyfox."));
}

TEST_F(PairingConfigurationTest, usesSecretsWhoseLegacyCopyCannotBeDeleted) {
  keychain.failNext(MemoryKeychain::Operation::remove, false, -25293);
  EXPECT_TRUE(pairing.installationSecrets(std::nullopt).has_value());
  EXPECT_THAT(console.lines(), ElementsAre("Unable to delete installation-secrets-v1 from Keychain: -25293"));
}

TEST_F(PairingConfigurationTest, storesInTheLegacyKeychainWithoutTheOther) {
  keychain.setDataProtectionAvailable(false);
  ASSERT_TRUE(pairing.installationSecrets(std::nullopt).has_value());
  EXPECT_TRUE(keychain.stored(item(false)).has_value());
  EXPECT_THAT(console.lines(), IsEmpty());
}

TEST_F(PairingConfigurationTest, removesTheOlderKeysOnceTheyAreMoved) {
  defaults.setObject(secret_keys::perInstallPairingID, std::string("older-pairing"));
  defaults.setObject(secret_keys::perInstallE2eSecret, std::string("older secret"));
  const auto secrets = pairing.installationSecrets("seed");
  ASSERT_TRUE(secrets.has_value());
  EXPECT_EQ(secrets->pairingID, "older-pairing");
  EXPECT_EQ(secrets->e2eSecret, "older secret");
  EXPECT_EQ(secrets->relayAuthToken.size(), 64U);
  EXPECT_THAT(defaults.values(), IsEmpty());
}

TEST_F(PairingConfigurationTest, removesTheOlderKeysAlsoWhenTheKeychainHasSecrets) {
  const InstallationSecrets secrets{"tallyfox-1", "token", "secret"};
  keychain.put(item(true), copyOfBytes(jsonText(secrets.json())));
  for (const char* key :
       {secret_keys::installationSecrets, secret_keys::perInstallPairingID, secret_keys::perInstallE2eSecret}) {
    defaults.setObject(key, std::string("x"));
  }
  EXPECT_EQ(pairing.installationSecrets("seed"), secrets);
  EXPECT_THAT(defaults.values(), IsEmpty());
}

TEST_F(PairingConfigurationTest, keepsTheOlderKeysWhenTheKeychainCannotSave) {
  defaults.setObject(secret_keys::perInstallE2eSecret, std::string("older secret"));
  keychain.corruptReads(true);
  EXPECT_EQ(pairing.installationSecrets(std::nullopt), std::nullopt);
  EXPECT_TRUE(defaults.object(secret_keys::perInstallE2eSecret).has_value());
}

TEST_F(PairingConfigurationTest, printsAndRemembersACredentialFailureUntilTheNextSuccess) {
  setEnvironment("wss://relay.example.com", "seed");
  keychain.failNext(MemoryKeychain::Operation::copyMatching, true, keychain_status::notAvailable);
  EXPECT_EQ(pairing.launchConfiguration(), std::nullopt);
  const std::string reason = "Keychain is unavailable (-25291). Unlock the login keychain and reopen Tallyfox.";
  EXPECT_EQ(pairing.cachedCredentialError(), reason);
  EXPECT_THAT(console.lines(), ElementsAre("Unable to load pairing credentials: " + reason));
  EXPECT_TRUE(pairing.launchConfiguration().has_value());
  EXPECT_EQ(pairing.cachedCredentialError(), std::nullopt);
}

TEST_F(PairingConfigurationTest, saysWhetherTheRelayIsConfigured) {
  EXPECT_FALSE(pairing.isRelayConfigured());
  setEnvironment("wss://relay.example.com:bad", "seed");
  EXPECT_FALSE(pairing.isRelayConfigured());
  pairing.rotateInstallationIdentity();
  setEnvironment("wss://relay.example.com", "seed");
  EXPECT_TRUE(pairing.isRelayConfigured());
}

TEST_F(PairingConfigurationTest, asksForNoCredentialsToSayWhetherTheRelayIsConfigured) {
  setResource(Members{{"relayURL", "wss://relay.example.com"}, {"pairingID", "seed"}});
  EXPECT_TRUE(pairing.isRelayConfigured());
  EXPECT_THAT(keychain.calls(), IsEmpty());
}

TEST_F(PairingConfigurationTest, buildsThePayloadFromAddressAndSecrets) {
  setEnvironment("wss://relay.example.com:8443/socket?x=1", "seed");
  const auto payload = pairing.payload();
  ASSERT_TRUE(payload.has_value());
  const auto secrets = pairing.installationSecrets(std::nullopt);
  EXPECT_EQ(payload->backendURL, "https://relay.example.com:8443");
  EXPECT_EQ(payload->pairingID, secrets->pairingID);
  EXPECT_EQ(payload->relaySecret, secrets->relayAuthToken);
  EXPECT_EQ(payload->e2eSecret, secrets->e2eSecret);
}

TEST_F(PairingConfigurationTest, givesTheSamePayloadUntilTheIdentityRotates) {
  setEnvironment("wss://relay.example.com", "seed");
  const auto first = pairing.payload();
  EXPECT_EQ(pairing.payload(), first);
  pairing.rotateInstallationIdentity();
  const auto second = pairing.payload();
  EXPECT_NE(second->pairingID, first->pairingID);
  EXPECT_NE(second->relaySecret, first->relaySecret);
  EXPECT_NE(second->e2eSecret, first->e2eSecret);
}

TEST_F(PairingConfigurationTest, worksThePayloadOutOnceUntilTheIdentityRotates) {
  setEnvironment("wss://relay.example.com", "seed");
  const auto first = pairing.payload();
  setEnvironment("wss://other.example.com", "seed");
  EXPECT_EQ(pairing.payload(), first);
  pairing.rotateInstallationIdentity();
  EXPECT_EQ(pairing.payload()->backendURL, "https://other.example.com");
}

TEST_F(PairingConfigurationTest, hasNoPayloadForAnAddressThatLeadsNowhere) {
  setEnvironment("wss://relay.example.com:bad", "seed");
  EXPECT_EQ(pairing.payload(), std::nullopt);
}

TEST_F(PairingConfigurationTest, hasNoPayloadWithoutARelay) {
  EXPECT_EQ(pairing.payload(), std::nullopt);
}

TEST_F(PairingConfigurationTest, forgetsTheIdentityEverywhereOnRotation) {
  keychain.put(item(true), copyOfBytes("x"));
  keychain.put(item(false), copyOfBytes("x"));
  for (const char* key :
       {secret_keys::installationSecrets, secret_keys::perInstallPairingID, secret_keys::perInstallE2eSecret}) {
    defaults.setObject(key, std::string("x"));
  }
  pairing.rotateInstallationIdentity();
  EXPECT_EQ(keychain.stored(item(true)), std::nullopt);
  EXPECT_EQ(keychain.stored(item(false)), std::nullopt);
  EXPECT_THAT(defaults.values(), IsEmpty());
}

TEST_F(PairingConfigurationTest, printsWhatARotationCannotDeleteAndForgetsTheRest) {
  setEnvironment("wss://relay.example.com", "seed");
  const auto first = pairing.launchConfiguration();
  ASSERT_TRUE(first.has_value());
  keychain.failNext(MemoryKeychain::Operation::remove, false, -25293);
  pairing.rotateInstallationIdentity();
  EXPECT_THAT(console.lines(), ElementsAre("Unable to delete installation-secrets-v1 from Keychain: -25293"));
  EXPECT_NE(pairing.launchConfiguration()->pairingID, first->pairingID);
}

TEST_F(PairingConfigurationTest, forgetsTheCredentialFailureOnRotation) {
  keychain.failNext(MemoryKeychain::Operation::copyMatching, true, keychain_status::notAvailable);
  EXPECT_EQ(pairing.installationSecrets(std::nullopt), std::nullopt);
  ASSERT_TRUE(pairing.cachedCredentialError().has_value());
  pairing.rotateInstallationIdentity();
  EXPECT_EQ(pairing.cachedCredentialError(), std::nullopt);
}

}  // namespace
}  // namespace tallyfox
