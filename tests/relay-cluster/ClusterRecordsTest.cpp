// What one node changes of what is stored of a pairing reaches its phones and agents at every other.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "ClusterFixture.hpp"

namespace tallyfox::server {
namespace {

using testing::Pending;
using testing::RecordedPeer;
namespace message = testing::message;

using ClusterRecordsTest = testing::ClusterFixture;

TEST_F(ClusterRecordsTest, unpairingReachesEveryNode) {
  RecordedPeer second;
  ASSERT_TRUE(agentJoins(a, agent));
  ASSERT_TRUE(phoneJoins(b, "D1", phone));
  ASSERT_TRUE(phoneJoins(c, "D1", second));
  ASSERT_TRUE(phoneJoins(c, "D2", other));
  agentSays(a, agent, message::unpair("D1"));
  for (const RecordedPeer* const gone : {&phone, &second}) {
    EXPECT_EQ(gone->frames.back(), message::unpaired);
    EXPECT_EQ(gone->closed, CloseCode::unpaired);
  }
  EXPECT_FALSE(other.closed);
  EXPECT_EQ(connectedIn(agent, "D1"), std::nullopt);
  EXPECT_EQ(connectedIn(agent, "D2"), true);
}

TEST_F(ClusterRecordsTest, aDeviceThatLeavesLeavesAtEveryNode) {
  RecordedPeer second;
  ASSERT_TRUE(agentJoins(a, agent));
  ASSERT_TRUE(phoneJoins(b, "D1", phone));
  ASSERT_TRUE(phoneJoins(c, "D1", second));
  phoneSays(b, "D1", phone, message::leave);
  EXPECT_EQ(saying.back().value(), std::unexpected(CloseCode::normal));
  EXPECT_EQ(second.closed, CloseCode::unpaired);
  EXPECT_EQ(connectedIn(agent, "D1"), std::nullopt);
}

TEST_F(ClusterRecordsTest, revocationReachesEveryNode) {
  ASSERT_TRUE(agentJoins(a, agent));
  ASSERT_TRUE(phoneJoins(b, "D1", phone));
  ASSERT_TRUE(phoneJoins(c, "D2", other));
  agentSays(a, agent, message::unpairAll);
  EXPECT_EQ(agent.closed, CloseCode::unpaired);
  for (const RecordedPeer* const gone : {&phone, &other}) {
    EXPECT_EQ(gone->frames.back(), message::unpaired);
    EXPECT_EQ(gone->closed, CloseCode::unpaired);
  }
}

TEST_F(ClusterRecordsTest, whatWasUnpairedBehindItsBackGoesWhenANodeReturns) {
  ASSERT_TRUE(agentJoins(a, agent));
  ASSERT_TRUE(phoneJoins(b, "D1", phone));
  ASSERT_TRUE(phoneJoins(b, "D2", other));
  b.transport.cut();
  agentSays(a, agent, message::unpair("D1"));
  EXPECT_FALSE(phone.closed);
  b.transport.mend();
  EXPECT_EQ(phone.closed, CloseCode::unpaired);
  EXPECT_FALSE(other.closed);
}

TEST_F(ClusterRecordsTest, aStorageThatFailsDismissesNobody) {
  ASSERT_TRUE(agentJoins(a, agent));
  ASSERT_TRUE(phoneJoins(b, "D1", phone));
  b.transport.cut();
  store.failure = "gone";
  b.transport.mend();
  EXPECT_FALSE(phone.closed);
  EXPECT_FALSE(agent.closed);
}

TEST_F(ClusterRecordsTest, aRenamedPhoneIsReportedToTheAgentElsewhere) {
  ASSERT_TRUE(agentJoins(a, agent));
  ASSERT_TRUE(phoneJoins(b, "D1", phone));
  PhoneHello renamed = hello("D1");
  renamed.deviceName = "New name";
  const Pending joined(network.io, c.hub.phoneJoined(renamed, other));
  network.settle();
  EXPECT_THAT(agent.frames.back(), ::testing::HasSubstr("New name"));
}

}  // namespace
}  // namespace tallyfox::server
