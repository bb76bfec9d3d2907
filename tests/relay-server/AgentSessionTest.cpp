// The agent's socket over loopback: who gets in, what it is told, and how it ends.
#include "AgentSession.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "LiveRelay.hpp"

namespace tallyfox::server {
namespace {

using ::testing::HasSubstr;
using testing::LiveRelay;
using testing::registered;
using testing::TemporaryDirectory;
using testing::TestPhone;
using testing::TestSocket;
namespace message = testing::message;

constexpr const char* noPhones = R"({"type":"phone.status","phoneConnected":false,"phoneCount":0,"phones":[]})";

class AgentSessionTest : public ::testing::Test {
 protected:
  AgentSessionTest() { EXPECT_EQ(registered(relay.port(), "P1", "token").status, 204U); }
  TemporaryDirectory directory;
  LiveRelay relay{directory.path()};
};

TEST_F(AgentSessionTest, isRefusedWith401WithoutAKnownToken) {
  EXPECT_EQ(TestSocket(relay.port(), "/").status, 401U);
  EXPECT_EQ(TestSocket(relay.port(), "/", "other").status, 401U);
}

TEST_F(AgentSessionTest, opensAtAnyPathAndIsToldThePhoneStatus) {
  for (const char* path : {"/", "/agent", "/phone/", "/phones?x=1"}) {
    TestSocket agent(relay.port(), path, "token");
    EXPECT_EQ(agent.status, 101U) << path;
    EXPECT_EQ(Json::parse(agent.next()), Json::parse(noPhones)) << path;
  }
}

TEST_F(AgentSessionTest, newestConnectionWins) {
  TestSocket older(relay.port(), "/", "token");
  EXPECT_THAT(older.next(), HasSubstr("phone.status"));
  TestSocket newer(relay.port(), "/", "token");
  EXPECT_EQ(older.next(), "closed 4000");
  EXPECT_THAT(newer.next(), HasSubstr("phone.status"));
  TestPhone phone(relay.port(), "P1", "token", "D1");
  EXPECT_EQ(phone.next(), message::welcome(true));
}

TEST_F(AgentSessionTest, unpairingAllClosesItWith4410AndRefusesItWith410) {
  TestSocket agent(relay.port(), "/", "token");
  EXPECT_THAT(agent.next(), HasSubstr("phone.status"));
  TestPhone phone(relay.port(), "P1", "token", "D1");
  EXPECT_EQ(phone.next(), message::welcome(true));
  EXPECT_THAT(agent.next(), HasSubstr("phone.status"));
  agent.send(message::unpairAll);
  EXPECT_EQ(phone.next(), message::unpaired);
  EXPECT_EQ(phone.next(), "closed 4410");
  EXPECT_EQ(agent.next(), "closed 4410");
  EXPECT_EQ(registered(relay.port(), "P1", "token").status, 410U);
  EXPECT_EQ(TestSocket(relay.port(), "/", "token").status, 410U);
  TestPhone again(relay.port(), "P1", "token", "D1");
  EXPECT_EQ(again.next(), "closed 4410");
}

TEST_F(AgentSessionTest, survivesAMalformedFrameAndAnUnknownType) {
  TestSocket agent(relay.port(), "/", "token");
  EXPECT_THAT(agent.next(), HasSubstr("phone.status"));
  TestPhone phone(relay.port(), "P1", "token", "D1");
  EXPECT_EQ(phone.next(), message::welcome(true));
  EXPECT_THAT(agent.next(), HasSubstr("phone.status"));
  agent.send("{");
  agent.send(R"({"type":"mac.unheard-of"})");
  agent.sendBinary("\xFF\xFE");
  agent.send(message::result("R1"));
  EXPECT_EQ(phone.next(), message::result("R1"));
}

TEST_F(AgentSessionTest, maySendFramesOfEightMebibytesButNotMore) {
  TestSocket agent(relay.port(), "/", "token");
  EXPECT_THAT(agent.next(), HasSubstr("phone.status"));
  const std::size_t rest = message::snapshot("ax1:1").size();
  const std::string greatest = message::snapshot("ax1:1", std::string(8U * 1024U * 1024U - rest, 'x'));
  agent.send(greatest);
  TestPhone phone(relay.port(), "P1", "token", "D1");
  EXPECT_EQ(phone.next(), message::welcome(true));
  EXPECT_TRUE(phone.next() == greatest);
  EXPECT_THAT(agent.next(), HasSubstr("phone.status"));
  agent.send(greatest + " ");
  EXPECT_EQ(agent.next(), "closed 1009");
  EXPECT_EQ(phone.next(), message::agentStatus(false));
}

TEST(AgentSession, isCutWhenItAnswersNoPing) {
  const TemporaryDirectory directory;
  RelayLimits limits;
  limits.pingInterval = std::chrono::milliseconds(50);
  limits.idleTime = std::chrono::milliseconds(300);
  LiveRelay relay(directory.path(), limits);
  ASSERT_EQ(registered(relay.port(), "P1", "token").status, 204U);
  TestPhone phone(relay.port(), "P1", "token", "D1");
  // Reading answers pings, so this phone stays; the agent's connection is opened and then left alone.
  EXPECT_EQ(phone.next(), message::welcome(false));
  testing::TestConnection silentAgent(relay.port());
  silentAgent.write(
      "GET / HTTP/1.1\r\nHost: relay\r\nauthorization: Bearer token\r\nUpgrade: websocket\r\nConnection: Upgrade\r\n"
      "Sec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==\r\nSec-WebSocket-Version: 13\r\n\r\n");
  EXPECT_EQ(phone.next(), message::agentStatus(true));
  EXPECT_EQ(phone.next(), message::agentStatus(false));
}

}  // namespace
}  // namespace tallyfox::server
