// The Mac's main queue goes on where the run loop goes on: inside a task that waits in a run loop of its own, and in
// the modes of menus and panels. Runs on the main thread, as gtest_main does.

#include "platform/macos/MacMainQueue.hpp"

#import <CoreFoundation/CoreFoundation.h>
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <string>
#include <thread>

#include "platform/macos/MacClock.hpp"

namespace tallyfox::mac_os {
namespace {

/// Runs the run loop until the condition holds, for a few seconds at most; says whether it holds.
bool runsUntil(const std::function<bool()>& condition, CFRunLoopMode mode = kCFRunLoopDefaultMode) {
  const MacClock clock;
  const Seconds end = clock.continuous() + Seconds{5};
  while (!condition() && clock.continuous() < end)
    CFRunLoopRunInMode(mode, 0.01, true);
  return condition();
}

void runFor(Seconds length) {
  CFRunLoopRunInMode(kCFRunLoopDefaultMode, length.count(), false);
}

TEST(MacMainQueue, isCurrentOnTheMainThreadAlone) {
  MacMainQueue queue;
  EXPECT_TRUE(queue.isCurrent());
  std::thread([&] { EXPECT_FALSE(queue.isCurrent()); }).join();
}

TEST(MacMainQueue, runsWhatOtherThreadsPostInOrder) {
  MacMainQueue queue;
  std::string order;
  std::thread([&] {
    for (const char mark : {'a', 'b', 'c'})
      queue.post([&order, mark] { order += mark; });
  }).join();
  EXPECT_EQ(order, "");
  EXPECT_TRUE(runsUntil([&] { return order.size() == 3; }));
  EXPECT_EQ(order, "abc");
}

TEST(MacMainQueue, goesOnWhileATaskWaitsInARunLoopOfItsOwn) {
  MacMainQueue queue;
  std::string order;
  queue.post([&] {
    order += 'a';
    EXPECT_TRUE(runsUntil([&] { return order.ends_with("t"); }));
    order += 'd';
  });
  queue.post([&] { order += 'b'; });
  queue.post([&] { order += 'c'; });
  const auto timer = queue.after(Seconds{0.1}, [&] { order += 't'; });
  EXPECT_TRUE(runsUntil([&] { return order.size() == 5; }));
  EXPECT_EQ(order, "abctd");
}

TEST(MacMainQueue, goesOnWhileATimersTaskWaitsInARunLoopOfItsOwn) {
  MacMainQueue queue;
  std::string order;
  const auto waiting = queue.after(Seconds{0.02}, [&] {
    order += 'a';
    EXPECT_TRUE(runsUntil([&] { return order.size() == 3; }));
    order += 'd';
  });
  const auto during = queue.after(Seconds{0.06}, [&] {
    order += 'b';
    queue.post([&] { order += 'c'; });
  });
  EXPECT_TRUE(runsUntil([&] { return order.size() == 4; }));
  EXPECT_EQ(order, "abcd");
}

TEST(MacMainQueue, goesOnInEveryCommonMode) {
  const CFRunLoopMode menuMode = CFSTR("com.tallyfox.test.menu");
  CFRunLoopAddCommonMode(CFRunLoopGetMain(), menuMode);
  MacMainQueue queue;
  std::string order;
  queue.post([&] { order += 'a'; });
  const auto timer = queue.after(Seconds{0.02}, [&] { order += 'b'; });
  EXPECT_TRUE(runsUntil([&] { return order.size() == 2; }, menuMode));
  EXPECT_EQ(order, "ab");
}

TEST(MacMainQueue, repeatsUntilTheHandleGoesAlsoFromWithin) {
  MacMainQueue queue;
  int ticks = 0;
  ScheduledHandle timer = queue.every(Seconds{0.01}, [&] {
    if (++ticks == 3) timer.reset();
  });
  EXPECT_TRUE(runsUntil([&] { return ticks == 3; }));
  runFor(Seconds{0.05});
  EXPECT_EQ(ticks, 3);
}

TEST(MacMainQueue, dropsWhatWaitsWhenItGoes) {
  auto queue = std::make_unique<MacMainQueue>();
  auto held = std::make_shared<int>(1);
  const std::weak_ptr<int> captured = held;
  queue->post([held = std::move(held)] { FAIL(); });
  const auto timer = queue->after(Seconds{0.01}, [] { FAIL(); });
  queue.reset();
  EXPECT_TRUE(captured.expired());
  runFor(Seconds{0.05});
}

TEST(MacMainQueue, letsATaskDestroyIt) {
  auto queue = std::make_unique<MacMainQueue>();
  bool ran = false;
  queue->post([&] {
    queue.reset();
    ran = true;
  });
  queue->post([] { FAIL(); });
  EXPECT_TRUE(runsUntil([&] { return ran; }));
  runFor(Seconds{0.05});
}

TEST(MacMainQueue, letsATimersTaskDestroyIt) {
  auto queue = std::make_unique<MacMainQueue>();
  bool ran = false;
  const auto first = queue->after(Seconds{0.01}, [&] {
    queue.reset();
    ran = true;
  });
  const auto second = queue->after(Seconds{0.01}, [] { FAIL(); });
  EXPECT_TRUE(runsUntil([&] { return ran; }));
  runFor(Seconds{0.05});
}

}  // namespace
}  // namespace tallyfox::mac_os
