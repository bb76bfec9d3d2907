// The alert pause: its two keys, its end, and what damaged values count as.

#include "app/NotificationPauseStore.hpp"

#include <gtest/gtest.h>

#include <chrono>
#include <string>

#include "platform/memory/MemoryServices.hpp"
#include "platform/memory/VirtualTime.hpp"

namespace tallyfox {
namespace {

using namespace std::chrono_literals;

constexpr const char* untilKey = "tallyfox.notifications-paused-until";
constexpr const char* indefinitelyKey = "tallyfox.notifications-paused-indefinitely";

class NotificationPauseStoreTest : public testing::Test {
 protected:
  Date now() { return time.clock().now(); }
  memory::VirtualTime time;
  memory::MemoryUserDefaults defaults;
  NotificationPauseStore store{defaults, time.clock()};
};

TEST_F(NotificationPauseStoreTest, isNotPausedAtFirst) {
  EXPECT_EQ(store.snapshot(), NotificationPauseSnapshot{});
  EXPECT_FALSE(store.snapshot().isPaused());
}

TEST_F(NotificationPauseStoreTest, endsATwoHoursPauseOnTime) {
  time.setWallClock(std::chrono::sys_days{std::chrono::March / 14 / 2026} + 13h + 10min);
  const Date end = now() + 2h;
  store.pause(Seconds(7200), now());
  EXPECT_EQ(defaults.object(untilKey), DefaultsValue(end));
  EXPECT_EQ(defaults.object(indefinitelyKey), DefaultsValue(false));
  time.advance(Seconds(7199.5));
  EXPECT_EQ(store.snapshot(), (NotificationPauseSnapshot{end, false}));
  time.advance(0.5s);
  EXPECT_FALSE(store.snapshot().isPaused());
  EXPECT_EQ(defaults.object(untilKey), std::nullopt);
  EXPECT_EQ(defaults.object(indefinitelyKey), DefaultsValue(false));
}

TEST_F(NotificationPauseStoreTest, pausesWithoutEnd) {
  store.pause(Seconds(60), now());
  store.pauseIndefinitely();
  EXPECT_EQ(defaults.object(untilKey), std::nullopt);
  time.advance(24h);
  EXPECT_EQ(store.snapshot(), (NotificationPauseSnapshot{std::nullopt, true}));
}

TEST_F(NotificationPauseStoreTest, turnsAnEndlessPauseIntoATimedOne) {
  store.pauseIndefinitely();
  store.pause(Seconds(7200), now());
  EXPECT_EQ(store.snapshot(), (NotificationPauseSnapshot{now() + 2h, false}));
}

TEST_F(NotificationPauseStoreTest, resumesFromBoth) {
  store.pause(Seconds(60), now());
  store.resume();
  EXPECT_FALSE(store.snapshot().isPaused());
  store.pauseIndefinitely();
  store.resume();
  EXPECT_FALSE(store.snapshot().isPaused());
  EXPECT_EQ(defaults.object(indefinitelyKey), DefaultsValue(false));
}

TEST_F(NotificationPauseStoreTest, treatsAValueOfAnotherTypeAsAbsent) {
  defaults.setObject(untilKey, std::string("tomorrow"));
  defaults.setObject(indefinitelyKey, std::string("yes"));
  EXPECT_FALSE(store.snapshot().isPaused());
}

TEST_F(NotificationPauseStoreTest, survivesARestart) {
  store.pause(Seconds(60), now());
  NotificationPauseStore restarted(defaults, time.clock());
  EXPECT_TRUE(restarted.snapshot().isPaused());
}

}  // namespace
}  // namespace tallyfox
