// What the status window is given: each field from its own source, gathered anew each time, the code drawn once per
// payload.

#include "app/StatusReport.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "app/AgentCore.hpp"
#include "pairing/QRCodeRenderer.hpp"

namespace tallyfox {
namespace {

using testing::ElementsAre;
using testing::StartsWith;

class StatusReportTest : public AgentCore {
 protected:
  StatusReportTest() {
    world.bundle.information = {{"SUFeedURL", "https://updates.example.com/feed"}, {"SUPublicEDKey", "key"}};
    updateManager = UpdateManager::makeIfConfigured(world.bundle, &world.updater, [] {});
    updateManager->start();
  }
  [[nodiscard]] MacStatusSnapshot snapshot() { return report(updateManager.get()).currentStatusSnapshot(); }
  [[nodiscard]] StatusReport report(const UpdateManager* updates) {
    return StatusReport({.accessibility = world.desktop.accessibility(),
                         .bundle = world.bundle,
                         .pairing = pairing,
                         .pauseStore = pauseStore,
                         .scanCycle = scanCycle,
                         .relaySession = session,
                         .loginItem = loginItem,
                         .updateManager = updates});
  }

  LoginItemManager loginItem{world.bundle, world.loginItemService, world.settings};
  std::unique_ptr<UpdateManager> updateManager;
};

TEST_F(StatusReportTest, tellsTheInstallLocation) {
  EXPECT_TRUE(snapshot().installedInApplications);
  world.bundle.location = "/home/owner/Downloads/Tallyfox.app";
  EXPECT_FALSE(snapshot().installedInApplications);
}

TEST_F(StatusReportTest, tellsThePermission) {
  EXPECT_TRUE(snapshot().accessibilityTrusted);
  world.desktop.setTrusted(false);
  EXPECT_FALSE(snapshot().accessibilityTrusted);
}

TEST_F(StatusReportTest, tellsTheLoginItem) {
  EXPECT_EQ(snapshot().loginItemStatus, LoginItemStatus(login_item::Disabled{}));
  world.loginItemService.current = LoginItemServiceStatus::requiresApproval;
  EXPECT_EQ(snapshot().loginItemStatus, LoginItemStatus(login_item::RequiresApproval{}));
}

TEST_F(StatusReportTest, tellsWhetherARelayIsConfigured) {
  EXPECT_TRUE(snapshot().relayConfigured);
  world.environment.set("TALLYFOX_RELAY_URL", "no address");
  EXPECT_FALSE(snapshot().relayConfigured);
}

TEST_F(StatusReportTest, tellsWhatTheRelaySaysOfItselfAndOfThePhones) {
  EXPECT_FALSE(snapshot().relayConnected);
  connect();
  EXPECT_TRUE(snapshot().relayConnected);
  EXPECT_FALSE(snapshot().phoneConnected);
  world.network.deliver(0, R"({"type":"phone.status","phoneConnected":true,"phoneCount":2,)"
                           R"("phones":[{"deviceID":"d","deviceName":"Work Phone"}]})");
  world.time.runDue();
  const MacStatusSnapshot status = snapshot();
  EXPECT_TRUE(status.phoneConnected);
  EXPECT_EQ(status.phoneCount, 2);
  EXPECT_THAT(status.connectedPhones, ElementsAre(RelayPhoneStatus{"d", "Work Phone", std::nullopt, std::nullopt}));
  world.network.close(0);
  world.time.runDue();
  EXPECT_FALSE(snapshot().relayConnected);
  EXPECT_EQ(snapshot().phoneCount, 0);
}

TEST_F(StatusReportTest, tellsOfThePause) {
  EXPECT_FALSE(snapshot().notificationPause.isPaused());
  pauseStore.pauseIndefinitely();
  EXPECT_TRUE(snapshot().notificationPause.pausesIndefinitely);
}

TEST_F(StatusReportTest, tellsTheCount) {
  EXPECT_EQ(snapshot().pendingApprovalCount, 0);
  scanCycle.scheduleScan("test");
  finishScan({scannedApproval(1), scannedApproval(2)});
  EXPECT_EQ(snapshot().pendingApprovalCount, 2);
}

TEST_F(StatusReportTest, showsThePairingCodeOnlyWhileTrusted) {
  const auto drawn = QRCodeRenderer::image(bytesOf(pairing.payload().value().encoded()), 10);
  EXPECT_EQ(snapshot().pairingImage, drawn);
  EXPECT_EQ(snapshot().pairingCaption, "Open the iPhone app, choose Pair Mac, and scan this code.");
  world.desktop.setTrusted(false);
  EXPECT_EQ(snapshot().pairingImage, std::nullopt);
  EXPECT_THAT(snapshot().pairingCaption, StartsWith("Allow Accessibility in System Settings."));
}

TEST_F(StatusReportTest, saysThatPairingIsNotConfigured) {
  world.environment.unset("TALLYFOX_RELAY_URL");
  EXPECT_EQ(snapshot().pairingImage, std::nullopt);
  EXPECT_THAT(snapshot().pairingCaption, StartsWith("Pairing is not configured for this launch."));
}

TEST_F(StatusReportTest, drawsTheCodeAnewAfterTheIdentityChanged) {
  StatusReport kept = report(nullptr);
  const auto before = kept.currentStatusSnapshot().pairingImage;
  EXPECT_EQ(kept.currentStatusSnapshot().pairingImage, before);
  pairing.rotateInstallationIdentity();
  const auto after = kept.currentStatusSnapshot().pairingImage;
  ASSERT_TRUE(after.has_value());
  EXPECT_NE(after, before);
}

TEST_F(StatusReportTest, tellsOfAnUpdateThatWaits) {
  EXPECT_EQ(snapshot().updateAvailability, UpdateAvailabilitySnapshot{});
  world.updater.findScheduledUpdate({"2.1"});
  EXPECT_EQ(snapshot().updateAvailability, (UpdateAvailabilitySnapshot{true, "2.1"}));
  EXPECT_EQ(report(nullptr).currentStatusSnapshot().updateAvailability, UpdateAvailabilitySnapshot{});
}

}  // namespace
}  // namespace tallyfox
