// Shows that a Mac's services keep to what the seam promises: preferences, keychain, lock, environment, bundle.

#import <Foundation/Foundation.h>
#include <fmt/format.h>
#include <stdlib.h>

#include <fstream>
#include <set>

#include "base/Uuid.hpp"
#include "contract/ApplicationBundleContract.hpp"
#include "contract/EnvironmentContract.hpp"
#include "contract/InstanceLockContract.hpp"
#include "contract/KeychainContract.hpp"
#include "contract/UserDefaultsContract.hpp"
#include "platform/TemporaryFolder.hpp"
#include "platform/macos/FoundationText.hpp"
#include "platform/macos/MacDirectories.hpp"
#include "platform/macos/MacEnvironment.hpp"
#include "platform/macos/MacUserDefaults.hpp"
#include "platform/macos/MainBundle.hpp"
#include "platform/macos/SecItemKeychain.hpp"
#include "platform/posix/FlockInstanceLock.hpp"

namespace tallyfox::contract {
namespace {

/// Preferences of their own, gone with the test.
class MacDefaultsBackend {
 public:
  ~MacDefaultsBackend() {
    @autoreleasepool {
      [NSUserDefaults.standardUserDefaults removePersistentDomainForName:mac_os::foundationText(domain_)];
      CFPreferencesAppSynchronize((__bridge CFStringRef)mac_os::foundationText(domain_));
    }
  }
  UserDefaults& defaults() { return *defaults_; }
  void reopen() {
    defaults_.reset();
    CFPreferencesAppSynchronize((__bridge CFStringRef)mac_os::foundationText(domain_));
    defaults_ = std::make_unique<mac_os::MacUserDefaults>(domain_);
  }

 private:
  std::string domain_ = "org.example.contract." + Uuid::random().text();
  std::unique_ptr<mac_os::MacUserDefaults> defaults_ = std::make_unique<mac_os::MacUserDefaults>(domain_);
};
INSTANTIATE_TYPED_TEST_SUITE_P(Mac, UserDefaultsContract, MacDefaultsBackend);

/// The owner's keychains, under names that nobody else has; removes what it added.
class ThrowAwayKeychain : public Keychain {
 public:
  ~ThrowAwayKeychain() override {
    for (const auto& [service, account, isDataProtection] : added_)
      (void)real_.remove({service, account, isDataProtection});
  }
  KeychainStatus update(const KeychainItem& item, ByteView value) override { return real_.update(own(item), value); }
  KeychainStatus add(const KeychainItem& item, ByteView value) override {
    const KeychainItem mine = own(item);
    added_.emplace(mine.service, mine.account, mine.useDataProtectionKeychain);
    return real_.add(mine, value);
  }
  std::expected<Bytes, KeychainStatus> copyMatching(const KeychainItem& item) override {
    return real_.copyMatching(own(item));
  }
  KeychainStatus remove(const KeychainItem& item) override { return real_.remove(own(item)); }

 private:
  [[nodiscard]] KeychainItem own(KeychainItem item) const {
    item.service += "." + suffix_;
    return item;
  }

  mac_os::SecItemKeychain real_;
  std::string suffix_ = Uuid::random().text();
  std::set<std::tuple<std::string, std::string, bool>> added_;
};

class MacKeychainBackend {
 public:
  MacKeychainBackend() { skipWithoutKeychain(); }
  Keychain& keychain() { return keychain_; }
  /// A matter of the program's entitlements.
  [[nodiscard]] bool hasDataProtectionKeychain() const { return hasDataProtection_; }

 private:
  /// A session without a person may have no keychain that is open.
  void skipWithoutKeychain() {
    const KeychainStatus status = probe(false);
    if (status != keychain_status::success)
      GTEST_SKIP() << fmt::format("The default keychain of this session takes no item (status {}).", status);
  }
  KeychainStatus probe(bool isDataProtection) {
    const KeychainItem item{"com.tallyfox.contract.probe", "account", isDataProtection};
    const KeychainStatus status = keychain_.add(item, secondKeychainValue);
    if (status == keychain_status::success) (void)keychain_.remove(item);
    return status;
  }

