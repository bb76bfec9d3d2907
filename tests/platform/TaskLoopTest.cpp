// What queues with threads do beyond the contract: they may die on their own thread, and an exception that leaves a
// task ends the process with a line.

#include "platform/linux/TaskLoop.hpp"

#include <gtest/gtest.h>

#include <latch>
#include <stdexcept>

#include "contract/Recorder.hpp"
#include "platform/LoopbackServers.hpp"
#include "platform/linux/ThreadQueue.hpp"

namespace tallyfox::linux_os {
namespace {

TEST(ThreadQueue, mayBeDestroyedByItsOwnTask) {
  const contract::Recorder<int> seen;
  auto queue = std::make_shared<ThreadQueue>("own");
  std::latch released(1);
  queue->post([seen, &released, own = queue]() mutable {
    released.wait();
    own->post([seen] { seen.add(2); });
    own.reset();
    seen.add(1);
  });
  queue.reset();
  released.count_down();
  EXPECT_TRUE(testing_network::waitUntil([&] { return seen.size() >= 1; }));
  EXPECT_EQ(seen.all(), std::vector<int>{1});
}

TEST(ThreadQueue, waitsForTheTaskThatRuns) {
  const contract::Recorder<int> seen;
  auto queue = std::make_unique<ThreadQueue>("waits");
  std::latch started(1);
  queue->post([seen, &started] {
    started.count_down();
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    seen.add(1);
  });
  started.wait();
  queue.reset();
  EXPECT_EQ(seen.size(), 1U);
}

TEST(ThreadQueue, letsADroppedTaskOwnHandlesOfItsQueue) {
  auto queue = std::make_unique<ThreadQueue>("dropped");
  auto inner = queue->after(Seconds{3600}, [] {});
  const auto outer = queue->after(Seconds{3600}, [held = std::move(inner)] {});
  queue.reset();
  EXPECT_NE(outer, nullptr);
}

TEST(ThreadQueueDeathTest, endsTheProcessWhenAnExceptionLeavesATask) {
  testing::FLAGS_gtest_death_test_style = "threadsafe";
  EXPECT_DEATH(
      {
        ThreadQueue queue("fragile");
        queue.post([] { throw std::runtime_error("with a secret"); });
        std::this_thread::sleep_for(std::chrono::seconds(10));
      },
      "queue fragile");
}

TEST(TaskLoop, doesNotMakeUpForMissedPeriods) {
  const auto loop = std::make_shared<TaskLoop>("busy");
  int ticks = 0;
  const auto handle = loop->every(Seconds{0.01}, [&] {
    if (++ticks == 1) std::this_thread::sleep_for(std::chrono::milliseconds(200));
    if (ticks == 3) loop->stop();
  });
  const auto start = std::chrono::steady_clock::now();
  loop->run();
  EXPECT_EQ(ticks, 3);
  EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(210));
}

TEST(TaskLoop, neverRunsADelayWithoutEnd) {
  const auto loop = std::make_shared<TaskLoop>("endless");
  const auto never = loop->after(Seconds{std::numeric_limits<double>::infinity()}, [] { FAIL(); });
  const auto ages = loop->after(Seconds{1e300}, [] { FAIL(); });
  const auto soon = loop->after(Seconds{0.02}, [&] { loop->stop(); });
  loop->run();
}

}  // namespace
}  // namespace tallyfox::linux_os
