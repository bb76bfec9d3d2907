// The main queue of programs without windows, and the clock.

#include "platform/MainLoopContract.hpp"
#include "platform/linux/LinuxClock.hpp"
#include "platform/linux/MainEventLoop.hpp"

namespace tallyfox::linux_os {
namespace {

struct AsioWorld {
  using Loop = MainEventLoop;
};
INSTANTIATE_TYPED_TEST_SUITE_P(Asio, MainLoops, AsioWorld);
INSTANTIATE_TYPED_TEST_SUITE_P(Asio, MainLoopsDeathTest, AsioWorld);

TEST(LinuxClock, agreesWithTheSystemClock) {
  const auto difference = LinuxClock().now() - std::chrono::system_clock::now();
  EXPECT_LT(std::chrono::abs(difference), std::chrono::seconds(2));
}

}  // namespace
}  // namespace tallyfox::linux_os
