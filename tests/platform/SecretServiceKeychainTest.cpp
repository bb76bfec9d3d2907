// The desktop's keyring as a keychain: what is kept, what its absence, its lock, its silence and its end look like, and
// that no dialog is ever opened. The real daemon runs on a bus and in folders of the test's own.

#include "platform/linux/SecretServiceKeychain.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <thread>

#include "pairing/PairingConfiguration.hpp"
#include "platform/KeyringDaemon.hpp"
#include "platform/PromptingSecretService.hpp"
#include "platform/linux/FileKeychain.hpp"
#include "platform/linux/LinuxKeychain.hpp"
#include "platform/memory/MemoryServices.hpp"

namespace tallyfox::linux_os {
namespace {

using namespace keychain_status;
using testing::HasSubstr;
using testing::IsEmpty;

std::chrono::milliseconds timeOf(const std::function<void()>& work) {
  const auto start = std::chrono::steady_clock::now();
  work();
  return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - start);
}

class SecretServiceKeychainTest : public testing::Test {
 protected:
  void expectEveryCallToGive(KeychainStatus status) {
    EXPECT_EQ(keychain.copyMatching(item), std::unexpected(status));
    EXPECT_EQ(keychain.update(item, value), status);
    EXPECT_EQ(keychain.add(item, value), status);
    EXPECT_EQ(keychain.remove(item), status);
  }
  /// Everything but the silence itself is quick, so that a hanging keyring costs its few seconds and no more.
  void expectSilenceToBeBounded() {
    std::expected<Bytes, KeychainStatus> answer;
    const auto time = timeOf([&] { answer = keychain.copyMatching(item); });
    EXPECT_EQ(answer, std::unexpected(notAvailable));
    EXPECT_GE(time, std::chrono::milliseconds(2900));
    EXPECT_LT(time, std::chrono::milliseconds(4500));
  }

