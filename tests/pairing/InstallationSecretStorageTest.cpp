// Loading, migrating and creating the installation's secrets: nothing counts before it is stored and read back, and
// nothing stored is ever overwritten because it could not be read.

#include "pairing/InstallationSecretStorage.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "base/IllFormedJson.hpp"
#include "platform/memory/MemoryServices.hpp"

namespace tallyfox {
namespace {

using testing::MatchesRegex;

const InstallationSecrets known{"tallyfox-known", "known token", "known secret"};
Bytes encoded(const InstallationSecrets& secrets) {
  return copyOfBytes(jsonText(secrets.json()));
}

class InstallationSecretStorageTest : public testing::Test {
 protected:
  std::expected<InstallationSecrets, SecretsError> load(const std::optional<std::string>& seed = std::nullopt) {
    const InstallationSecretStorage storage{
        .defaults = defaults,
        .defaultsKey = secret_keys::installationSecrets,
        .readKeychain = [this]() -> std::expected<std::optional<Bytes>, KeychainError> {
          if (readFailure != 0) return std::unexpected(KeychainError{readFailure});
          if (writes > 0 && readBackFailure != 0) return std::unexpected(KeychainError{readBackFailure});
          return item;
        },
        .writeKeychain =
            [this](ByteView data) {
              ++writes;
              if (!writable) return false;
              if (losesWrites) return true;
              item = Bytes(data.begin(), data.end());
              if (alterWrites) item->push_back(' ');
              return !deniesWrites;
            }};
    return storage.loadOrCreate(seed);
  }
  bool hasPreference(const char* key) { return defaults.object(key).has_value(); }

