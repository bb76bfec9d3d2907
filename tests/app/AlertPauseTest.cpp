// The owner's pause of all alerts: what phone and window see at once, and that it ends on time, whatever the clock does
// and across a restart.

#include "app/AlertPause.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <memory>

#include "app/AgentCore.hpp"

namespace tallyfox {
namespace {

using namespace std::chrono_literals;
using testing::IsEmpty;
using testing::SizeIs;

constexpr const char* untilKey = "tallyfox.notifications-paused-until";
constexpr Date newYear = std::chrono::sys_days{std::chrono::January / 1 / 2026};

class AlertPauseTest : public AgentCore {
 protected:
  AlertPauseTest() {
    connect();
    store.replace({scannedApproval(1)});
    scanCycle.publishCurrentApprovalSnapshot(false);
    world.time.runDue();
  }
  [[nodiscard]] std::size_t shown() {
    world.time.runDue();
    return phone.approvals().size();
  }
  [[nodiscard]] std::unique_ptr<AlertPause> makePause() {
    return std::make_unique<AlertPause>(AlertPause::Dependencies{.mainQueue = *world.mainQueue,
                                                                 .clock = world.time.clock(),
                                                                 .environment = world.environment,
                                                                 .store = pauseStore,
                                                                 .scanCycle = scanCycle,
                                                                 .interface = world.interface});
  }

  std::unique_ptr<AlertPause> pause = makePause();
};

TEST_F(AlertPauseTest, emptiesThePhoneAtOnceAndFillsItAtOnce) {
  ASSERT_EQ(shown(), 1U);
  for (const auto option : {NotificationPauseOption::twoHours, NotificationPauseOption::fourHours,
                            NotificationPauseOption::untilTomorrow, NotificationPauseOption::indefinitely}) {
    const int refreshes = world.interface.refreshes;
    pause->pauseNotifications(option);
    EXPECT_EQ(shown(), 0U);
    EXPECT_EQ(world.interface.refreshes, refreshes + 1);
    pause->resumeNotifications();
    EXPECT_EQ(shown(), 1U);
    EXPECT_EQ(world.interface.refreshes, refreshes + 2);
    EXPECT_FALSE(pauseStore.snapshot().isPaused());
  }
}

TEST_F(AlertPauseTest, endsATimedPauseByItself) {
  world.time.setWallClock(newYear + 13h + 10min);
  pause->pauseNotifications(NotificationPauseOption::twoHours);
  EXPECT_EQ(pauseStore.snapshot().pausedUntil, newYear + 15h + 10min);
  world.time.advance(2h - 1s);
  EXPECT_EQ(shown(), 0U);
  const int refreshes = world.interface.refreshes;
  world.time.advance(1s);
  EXPECT_EQ(shown(), 1U);
  EXPECT_EQ(world.interface.refreshes, refreshes + 1);
  EXPECT_FALSE(world.defaults.object(untilKey).has_value());
}

TEST_F(AlertPauseTest, endsAtNineInTheOwnersTimeZone) {
  world.environment.setTimeZone("Europe/Berlin");
  world.time.setWallClock(newYear + 22h + 59min);  // one minute to midnight in Berlin
  pause->pauseNotifications(NotificationPauseOption::untilTomorrow);
  EXPECT_EQ(pauseStore.snapshot().pausedUntil, newYear + 32h);
  world.time.advance(9h + 1min - 1s);
  EXPECT_EQ(shown(), 0U);
  world.time.advance(1s);
  EXPECT_EQ(shown(), 1U);
}

TEST_F(AlertPauseTest, givesAPauseThatIsAboutToEndHalfASecond) {
  pauseStore.pause(Seconds(0.1), world.now());
  pause->scheduleNotificationPauseResumeTimer();
  scanCycle.publishCurrentApprovalSnapshot(false);
  world.time.advance(Seconds(0.45));
  EXPECT_EQ(shown(), 0U);
  world.time.advance(Seconds(0.05));
  EXPECT_EQ(shown(), 1U);
}

TEST_F(AlertPauseTest, doesNotEndAPauseForGood) {
  pause->pauseNotifications(NotificationPauseOption::twoHours);
  pause->pauseNotifications(NotificationPauseOption::indefinitely);
  world.time.advance(24h * 400);
  EXPECT_EQ(shown(), 0U);
  pause->pauseNotifications(NotificationPauseOption::twoHours);
  world.time.advance(2h);
  EXPECT_EQ(shown(), 1U) << "a timed pause takes the place of one without an end";
}

TEST_F(AlertPauseTest, waitsOnWhenTheClockWasSetBack) {
  pause->pauseNotifications(NotificationPauseOption::twoHours);
  world.time.advance(1h);
  world.time.setWallClock(world.now() - 30min);
  world.time.advance(1h);
  EXPECT_EQ(shown(), 0U);
  world.time.advance(30min);
  EXPECT_EQ(shown(), 1U);
}

TEST_F(AlertPauseTest, endsAPauseThatWasStoredBeforeThisStart) {
  pause->pauseNotifications(NotificationPauseOption::twoHours);
  world.time.advance(90min);
  pause = makePause();
  pause->scheduleNotificationPauseResumeTimer();
  world.time.advance(30min);
  EXPECT_EQ(shown(), 1U);
}

TEST_F(AlertPauseTest, forgetsAPauseThatEndedWhileNobodyWasThere) {
  pause->pauseNotifications(NotificationPauseOption::twoHours);
  pause.reset();
  world.time.advance(3h);
  pause = makePause();
  pause->scheduleNotificationPauseResumeTimer();
  EXPECT_EQ(world.time.pendingTaskCount(), 0U);
  EXPECT_FALSE(world.defaults.object(untilKey).has_value());
}

TEST_F(AlertPauseTest, leavesNoTimerWhenCancelled) {
  pause->pauseNotifications(NotificationPauseOption::fourHours);
  world.time.runDue();
  pause->cancelResumeTimer();
  EXPECT_EQ(world.time.pendingTaskCount(), 0U);
}

TEST_F(AlertPauseTest, notifiesOnceOfWhatAppearedMeanwhile) {
  pause->pauseNotifications(NotificationPauseOption::indefinitely);
  for (int round = 0; round < 3; ++round) {
    scanCycle.scheduleScan("test");
    finishScan({scannedApproval(1), scannedApproval(2)});
  }
  EXPECT_THAT(world.notifications.delivered(), IsEmpty());
  EXPECT_EQ(world.interface.shownCount(), 2) << "the owner's own count goes on";
  pause->resumeNotifications();
  EXPECT_EQ(shown(), 2U);
  for (int round = 0; round < 3; ++round) {
    scanCycle.scheduleScan("test");
    finishScan({scannedApproval(1), scannedApproval(2)});
  }
  EXPECT_THAT(world.notifications.delivered(), SizeIs(2));
}

}  // namespace
}  // namespace tallyfox
