// From scan requests to what owner and phone see: one scan at a time, counts, notifications, publication and the rescan
// that lets vanished dialogs go.

#include "app/ScanCycle.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <utility>
#include <vector>

#include "app/AgentWorld.hpp"

namespace tallyfox {
namespace {

using namespace std::chrono_literals;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

class ScanCycleTest : public testing::Test {
 protected:
  struct Published {
    std::vector<PendingApproval> approvals;
    bool trusted;
    bool force;
  };

  /// Ends the scan in flight with this result.
  void finish(const std::vector<PendingApproval>& approvals) {
    ASSERT_TRUE(completion) << "no scan is in flight";
    std::exchange(completion, nullptr)(approvals);
  }
  void scan(const std::vector<PendingApproval>& approvals) {
    cycle.scheduleScan("test");
    finish(approvals);
  }

  AgentWorld world;
  AgentConfiguration configuration{world.environment};
  PairingConfiguration pairing{{world.environment, world.bundle, world.defaults, world.keychain, world.console}};
  ApprovalStore store{Seconds(8), world.time.clock()};
  NotificationPauseStore pauseStore{world.defaults, world.time.clock()};
  std::function<void(std::vector<PendingApproval>)> completion;
  int scans = 0;
  std::vector<Published> published;
  ScanCycle cycle{{.mainQueue = *world.mainQueue,
                   .console = world.console,
                   .accessibility = world.desktop.accessibility(),
                   .bundle = world.bundle,
                   .notifications = world.notifications,
                   .interface = world.interface,
                   .configuration = configuration,
                   .pairing = pairing,
                   .store = store,
                   .pauseStore = pauseStore,
                   .scan =
                       [this](std::function<void(std::vector<PendingApproval>)> answer) {
                         ++scans;
                         completion = std::move(answer);
                       },
                   .publishSnapshot = [this](const std::vector<PendingApproval>& approvals, bool trusted,
                                             bool force) { published.push_back({approvals, trusted, force}); }}};
};

TEST_F(ScanCycleTest, doesNothingWithoutARelay) {
  world.environment.unset("TALLYFOX_RELAY_URL");
  cycle.scheduleScan("test");
  EXPECT_EQ(scans, 0);
}

TEST_F(ScanCycleTest, doesNothingWhenTheRelayAddressIsNoAddress) {
  world.environment.set("TALLYFOX_RELAY_URL", "wss://relay.example.com:port");
  cycle.scheduleScan("test");
  EXPECT_EQ(scans, 0);
}

TEST_F(ScanCycleTest, collapsesRequestsDuringAScanIntoOneFollowUp) {
  cycle.scheduleScan("first");
  for (int i = 0; i < 5; ++i)
    cycle.scheduleScan("more");
  EXPECT_EQ(scans, 1);
  finish({});
  EXPECT_EQ(scans, 2);
  finish({});
  EXPECT_EQ(scans, 2);
  EXPECT_FALSE(completion);
}

TEST_F(ScanCycleTest, confirmsAScanThatMustFindWhatIsThere) {
  cycle.scheduleConfirmedScan("test");
  finish({});
  EXPECT_EQ(scans, 2);
  finish({});
  EXPECT_EQ(scans, 2);
}

TEST_F(ScanCycleTest, confirmsTheFollowUpOfAScanThatBeganTooEarly) {
  cycle.scheduleScan("earlier");
  cycle.scheduleConfirmedScan("test");
  cycle.scheduleScan("another");
  for (int i = 1; i <= 3; ++i) {
    EXPECT_EQ(scans, i);
    finish({});
  }
  EXPECT_EQ(scans, 3);
}

TEST_F(ScanCycleTest, mergesCountsNotifiesAndPublishesAResult) {
  scan({scannedApproval(1, world.now()), scannedApproval(2, world.now() + 1s)});
  EXPECT_EQ(cycle.pendingApprovalCount(), 2);
  EXPECT_THAT(world.interface.counts, ElementsAre(2));
  ASSERT_THAT(published, SizeIs(1));
  EXPECT_EQ(published[0].approvals, store.all());
  EXPECT_TRUE(published[0].trusted);
  EXPECT_FALSE(published[0].force);
  const auto current = store.all();
  EXPECT_THAT(world.notifications.delivered(),
              ElementsAre(UserNotification{current[0].id.text(), "Tallyfox", "Your Mac needs approval."},
                          UserNotification{current[1].id.text(), "Tallyfox", "Your Mac needs approval."}));
}

TEST_F(ScanCycleTest, notifiesAnApprovalOnce) {
  scan({scannedApproval(1)});
  scan({scannedApproval(1)});
  scan({});
  scan({scannedApproval(1)});
  EXPECT_THAT(world.notifications.delivered(), SizeIs(1));
}

TEST_F(ScanCycleTest, notifiesADialogAgainThatComesBackUnderANewId) {
  scan({scannedApproval(1)});
  world.time.advance(9s);
  completion = nullptr;
  scan({});
  scan({scannedApproval(1)});
  EXPECT_THAT(world.notifications.delivered(), SizeIs(2));
}

TEST_F(ScanCycleTest, printsInsteadOfNotifyingWithoutABundleIdentifier) {
  world.bundle.identifier.reset();
  PendingApproval approval = scannedApproval(1);
  approval.windowTitle = "Two\nlines";
  scan({approval});
  EXPECT_THAT(world.notifications.delivered(), IsEmpty());
  EXPECT_THAT(world.console.lines(), ElementsAre("Approval needed: Finder: Two lines"));
}

TEST_F(ScanCycleTest, staysSilentWhilePausedAndNotifiesOnceAfterwards) {
  pauseStore.pauseIndefinitely();
  scan({scannedApproval(1)});
  EXPECT_THAT(world.notifications.delivered(), IsEmpty());
  EXPECT_THAT(published.back().approvals, IsEmpty());
  EXPECT_EQ(cycle.pendingApprovalCount(), 1) << "counting goes on";
  pauseStore.resume();
  scan({scannedApproval(1)});
  EXPECT_THAT(world.notifications.delivered(), SizeIs(1));
  EXPECT_THAT(published.back().approvals, SizeIs(1));
  scan({scannedApproval(1)});
  EXPECT_THAT(world.notifications.delivered(), SizeIs(1));
}

TEST_F(ScanCycleTest, discardsAResultThatComesWithoutTrust) {
  scan({scannedApproval(1)});
  cycle.scheduleScan("test");
  cycle.scheduleScan("again");
  world.desktop.setTrusted(false);
  finish({scannedApproval(1), scannedApproval(2)});
  EXPECT_EQ(cycle.pendingApprovalCount(), 0);
  EXPECT_EQ(world.interface.shownCount(), 0);
  EXPECT_THAT(published.back().approvals, IsEmpty());
  EXPECT_FALSE(published.back().trusted);
  EXPECT_EQ(scans, 3) << "the request during the scan is not lost";
}

TEST_F(ScanCycleTest, notifiesAgainAfterTrustWasLost) {
  scan({scannedApproval(1)});
  world.desktop.setTrusted(false);
  scan({});
  world.desktop.setTrusted(true);
  scan({scannedApproval(1)});
  EXPECT_THAT(world.notifications.delivered(), SizeIs(2));
}

TEST_F(ScanCycleTest, keepsAVanishedDialogForTheGraceAndRescansHalfASecondLater) {
  scan({scannedApproval(1)});
  scan({});
  EXPECT_EQ(cycle.pendingApprovalCount(), 1);
  EXPECT_THAT(published.back().approvals, SizeIs(1));
  world.time.advance(Seconds(8.4));
  EXPECT_EQ(scans, 2);
  world.time.advance(Seconds(0.1));
  ASSERT_EQ(scans, 3);
  finish({});
  EXPECT_EQ(cycle.pendingApprovalCount(), 0);
  EXPECT_THAT(published.back().approvals, IsEmpty());
  EXPECT_EQ(world.time.pendingTaskCount(), 0U) << "no cleanup remains";
}

TEST_F(ScanCycleTest, readsTheGraceAnewForEachCleanup) {
  scan({scannedApproval(1)});
  world.environment.set("TALLYFOX_APPROVAL_STALE_GRACE_SECONDS", "1");
  scan({});
  world.time.advance(Seconds(1.5));
  EXPECT_EQ(scans, 3);
}

TEST_F(ScanCycleTest, replacesTheCleanupWithEachScan) {
  scan({scannedApproval(1)});
  scan({});
  world.time.advance(5s);
  scan({});
  world.time.advance(5s);
  EXPECT_EQ(scans, 3);
  scan({scannedApproval(1)});
  EXPECT_EQ(world.time.pendingTaskCount(), 0U) << "everything was seen: nothing to clean up";
}

TEST_F(ScanCycleTest, throwsAwayAScanThatBeganBeforeADecision) {
  scan({scannedApproval(1)});
  cycle.scheduleScan("test");
  store.remove(store.all().at(0).id, std::nullopt);
  cycle.discardScanInFlight();
  finish({scannedApproval(1)});
  EXPECT_THAT(store.all(), IsEmpty());
  EXPECT_EQ(scans, 3);
  finish({});
  EXPECT_EQ(scans, 3);
}

TEST_F(ScanCycleTest, hasNothingToThrowAwayWhileIdle) {
  cycle.discardScanInFlight();
  scan({scannedApproval(1)});
  EXPECT_THAT(store.all(), SizeIs(1));
}

TEST_F(ScanCycleTest, publishesWithForceWhenAsked) {
  cycle.publishCurrentApprovalSnapshot(true);
  ASSERT_THAT(published, SizeIs(1));
  EXPECT_TRUE(published[0].force);
}

TEST_F(ScanCycleTest, endsAllWorkWhenStopped) {
  scan({scannedApproval(1)});
  scan({});
  cycle.scheduleScan("test");
  const auto before = published.size();
  cycle.stop();
  finish({scannedApproval(2)});
  cycle.scheduleScan("test");
  EXPECT_EQ(scans, 3);
  EXPECT_EQ(published.size(), before);
  EXPECT_EQ(world.time.pendingTaskCount(), 0U);
}

}  // namespace
}  // namespace tallyfox