  PrivateBus bus;
  KeyringDaemon keyring{bus};
  SecretServiceKeychain keychain{bus.address()};
  KeychainItem item{"com.tallyfox.agent", "secrets-v1", true};
  Bytes value{'{', 0, 255, 10, 13, '}', 0};
};

TEST_F(SecretServiceKeychainTest, keepsTheExactBytesThroughALoginAndTheNext) {
  keyring.startUnlocked();
  Bytes large(100'000);
  for (std::size_t i = 0; i < large.size(); ++i)
    large[i] = static_cast<std::uint8_t>(i * 7);
  EXPECT_EQ(keychain.add(item, value), success);
  EXPECT_EQ(keychain.add({item.service, "large", true}, large), success);
  keyring.end();
  keyring.startUnlocked();
  EXPECT_EQ(keychain.copyMatching(item), value);
  EXPECT_EQ(keychain.copyMatching({item.service, "large", true}), large);
}

TEST_F(SecretServiceKeychainTest, saysWhatAnItemIsToTheOwnerWhoLooks) {
  keyring.startUnlocked();
  EXPECT_EQ(keychain.add(item, copyOfBytes("readable")), success);
  const std::string command = "DBUS_SESSION_BUS_ADDRESS=" + bus.address() +
                              " secret-tool search --all service com.tallyfox.agent account secrets-v1 2>&1";
  FILE* output = ::popen(command.c_str(), "r");
  ASSERT_NE(output, nullptr);
  std::string text(4096, '\0');
  text.resize(std::fread(text.data(), 1, text.size(), output));
  EXPECT_EQ(::pclose(output), 0);
  EXPECT_THAT(text, HasSubstr("label = Tallyfox (secrets-v1)\n"));
  EXPECT_THAT(text, HasSubstr("secret = readable\n"));
  EXPECT_THAT(text, HasSubstr("schema = com.tallyfox.agent\n"));
}

TEST_F(SecretServiceKeychainTest, isMissingWithoutASessionBus) {
  for (const std::string address : {"", "unix:path=/nonexistent/bus", "no address"}) {
    keychain = SecretServiceKeychain(address);
    expectEveryCallToGive(missingEntitlement);
  }
}

TEST_F(SecretServiceKeychainTest, isMissingWithoutAService) {
  expectEveryCallToGive(missingEntitlement);
}

TEST_F(SecretServiceKeychainTest, isMissingWithoutADefaultCollection) {
  keyring.startLocked();
  expectEveryCallToGive(missingEntitlement);
}

TEST_F(SecretServiceKeychainTest, needsItsOwnerWhileTheCollectionIsLocked) {
  keyring.startUnlocked();
  EXPECT_EQ(keychain.add(item, value), success);
  keyring.lock();
  expectEveryCallToGive(interactionNotAllowed);
  keyring.unlock();
  EXPECT_EQ(keychain.copyMatching(item), value);
}

TEST_F(SecretServiceKeychainTest, doesNotCallAnItemMissingThatALockedCollectionMayHide) {
  keyring.startUnlocked();
  keyring.end();
  keyring.startLocked();
  expectEveryCallToGive(interactionNotAllowed);
  keyring.unlock();
  EXPECT_EQ(keychain.copyMatching(item), std::unexpected(itemNotFound));
}

TEST_F(SecretServiceKeychainTest, opensNoDialogForAKeyringThatLocksBetweenTwoCalls) {
  const PromptingSecretService service(bus);
  EXPECT_EQ(keychain.add(item, value), interactionNotAllowed);
  EXPECT_EQ(keychain.remove(item), interactionNotAllowed);
  EXPECT_EQ(service.refusedCalls(), 2);
  EXPECT_EQ(service.promptsShown(), 0);
}

TEST_F(SecretServiceKeychainTest, givesUpOnAKeyringThatHangsAndGoesOnWithItLater) {
  keyring.startUnlocked();
  EXPECT_EQ(keychain.add(item, value), success);
  keyring.setStopped(true);
  expectSilenceToBeBounded();
  keyring.setStopped(false);
  EXPECT_EQ(keychain.copyMatching(item), value);
}

TEST_F(SecretServiceKeychainTest, givesUpOnABusThatHangs) {
  keyring.startUnlocked();
  bus.setStopped(true);
  expectSilenceToBeBounded();
  bus.setStopped(false);
  EXPECT_EQ(keychain.add(item, value), success);
}

TEST_F(SecretServiceKeychainTest, isUnavailableWhenTheKeyringEndsAmidACall) {
  for (const std::string_view last : {"GetAll", "ReadAlias"}) {
    const BusProgram dying(bus, "org.freedesktop.secrets", "/org/freedesktop/secrets", [last](sd_bus_message* call) {
      if (sd_bus_message_get_member(call) != last) return sd_bus_reply_method_return(call, "a{sv}", 0);
      sd_bus_close(sd_bus_message_get_bus(call));
      return 1;
    });
    std::expected<Bytes, KeychainStatus> answer;
    EXPECT_LT(timeOf([&] { answer = keychain.copyMatching(item); }), std::chrono::milliseconds(1500)) << last;
    EXPECT_EQ(answer, std::unexpected(notAvailable)) << last;
  }
}

TEST_F(SecretServiceKeychainTest, findsAKeyringThatWasKilledAndStartedAgain) {
  keyring.startUnlocked();
  EXPECT_EQ(keychain.add(item, value), success);
  keyring.end();
  expectEveryCallToGive(missingEntitlement);
  keyring.startLocked();
  expectEveryCallToGive(interactionNotAllowed);
  keyring.unlock();
  EXPECT_EQ(keychain.copyMatching(item), value);
}

TEST_F(SecretServiceKeychainTest, servesAnyThreadAndLeavesNothingOpen) {
  keyring.startUnlocked();
  EXPECT_EQ(keychain.add(item, value), success);
  const auto openFiles = [] {
    return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), std::filesystem::directory_iterator{});
  };
  const auto before = openFiles();
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i)
    threads.emplace_back([this] {
      for (int round = 0; round < 5; ++round)
        EXPECT_EQ(keychain.copyMatching(item), value);
    });
  for (auto& thread : threads)
    thread.join();
  for (int round = 0; round < 400 && openFiles() > before; ++round)
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  EXPECT_LE(openFiles(), before);
}

TEST_F(SecretServiceKeychainTest, takesNoNameThatIsNoText) {
  keyring.startUnlocked();
  for (const std::string& name : {std::string("a\0b", 3), std::string("\xff")}) {
    item.account = name;
    expectEveryCallToGive(notAvailable);
  }
}

TEST(SessionBusAddress, isTheVariableElseTheBusOfTheRuntimeFolder) {
  memory::MemoryEnvironment environment;
  EXPECT_EQ(sessionBusAddress(environment), "");
  environment.set("XDG_RUNTIME_DIR", "relative");
  EXPECT_EQ(sessionBusAddress(environment), "");
  environment.set("XDG_RUNTIME_DIR", "/run/user/10,00");
  EXPECT_EQ(sessionBusAddress(environment), "unix:path=/run/user/10%2C00/bus");
  environment.set("DBUS_SESSION_BUS_ADDRESS", "");
  EXPECT_EQ(sessionBusAddress(environment), "unix:path=/run/user/10%2C00/bus");
  environment.set("DBUS_SESSION_BUS_ADDRESS", "unix:abstract=bus");
  EXPECT_EQ(sessionBusAddress(environment), "unix:abstract=bus");
}

