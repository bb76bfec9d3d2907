// Launch at login: what each answer of the system becomes, what registering does, and where the settings open.

#include "system/LoginItemManager.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "platform/memory/MemoryServices.hpp"

namespace tallyfox {
namespace {

using testing::ElementsAre;

class LoginItemManagerTest : public testing::Test {
 protected:
  memory::MemoryBundle bundle;
  memory::MemoryLoginItemService service;
  memory::MemorySettingsOpener settings;
  LoginItemManager manager{bundle, service, settings};
};

TEST_F(LoginItemManagerTest, translatesEveryAnswerOfTheSystem) {
  const std::vector<std::pair<LoginItemServiceStatus, LoginItemStatus>> answers = {
      {LoginItemServiceStatus::notRegistered, login_item::Disabled{}},
      {LoginItemServiceStatus::enabled, login_item::Enabled{}},
      {LoginItemServiceStatus::requiresApproval, login_item::RequiresApproval{}},
      {LoginItemServiceStatus::notFound,
       login_item::Unavailable{"macOS could not find this app bundle as a login item."}},
      {LoginItemServiceStatus::unknown, login_item::Unavailable{"macOS returned an unknown Login Items status."}}};
  for (const auto& [answer, expected] : answers) {
    service.current = answer;
    EXPECT_EQ(manager.status(), expected) << static_cast<int>(answer);
  }
  EXPECT_EQ(service.registrations, 0);
}

TEST_F(LoginItemManagerTest, isUnavailableForABareExecutableWhateverTheSystemSays) {
  const LoginItemStatus unavailable = login_item::Unavailable{"Run the built app bundle to enable launch at login."};
  service.current = LoginItemServiceStatus::enabled;
  for (const std::string path : {"/build/tallyfox", "/build/Tallyfox.app/tallyfox", "/build/Tallyfox.application"}) {
    bundle.location = path;
    EXPECT_EQ(manager.status(), unavailable) << path;
    EXPECT_EQ(manager.registerItem(), unavailable) << path;
  }
  EXPECT_EQ(service.registrations, 0);
}

TEST_F(LoginItemManagerTest, givesTheStatusAfterRegistering) {
  EXPECT_EQ(manager.registerItem(), LoginItemStatus(login_item::Enabled{}));
  EXPECT_EQ(manager.status(), LoginItemStatus(login_item::Enabled{}));
  EXPECT_EQ(service.registrations, 1);
}

TEST_F(LoginItemManagerTest, tellsThatTheOwnerMustStillApprove) {
  service.afterRegistration = LoginItemServiceStatus::requiresApproval;
  EXPECT_EQ(manager.registerItem(), LoginItemStatus(login_item::RequiresApproval{}));
}

TEST_F(LoginItemManagerTest, appendsTheSystemsErrorWordForWord) {
  service.registrationError = "  Operation not permitted: “launchd” said (1).\n";
  EXPECT_EQ(manager.registerItem(),
            LoginItemStatus(login_item::Unavailable{"Unable to register Tallyfox as a login item:   Operation not "
                                                    "permitted: “launchd” said (1).\n"}));
  EXPECT_EQ(manager.status(), LoginItemStatus(login_item::Disabled{}));
}

TEST_F(LoginItemManagerTest, opensTheLoginItemsPane) {
  manager.openSettings();
  EXPECT_THAT(settings.opened(), ElementsAre("x-apple.systempreferences:com.apple.LoginItems-Settings.extension"));
}

}  // namespace
}  // namespace tallyfox
