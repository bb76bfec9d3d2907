#pragma once

/// What every serial queue and clock keep to: order, delays, repetition, cancelling, and time.
///
/// A backend joins with
///   INSTANTIATE_TYPED_TEST_SUITE_P(Name, SerialQueueContract, TheBackend);
///   INSTANTIATE_TYPED_TEST_SUITE_P(Name, ClockContract, TheBackend);
/// where TheBackend is default-constructible and has
///   std::shared_ptr<SerialQueue> makeQueue();   a new queue, on a thread of its own where there are threads
///   Clock& clock();
///   bool waitUntil(const std::function<bool()>& condition);   lets the backend work until the condition holds, for a
///                                                             few seconds at most; says whether it holds
///   void pass(Seconds duration);                 lets this much of the backend's time pass
/// The test's own thread is none of the queues.

#include <gtest/gtest.h>

#include <chrono>
#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "base/Queue.hpp"
#include "contract/Recorder.hpp"

namespace tallyfox::contract {

template <typename Backend>
class SerialQueueContract : public testing::Test {
 protected:
  bool sees(std::size_t count) {
    return backend.waitUntil([&] { return seen.size() >= count; });
  }

  Backend backend;
  Recorder<std::string> seen;
};

using Texts = std::vector<std::string>;

TYPED_TEST_SUITE_P(SerialQueueContract);

TYPED_TEST_P(SerialQueueContract, runsTasksInTheOrderPosted) {
  const auto queue = this->backend.makeQueue();
  Texts expected;
  for (int number = 0; number < 100; ++number) {
    expected.push_back(std::to_string(number));
    queue->post([seen = this->seen, number] { seen.add(std::to_string(number)); });
  }
  EXPECT_TRUE(this->sees(100));
  EXPECT_EQ(this->seen.all(), expected);
}

TYPED_TEST_P(SerialQueueContract, runsATaskPostedByATaskAfterItAndAfterThoseWaiting) {
  const auto queue = this->backend.makeQueue();
  queue->post([seen = this->seen, &queue] {
    queue->post([seen, &queue] {
      queue->post([seen] { seen.add("third"); });
      seen.add("second");
    });
    seen.add("first");
  });
  EXPECT_TRUE(this->sees(3));
  EXPECT_EQ(this->seen.all(), (Texts{"first", "second", "third"}));
}

TYPED_TEST_P(SerialQueueContract, isCurrentInsideItsOwnTasksOnly) {
  const auto queue = this->backend.makeQueue();
  const auto other = this->backend.makeQueue();
  EXPECT_FALSE(queue->isCurrent());
  queue->post([seen = this->seen, &queue, &other] {
    seen.add(queue->isCurrent() ? "own" : "not own");
    seen.add(other->isCurrent() ? "other" : "not other");
  });
  EXPECT_TRUE(this->sees(2));
  EXPECT_EQ(this->seen.all(), (Texts{"own", "not other"}));
}

TYPED_TEST_P(SerialQueueContract, runsADelayedTaskOnceAndNotBeforeItsDelay) {
  const auto queue = this->backend.makeQueue();
  const Seconds start = this->backend.clock().continuous();
  Recorder<double> moments;
  const auto handle = queue->after(
      Seconds{0.05}, [moments, &clock = this->backend.clock()] { moments.add(clock.continuous().count()); });
  EXPECT_TRUE(this->backend.waitUntil([&] { return moments.size() == 1; }));
  this->backend.pass(Seconds{0.12});
  ASSERT_EQ(moments.size(), 1U);
  EXPECT_GE(moments.all().front() - start.count(), 0.0499);
}

TYPED_TEST_P(SerialQueueContract, runsATaskWithANegativeDelayAtOnce) {
  const auto queue = this->backend.makeQueue();
  const auto handle = queue->after(Seconds{-5}, [seen = this->seen] { seen.add("ran"); });
  EXPECT_TRUE(this->sees(1));
}

TYPED_TEST_P(SerialQueueContract, runsDelayedTasksInTheOrderOfTheirMoments) {
  const auto queue = this->backend.makeQueue();
  std::vector<ScheduledHandle> handles;
  queue->post([seen = this->seen, &queue, &handles] {
    handles.push_back(queue->after(Seconds{0.15}, [seen] { seen.add("late"); }));
    handles.push_back(queue->after(Seconds{0.05}, [seen] { seen.add("early"); }));
    handles.push_back(queue->after(Seconds{0.10}, [seen] { seen.add("middle"); }));
    queue->post([seen] { seen.add("now"); });
  });
  EXPECT_TRUE(this->sees(4));
  EXPECT_EQ(this->seen.all(), (Texts{"now", "early", "middle", "late"}));
}

TYPED_TEST_P(SerialQueueContract, forgetsADelayedTaskWhenItsHandleGoes) {
  const auto queue = this->backend.makeQueue();
  auto held = std::make_shared<int>(1);
  const std::weak_ptr<int> captured = held;
  auto handle = queue->after(Seconds{0.05}, [seen = this->seen, held = std::move(held)] { seen.add("ran"); });
  handle.reset();
  this->backend.pass(Seconds{0.12});
  EXPECT_EQ(this->seen.size(), 0U);
  EXPECT_TRUE(captured.expired());
}

TYPED_TEST_P(SerialQueueContract, doesNotRunADueTaskCancelledByATaskBeforeIt) {
  const auto queue = this->backend.makeQueue();
  queue->post([seen = this->seen, &queue] {
    auto handle = queue->after(Seconds{0}, [seen] { seen.add("cancelled"); });
    handle.reset();
    queue->post([seen] { seen.add("last"); });
  });
  EXPECT_TRUE(this->sees(1));
  this->backend.pass(Seconds{0.05});
  EXPECT_EQ(this->seen.all(), Texts{"last"});
}

TYPED_TEST_P(SerialQueueContract, repeatsATaskUntilItsHandleGoes) {
  const auto queue = this->backend.makeQueue();
  const Seconds start = this->backend.clock().continuous();
  Recorder<double> moments;
  auto handle = queue->every(Seconds{0.03},
                             [moments, &clock = this->backend.clock()] { moments.add(clock.continuous().count()); });
  EXPECT_TRUE(this->backend.waitUntil([&] { return moments.size() >= 3; }));
  EXPECT_GE(moments.all().at(0) - start.count(), 0.0299);
  EXPECT_GE(moments.all().at(2) - start.count(), 0.0899);
  queue->post([&handle, seen = this->seen] {
    handle.reset();
    seen.add("stopped");
  });
  EXPECT_TRUE(this->sees(1));
  const std::size_t ticks = moments.size();
  this->backend.pass(Seconds{0.1});
  EXPECT_EQ(moments.size(), ticks);
}

TYPED_TEST_P(SerialQueueContract, letsARepeatedTaskEndItself) {
  const auto queue = this->backend.makeQueue();
  auto handle = std::make_shared<ScheduledHandle>();
  queue->post([seen = this->seen, &queue, handle] {
    *handle = queue->every(Seconds{0.02}, [seen, handle = std::weak_ptr(handle)] {
      seen.add("tick");
      if (const auto own = handle.lock()) own->reset();
    });
  });
  EXPECT_TRUE(this->sees(1));
  this->backend.pass(Seconds{0.1});
  EXPECT_EQ(this->seen.size(), 1U);
}

TYPED_TEST_P(SerialQueueContract, neverFiresAnInfinitePeriod) {
  const auto queue = this->backend.makeQueue();
  const auto handle =
      queue->every(Seconds{std::numeric_limits<double>::infinity()}, [seen = this->seen] { seen.add("tick"); });
  this->backend.pass(Seconds{0.1});
  EXPECT_EQ(this->seen.size(), 0U);
}

TYPED_TEST_P(SerialQueueContract, dropsWaitingTasksAndWhatTheyHoldWhenItGoes) {
  auto queue = this->backend.makeQueue();
  auto held = std::make_shared<int>(1);
  const std::weak_ptr<int> captured = held;
  const auto delayed = queue->after(Seconds{0.03}, [seen = this->seen] { seen.add("delayed"); });
  const auto repeated = queue->every(Seconds{0.03}, [seen = this->seen] { seen.add("repeated"); });
  auto holding = queue->after(Seconds{3600}, [held = std::move(held)] {});
  queue.reset();
  holding.reset();
  this->backend.pass(Seconds{0.1});
  EXPECT_EQ(this->seen.size(), 0U);
  EXPECT_TRUE(captured.expired());
}

TYPED_TEST_P(SerialQueueContract, holdsBackItsTasksWhileOneSleepsButNotThoseOfOthers) {
  const auto sleeping = this->backend.makeQueue();
  const auto other = this->backend.makeQueue();
  Clock& clock = this->backend.clock();
  const auto handle = other->after(Seconds{0.1}, [seen = this->seen] { seen.add("other queue"); });
  sleeping->post([seen = this->seen, &clock] {
    clock.sleep(Seconds{0.3});
    seen.add("awake");
  });
  sleeping->post([seen = this->seen] { seen.add("next"); });
  EXPECT_TRUE(this->sees(3));
  EXPECT_EQ(this->seen.all(), (Texts{"other queue", "awake", "next"}));
}

REGISTER_TYPED_TEST_SUITE_P(SerialQueueContract, runsTasksInTheOrderPosted,
                            runsATaskPostedByATaskAfterItAndAfterThoseWaiting, isCurrentInsideItsOwnTasksOnly,
                            runsADelayedTaskOnceAndNotBeforeItsDelay, runsATaskWithANegativeDelayAtOnce,
                            runsDelayedTasksInTheOrderOfTheirMoments, forgetsADelayedTaskWhenItsHandleGoes,
                            doesNotRunADueTaskCancelledByATaskBeforeIt, repeatsATaskUntilItsHandleGoes,
                            letsARepeatedTaskEndItself, neverFiresAnInfinitePeriod,
                            dropsWaitingTasksAndWhatTheyHoldWhenItGoes,
                            holdsBackItsTasksWhileOneSleepsButNotThoseOfOthers);

template <typename Backend>
class ClockContract : public testing::Test {
 protected:
  Backend backend;
};

TYPED_TEST_SUITE_P(ClockContract);

TYPED_TEST_P(ClockContract, sleepsAtLeastAsLongAsAsked) {
  Clock& clock = this->backend.clock();
  const Seconds start = clock.continuous();
  clock.sleep(Seconds{0.05});
  EXPECT_GE((clock.continuous() - start).count(), 0.0499);
}

TYPED_TEST_P(ClockContract, doesNotSleepForANegativeTime) {
  Clock& clock = this->backend.clock();
  const Seconds start = clock.continuous();
  clock.sleep(Seconds{-30});
  EXPECT_LT((clock.continuous() - start).count(), 5);
}

TYPED_TEST_P(ClockContract, letsBothClocksGoOnTogether) {
  Clock& clock = this->backend.clock();
  const Seconds start = clock.continuous();
  const Date startDate = clock.now();
  clock.sleep(Seconds{0.2});
  const Seconds passed = clock.continuous() - start;
  const Seconds passedOnTheWall = clock.now() - startDate;
  EXPECT_NEAR(passed.count(), passedOnTheWall.count(), 0.1);
}

TYPED_TEST_P(ClockContract, tellsAPlausibleDate) {
  EXPECT_GE(this->backend.clock().now(), Date{std::chrono::sys_days{std::chrono::January / 1 / 2025}});
  EXPECT_LT(this->backend.clock().now(), Date{std::chrono::sys_days{std::chrono::January / 1 / 2125}});
}

TYPED_TEST_P(ClockContract, neverGoesBackward) {
  Clock& clock = this->backend.clock();
  Seconds last = clock.continuous();
  for (int reading = 0; reading < 1000; ++reading) {
    const Seconds next = clock.continuous();
    ASSERT_GE(next, last);
    last = next;
  }
}

REGISTER_TYPED_TEST_SUITE_P(ClockContract, sleepsAtLeastAsLongAsAsked, doesNotSleepForANegativeTime,
                            letsBothClocksGoOnTogether, tellsAPlausibleDate, neverGoesBackward);

}  // namespace tallyfox::contract
