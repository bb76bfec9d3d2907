// Token buckets at a clock that the test moves: bursts, refills, waits, and a bounded memory.
#include "AddressLimits.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tallyfox::server {
namespace {

using namespace std::chrono_literals;
using ::testing::Optional;

AddressBytes client(int number) {
  return limitedClient(boost::asio::ip::make_address_v4(static_cast<std::uint32_t>(number)));
}

class AddressLimitsTest : public ::testing::Test {
 protected:
  auto refusal(int number) { return limits.refusal(client(number), now); }

  AddressLimits limits{Rate{.burst = 3, .perSecond = 0.5}, 100};
  AddressLimits::Time now{1h};
};

TEST_F(AddressLimitsTest, allowABurstAndThenTheRate) {
  for (int count = 0; count < 3; ++count)
    EXPECT_EQ(refusal(1), std::nullopt) << count;
  EXPECT_THAT(refusal(1), Optional(2s));
  now += 1999ms;
  EXPECT_THAT(refusal(1), Optional(1s));
  now += 1ms;
  EXPECT_EQ(refusal(1), std::nullopt);
  EXPECT_THAT(refusal(1), Optional(2s));
}

TEST_F(AddressLimitsTest, waitingAsLongAsToldIsEnough) {
  limits = AddressLimits({.burst = 1, .perSecond = 0.3}, 100);
  EXPECT_EQ(refusal(1), std::nullopt);
  for (int count = 0; count < 50; ++count) {
    now += 700ms;
    const auto wait = refusal(1);
    ASSERT_TRUE(wait) << count;
    now += *wait;
    EXPECT_EQ(refusal(1), std::nullopt) << count;
  }
}

TEST_F(AddressLimitsTest, aRefusalCostsNothing) {
  for (int count = 0; count < 3; ++count)
    EXPECT_EQ(refusal(1), std::nullopt);
  for (int count = 0; count < 100; ++count)
    EXPECT_THAT(refusal(1), Optional(2s));
  now += 2s;
  EXPECT_EQ(refusal(1), std::nullopt);
}

TEST_F(AddressLimitsTest, aBucketHoldsNoMoreThanItsBurst) {
  EXPECT_EQ(refusal(1), std::nullopt);
  now += 24h;
  for (int count = 0; count < 3; ++count)
    EXPECT_EQ(refusal(1), std::nullopt);
  EXPECT_TRUE(refusal(1));
}

TEST_F(AddressLimitsTest, clientsDoNotPayForEachOther) {
  for (int count = 0; count < 4; ++count)
    static_cast<void>(refusal(1));
  EXPECT_TRUE(refusal(1));
  EXPECT_EQ(refusal(2), std::nullopt);
}

TEST_F(AddressLimitsTest, forgetClientsWhoseBucketIsFullAgain) {
  for (int number = 0; number < 50; ++number)
    EXPECT_EQ(refusal(number), std::nullopt);
  EXPECT_EQ(limits.clients(), 50U);
  now += 2s;
  EXPECT_EQ(refusal(1000), std::nullopt);
  EXPECT_EQ(limits.clients(), 1U);
}

TEST_F(AddressLimitsTest, forgetTheLeastRecentOfTooMany) {
  for (int count = 0; count < 4; ++count)
    static_cast<void>(refusal(1));
  for (int number = 100; number < 199; ++number)
    EXPECT_EQ(refusal(number), std::nullopt);
  EXPECT_EQ(limits.clients(), 100U);
  EXPECT_TRUE(refusal(1)) << "still known, and now the most recent";
  for (int number = 200; number < 299; ++number)
    EXPECT_EQ(refusal(number), std::nullopt);
  EXPECT_EQ(limits.clients(), 100U);
  EXPECT_TRUE(refusal(1));
  EXPECT_EQ(refusal(300), std::nullopt);
  for (int number = 400; number < 499; ++number)
    EXPECT_EQ(refusal(number), std::nullopt);
  EXPECT_EQ(limits.clients(), 100U);
  EXPECT_EQ(refusal(1), std::nullopt) << "forgotten";
}

TEST_F(AddressLimitsTest, areNotConfusedByATimeThatStandsStill) {
  EXPECT_EQ(refusal(1), std::nullopt);
  now -= 1s;
  EXPECT_EQ(refusal(1), std::nullopt);
  EXPECT_EQ(refusal(1), std::nullopt);
  EXPECT_TRUE(refusal(1));
}

}  // namespace
}  // namespace tallyfox::server