  memory::MemoryUserDefaults defaults;
  std::optional<Bytes> item;
  KeychainStatus readFailure = 0;
  bool writable = true;
  KeychainStatus readBackFailure = 0;
  bool alterWrites = false;
  bool losesWrites = false;
  bool deniesWrites = false;  ///< although they happen
  int writes = 0;
};

TEST_F(InstallationSecretStorageTest, givesWhatTheKeychainHoldsAndForgetsTheOlderCopy) {
  item = encoded(known);
  defaults.setObject(secret_keys::installationSecrets, encoded({"old", "old", "old"}));
  EXPECT_EQ(load(), known);
  EXPECT_FALSE(hasPreference(secret_keys::installationSecrets));
  EXPECT_EQ(writes, 0);
}

TEST_F(InstallationSecretStorageTest, passesAFailedReadOn) {
  readFailure = keychain_status::notAvailable;
  EXPECT_EQ(load(), std::unexpected(SecretsError(KeychainError{keychain_status::notAvailable})));
  EXPECT_EQ(writes, 0);
}

TEST_F(InstallationSecretStorageTest, refusesAnUnreadableOrUnusableItemWithoutOverwritingIt) {
  for (const std::string text : {"rubbish", "{}", R"({"pairingID":"p","relayAuthToken":"t","e2eSecret":""})"}) {
    item = copyOfBytes(text);
    const auto loaded = load();
    ASSERT_EQ(loaded, std::unexpected(SecretsError(StorageError::invalidStoredSecrets))) << text;
    EXPECT_EQ(description(loaded.error()), "Stored pairing credentials could not be read.");
    EXPECT_EQ(item, copyOfBytes(text));
  }
  EXPECT_EQ(writes, 0);
}

TEST_F(InstallationSecretStorageTest, refusesEveryIllFormedItemWithoutOverwritingIt) {
  const std::string good(textOf(encoded(known)));
  for (const auto& [name, text] : illFormedJson(good)) {
    item = copyOfBytes(text);
    EXPECT_EQ(load(), std::unexpected(SecretsError(StorageError::invalidStoredSecrets))) << name;
    EXPECT_EQ(item, copyOfBytes(text)) << name;
  }
  EXPECT_EQ(writes, 0);
}

TEST_F(InstallationSecretStorageTest, movesTheCopyOfThePreferencesIntoTheKeychain) {
  defaults.setObject(secret_keys::installationSecrets, encoded(known));
  EXPECT_EQ(load(), known);
  EXPECT_EQ(item, encoded(known));
  EXPECT_FALSE(hasPreference(secret_keys::installationSecrets));
}

TEST_F(InstallationSecretStorageTest, refusesAnUnreadableCopyOfThePreferences) {
  defaults.setObject(secret_keys::installationSecrets, copyOfBytes("{\"pairingID\":1}"));
  EXPECT_EQ(load(), std::unexpected(SecretsError(StorageError::invalidStoredSecrets)));
  EXPECT_TRUE(hasPreference(secret_keys::installationSecrets));
  EXPECT_FALSE(item.has_value());
}

TEST_F(InstallationSecretStorageTest, refusesAnUnusableCopyOfThePreferences) {
  defaults.setObject(secret_keys::installationSecrets, encoded({"pairing", " ", "secret"}));
  EXPECT_EQ(load(), std::unexpected(SecretsError(StorageError::invalidStoredSecrets)));
  EXPECT_EQ(writes, 0);
}

TEST_F(InstallationSecretStorageTest, takesACopyOfThePreferencesThatIsNoBytesForNone) {
  defaults.setObject(secret_keys::installationSecrets, std::string("text"));
  const auto created = load();
  ASSERT_TRUE(created.has_value());
  EXPECT_EQ(item, encoded(*created));
  EXPECT_FALSE(hasPreference(secret_keys::installationSecrets));
}

TEST_F(InstallationSecretStorageTest, keepsTheCopyOfThePreferencesWhileTheItemIsUnreadable) {
  item = copyOfBytes("rubbish");
  defaults.setObject(secret_keys::installationSecrets, encoded(known));
  EXPECT_EQ(load(), std::unexpected(SecretsError(StorageError::invalidStoredSecrets)));
  EXPECT_TRUE(hasPreference(secret_keys::installationSecrets));
}

TEST_F(InstallationSecretStorageTest, prefersTheCopyOfThePreferencesToTheOlderValues) {
  defaults.setObject(secret_keys::installationSecrets, encoded(known));
  defaults.setObject(secret_keys::perInstallPairingID, std::string("older-pairing"));
  EXPECT_EQ(load("seed"), known);
}

TEST_F(InstallationSecretStorageTest, createsSecretsOnTheFirstStart) {
  const auto created = load("Office Mac-42");
  ASSERT_TRUE(created.has_value());
  EXPECT_THAT(created->pairingID, MatchesRegex("office-mac-[0-9a-f]{32}"));
  EXPECT_THAT(created->relayAuthToken, MatchesRegex("[0-9a-f]{64}"));
  EXPECT_THAT(created->e2eSecret, MatchesRegex("[0-9a-f]{64}"));
  EXPECT_NE(created->relayAuthToken, created->e2eSecret);
  EXPECT_EQ(item, encoded(*created));
  EXPECT_EQ(load(), created);
}

TEST_F(InstallationSecretStorageTest, keepsTheOlderPairingIdAndSecretOnTheFirstStart) {
  defaults.setObject(secret_keys::perInstallPairingID, std::string("older-pairing"));
  defaults.setObject(secret_keys::perInstallE2eSecret, std::string("older secret"));
  const auto created = load("seed");
  ASSERT_TRUE(created.has_value());
  EXPECT_EQ(created->pairingID, "older-pairing");
  EXPECT_EQ(created->e2eSecret, "older secret");
  EXPECT_THAT(created->relayAuthToken, MatchesRegex("[0-9a-f]{64}"));
}

TEST_F(InstallationSecretStorageTest, keepsOneOlderValueWithoutTheOther) {
  defaults.setObject(secret_keys::perInstallE2eSecret, std::string(" older secret "));
  const auto created = load("seed");
  ASSERT_TRUE(created.has_value());
  EXPECT_THAT(created->pairingID, MatchesRegex("seed-[0-9a-f]{32}"));
  EXPECT_EQ(created->e2eSecret, " older secret ");
}

TEST_F(InstallationSecretStorageTest, ignoresBlankAndWronglyTypedOlderValues) {
  defaults.setObject(secret_keys::perInstallPairingID, std::string(" \n"));
  defaults.setObject(secret_keys::perInstallE2eSecret, 7.0);
  const auto created = load();
  ASSERT_TRUE(created.has_value());
  EXPECT_THAT(created->pairingID, MatchesRegex("tallyfox-[0-9a-f]{32}"));
  EXPECT_THAT(created->e2eSecret, MatchesRegex("[0-9a-f]{64}"));
}

TEST_F(InstallationSecretStorageTest, doesNotUseSecretsThatCouldNotBeSaved) {
  defaults.setObject(secret_keys::installationSecrets, encoded(known));
  writable = false;
  const auto loaded = load();
  ASSERT_EQ(loaded, std::unexpected(SecretsError(StorageError::unableToSave)));
  EXPECT_EQ(description(loaded.error()),
            "Pairing credentials could not be saved to Keychain. Unlock the login keychain and reopen Tallyfox.");
  EXPECT_TRUE(hasPreference(secret_keys::installationSecrets));
}

TEST_F(InstallationSecretStorageTest, doesNotUseSecretsWhoseSavingIsSaidToHaveFailed) {
  deniesWrites = true;
  EXPECT_EQ(load(), std::unexpected(SecretsError(StorageError::unableToSave)));
}

TEST_F(InstallationSecretStorageTest, doesNotUseSecretsThatReadBackDifferently) {
  alterWrites = true;
  defaults.setObject(secret_keys::installationSecrets, encoded(known));
  EXPECT_EQ(load(), std::unexpected(SecretsError(StorageError::unableToSave)));
  EXPECT_TRUE(hasPreference(secret_keys::installationSecrets));
}

TEST_F(InstallationSecretStorageTest, doesNotUseSecretsThatCannotBeReadBack) {
  defaults.setObject(secret_keys::perInstallPairingID, std::string("older-pairing"));
  losesWrites = true;
  EXPECT_EQ(load(), std::unexpected(SecretsError(StorageError::unableToSave)));
  losesWrites = false;
  writes = 0;
  readBackFailure = keychain_status::notAvailable;
  EXPECT_EQ(load(), std::unexpected(SecretsError(StorageError::unableToSave)));
  EXPECT_TRUE(hasPreference(secret_keys::perInstallPairingID)) << "it stays for the next try";
}

TEST(KeychainError, isDescribedAmongTheErrorsOfLoading) {
  EXPECT_EQ(description(SecretsError(KeychainError{-34018})),
            "Keychain is unavailable (-34018). Unlock the login keychain and reopen Tallyfox.");
}

TEST(KeychainError, namesItsStatus) {
  EXPECT_EQ(KeychainError{-25291}.description(),
            "Keychain is unavailable (-25291). Unlock the login keychain and reopen Tallyfox.");
}

}  // namespace
}  // namespace tallyfox
