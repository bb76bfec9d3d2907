// The phone's socket over loopback: hello and its refusals, the traffic, and how it ends.
#include "PhoneSession.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "LiveRelay.hpp"

namespace tallyfox::server {
namespace {

using ::testing::AnyOf;
using ::testing::HasSubstr;
using testing::LiveRelay;
using testing::registered;
using testing::TemporaryDirectory;
using testing::TestPhone;
using testing::TestSocket;
namespace message = testing::message;

/// Of 1 MiB each, and far more than the kernel keeps for one connection and the tightened queue together.
constexpr int largeFrames = 12;

RelayLimits tightLimits() {
  RelayLimits limits;
  limits.helloTime = std::chrono::milliseconds(300);
  limits.closeTime = std::chrono::milliseconds(500);
  limits.outgoingBytes = 2U * 1024U * 1024U + 1024U;
  return limits;
}

class PhoneSessionTest : public ::testing::Test {
 protected:
  PhoneSessionTest() { EXPECT_EQ(registered(relay.port(), "P1", "token").status, 204U); }
  TestPhone phone(const std::string& deviceID) { return {relay.port(), "P1", "token", deviceID}; }
  /// An agent that has read its first status.
  std::unique_ptr<TestSocket> agent() {
    auto socket = std::make_unique<TestSocket>(relay.port(), "/", "token");
    EXPECT_THAT(socket->next(), HasSubstr("phone.status"));
    return socket;
  }
  /// What a phone gets for this first frame.
  std::string answerTo(const std::string& firstFrame) {
    TestSocket socket(relay.port(), "/phone?from=test");
    EXPECT_EQ(socket.status, 101U);
    socket.send(firstFrame);
    return socket.next();
  }

