// Shows that the services of a Linux desktop keep to what the seam promises: files, locks, and the environment.

#include <stdlib.h>

#include <memory>

#include "contract/ApplicationBundleContract.hpp"
#include "contract/EnvironmentContract.hpp"
#include "contract/InstanceLockContract.hpp"
#include "contract/KeychainContract.hpp"
#include "contract/LoginItemServiceContract.hpp"
#include "contract/UserDefaultsContract.hpp"
#include "platform/KeyringDaemon.hpp"
#include "platform/TemporaryFolder.hpp"
#include "platform/linux/AutostartEntry.hpp"
#include "platform/linux/FileKeychain.hpp"
#include "platform/linux/FileUserDefaults.hpp"
#include "platform/linux/InstalledBundle.hpp"
#include "platform/linux/LinuxKeychain.hpp"
#include "platform/linux/ProcessEnvironment.hpp"
#include "platform/linux/SecretServiceKeychain.hpp"
#include "platform/memory/MemoryServices.hpp"
#include "platform/posix/FlockInstanceLock.hpp"

namespace tallyfox::contract {
namespace {

class FileDefaultsBackend {
 public:
  UserDefaults& defaults() { return *defaults_; }
  void reopen() { defaults_ = std::make_unique<linux_os::FileUserDefaults>(folder_.path(), console_); }

 private:
  TemporaryFolder folder_;
  memory::MemoryConsole console_;
  std::unique_ptr<linux_os::FileUserDefaults> defaults_ =
      std::make_unique<linux_os::FileUserDefaults>(folder_.path(), console_);
};
INSTANTIATE_TYPED_TEST_SUITE_P(Linux, UserDefaultsContract, FileDefaultsBackend);

class FileKeychainBackend {
 public:
  Keychain& keychain() { return keychain_; }
  [[nodiscard]] bool hasDataProtectionKeychain() const { return false; }

 private:
  TemporaryFolder folder_;
  linux_os::FileKeychain keychain_{folder_.path()};
};
INSTANTIATE_TYPED_TEST_SUITE_P(Linux, KeychainContract, FileKeychainBackend);

/// The keychains of a desktop with and without a keyring.
template <bool hasKeyring>
class DesktopKeychains {
 public:
  DesktopKeychains() {
    if (hasKeyring) keyring_.startUnlocked();
  }
  Keychain& keychain() { return keychain_; }
  [[nodiscard]] bool hasDataProtectionKeychain() const { return hasKeyring; }

 private:
  PrivateBus bus_;
  KeyringDaemon keyring_{bus_};
  TemporaryFolder folder_;
  linux_os::SecretServiceKeychain secretService_{bus_.address()};
  linux_os::FileKeychain fileKeychain_{folder_.path()};
  linux_os::LinuxKeychain keychain_{secretService_, fileKeychain_};
};
INSTANTIATE_TYPED_TEST_SUITE_P(LinuxWithKeyring, KeychainContract, DesktopKeychains<true>);
INSTANTIATE_TYPED_TEST_SUITE_P(LinuxWithoutKeyring, KeychainContract, DesktopKeychains<false>);

class FlockBackend {
 public:
  InstanceLock& first() { return first_; }
  InstanceLock& second() { return second_; }
  void makeUnavailable() { std::filesystem::create_directory(folder_ / "contract.lock"); }

 private:
  TemporaryFolder folder_;
  posix_os::FlockInstanceLock first_{folder_.path()};
  posix_os::FlockInstanceLock second_{folder_.path()};
};
INSTANTIATE_TYPED_TEST_SUITE_P(Linux, InstanceLockContract, FlockBackend);

class ProcessEnvironmentBackend {
 public:
  ~ProcessEnvironmentBackend() {
    for (const auto& name : touched_)
      ::unsetenv(name.c_str());
  }
  Environment& environment() { return environment_; }
  void set(const std::string& name, const std::string& value) {
    touched_.push_back(name);
    ::setenv(name.c_str(), value.c_str(), 1);
  }
  void unset(const std::string& name) { ::unsetenv(name.c_str()); }
  void setTimeZone(const std::string& identifier) { set("TZ", identifier); }

 private:
  linux_os::ProcessEnvironment environment_;
  std::vector<std::string> touched_;
};
INSTANTIATE_TYPED_TEST_SUITE_P(Linux, EnvironmentContract, ProcessEnvironmentBackend);

std::string escaped(const std::string& text) {
  std::string result;
  for (const char c : text)
    result += c == '&' ? "&amp;" : c == '<' ? "&lt;" : c == '>' ? "&gt;" : std::string(1, c);
  return result;
}

class InstalledBundleBackend {
 public:
  InstalledBundleBackend() { writeFile(folder_ / "build/tallyfox", ""); }
  ApplicationBundle& bundle() { return bundle_; }
  void putResource(const std::string& name, const std::map<std::string, std::string>& members) {
    std::string text = "<plist version=\"1.0\"><dict>";
    for (const auto& [key, value] : members)
      text += "<key>" + key + "</key><string>" + escaped(value) + "</string>";
    writeFile(folder_ / ("build/" + name + ".plist"), text + "</dict></plist>");
  }
  void putBrokenResource(const std::string& name) { writeFile(folder_ / ("build/" + name + ".plist"), "no list"); }

 private:
  TemporaryFolder folder_;
  linux_os::InstalledBundle bundle_{(folder_ / "build/tallyfox").string(), folder_.path()};
};
INSTANTIATE_TYPED_TEST_SUITE_P(Linux, ApplicationBundleContract, InstalledBundleBackend);

class AutostartBackend {
 public:
  AutostartBackend() {
    writeFile(folder_ / "tallyfox", "");
    std::filesystem::permissions(folder_ / "tallyfox", std::filesystem::perms::owner_all);
  }
  LoginItemService& service() { return service_; }
  void refuseRegistration() { writeFile(folder_ / "config/autostart", "a file where the folder should be"); }

 private:
  TemporaryFolder folder_;
  linux_os::AutostartEntry service_{
      (folder_ / "config").string(), (folder_ / "tallyfox").string(), {}, linux_os::ProgramLauncher("")};
};
INSTANTIATE_TYPED_TEST_SUITE_P(Linux, LoginItemServiceContract, AutostartBackend);

}  // namespace
}  // namespace tallyfox::contract
