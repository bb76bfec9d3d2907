// Shows what the Mac's services promise where the whole contract would change the owner's machine or ask its owner:
// notifications and updates outside an application, login items, settings, random numbers.

#include <gmock/gmock.h>

#include <array>
#include <set>

#include "base/Crypto.hpp"
#include "contract/Recorder.hpp"
#include "contract/macos/HostedMainQueue.hpp"
#include "contract/macos/RealTime.hpp"
#include "platform/macos/MacApplications.hpp"
#include "platform/macos/MacLoginItemService.hpp"
#include "platform/macos/MacUserNotifications.hpp"
#include "platform/macos/SparkleUpdater.hpp"
#include "platform/macos/WorkspaceSettingsOpener.hpp"
#include "platform/posix/StandardOutputConsole.hpp"

namespace tallyfox::contract {
namespace {

class MacNotificationsTest : public testing::Test {
 protected:
  MacNotificationsTest() {
    mainQueue.sync([this] { notifications = std::make_unique<mac_os::MacUserNotifications>(mainQueue); });
  }
  ~MacNotificationsTest() override {
    mainQueue.sync([this] { notifications.reset(); });
  }
  void request() {
    notifications->requestAuthorization([this](const std::expected<bool, std::string>& answer) {
      EXPECT_TRUE(mainQueue.isCurrent());
      answers.add(answer ? "answered" : answer.error());
    });
  }

  RealTime time;
  HostedMainQueue mainQueue;
  std::unique_ptr<mac_os::MacUserNotifications> notifications;
  Recorder<std::string> answers;
};

TEST_F(MacNotificationsTest, sayWhyThereAreNoneOutsideAnApplication) {
  mainQueue.sync([this] {
    request();
    EXPECT_EQ(answers.size(), 0U) << "inside the call";
  });
  ASSERT_TRUE(time.waitUntil([this] { return answers.size() == 1; }));
  EXPECT_THAT(answers.all().front(), testing::AllOf(testing::Ne("answered"), testing::Ne("")));
}

TEST_F(MacNotificationsTest, areSilentAboutOneThatCannotBeShown) {
  mainQueue.sync([this] {
    notifications->add({"1", "Title", "Body"});
    request();
  });
  ASSERT_TRUE(time.waitUntil([this] { return answers.size() == 1; })) << "which was asked for after it";
  EXPECT_NE(answers.all().front(), "answered");
}

TEST(MacUpdater, isAbsentWithoutTheFramework) {
  posix_os::StandardOutputConsole console;
  onMainThread([&] { EXPECT_EQ(mac_os::SparkleUpdater::load(console), nullptr); });
}

/// Registering would add to what the owner's next login starts.
TEST(MacLoginItem, isNotThereHoweverOftenItIsAsked) {
  mac_os::MacLoginItemService service;
  const LoginItemServiceStatus status = service.status();
  EXPECT_THAT(status, testing::AnyOf(LoginItemServiceStatus::notRegistered, LoginItemServiceStatus::notFound));
  EXPECT_EQ(service.status(), status);
}

TEST(MacSettings, leaveAnAddressAloneThatIsNone) {
  RealTime time;
  HostedMainQueue mainQueue;
  mac_os::MacApplications applications(mainQueue);
  const auto openPanes = [&] { return applications.applicationsWithBundleIdentifier("com.apple.systempreferences"); };
  const auto before = openPanes();
  mac_os::WorkspaceSettingsOpener settings;
  onMainThread([&settings] {
    for (const char* address : {"", " ", "no address", "x-tallyfox-nobody:contract", "\x01\xFF"})
      settings.open(address);
  });
  time.pass(Seconds{0.5});
  EXPECT_EQ(openPanes(), before);
}

TEST(MacRandomSource, fillsEveryLengthAnewEachTime) {
  std::set<std::array<std::uint8_t, 32>> seen;
  for (int round = 0; round < 100; ++round) {
    std::array<std::uint8_t, 32> bytes{};
    ASSERT_TRUE(fillWithSecureRandom(bytes));
    EXPECT_TRUE(seen.insert(bytes).second);
  }
  EXPECT_TRUE(fillWithSecureRandom({}));
}

}  // namespace
}  // namespace tallyfox::contract
