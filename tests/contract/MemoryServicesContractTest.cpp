// Shows that the services in memory keep to what the real ones promise.

#include "contract/ApplicationBundleContract.hpp"
#include "contract/EnvironmentContract.hpp"
#include "contract/InstanceLockContract.hpp"
#include "contract/KeychainContract.hpp"
#include "contract/LoginItemServiceContract.hpp"
#include "contract/SettingsOpenerContract.hpp"
#include "contract/UserDefaultsContract.hpp"
#include "contract/UserNotificationsContract.hpp"
#include "platform/memory/MemoryServices.hpp"
#include "platform/memory/VirtualTime.hpp"

namespace tallyfox::contract {
namespace {

class MemoryDefaultsBackend {
 public:
  UserDefaults& defaults() { return *defaults_; }
  void reopen() {
    auto reopened = std::make_unique<memory::MemoryUserDefaults>();
    for (const auto& [key, value] : defaults_->values())
      reopened->setObject(key, value);
    defaults_ = std::move(reopened);
  }

 private:
  std::unique_ptr<memory::MemoryUserDefaults> defaults_ = std::make_unique<memory::MemoryUserDefaults>();
};
INSTANTIATE_TYPED_TEST_SUITE_P(Memory, UserDefaultsContract, MemoryDefaultsBackend);

template <bool dataProtection>
class MemoryKeychainBackend {
 public:
  MemoryKeychainBackend() { keychain_.setDataProtectionAvailable(dataProtection); }
  Keychain& keychain() { return keychain_; }
  [[nodiscard]] bool hasDataProtectionKeychain() const { return dataProtection; }

 private:
  memory::MemoryKeychain keychain_;
};
INSTANTIATE_TYPED_TEST_SUITE_P(Memory, KeychainContract, MemoryKeychainBackend<true>);
INSTANTIATE_TYPED_TEST_SUITE_P(MemoryLegacyOnly, KeychainContract, MemoryKeychainBackend<false>);

class MemoryLockBackend {
 public:
  InstanceLock& first() { return lock_; }
  InstanceLock& second() { return lock_; }
  void makeUnavailable() { lock_.setUnavailable(true); }

 private:
  memory::MemoryInstanceLock lock_;
};
INSTANTIATE_TYPED_TEST_SUITE_P(Memory, InstanceLockContract, MemoryLockBackend);

class MemoryEnvironmentBackend {
 public:
  Environment& environment() { return environment_; }
  void set(const std::string& name, const std::string& value) { environment_.set(name, value); }
  void unset(const std::string& name) { environment_.unset(name); }
  void setTimeZone(const std::string& identifier) { environment_.setTimeZone(identifier); }

 private:
  memory::MemoryEnvironment environment_;
};
INSTANTIATE_TYPED_TEST_SUITE_P(Memory, EnvironmentContract, MemoryEnvironmentBackend);

class MemoryBundleBackend {
 public:
  ApplicationBundle& bundle() { return bundle_; }
  void putResource(const std::string& name, const std::map<std::string, std::string>& members) {
    bundle_.resources.insert_or_assign(name, members);
  }
  void putBrokenResource(const std::string& name) {
    bundle_.resources.insert_or_assign(name, std::unexpected("The resource is no property list."));
  }

 private:
  memory::MemoryBundle bundle_;
};
INSTANTIATE_TYPED_TEST_SUITE_P(Memory, ApplicationBundleContract, MemoryBundleBackend);

template <LoginItemServiceStatus afterRegistration>
class MemoryLoginItemBackend {
 public:
  MemoryLoginItemBackend() { service_.afterRegistration = afterRegistration; }
  LoginItemService& service() { return service_; }
  void refuseRegistration() { service_.registrationError = "The operation is not permitted."; }

 private:
  memory::MemoryLoginItemService service_;
};
INSTANTIATE_TYPED_TEST_SUITE_P(Memory, LoginItemServiceContract,
                               MemoryLoginItemBackend<LoginItemServiceStatus::enabled>);
INSTANTIATE_TYPED_TEST_SUITE_P(MemoryWithApproval, LoginItemServiceContract,
                               MemoryLoginItemBackend<LoginItemServiceStatus::requiresApproval>);

class MemorySettingsBackend {
 public:
  SettingsOpener& settings() { return settings_; }
  [[nodiscard]] std::vector<std::string> opened() const { return settings_.opened(); }

 private:
  memory::MemorySettingsOpener settings_;
};
INSTANTIATE_TYPED_TEST_SUITE_P(Memory, SettingsOpenerContract, MemorySettingsBackend);

class MemoryNotificationsBackend {
 public:
  UserNotifications& notifications() { return notifications_; }
  SerialQueue& mainQueue() { return *mainQueue_; }
  void onMain(const std::function<void()>& work) {
    bool isDone = false;
    mainQueue_->post([&] {
      work();
      isDone = true;
    });
    EXPECT_TRUE(waitUntil([&] { return isDone; }));
  }
  bool waitUntil(const std::function<bool()>& condition) { return time_.advanceUntil(condition, Seconds{5}); }
  [[nodiscard]] std::vector<std::pair<std::string, std::string>> shown() const {
    std::vector<std::pair<std::string, std::string>> shown;
    for (const UserNotification& notification : notifications_.delivered())
      shown.emplace_back(notification.title, notification.body);
    return shown;
  }
  void removeService() { notifications_.authorization = std::unexpected("There is no notification service."); }
  bool decline() {
    notifications_.authorization = false;
    return true;
  }

 private:
  memory::VirtualTime time_;
  std::shared_ptr<SerialQueue> mainQueue_ = time_.makeQueue("main");
  memory::MemoryNotifications notifications_{*mainQueue_};
};
INSTANTIATE_TYPED_TEST_SUITE_P(Memory, UserNotificationsContract, MemoryNotificationsBackend);

}  // namespace
}  // namespace tallyfox::contract
