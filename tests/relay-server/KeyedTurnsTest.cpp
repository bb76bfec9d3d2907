// Turns on one key: one at a time, in order; nobody waits for another key or for somebody who went away.
#include "KeyedTurns.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <boost/asio/as_tuple.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <vector>

#include "Awaited.hpp"

namespace tallyfox::server {
namespace {

namespace asio = boost::asio;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using testing::Pending;

class KeyedTurnsTest : public ::testing::Test {
 protected:
  /// Takes a turn and keeps it until its timer is cancelled.
  asio::awaitable<void> work(std::string key, int number) {
    const auto turn = co_await turns.take(std::move(key));
    begun.push_back(number);
    co_await timers.at(static_cast<std::size_t>(number)).async_wait(asio::as_tuple(asio::use_awaitable));
    ended.push_back(number);
  }
  void settle() {
    io.restart();
    io.poll();
  }
  void finish(std::size_t number) {
    timers.at(number).cancel();
    settle();
  }

  KeyedTurns turns;
  std::vector<int> begun, ended;
  asio::io_context io;
  std::vector<asio::steady_timer> timers = [this] {
    std::vector<asio::steady_timer> made;
    for (int number = 0; number < 3; ++number)
      made.emplace_back(io, asio::steady_timer::time_point::max());
    return made;
  }();
};

TEST_F(KeyedTurnsTest, followOneAnotherInTheOrderOfAsking) {
  const Pending first(io, work("P1", 0)), second(io, work("P1", 1)), third(io, work("P1", 2));
  settle();
  EXPECT_THAT(begun, ElementsAre(0));
  finish(0);
  EXPECT_THAT(begun, ElementsAre(0, 1));
  EXPECT_THAT(ended, ElementsAre(0));
  finish(1);
  finish(2);
  EXPECT_THAT(ended, ElementsAre(0, 1, 2));
}

TEST_F(KeyedTurnsTest, ofDifferentKeysGoOnSideBySide) {
  const Pending first(io, work("P1", 0)), second(io, work("P2", 1));
  settle();
  EXPECT_THAT(begun, ElementsAre(0, 1));
  finish(1);
  finish(0);
  EXPECT_THAT(ended, ElementsAre(1, 0));
}

TEST_F(KeyedTurnsTest, canBeTakenAgainOnceNobodyHasThem) {
  const Pending first(io, work("P1", 0));
  settle();
  finish(0);
  const Pending second(io, work("P1", 1));
  settle();
  EXPECT_THAT(begun, ElementsAre(0, 1));
  finish(1);
}

TEST(KeyedTurns, ofCoroutinesThatAreDestroyedHoldNobodyUp) {
  KeyedTurns turns;
  int taken = 0;
  const auto hold = [&]() -> asio::awaitable<void> {
    const auto turn = co_await turns.take("P1");
    ++taken;
    asio::steady_timer forever(co_await asio::this_coro::executor, asio::steady_timer::time_point::max());
    co_await forever.async_wait(asio::as_tuple(asio::use_awaitable));
  };
  {
    asio::io_context abandoned;
    const Pending first(abandoned, hold()), second(abandoned, hold()), third(abandoned, hold());
    abandoned.poll();
    EXPECT_EQ(taken, 1);
  }
  asio::io_context io;
  const Pending next(io, hold());
  io.poll();
  EXPECT_EQ(taken, 2);
}

}  // namespace
}  // namespace tallyfox::server
