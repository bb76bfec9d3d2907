// Shows that virtual time is exact, runs tasks deterministically, and treats a sleeping task as a sleeping thread.

#include "platform/memory/VirtualTime.hpp"

#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <string>
#include <vector>

namespace tallyfox::memory {
namespace {

constexpr Date newYear = std::chrono::sys_days{std::chrono::January / 1 / 2026};

class VirtualTimeTest : public testing::Test {
 protected:
  Task note(const std::string& text) {
    return [this, text] { log.push_back(text); };
  }
  double seconds() { return time.clock().continuous().count(); }

  VirtualTime time;
  std::shared_ptr<SerialQueue> one = time.makeQueue("one");
  std::shared_ptr<SerialQueue> two = time.makeQueue("two");
  std::vector<std::string> log;
};

TEST_F(VirtualTimeTest, startsAtNewYear2026AndStandsStill) {
  EXPECT_EQ(time.clock().now(), newYear);
  time.runDue();
  EXPECT_EQ(time.clock().now(), newYear);
}

TEST_F(VirtualTimeTest, runsNothingBeforeItIsTold) {
  one->post(note("posted"));
  EXPECT_TRUE(log.empty());
  EXPECT_EQ(time.pendingTaskCount(), 1U);
  time.runDue();
  EXPECT_EQ(log, std::vector<std::string>{"posted"});
  EXPECT_EQ(time.pendingTaskCount(), 0U);
}

TEST_F(VirtualTimeTest, runsTasksOfAllQueuesInTheOrderPosted) {
  one->post(note("1"));
  two->post(note("2"));
  one->post(note("3"));
  two->post([this] {
    log.push_back("4");
    one->post(note("6"));
  });
  one->post(note("5"));
  time.runDue();
  EXPECT_EQ(log, (std::vector<std::string>{"1", "2", "3", "4", "5", "6"}));
}

TEST_F(VirtualTimeTest, doesNotMoveTheClockForWhatIsDue) {
  const auto later = one->after(Seconds{1}, note("later"));
  time.runDue();
  EXPECT_TRUE(log.empty());
  EXPECT_EQ(seconds(), 0);
}

TEST_F(VirtualTimeTest, runsEachTaskAtItsOwnMoment) {
  std::vector<double> moments;
  const auto record = [&] { moments.push_back(seconds()); };
  const auto late = one->after(Seconds{2.5}, record);
  const auto early = two->after(Seconds{0.35}, record);
  const auto repeated = one->every(Seconds{1}, record);
  time.advance(Seconds{3});
  EXPECT_EQ(moments, (std::vector<double>{0.35, 1, 2, 2.5, 3}));
  EXPECT_EQ(seconds(), 3);
}

TEST_F(VirtualTimeTest, addsUpPeriodsWithoutDrift) {
  int ticks = 0;
  const auto repeated = one->every(Seconds{0.1}, [&] { ++ticks; });
  time.advance(Seconds{86400});
  EXPECT_EQ(ticks, 864000);
}

TEST_F(VirtualTimeTest, runsOtherQueuesWhileATaskSleeps) {
  const auto handle = two->after(Seconds{0.5}, [this] { log.push_back("two at " + std::to_string(seconds())); });
  one->post([this] {
    time.clock().sleep(Seconds{1});
    log.push_back("one at " + std::to_string(seconds()));
  });
  time.runDue();
  EXPECT_EQ(log, (std::vector<std::string>{"two at 0.500000", "one at 1.000000"}));
}

TEST_F(VirtualTimeTest, holdsBackTheQueueOfASleepingTask) {
  one->post([this] {
    one->post(note("posted before the sleep"));
    time.clock().sleep(Seconds{1});
    log.push_back("awake");
  });
  one->post(note("waiting"));
  const auto timer = one->after(Seconds{0.2}, [this] { log.push_back("timer at " + std::to_string(seconds())); });
  time.runDue();
  EXPECT_EQ(log, (std::vector<std::string>{"awake", "waiting", "posted before the sleep", "timer at 1.000000"}));
}

TEST_F(VirtualTimeTest, letsSleepsOfSeveralQueuesOverlap) {
  one->post([this] {
    time.clock().sleep(Seconds{1});
    log.push_back("one");
    EXPECT_TRUE(one->isCurrent());
  });
  two->post([this] {
    EXPECT_FALSE(one->isCurrent());
    one->post(note("posted to one"));
    time.clock().sleep(Seconds{0.2});
    log.push_back("two");
  });
  time.runDue();
  EXPECT_EQ(log, (std::vector<std::string>{"two", "one", "posted to one"}));
  EXPECT_FALSE(one->isCurrent());
}

TEST_F(VirtualTimeTest, leavesOutTicksMissedDuringASleep) {
  std::vector<double> ticks;
  const auto repeated = one->every(Seconds{1}, [&] {
    ticks.push_back(seconds());
    if (ticks.size() == 1) time.clock().sleep(Seconds{2.5});
  });
  time.advance(Seconds{5});
  EXPECT_EQ(ticks, (std::vector<double>{1, 4, 5}));
}

TEST_F(VirtualTimeTest, advancesUntilTheConditionHoldsAndNoFurther) {
  const auto first = one->after(Seconds{1}, note("first"));
  const auto second = one->after(Seconds{2}, note("second"));
  EXPECT_TRUE(time.advanceUntil([this] { return log.size() == 1; }, Seconds{10}));
  EXPECT_EQ(seconds(), 1);
  EXPECT_FALSE(time.advanceUntil([this] { return log.size() == 3; }, Seconds{10}));
  EXPECT_EQ(seconds(), 11);
  EXPECT_EQ(log, (std::vector<std::string>{"first", "second"}));
}

TEST_F(VirtualTimeTest, changesTheWallClockAlone) {
  time.advance(Seconds{10});
  time.setWallClock(newYear + std::chrono::days{100});
  EXPECT_EQ(time.clock().now(), newYear + std::chrono::days{100});
  EXPECT_EQ(seconds(), 10);
  time.advance(Seconds{1.5});
  EXPECT_EQ(time.clock().now(), newYear + std::chrono::days{100} + std::chrono::milliseconds{1500});
}

TEST_F(VirtualTimeTest, keepsTimersOnTheContinuousClockWhenTheWallClockJumps) {
  const auto handle = one->after(Seconds{5}, note("fired"));
  time.setWallClock(newYear - std::chrono::days{1});
  time.advance(Seconds{4.9});
  EXPECT_TRUE(log.empty());
  time.advance(Seconds{0.1});
  EXPECT_EQ(log.size(), 1U);
}

TEST_F(VirtualTimeTest, ticksOnWithoutAPositivePeriodInsteadOfStandingStill) {
  int ticks = 0;
  const auto repeated = one->every(Seconds{0}, [&] { ++ticks; });
  time.runDue();
  EXPECT_EQ(ticks, 0);
  time.advance(Seconds{0.01});
  EXPECT_EQ(ticks, 10);
}

TEST_F(VirtualTimeTest, letsATaskDestroyItsOwnQueue) {
  auto doomed = time.makeQueue("doomed");
  doomed->post([this, &doomed] {
    doomed.reset();
    log.push_back("ran");
  });
  doomed->post(note("never"));
  time.runDue();
  EXPECT_EQ(log, std::vector<std::string>{"ran"});
  EXPECT_EQ(time.pendingTaskCount(), 0U);
}

TEST(VirtualTime, releasesTasksThatHoldTheirQueueWhenItGoes) {
  std::weak_ptr<SerialQueue> observed;
  ScheduledHandle handle;
  {
    VirtualTime time;
    auto queue = time.makeQueue("queue");
    observed = queue;
    queue->post([queue] {});
    handle = queue->after(Seconds{1}, [] {});
  }
  EXPECT_TRUE(observed.expired());
}

}  // namespace
}  // namespace tallyfox::memory
