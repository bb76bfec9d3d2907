// A week of the agent's life: what it holds after seven days is what it held after one.

#include <gtest/gtest.h>
#include <malloc.h>

#include <cstddef>

#include "sim/harness/Simulation.hpp"

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
// Of the sanitizer's run time, in whose place the C library counts nothing.
extern "C" std::size_t __sanitizer_get_current_allocated_bytes();
#endif

namespace tallyfox::sim {
namespace {

constexpr Seconds day{86400};
/// Timers, delayed frames and what a reconnect has under way.
constexpr std::size_t mostTasks = 100;

std::size_t liveBytes() {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  return __sanitizer_get_current_allocated_bytes();
#else
  return ::mallinfo2().uordblks;
#endif
}

/// Dialogs come and go all day long, the relay, the permission and the clock are not to be relied on.
Scenario busyWeek() {
  Scenario scenario;
  scenario.shortestPause = 20;
  scenario.longestPause = 1200;
  scenario.happenings = 1'000'000;
  scenario.misbehave = scenario.change = scenario.replace = scenario.cover = 0.5;
  scenario.loseTrust = scenario.pause = scenario.dropSocket = 0.5;
  scenario.unpair = 0.05;
  scenario.messageTimesOut = 0.001;
  scenario.frameIsLate = 0.1;
  scenario.registrationFails = 0.3;
  return scenario;
}

/// What the agent alone holds after so many days.
std::size_t bytesAfter(int days) {
  Simulation simulation(20260314, busyWeek());
  for (int lived = 0; lived < days; ++lived) {
    simulation.live(day);
    EXPECT_LT(simulation.pendingTaskCount(), mostTasks) << "after " << lived + 1 << " days";
  }
  EXPECT_TRUE(simulation.failures().empty()) << simulation.failures().front();
  const std::size_t withAgent = liveBytes();
  simulation.kill();
  return withAgent - liveBytes();
}

TEST(LongRun, holdsNoMoreAfterAWeekThanAfterADay) {
  const std::size_t afterADay = bytesAfter(1);
  const std::size_t afterAWeek = bytesAfter(7);
  RecordProperty("bytes_after_a_day", std::to_string(afterADay));
  RecordProperty("bytes_after_a_week", std::to_string(afterAWeek));
  EXPECT_GT(afterADay, 4'000U) << "nothing was measured";
  // A few more dialogs may just be open; a hundred bytes kept for each look at the screen would come to a megabyte.
  EXPECT_LT(afterAWeek, afterADay + 65'536);
}

}  // namespace
}  // namespace tallyfox::sim
