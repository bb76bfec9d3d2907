// The switchboard: what the application framework calls reaches the right part. The agent as a whole is shown in sim/.

#include "app/AppDelegate.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "app/AgentWorld.hpp"
#include "app/TestPhone.hpp"

namespace tallyfox {
namespace {

using testing::ElementsAre;
using testing::SizeIs;

class AppDelegateTest : public testing::Test {
 protected:
  AgentWorld world;
  TestPhone phone{world};
  AppDelegate agent{world.platform(), world.interface};
};

TEST_F(AppDelegateTest, alwaysShowsTheStatusWindowWhenReopened) {
  EXPECT_TRUE(agent.applicationShouldHandleReopen(true));
  EXPECT_TRUE(agent.applicationShouldHandleReopen(false));
  EXPECT_THAT(world.interface.calls, ElementsAre("showStatusWindow", "showStatusWindow"));
}

TEST_F(AppDelegateTest, quitsByAskingTheApplicationToTerminate) {
  agent.applicationDidFinishLaunching();
  agent.quit();
  EXPECT_EQ(world.terminations, 1);
  EXPECT_TRUE(world.instanceLock.isHeld("com.tallyfox.agent.lock")) << "the end itself comes with termination";
  agent.applicationWillTerminate();
  EXPECT_FALSE(world.instanceLock.isHeld("com.tallyfox.agent.lock"));
}

TEST_F(AppDelegateTest, unpairsFromTheStatusWindow) {
  world.network.answerAll(HttpResponse{204});
  agent.applicationDidFinishLaunching();
  world.time.runDue();
  world.network.open(0);
  world.time.runDue();
  const InstallationSecrets before = phone.secrets();
  agent.unpairPhoneFromStatusWindow();
  world.time.runDue();
  EXPECT_THAT(phone.frames(0, relay_type::phoneUnpair), SizeIs(1));
  EXPECT_NE(phone.secrets().pairingID, before.pairingID);
}

TEST_F(AppDelegateTest, tellsTheStatusWindowHowItStands) {
  EXPECT_TRUE(agent.currentStatusSnapshot().relayConfigured);
  EXPECT_FALSE(agent.currentStatusSnapshot().relayConnected);
  EXPECT_FALSE(agent.pairingResetInProgress());
}

TEST_F(AppDelegateTest, opensTheAccessibilitySettingsAndLooksForThePermission) {
  world.desktop.setTrusted(false);
  AppDelegate untrusted(world.platform(), world.interface);
  world.desktop.setTrusted(true);
  untrusted.requestPermissions();
  EXPECT_THAT(world.settings.opened(),
              ElementsAre("x-apple.systempreferences:com.apple.preference.security?Privacy_Accessibility"));
  const int refreshes = world.interface.refreshes;
  world.time.advance(Seconds(0.15));
  EXPECT_GT(world.interface.refreshes, refreshes) << "granted meanwhile";
}

TEST_F(AppDelegateTest, enablesTheLoginItem) {
  agent.enableLoginItem();
  EXPECT_EQ(world.loginItemService.registrations, 1);
  EXPECT_EQ(world.interface.refreshes, 1);
  EXPECT_THAT(world.settings.opened(), SizeIs(0));
  world.loginItemService.afterRegistration = LoginItemServiceStatus::requiresApproval;
  agent.enableLoginItem();
  EXPECT_THAT(world.settings.opened(), ElementsAre("x-apple.systempreferences:com.apple.LoginItems-Settings.extension"))
      << "what is left only the owner can do";
  world.loginItemService.registrationError = "The operation is not permitted.";
  agent.enableLoginItem();
  EXPECT_THAT(world.settings.opened(), SizeIs(1)) << "no setting helps; the window says why";
}

TEST_F(AppDelegateTest, pausesAndResumesAlerts) {
  agent.pauseNotifications(NotificationPauseOption::indefinitely);
  EXPECT_TRUE(agent.currentStatusSnapshot().notificationPause.isPaused());
  agent.resumeNotifications();
  EXPECT_FALSE(agent.currentStatusSnapshot().notificationPause.isPaused());
}

TEST_F(AppDelegateTest, keepsChecksForUpdatesDisabledWithoutUpdates) {
  agent.applicationDidFinishLaunching();
  EXPECT_EQ(world.interface.checkForUpdatesEnabled, false);
  world.interface.checkForUpdatesEnabled.reset();
  agent.checkForUpdates();
  EXPECT_EQ(world.interface.checkForUpdatesEnabled, false);
  EXPECT_EQ(world.updater.starts, 0);
}

TEST(AppDelegate, keepsChecksForUpdatesDisabledOnASystemWithoutAnUpdater) {
  AgentWorld world;
  world.bundle.information = {{"SUFeedURL", "https://updates.example.com/feed"}, {"SUPublicEDKey", "key"}};
  AgentPlatform platform = world.platform();
  platform.updater = nullptr;
  AppDelegate agent(platform, world.interface);
  agent.applicationDidFinishLaunching();
  EXPECT_EQ(world.interface.checkForUpdatesEnabled, false);
  agent.checkForUpdates();
  EXPECT_EQ(world.interface.checkForUpdatesEnabled, false);
  EXPECT_FALSE(agent.currentStatusSnapshot().updateAvailability.isUpdateAvailable);
}

TEST(AppDelegate, looksForUpdatesWhereTheyAreConfigured) {
  AgentWorld world;
  world.bundle.information = {{"SUFeedURL", "https://updates.example.com/feed"}, {"SUPublicEDKey", "key"}};
  AppDelegate agent(world.platform(), world.interface);
  EXPECT_EQ(world.updater.starts, 0) << "nothing starts before the launch";
  agent.applicationDidFinishLaunching();
  EXPECT_EQ(world.interface.checkForUpdatesEnabled, true);
  EXPECT_EQ(world.updater.starts, 1);
  agent.checkForUpdates();
  EXPECT_EQ(world.updater.checks, 1);
  const int refreshes = world.interface.refreshes;
  world.updater.findScheduledUpdate({"2.1"});
  EXPECT_EQ(world.interface.refreshes, refreshes + 1);
  EXPECT_EQ(agent.currentStatusSnapshot().updateAvailability.displayVersion, "2.1");
}

TEST(AppDelegate, mayGoWhileAScanIsUnderWay) {
  AgentWorld world;
  {
    AppDelegate agent(world.platform(), world.interface);
    agent.applicationDidFinishLaunching();
    // The scan is posted in this moment and has not run when the agent is gone.
    EXPECT_TRUE(world.time.advanceUntil([&] { return world.time.clock().continuous() >= Seconds(0.3); }, Seconds(1)));
    agent.applicationWillTerminate();
  }
  world.time.advance(Seconds(10));
  EXPECT_EQ(world.interface.shownCount(), 0);
}

}  // namespace
}  // namespace tallyfox
