// How fast a peer may send: bursts and long runs by the arithmetic, and what becomes of a phone, an agent, a pairing's
// reconnects and a client's registrations beyond that.
#include "FrameRate.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "LiveRelay.hpp"

namespace tallyfox::server {
namespace {

using namespace std::chrono_literals;
using ::testing::HasSubstr;
using testing::LiveRelay;
using testing::registered;
using testing::TemporaryDirectory;
using testing::TestPhone;
using testing::TestSocket;
namespace message = testing::message;

const TokenBucket::Time start{std::chrono::hours(1)};

TEST(TokenBucket, allowsABurstAndThenItsRate) {
  TokenBucket bucket({.burst = 3, .perSecond = 2}, start);
  for (int index = 0; index < 3; ++index)
    EXPECT_EQ(bucket.take(1, start), 0ms);
  EXPECT_EQ(bucket.take(1, start), 500ms);
  EXPECT_EQ(bucket.take(1, start + 500ms), 500ms) << "what was taken is owed";
  EXPECT_EQ(bucket.take(1, start + 2s), 0ms);
  EXPECT_EQ(bucket.take(3, start + 1h), 0ms) << "no more than a burst is saved";
  EXPECT_EQ(bucket.take(0.5, start + 1h), 250ms);
}

TEST(TokenBucket, takesNoHarmFromAClockThatStands) {
  TokenBucket bucket({.burst = 1, .perSecond = 1}, start);
  EXPECT_EQ(bucket.take(1, start - 1s), 0ms);
  EXPECT_EQ(bucket.take(1, start - 1s), 1000ms);
}

TEST(FrameRate, countsFramesAndBytes) {
  const FrameRateLimit limit{.frames = {.burst = 2, .perSecond = 1}, .bytes = {.burst = 100, .perSecond = 100}};
  FrameRate frames(limit, start);
  EXPECT_EQ(frames.excess(10, start), 0ms);
  EXPECT_EQ(frames.excess(10, start), 0ms);
  EXPECT_EQ(frames.excess(10, start), 1000ms);
  FrameRate bytes(limit, start);
  EXPECT_EQ(bytes.excess(100, start), 0ms);
  EXPECT_EQ(bytes.excess(50, start), 500ms);
}

class FrameRateLimitsTest : public ::testing::Test {
 protected:
  TemporaryDirectory directory;
  RelayLimits limits;
};

TEST_F(FrameRateLimitsTest, closeAPhoneThatSendsTooFast) {
  limits.phoneRate.frames = {.burst = 3, .perSecond = 0.001};
  LiveRelay relay(directory.path(), limits);
  ASSERT_EQ(registered(relay.port(), "P1", "token").status, 204U);
  TestPhone phone(relay.port(), "P1", "token", "D1");
  EXPECT_EQ(phone.next(), message::welcome(false));
  for (const std::string decision : {"R1", "R2", "R3", "R4"})
    phone.send(message::request(decision));
  for (const std::string decision : {"R1", "R2", "R3"})
    EXPECT_EQ(phone.next(), message::undeliverable(decision));
  EXPECT_EQ(phone.next(), "closed 4430");
  EXPECT_THAT(relay.console.text(), HasSubstr("Phone D1 of pairing P1 sends too fast.\n"));
}

TEST_F(FrameRateLimitsTest, readAnAgentLaterThatSendsTooFastAndLoseNothing) {
  limits.agentRate.frames = {.burst = 2, .perSecond = 20};
  LiveRelay relay(directory.path(), limits);
  ASSERT_EQ(registered(relay.port(), "P1", "token").status, 204U);
  TestSocket agent(relay.port(), "/", "token");
  EXPECT_THAT(agent.next(), HasSubstr("phone.status"));
  TestPhone phone(relay.port(), "P1", "token", "D1");
  EXPECT_EQ(phone.next(), message::welcome(true));
  const auto before = std::chrono::steady_clock::now();
  for (int index = 0; index < 12; ++index)
    agent.send(message::result("R" + std::to_string(index)));
  for (int index = 0; index < 12; ++index)
    EXPECT_EQ(phone.next(), message::result("R" + std::to_string(index)));
  // Nine of them were owed before the last was read, a twentieth of a second each.
  EXPECT_GE(std::chrono::steady_clock::now() - before, 450ms);
}

TEST_F(FrameRateLimitsTest, letOnePairingsAgentComeBackSoOftenAlone) {
  limits.agentConnectionsPerPairing = {.burst = 2, .perSecond = 0.001};
  LiveRelay relay(directory.path(), limits);
  ASSERT_EQ(registered(relay.port(), "P1", "token-1").status, 204U);
  ASSERT_EQ(registered(relay.port(), "P2", "token-2").status, 204U);
  for (const unsigned status : {101U, 101U, 429U})
    EXPECT_EQ(TestSocket(relay.port(), "/", "token-1").status, status);
  EXPECT_EQ(TestSocket(relay.port(), "/", "token-2").status, 101U);
}

TEST_F(FrameRateLimitsTest, letOneClientRegisterSoOftenAlone) {
  limits.registrationsPerAddress = {.burst = 2, .perSecond = 0.001};
  LiveRelay relay(directory.path(), limits);
  for (const unsigned status : {204U, 204U, 429U})
    EXPECT_EQ(registered(relay.port(), "P1", "token").status, status);
  EXPECT_EQ(TestSocket(relay.port(), "/", "token").status, 101U) << "what is no registration goes on";
}

}  // namespace
}  // namespace tallyfox::server
