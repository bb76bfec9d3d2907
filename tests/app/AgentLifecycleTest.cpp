// The agent's start and stop in their fixed order, the guarantee that one agent runs, and the permission's changes.

#include "app/AgentLifecycle.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <string>
#include <vector>

#include "app/AgentCore.hpp"

namespace tallyfox {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

constexpr const char* lockName = "com.tallyfox.agent.lock";

class AgentLifecycleTest : public AgentCore {
 protected:
  AgentLifecycleTest() { answerRegistrations(204); }
  void start() {
    lifecycle->start();
    world.time.runDue();
  }
  /// Answers scans for as long as the agent asks for them at once.
  void answerScans(const std::vector<PendingApproval>& approvals) {
    while (scanCompletion)
      finishScan(approvals);
  }

  AlertPause alertPause{{.mainQueue = *world.mainQueue,
                         .clock = world.time.clock(),
                         .environment = world.environment,
                         .store = pauseStore,
                         .scanCycle = scanCycle,
                         .interface = world.interface}};
  LoginItemManager loginItem{world.bundle, world.loginItemService, world.settings};
  std::unique_ptr<AgentLifecycle> lifecycle = makeLifecycle();
  std::unique_ptr<AgentLifecycle> makeLifecycle() {
    return std::make_unique<AgentLifecycle>(AgentLifecycle::Dependencies{.platform = platform,
                                                                         .interface = world.interface,
                                                                         .configuration = configuration,
                                                                         .pairing = pairing,
                                                                         .scanCycle = scanCycle,
                                                                         .relaySession = session,
                                                                         .alertPause = alertPause,
                                                                         .loginItem = loginItem,
                                                                         .updateManager = nullptr});
  }
};

TEST_F(AgentLifecycleTest, asksEveryOtherAgentToQuitOlderNamesFirst) {
  const auto current = world.desktop.launch("Tallyfox", "com.tallyfox.agent");
  const auto older = world.desktop.launch("Quarrystone", "com.quarrystone.agent");
  const auto stranger = world.desktop.launch("Finder", "com.apple.finder");
  lifecycle->start();
  EXPECT_THAT(world.desktop.deeds(),
              ElementsAre("terminate pid " + std::to_string(older), "terminate pid " + std::to_string(current)));
  world.time.runDue();
  EXPECT_FALSE(world.desktop.applications().application(current).has_value());
  EXPECT_TRUE(world.desktop.applications().application(stranger).has_value());
  EXPECT_TRUE(
      world.desktop.applications().application(world.desktop.applications().ownProcessIdentifier()).has_value());
}

TEST_F(AgentLifecycleTest, terminatesWhenAnotherAgentHoldsTheLockAndDoesNothingElse) {
  const LockResult other = world.instanceLock.acquire(lockName);
  start();
  EXPECT_EQ(world.terminations, 1);
  world.time.advance(10s);
  EXPECT_THAT(world.interface.calls, IsEmpty());
  EXPECT_THAT(world.network.requests(), IsEmpty());
  EXPECT_EQ(world.notifications.authorizationRequests, 0);
  EXPECT_EQ(scans, 0);
  EXPECT_EQ(world.time.pendingTaskCount(), 0U);
  EXPECT_THAT(world.console.lines(), IsEmpty());
}

TEST_F(AgentLifecycleTest, asksTheOtherAgentToQuitBeforeItTriesTheLock) {
  const LockResult held = world.instanceLock.acquire(lockName);
  const auto other = world.desktop.launch("Tallyfox", "com.tallyfox.agent");
  start();
  EXPECT_EQ(world.terminations, 1) << "the other has not let go of the lock in time";
  EXPECT_FALSE(world.desktop.applications().application(other).has_value());
}

TEST_F(AgentLifecycleTest, runsWithoutALockWhenTheFileCannotBeOpened) {
  world.instanceLock.setUnavailable(true);
  start();
  EXPECT_EQ(world.terminations, 0);
  EXPECT_THAT(world.network.sockets(), SizeIs(1));
}

TEST_F(AgentLifecycleTest, setsUpMenusThenShowsTheStatusWindow) {
  start();
  EXPECT_TRUE(world.instanceLock.isHeld(lockName));
  EXPECT_THAT(world.interface.calls, ElementsAre("configureMenus", "showStatusWindow"));
  EXPECT_EQ(world.notifications.authorizationRequests, 1);
  EXPECT_THAT(world.network.sockets(), SizeIs(1));
}

TEST_F(AgentLifecycleTest, startsNeitherRelayNorDetectionOutsideTheApplicationsFolder) {
  world.bundle.location = "/Users/owner/Downloads/Tallyfox.app";
  start();
  world.time.advance(10s);
  EXPECT_THAT(world.network.requests(), IsEmpty());
  EXPECT_EQ(scans, 0);
  EXPECT_THAT(world.interface.calls, ElementsAre("configureMenus", "showStatusWindow"));
}

TEST_F(AgentLifecycleTest, registersTheLoginItemFromTheApplicationsFolderOnly) {
  start();
  EXPECT_EQ(world.loginItemService.registrations, 1);
  lifecycle->stop();
  world.bundle.location = "/Users/owner/Downloads/Tallyfox.app";
  start();
  EXPECT_EQ(world.loginItemService.registrations, 1);
}

TEST_F(AgentLifecycleTest, startsAllTheSameWhenTheLoginItemCannotBeRegistered) {
  world.loginItemService.registrationError = "The operation is not permitted.";
  start();
  EXPECT_THAT(world.network.sockets(), SizeIs(1));
  EXPECT_THAT(world.console.lines(), ElementsAre("Tallyfox relay connected."));
}

TEST_F(AgentLifecycleTest, endsAPauseThatWasSetBeforeTheStart) {
  pauseStore.pause(Seconds(60), world.now());
  start();
  const int refreshes = world.interface.refreshes;
  world.time.advance(Seconds(60));
  EXPECT_GT(world.interface.refreshes, refreshes);
  EXPECT_FALSE(pauseStore.snapshot().isPaused());
}

TEST_F(AgentLifecycleTest, startsNoDetectionWithoutARelay) {
  world.environment.unset("TALLYFOX_RELAY_URL");
  start();
  world.time.advance(Seconds(0.4));
  world.environment.set("TALLYFOX_RELAY_URL", "wss://relay.example.com");
  world.time.advance(400s);
  EXPECT_EQ(scans, 0);
}

TEST_F(AgentLifecycleTest, doesNotAskForNotificationsWithoutABundleIdentifier) {
  world.bundle.identifier.reset();
  start();
  EXPECT_EQ(world.notifications.authorizationRequests, 0);
}

TEST_F(AgentLifecycleTest, printsARefusedNotificationRequest) {
  world.notifications.authorization = std::unexpected("No notification service.");
  start();
  EXPECT_THAT(world.console.lines(),
              testing::Contains("Unable to request notification permission: No notification service."));
}

TEST_F(AgentLifecycleTest, saysNothingWhenTheOwnerDeclinesNotifications) {
  world.notifications.authorization = false;
  start();
  EXPECT_THAT(world.console.lines(), ElementsAre("Tallyfox relay connected."));
}

TEST_F(AgentLifecycleTest, looksAtTheScreenAfterThreeTenthsOfASecond) {
  start();
  world.time.advance(Seconds(0.29));
  EXPECT_EQ(scans, 0);
  world.time.advance(Seconds(0.01));
  EXPECT_EQ(scans, 1);
  answerScans({});
  world.time.advance(Seconds(0.35));
  EXPECT_EQ(scans, 2) << "the monitor's own first request, debounced";
}

TEST_F(AgentLifecycleTest, sweepsEveryFiveMinutes) {
  start();
  world.time.advance(Seconds(10));
  answerScans({});
  const int before = scans;
  world.time.advance(Seconds(290.2));
  EXPECT_EQ(scans, before);
  world.time.advance(Seconds(0.2));
  EXPECT_EQ(scans, before + 1);
  finishScan({});
  EXPECT_EQ(scans, before + 2) << "what one scan finds only a second one confirms, and no event may ever ask for it";
  finishScan({});
  EXPECT_EQ(scans, before + 2);
}

TEST_F(AgentLifecycleTest, sweepsAsOftenAsTheEnvironmentSays) {
  world.environment.set("TALLYFOX_SAFETY_SWEEP_INTERVAL_SECONDS", "20");
  start();
  world.time.advance(Seconds(10));
  answerScans({});
  const int before = scans;
  world.time.advance(Seconds(10.4));
  EXPECT_EQ(scans, before + 1);
}

TEST_F(AgentLifecycleTest, emptiesEverythingWithinTwoSecondsOfLosingTheTrust) {
  start();
  world.network.open(0);
  world.time.advance(Seconds(0.3));
  answerScans({scannedApproval(1)});
  world.time.runDue();
  ASSERT_THAT(phone.approvals(), SizeIs(1));
  world.desktop.setTrusted(false);
  world.time.advance(2s);
  EXPECT_EQ(scanCycle.pendingApprovalCount(), 0);
  EXPECT_EQ(world.interface.shownCount(), 0);
  EXPECT_THAT(phone.approvals(), IsEmpty());
  EXPECT_FALSE(phone.snapshots().back().message.accessibilityTrusted);
}

TEST_F(AgentLifecycleTest, scansAndPublishesAtOnceWhenTheTrustIsGranted) {
  world.desktop.setTrusted(false);
  lifecycle = makeLifecycle();
  start();
  world.network.open(0);
  world.time.advance(10s);
  answerScans({});
  world.time.runDue();
  ASSERT_FALSE(phone.snapshots().back().message.accessibilityTrusted);
  const int before = scans;
  world.desktop.setTrusted(true);
  world.time.advance(Seconds(0.15));
  EXPECT_GT(scans, before);
  EXPECT_TRUE(phone.snapshots().back().message.accessibilityTrusted);
}

TEST_F(AgentLifecycleTest, looksAgainThreeTimesAfterAHintThatThePermissionChanged) {
  start();
  world.network.open(0);
  world.time.runDue();
  world.time.advance(Seconds(0.1));
  lifecycle->scheduleAccessibilityRechecks();
  const auto sent = [&] {
    world.time.runDue();
    return phone.snapshots().size();
  };
  const auto before = sent();
  world.time.advance(Seconds(0.14));
  EXPECT_EQ(sent(), before);
  world.time.advance(Seconds(0.01));
  EXPECT_EQ(sent(), before + 1) << "unchanged, yet sent again";
  world.time.advance(Seconds(0.60));
  EXPECT_EQ(sent(), before + 2);
  world.time.advance(Seconds(1.25));
  EXPECT_EQ(sent(), before + 3);
  world.time.advance(Seconds(10));
  EXPECT_EQ(sent(), before + 3);
}

TEST_F(AgentLifecycleTest, doesNothingOnAnUnchangedPermissionWithoutForce) {
  start();
  const int refreshes = world.interface.refreshes;
  lifecycle->handleAccessibilityStatusChangeIfNeeded(false);
  EXPECT_EQ(world.interface.refreshes, refreshes);
  lifecycle->handleAccessibilityStatusChangeIfNeeded(true);
  EXPECT_GT(world.interface.refreshes, refreshes);
}

TEST_F(AgentLifecycleTest, stopsWithoutLeavingAnything) {
  start();
  world.network.open(0);
  world.time.advance(Seconds(0.3));
  answerScans({scannedApproval(1)});
  answerScans({});
  world.desktop.setTrusted(false);
  world.desktop.setTrusted(true);
  world.time.runDue();
  lifecycle->stop();
  world.time.runDue();
  EXPECT_EQ(world.time.pendingTaskCount(), 0U);
  EXPECT_TRUE(world.network.sockets()[0].isCancelled);
  EXPECT_EQ(world.network.sockets()[0].closeCode, 1001);
  EXPECT_FALSE(world.instanceLock.isHeld(lockName));
  const int before = scans;
  world.desktop.launch("Finder");
  world.time.advance(400s);
  EXPECT_EQ(scans, before);
}

TEST_F(AgentLifecycleTest, letsARestartHaveTheLockAtOnce) {
  start();
  lifecycle->stop();
  lifecycle->stop();
  EXPECT_EQ(world.instanceLock.acquire(lockName).outcome, LockOutcome::acquired);
}

TEST_F(AgentLifecycleTest, stopsBeforeDetectionHasBegun) {
  start();
  lifecycle->stop();
  world.time.advance(10s);
  EXPECT_EQ(scans, 0);
}

}  // namespace
}  // namespace tallyfox
