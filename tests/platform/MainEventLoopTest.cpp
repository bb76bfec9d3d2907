// The main queue's own services: foreign descriptors and termination signals as tasks of the main thread.

#include "platform/linux/MainEventLoop.hpp"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <csignal>
#include <string>

#include "platform/linux/FileDescriptor.hpp"
#include "platform/linux/LinuxClock.hpp"

namespace tallyfox::linux_os {
namespace {

struct Pipe {
  Pipe() {
    int ends[2];
    EXPECT_EQ(::pipe2(ends, O_CLOEXEC | O_NONBLOCK), 0);
    reading = FileDescriptor(ends[0]);
    writing = FileDescriptor(ends[1]);
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
  FileDescriptor reading;
  FileDescriptor writing;
};

TEST(MainEventLoop, callsUntilADescriptorIsReadEmpty) {
  MainEventLoop loop;
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

TEST(MainEventLoop, isSilentOnceASubscriptionIsGone) {
  MainEventLoop loop;
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

TEST(MainEventLoop, tellsThatTheOtherEndIsGone) {
  MainEventLoop loop;
  Pipe pipe;
  const auto watch = loop.watchReadable(pipe.reading.get(), [&] { loop.quit(); });
  pipe.writing = FileDescriptor();
  loop.run();
  EXPECT_EQ(pipe.take(1), "");
}

TEST(MainEventLoop, letsTwoWatchOneDescriptor) {
  MainEventLoop loop;
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

TEST(MainEventLoop, turnsTerminationSignalsIntoTasks) {
  MainEventLoop loop;
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

TEST(MainEventLoop, leavesItsSubscriptionsHarmlessWhenItGoesFirst) {
  const Pipe pipe;
  auto loop = std::make_unique<MainEventLoop>();
  const auto watch = loop->watchReadable(pipe.reading.get(), [] { FAIL(); });
  const auto timer = loop->after(Seconds{0}, [] { FAIL(); });
  loop.reset();
  pipe.put("x");
}

TEST(LinuxClock, agreesWithTheSystemClock) {
  const auto difference = LinuxClock().now() - std::chrono::system_clock::now();
  EXPECT_LT(std::chrono::abs(difference), std::chrono::seconds(2));
}

}  // namespace
}  // namespace tallyfox::linux_os
