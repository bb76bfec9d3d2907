// A peer that does not answer costs its time-out a few times and is then left alone for a growing while, until it is
// heard of; who answers is asked at any time.

#include "platform/linux/AtspiBus.hpp"

#include <gtest/gtest.h>

#include "platform/PrivateBus.hpp"

namespace tallyfox::linux_os {
namespace {

constexpr const char* object = "/org/example/object";
constexpr const char* quietName = "org.example.Quiet";
constexpr const char* livelyName = "org.example.Lively";

class AtspiBusTest : public ::testing::Test {
 protected:
  AtspiBusTest() {
    (void)privateBus_.connect();
    bus_ = AtspiBus::connect(privateBus_.address()).value();
    bus_->setTimeout(quietName, std::chrono::milliseconds(30));
  }

  std::expected<void, AXError> ask(const char* name) {
    bus_->catchUp();
    std::expected<void, AXError> result = std::unexpected(AXError::unsupported);
    bus_->send({{.busName = name, .path = object}, "org.example.Thing", "Do", {}}, [&result](AtspiBus::Answer answer) {
      if (answer) result = {};
      if (!answer) result = std::unexpected(answer.error());
    });
    bus_->run();
    return result;
  }
  /// Asks the quiet peer again and again, with an exchange between each two questions in which its answered probes come
  /// in: until it received so many in all, and then some rounds more that it must not receive.
  void askUntilReceived(int count) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    int moreRounds = 30;
    while (moreRounds > 0 && std::chrono::steady_clock::now() < deadline) {
      EXPECT_EQ(ask(quietName), std::unexpected(AXError::cannotComplete));
      EXPECT_TRUE(ask(livelyName)) << "others are not delayed";
      if (received_ >= count) --moreRounds;
    }
    EXPECT_EQ(received_, count);
  }

  PrivateBus privateBus_;
  std::atomic<bool> isTalking_ = false;
  std::atomic<int> received_ = 0;
  BusProgram quiet_{privateBus_, quietName, object, [this](sd_bus_message* call) {
                      ++received_;
                      return isTalking_ ? sd_bus_reply_method_return(call, "") : 1;
                    }};
  BusProgram lively_{privateBus_, livelyName, object,
                     [](sd_bus_message* call) { return sd_bus_reply_method_return(call, ""); }};
  std::unique_ptr<AtspiBus> bus_;
};

TEST_F(AtspiBusTest, leavesAPeerAloneAfterThreeTimeoutsInARow) {
  askUntilReceived(3);
}

TEST_F(AtspiBusTest, asksAgainWhomItHeardOf) {
  askUntilReceived(3);
  bus_->retry(quietName);
  askUntilReceived(4);
  bus_->retry("org.example.Nobody");
}

TEST_F(AtspiBusTest, anAnswerEndsTheRow) {
  askUntilReceived(3);
  isTalking_ = true;
  bus_->retry(quietName);
  EXPECT_TRUE(ask(quietName));
  EXPECT_TRUE(ask(quietName));
  isTalking_ = false;
  received_ = 0;
  askUntilReceived(3);
}

TEST(AtspiBusPause, growsWithEachTimeoutUpToAMinute) {
  using std::chrono::seconds;
  const std::vector<seconds> pauses = {seconds(2),  seconds(4),  seconds(8), seconds(16),
                                       seconds(32), seconds(60), seconds(60)};
  for (std::size_t index = 0; index < pauses.size(); ++index)
    EXPECT_EQ(pauseAfterTimeouts(static_cast<int>(index) + 1), pauses[index]);
  EXPECT_EQ(pauseAfterTimeouts(1'000'000), seconds(60));
}

}  // namespace
}  // namespace tallyfox::linux_os