  TemporaryDirectory directory;
  LiveRelay relay{directory.path(), tightLimits()};
};

TEST_F(PhoneSessionTest, helloIsRefusedWithTheRightCode) {
  EXPECT_EQ(answerTo("{}"), "closed 4400");
  EXPECT_EQ(answerTo(message::request("R1")), "closed 4400");
  EXPECT_EQ(answerTo(message::hello("P1", "token", "D 1", "Name")), "closed 4400");
  EXPECT_EQ(answerTo(message::hello("P9", "token", "D1", "Name")), "closed 4401");
  EXPECT_EQ(answerTo(message::hello("P1", "other", "D1", "Name")), "closed 4401");
  EXPECT_EQ(answerTo(message::hello("P1", "token", "D1", std::string(70000, 'x'))), "closed 1009");
}

TEST_F(PhoneSessionTest, helloThatDoesNotComeIsMalformed) {
  TestSocket socket(relay.port(), "/phone");
  EXPECT_EQ(socket.next(), "closed 4400");
}

TEST_F(PhoneSessionTest, seventeenthPhoneIsRefusedWith4429) {
  for (int number = 1; number <= 16; ++number) {
    TestPhone each = phone("D" + std::to_string(number));
    EXPECT_EQ(each.next(), message::welcome(false));
  }
  EXPECT_EQ(phone("D17").next(), "closed 4429");
  EXPECT_EQ(phone("D16").next(), message::welcome(false));
}

TEST_F(PhoneSessionTest, joinsToTheLastSnapshot) {
  const auto mac = agent();
  mac->send(message::snapshot("ax1:1"));
  mac->send(message::snapshot("ax1:2"));
  TestPhone first = phone("D1");
  EXPECT_EQ(first.next(), message::welcome(true));
  std::string snapshot = first.next();
  // The hello may overtake the snapshots on the way; then they follow.
  if (snapshot == message::snapshot("ax1:1")) snapshot = first.next();
  EXPECT_EQ(snapshot, message::snapshot("ax1:2"));
  mac->close();
  EXPECT_EQ(first.next(), message::agentStatus(false));
  TestPhone second = phone("D2");
  EXPECT_EQ(second.next(), message::welcome(false));
  EXPECT_EQ(second.next(), message::snapshot("ax1:2"));
}

TEST_F(PhoneSessionTest, requestsAndResultsPassWordForWord) {
  const auto mac = agent();
  TestPhone first = phone("D1");
  EXPECT_EQ(first.next(), message::welcome(true));
  TestPhone second = phone("D2");
  EXPECT_EQ(second.next(), message::welcome(true));
  EXPECT_THAT(mac->next(), HasSubstr(R"("phoneCount":1)"));
  EXPECT_THAT(mac->next(), HasSubstr(R"("phoneCount":2)"));
  first.send(message::request("R1"));
  EXPECT_EQ(mac->next(), message::request("R1"));
  second.send(message::suppression("approval.unsuppress", "R2"));
  EXPECT_EQ(mac->next(), message::suppression("approval.unsuppress", "R2"));
  mac->send(message::result("R1"));
  EXPECT_EQ(first.next(), message::result("R1"));
  EXPECT_EQ(second.next(), message::result("R1"));
}

TEST_F(PhoneSessionTest, requestWithoutAgentIsUndeliverable) {
  TestPhone first = phone("D1");
  EXPECT_EQ(first.next(), message::welcome(false));
  first.send(message::request("R1"));
  EXPECT_EQ(first.next(), message::undeliverable("R1"));
}

TEST_F(PhoneSessionTest, agentIsToldOfPhonesThatComeAndGo) {
  const auto mac = agent();
  TestPhone first = phone("D1");
  EXPECT_EQ(first.next(), message::welcome(true));
  EXPECT_THAT(mac->next(), HasSubstr(R"("phoneConnected":true,"phoneCount":1)"));
  first.close();
  EXPECT_THAT(mac->next(), HasSubstr(R"("phoneConnected":false,"phoneCount":1)"));
}

TEST_F(PhoneSessionTest, fifthSocketOfTheDeviceReplacesItsOldest) {
  TestPhone oldest = phone("D1");
  EXPECT_EQ(oldest.next(), message::welcome(false));
  TestPhone second = phone("D1");
  TestPhone third = phone("D1");
  TestPhone fourth = phone("D1");
  TestPhone fifth = phone("D1");
  for (TestPhone* newer : {&second, &third, &fourth, &fifth})
    EXPECT_EQ(newer->next(), message::welcome(false));
  EXPECT_EQ(oldest.next(), "closed 4000");
}

TEST_F(PhoneSessionTest, malformedFrameClosesAndUnknownTypeDoesNot) {
  TestPhone first = phone("D1");
  EXPECT_EQ(first.next(), message::welcome(false));
  first.send(R"({"type":"phone.unheard-of"})");
  first.send(message::request("R1"));
  EXPECT_EQ(first.next(), message::undeliverable("R1"));
  first.send("no json");
  EXPECT_EQ(first.next(), "closed 4400");
}

TEST_F(PhoneSessionTest, frameAboveItsLimitClosesWith1009) {
  TestPhone first = phone("D1");
  EXPECT_EQ(first.next(), message::welcome(false));
  first.send(std::string(64U * 1024U + 1, ' '));
  EXPECT_EQ(first.next(), "closed 1009");
}

TEST_F(PhoneSessionTest, leavesAndMayPairAgain) {
  const auto mac = agent();
  TestPhone first = phone("D1");
  EXPECT_EQ(first.next(), message::welcome(true));
  EXPECT_THAT(mac->next(), HasSubstr(R"("phoneCount":1)"));
  first.send(message::leave);
  EXPECT_EQ(first.next(), "closed 1000");
  EXPECT_THAT(mac->next(), HasSubstr(R"("phoneCount":0)"));
  EXPECT_EQ(phone("D1").next(), message::welcome(true));
}

TEST_F(PhoneSessionTest, unpairedDeviceIsToldClosedAndRefused) {
  const auto mac = agent();
  TestPhone first = phone("D1");
  EXPECT_EQ(first.next(), message::welcome(true));
  TestPhone second = phone("D2");
  EXPECT_EQ(second.next(), message::welcome(true));
  mac->send(message::unpair("D1"));
  EXPECT_EQ(first.next(), message::unpaired);
  EXPECT_EQ(first.next(), "closed 4410");
  EXPECT_EQ(phone("D1").next(), "closed 4410");
  mac->send(message::result("R1"));
  EXPECT_EQ(second.next(), message::result("R1"));
}

TEST_F(PhoneSessionTest, slowPhoneIsCutAndTheOthersGoOn) {
  const auto mac = agent();
  TestPhone slow = phone("D1");
  EXPECT_EQ(slow.next(), message::welcome(true));
  EXPECT_THAT(mac->next(), HasSubstr(R"("phoneConnected":true)"));
  // Far more than the queue and the buffers of both sockets hold.
  const std::string large = message::result("R1", std::string(1024U * 1024U, 'x'));
  for (int count = 0; count < largeFrames; ++count)
    mac->send(large);
  EXPECT_THAT(mac->next(), HasSubstr(R"("phoneConnected":false)"));
  // The answer to a last frame shows that all were dealt with.
  mac->send(message::unpair("D1"));
  EXPECT_THAT(mac->next(), HasSubstr(R"("phoneCount":0)"));
  TestPhone other = phone("D2");
  EXPECT_EQ(other.next(), message::welcome(true));
  mac->send(message::result("R2"));
  EXPECT_EQ(other.next(), message::result("R2"));
  // What the slow phone still finds in its own buffers ends before everything that was sent.
  int received = 0;
  std::string last;
  while ((last = slow.next()) == large)
    ++received;
  EXPECT_LT(received, largeFrames);
  EXPECT_THAT(last, AnyOf("closed 4008", "cut"));
}

TEST_F(PhoneSessionTest, phoneThatReadsLateIsClosedWith4008) {
  RelayLimits limits = tightLimits();
  limits.closeTime = std::chrono::minutes(10);
  limits.idleTime = std::chrono::minutes(10);
  const TemporaryDirectory otherDirectory;
  LiveRelay patient(otherDirectory.path(), limits);
  ASSERT_EQ(registered(patient.port(), "P1", "token").status, 204U);
  TestSocket mac(patient.port(), "/", "token");
  TestPhone slow(patient.port(), "P1", "token", "D1");
  EXPECT_EQ(slow.next(), message::welcome(true));
  TestPhone quick(patient.port(), "P1", "token", "D2");
  EXPECT_EQ(quick.next(), message::welcome(true));
  const std::string large = message::result("R1", std::string(1024U * 1024U, 'x'));
  for (int count = 0; count < largeFrames; ++count) {
    mac.send(large);
    // The relay has dealt with a frame once another phone has it; reading before that would empty the queue again.
    EXPECT_EQ(quick.next(), large);
  }
  std::string last;
  while ((last = slow.next()) == large)
    continue;
  EXPECT_EQ(last, "closed 4008");
}

}  // namespace
}  // namespace tallyfox::server