  ThrowAwayKeychain keychain_;
  bool hasDataProtection_ = probe(true) == keychain_status::success;
};
INSTANTIATE_TYPED_TEST_SUITE_P(Mac, KeychainContract, MacKeychainBackend);

class MacLockBackend {
 public:
  InstanceLock& first() { return first_; }
  InstanceLock& second() { return second_; }
  void makeUnavailable() { std::filesystem::create_directory(folder_ / "contract.lock"); }

 private:
  TemporaryFolder folder_;
  posix_os::FlockInstanceLock first_{folder_.path()};
  posix_os::FlockInstanceLock second_{folder_.path()};
};
INSTANTIATE_TYPED_TEST_SUITE_P(Mac, InstanceLockContract, MacLockBackend);

TEST(MacDirectories, holdTheLockInAFolderOfThisUsersOwn) {
  const std::string directory = mac_os::temporaryDirectory();
  ASSERT_TRUE(directory.starts_with('/'));
  EXPECT_FALSE(directory.ends_with('/'));
  posix_os::FlockInstanceLock locks(directory);
  const std::string name = "tallyfox-contract-" + Uuid::random().text() + ".lock";
  EXPECT_EQ(locks.acquire(name).outcome, LockOutcome::acquired);
  EXPECT_TRUE(std::filesystem::remove(std::filesystem::path(directory) / name));
}

/// The time zone is the system's: what the process was started with would hold for its life.
class MacEnvironmentBackend {
 public:
  ~MacEnvironmentBackend() {
    for (const auto& name : touched_)
      ::unsetenv(name.c_str());
  }
  Environment& environment() { return environment_; }
  void set(const std::string& name, const std::string& value) {
    touched_.push_back(name);
    ::setenv(name.c_str(), value.c_str(), 1);
  }
  void unset(const std::string& name) { ::unsetenv(name.c_str()); }

 private:
  mac_os::MacEnvironment environment_;
  std::vector<std::string> touched_;
};
INSTANTIATE_TYPED_TEST_SUITE_P(Mac, EnvironmentContract, MacEnvironmentBackend);

/// The bundle is the folder of this very program. The system remembers what it found there, so that cases that put a
/// resource need a process each, as ctest gives them.
class MainBundleBackend {
 public:
  ~MainBundleBackend() {
    for (const auto& path : put_)
      std::filesystem::remove(path);
  }
  ApplicationBundle& bundle() { return bundle_; }
  void putResource(const std::string& name, const std::map<std::string, std::string>& members) {
    @autoreleasepool {
      NSMutableDictionary* const list = [NSMutableDictionary dictionary];
      for (const auto& [key, value] : members)
        list[mac_os::foundationText(key)] = mac_os::foundationText(value);
      NSData* const data = [NSPropertyListSerialization dataWithPropertyList:list
                                                                      format:NSPropertyListBinaryFormat_v1_0
                                                                     options:0
                                                                       error:nil];
      ASSERT_TRUE([data writeToFile:mac_os::foundationText(claim(name)) atomically:YES]);
    }
  }
  void putBrokenResource(const std::string& name) { std::ofstream(claim(name)) << "no list"; }

 private:
  std::string claim(const std::string& name) {
    const std::string folder = mac_os::utf8Text(NSBundle.mainBundle.resourcePath);
    put_.push_back(folder + "/" + name + ".plist");
    return put_.back();
  }

  mac_os::MainBundle bundle_;
  std::vector<std::string> put_;
};
INSTANTIATE_TYPED_TEST_SUITE_P(Mac, ApplicationBundleContract, MainBundleBackend);

}  // namespace
}  // namespace tallyfox::contract
