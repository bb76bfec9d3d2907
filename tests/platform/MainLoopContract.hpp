#pragma once

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <csignal>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>

#include "base/Queue.hpp"
#include "platform/AccessibilityObservers.hpp"
#include "platform/posix/FileDescriptor.hpp"

/// What every main queue is held to: order, timers, foreign descriptors and termination signals as tasks of the main
/// thread. The parameter has the type Loop.
namespace tallyfox::linux_os {

struct Pipe {
  Pipe() {
    int ends[2];
    EXPECT_EQ(::pipe2(ends, O_CLOEXEC | O_NONBLOCK), 0);
    reading = posix_os::FileDescriptor(ends[0]);
    writing = posix_os::FileDescriptor(ends[1]);
  }
  void put(const std::string& text) const {
    EXPECT_EQ(::write(writing.get(), text.data(), text.size()), static_cast<ssize_t>(text.size()));
  }
  [[nodiscard]] std::string take(std::size_t most) const {
    std::string text(most, '\0');
    const ssize_t count = ::read(reading.get(), text.data(), most);
    text.resize(count > 0 ? static_cast<std::size_t>(count) : 0);
    return text;
  }
  posix_os::FileDescriptor reading;
  posix_os::FileDescriptor writing;
};

template <typename World>
class MainLoops : public ::testing::Test {};
template <typename World>
using MainLoopsDeathTest = MainLoops<World>;
TYPED_TEST_SUITE_P(MainLoops);
TYPED_TEST_SUITE_P(MainLoopsDeathTest);

TYPED_TEST_P(MainLoops, callsUntilADescriptorIsReadEmpty) {
  typename TypeParam::Loop loop;
  const Pipe pipe;
  pipe.put("abc");
  std::string read;
  const auto watch = loop.watchReadable(pipe.reading.get(), [&] {
    EXPECT_TRUE(loop.isCurrent());
    read += pipe.take(1);
    if (read.size() == 3) pipe.put("d");
    if (read.size() == 4) loop.quit();
  });
  loop.run();
  EXPECT_EQ(read, "abcd");
}

TYPED_TEST_P(MainLoops, isSilentOnceASubscriptionIsGone) {
  typename TypeParam::Loop loop;
  const Pipe pipe;
  int calls = 0;
  std::unique_ptr<Subscription> watch = loop.watchReadable(pipe.reading.get(), [&] {
    ++calls;
    watch.reset();
  });
  pipe.put("abc");
  const auto end = loop.after(Seconds{0.05}, [&] { loop.quit(); });
  loop.run();
  EXPECT_EQ(calls, 1);
  EXPECT_EQ(pipe.take(10), "abc");
}

TYPED_TEST_P(MainLoops, tellsThatTheOtherEndIsGone) {
  typename TypeParam::Loop loop;
  Pipe pipe;
  const auto watch = loop.watchReadable(pipe.reading.get(), [&] { loop.quit(); });
  pipe.writing = posix_os::FileDescriptor();
  loop.run();
  EXPECT_EQ(pipe.take(1), "");
}

TYPED_TEST_P(MainLoops, letsTwoWatchOneDescriptor) {
  typename TypeParam::Loop loop;
  const Pipe pipe;
  pipe.put("x");
  bool first = false;
  bool second = false;
  const auto finish = [&] {
    if (first && second) loop.quit();
  };
  const auto one = loop.watchReadable(pipe.reading.get(), [&] { first = true, finish(); });
  const auto two = loop.watchReadable(pipe.reading.get(), [&] { second = true, finish(); });
  loop.run();
  EXPECT_TRUE(first && second);
}

TYPED_TEST_P(MainLoops, turnsTerminationSignalsIntoTasks) {
  typename TypeParam::Loop loop;
  int signals = 0;
  const auto watch = loop.watchTerminationSignals([&] {
    EXPECT_TRUE(loop.isCurrent());
    if (++signals == 1)
      ::raise(SIGINT);
    else
      loop.quit();
  });
  loop.post([] { ::raise(SIGTERM); });
  loop.run();
  EXPECT_EQ(signals, 2);
}

TYPED_TEST_P(MainLoops, leavesItsSubscriptionsHarmlessWhenItGoesFirst) {
  const Pipe pipe;
  auto loop = std::make_unique<typename TypeParam::Loop>();
  const auto watch = loop->watchReadable(pipe.reading.get(), [] { FAIL(); });
  const auto timer = loop->after(Seconds{0}, [] { FAIL(); });
  loop.reset();
  pipe.put("x");
}

/// A task that was posted before the end, and one after it.
TYPED_TEST_P(MainLoops, endsAfterThePresentTask) {
  typename TypeParam::Loop loop;
  std::string order;
  loop.post([&] {
    order += 'a';
    loop.post([&] { order += 'c'; });
    loop.quit();
    order += 'b';
  });
  loop.run();
  EXPECT_EQ(order, "ab");
}

TYPED_TEST_P(MainLoops, endsAlsoWhenToldBeforeItRuns) {
  typename TypeParam::Loop loop;
  loop.post([] { FAIL(); });
  loop.quit();
  loop.run();
}

TYPED_TEST_P(MainLoops, runsTasksOfOtherThreadsInOrder) {
  typename TypeParam::Loop loop;
  std::string order;
  std::thread other([&] {
    EXPECT_FALSE(loop.isCurrent());
    for (const char mark : {'a', 'b', 'c'})
      loop.post([&order, mark] { order += mark; });
    loop.post([&] { loop.quit(); });
  });
  loop.run();
  other.join();
  EXPECT_EQ(order, "abc");
}

TYPED_TEST_P(MainLoops, runsTimersInTheOrderOfTheirDeadlines) {
  typename TypeParam::Loop loop;
  std::string order;
  const auto last = loop.after(Seconds{0.04}, [&] { loop.quit(); });
  const auto second = loop.after(Seconds{0.02}, [&] { order += 'b'; });
  const auto first = loop.after(Seconds{0.01}, [&] { order += 'a'; });
  auto never = loop.after(Seconds{0.03}, [] { FAIL(); });
  never.reset();
  int ticks = 0;
  const auto repeated = loop.every(Seconds{0.005}, [&] { ++ticks; });
  loop.run();
  EXPECT_EQ(order, "ab");
  EXPECT_GE(ticks, 1);
}

TYPED_TEST_P(MainLoops, dropsWaitingTasksThatOwnItsHandles) {
  auto loop = std::make_unique<typename TypeParam::Loop>();
  const auto dropped = std::make_shared<int>(0);
  loop->post([dropped, handle = loop->after(Seconds{10}, [] {})] {});
  loop.reset();
  EXPECT_EQ(dropped.use_count(), 1);
}

TYPED_TEST_P(MainLoopsDeathTest, endsTheProcessWhenAnExceptionLeavesATask) {
  EXPECT_DEATH(
      {
        typename TypeParam::Loop loop;
        loop.post([] { throw std::runtime_error("secret"); });
        loop.run();
      },
      "no exception leaves a task of the queue main");
}

REGISTER_TYPED_TEST_SUITE_P(MainLoops, callsUntilADescriptorIsReadEmpty, isSilentOnceASubscriptionIsGone,
                            tellsThatTheOtherEndIsGone, letsTwoWatchOneDescriptor, turnsTerminationSignalsIntoTasks,
                            leavesItsSubscriptionsHarmlessWhenItGoesFirst, endsAfterThePresentTask,
                            endsAlsoWhenToldBeforeItRuns, runsTasksOfOtherThreadsInOrder,
                            runsTimersInTheOrderOfTheirDeadlines, dropsWaitingTasksThatOwnItsHandles);
REGISTER_TYPED_TEST_SUITE_P(MainLoopsDeathTest, endsTheProcessWhenAnExceptionLeavesATask);

}  // namespace tallyfox::linux_os