/// The installation's identity, as the agent keeps it in both keychains.
class IdentityInTheKeyringTest : public testing::Test {
 protected:
  static constexpr const char* stored = R"({"e2eSecret":"e2e","pairingID":"tallyfox-older","relayAuthToken":"token"})";
  KeychainItem item(bool useDataProtectionKeychain) {
    return {"com.tallyfox.agent", "installation-secrets-v1", useDataProtectionKeychain};
  }

  PrivateBus bus;
  KeyringDaemon keyring{bus};
  SecretServiceKeychain secretService{bus.address()};
  TemporaryFolder folder;
  FileKeychain files{folder.path()};
  LinuxKeychain keychain{secretService, files};
  memory::MemoryEnvironment environment;
  memory::MemoryBundle bundle;
  memory::MemoryUserDefaults defaults;
  memory::MemoryConsole console;
  PairingConfiguration pairing{{environment, bundle, defaults, keychain, console}};
};

TEST_F(IdentityInTheKeyringTest, isMadeInTheKeyringWhereThereIsOne) {
  keyring.startUnlocked();
  const auto secrets = pairing.installationSecrets(std::nullopt);
  ASSERT_TRUE(secrets);
  EXPECT_EQ(keychain.copyMatching(item(true)), copyOfBytes(jsonText(secrets->json())));
  EXPECT_EQ(keychain.copyMatching(item(false)), std::unexpected(itemNotFound));
  EXPECT_THAT(console.lines(), IsEmpty());
}

TEST_F(IdentityInTheKeyringTest, isMadeInAFileWithoutAWordWhereThereIsNoKeyring) {
  ASSERT_TRUE(pairing.installationSecrets(std::nullopt));
  EXPECT_TRUE(keychain.copyMatching(item(false)).has_value());
  EXPECT_THAT(console.lines(), IsEmpty());
}

TEST_F(IdentityInTheKeyringTest, waitsForALockedKeyringAndIsTheSameAfterwards) {
  keyring.startUnlocked();
  ASSERT_EQ(secretService.add(item(true), bytesOf(stored)), success);
  keyring.lock();
  const std::string reason = "Keychain is unavailable (-25308). Unlock the login keychain and reopen Tallyfox.";
  EXPECT_EQ(pairing.installationSecrets(std::nullopt), std::nullopt);
  EXPECT_EQ(pairing.cachedCredentialError(), reason);
  EXPECT_THAT(console.lines(), testing::ElementsAre("Unable to load pairing credentials: " + reason));
  EXPECT_EQ(keychain.copyMatching(item(false)), std::unexpected(itemNotFound));

  keyring.unlock();
  const auto secrets = pairing.installationSecrets(std::nullopt);
  ASSERT_TRUE(secrets);
  EXPECT_EQ(secrets->pairingID, "tallyfox-older");
  EXPECT_EQ(pairing.cachedCredentialError(), std::nullopt);
}

TEST_F(IdentityInTheKeyringTest, staysInTheFileOfAnOwnerWhoHadNoKeyringBefore) {
  ASSERT_EQ(files.add(item(false), bytesOf(stored)), success);
  keyring.startUnlocked();
  const auto secrets = pairing.installationSecrets(std::nullopt);
  ASSERT_TRUE(secrets);
  EXPECT_EQ(secrets->pairingID, "tallyfox-older");
  EXPECT_EQ(keychain.copyMatching(item(false)), copyOfBytes(stored));
  EXPECT_EQ(keychain.copyMatching(item(true)), std::unexpected(itemNotFound));
}

TEST_F(IdentityInTheKeyringTest, leavesFileAndKeyringWhenItIsForgotten) {
  ASSERT_EQ(files.add(item(false), bytesOf(stored)), success);
  keyring.startUnlocked();
  ASSERT_EQ(secretService.add(item(true), bytesOf(stored)), success);
  pairing.rotateInstallationIdentity();
  EXPECT_EQ(keychain.copyMatching(item(false)), std::unexpected(itemNotFound));
  EXPECT_EQ(keychain.copyMatching(item(true)), std::unexpected(itemNotFound));
  const auto secrets = pairing.installationSecrets(std::nullopt);
  ASSERT_TRUE(secrets);
  EXPECT_NE(secrets->pairingID, "tallyfox-older");
  EXPECT_TRUE(keychain.copyMatching(item(true)).has_value());
}

}  // namespace
}  // namespace tallyfox::linux_os
