// Several nodes in one process on virtual time: what crosses, what comes late, what is lost, and who was cut off.
#include "cluster/ClusterBus.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "ClusterFixture.hpp"

namespace tallyfox::server {
namespace {

using ::testing::ElementsAre;
using testing::FakeTransport;
using testing::frameOf;
using ::testing::IsEmpty;
using ::testing::Not;
using testing::Pending;
using testing::RecordedPeer;
using testing::uncertain;
namespace message = testing::message;
using namespace std::chrono_literals;

using ClusterBusTest = testing::ClusterFixture;

TEST_F(ClusterBusTest, aPairingWorksAcrossNodesAsOnOne) {
  ASSERT_TRUE(phoneJoins(b, "D1", phone));
  EXPECT_THAT(phone.taken(), ElementsAre(message::welcome(false)));
  ASSERT_TRUE(agentJoins(a, agent));
  EXPECT_THAT(phone.taken(), ElementsAre(message::agentStatus(true)));
  EXPECT_EQ(connectedIn(agent, "D1"), true);
  agentSays(a, agent, message::snapshot("ax1:1"));
  EXPECT_THAT(phone.taken(), ElementsAre(message::snapshot("ax1:1")));
  static_cast<void>(agent.taken());
  phoneSays(b, "D1", phone, message::request("R1"));
  EXPECT_THAT(agent.taken(), ElementsAre(message::request("R1")));
  agentSays(a, agent, message::result("R1"));
  EXPECT_THAT(phone.taken(), ElementsAre(message::result("R1")));
  ASSERT_TRUE(phoneJoins(c, "D2", other));
  EXPECT_THAT(other.taken(), ElementsAre(message::welcome(true), message::snapshot("ax1:1")));
  EXPECT_EQ(connectedIn(agent, "D2"), true);
  b.hub.phoneLeft({"P1", "D1"}, phone);
  network.settle();
  EXPECT_EQ(connectedIn(agent, "D1"), false);
  a.hub.agentLeft("P1", agent);
  network.settle();
  EXPECT_THAT(other.taken(), ElementsAre(message::agentStatus(false)));
}

TEST_F(ClusterBusTest, roomsAreLeftWithTheirLastSocketAndTheSnapshotStays) {
  ASSERT_TRUE(agentJoins(a, agent));
  ASSERT_TRUE(phoneJoins(b, "D1", phone));
  agentSays(a, agent, message::snapshot("ax1:1"));
  b.hub.phoneLeft({"P1", "D1"}, phone);
  a.hub.agentLeft("P1", agent);
  network.settle();
  EXPECT_THAT(a.transport.rooms(), IsEmpty());
  EXPECT_THAT(b.transport.rooms(), IsEmpty());
  ASSERT_TRUE(phoneJoins(c, "D2", other));
  EXPECT_THAT(other.frames, ElementsAre(message::welcome(false), message::snapshot("ax1:1")));
}

TEST_F(ClusterBusTest, whoIsRefusedLeavesNoRoomBehind) {
  RecordedPeer stranger;
  PhoneHello wrong = hello("D1");
  wrong.relaySecret = "wrong";
  const Pending joined(network.io, b.hub.phoneJoined(wrong, stranger));
  network.settle();
  EXPECT_EQ(joined.value(), std::unexpected(CloseCode::unauthorized));
  EXPECT_THAT(b.transport.rooms(), IsEmpty());
}

TEST_F(ClusterBusTest, theNewestConnectionOfTheAgentWinsAtWhateverNode) {
  ASSERT_TRUE(agentJoins(a, agent));
  ASSERT_TRUE(phoneJoins(c, "D1", phone));
  static_cast<void>(phone.taken());
  ASSERT_TRUE(agentJoins(b, newer));
  EXPECT_EQ(agent.closed, CloseCode::replaced);
  EXPECT_FALSE(newer.closed);
  EXPECT_THAT(phone.frames, IsEmpty()) << "the pairing never was without an agent";
  phoneSays(c, "D1", phone, message::request("R1"));
  EXPECT_EQ(newer.frames.back(), message::request("R1"));
  EXPECT_THAT(agent.frames, Not(::testing::Contains(message::request("R1"))));
}

TEST_F(ClusterBusTest, ofTwoAgentsWhoseClaimsCrossTheNewerStays) {
  network.heldBack = {"node-a", "node-b"};
  const Pending first(network.io, a.hub.agentJoined("P1", agent));
  const Pending second(network.io, b.hub.agentJoined("P1", newer));
  network.settle();
  network.heldBack.clear();
  network.advance(2s);
  network.settle();
  EXPECT_TRUE(first.ended());
  EXPECT_TRUE(second.ended());
  const bool firstLeft = agent.closed == CloseCode::replaced || first.value() == std::unexpected(CloseCode::replaced);
  const bool secondLeft = newer.closed == CloseCode::replaced || second.value() == std::unexpected(CloseCode::replaced);
  EXPECT_NE(firstLeft, secondLeft) << "exactly one stays";
  ASSERT_TRUE(phoneJoins(c, "D1", phone));
  phoneSays(c, "D1", phone, message::request("R1"));
  EXPECT_EQ((firstLeft ? newer : agent).frames.back(), message::request("R1"));
}

TEST_F(ClusterBusTest, anAnnouncementThatComesLateDisplacesNobody) {
  ASSERT_TRUE(phoneJoins(c, "D1", phone));
  network.heldBack = {"node-a"};
  ASSERT_TRUE(agentJoins(a, agent));
  ASSERT_TRUE(agentJoins(b, newer));
  network.heldBack.clear();
  network.settle();
  EXPECT_EQ(agent.closed, CloseCode::replaced);
  EXPECT_FALSE(newer.closed);
  phoneSays(c, "D1", phone, message::request("R1"));
  EXPECT_EQ(newer.frames.back(), message::request("R1"));
}

TEST_F(ClusterBusTest, aLostAnswerMakesADecisionUncertainAndItIsNotSentAgain) {
  ASSERT_TRUE(agentJoins(a, agent));
  ASSERT_TRUE(phoneJoins(b, "D1", phone));
  static_cast<void>(phone.taken());
  static_cast<void>(agent.taken());
  network.answersAreLost = true;
  phoneSays(b, "D1", phone, message::request("R1"));
  network.advance(1999ms);
  EXPECT_THAT(phone.frames, IsEmpty());
  network.advance(1ms);
  EXPECT_THAT(phone.taken(), ElementsAre(uncertain("R1")));
  network.answersAreLost = false;
  network.advance(10s);
  EXPECT_THAT(agent.taken(), ElementsAre(message::request("R1")));
  agentSays(a, agent, message::result("R1"));
  EXPECT_THAT(phone.frames, ElementsAre(message::result("R1"))) << "the agent had it after all";
}

TEST_F(ClusterBusTest, aRequestThatIsUnderWayForTooLongIsUncertain) {
  ASSERT_TRUE(agentJoins(a, agent));
  ASSERT_TRUE(phoneJoins(b, "D1", phone));
  static_cast<void>(phone.taken());
  network.heldBack = {"node-b"};
  phoneSays(b, "D1", phone, message::request("R1"));
  network.advance(2s);
  EXPECT_THAT(phone.taken(), ElementsAre(uncertain("R1")));
  network.heldBack.clear();
  network.settle();
  EXPECT_EQ(agent.frames.back(), message::request("R1"));
  EXPECT_THAT(phone.frames, IsEmpty()) << "an answer after that has no meaning";
}

TEST_F(ClusterBusTest, aRequestForAnAgentThatJustLeftIsOffline) {
  ASSERT_TRUE(agentJoins(a, agent));
  ASSERT_TRUE(phoneJoins(b, "D1", phone));
  static_cast<void>(phone.taken());
  network.heldBack = {"node-a"};
  a.hub.agentLeft("P1", agent);
  phoneSays(b, "D1", phone, message::request("R1"));
  EXPECT_THAT(phone.taken(), ElementsAre(message::undeliverable("R1")));
}

TEST_F(ClusterBusTest, aRequestForAFullAgentIsOffline) {
  ASSERT_TRUE(agentJoins(a, agent));
  ASSERT_TRUE(phoneJoins(b, "D1", phone));
  static_cast<void>(phone.taken());
  agent.full = true;
  phoneSays(b, "D1", phone, message::request("R1"));
  EXPECT_THAT(phone.taken(), ElementsAre(message::undeliverable("R1")));
}

TEST_F(ClusterBusTest, aRequestForANodeThatIsGoneIsOfflineAtOnceAndSoIsItsAgent) {
  ASSERT_TRUE(agentJoins(a, agent));
  ASSERT_TRUE(phoneJoins(b, "D1", phone));
  static_cast<void>(phone.taken());
  a.transport.cut();
  phoneSays(b, "D1", phone, message::request("R1"));
  EXPECT_THAT(phone.taken(), ElementsAre(message::agentStatus(false), message::undeliverable("R1")));
}

TEST_F(ClusterBusTest, whatASilentNodeHadVanishes) {
  ASSERT_TRUE(agentJoins(a, agent));
  ASSERT_TRUE(phoneJoins(b, "D1", phone));
  ASSERT_TRUE(phoneJoins(c, "D2", other));
  static_cast<void>(phone.taken());
  pass(6s, {&a, &b});
  EXPECT_EQ(connectedIn(agent, "D2"), true);
  pass(2s, {&a, &b});
  EXPECT_EQ(connectedIn(agent, "D2"), false);
  EXPECT_EQ(connectedIn(agent, "D1"), true);
  EXPECT_THAT(phone.frames, IsEmpty());
  pass(8s, {&b});
  EXPECT_THAT(phone.taken(), ElementsAre(message::agentStatus(false)));
  pass(1s, {&a, &b, &c});
  EXPECT_THAT(phone.taken(), ElementsAre(message::agentStatus(true))) << "it was only slow";
  EXPECT_EQ(connectedIn(agent, "D2"), true);
}

TEST_F(ClusterBusTest, aNodeThatStopsIsNotWaitedFor) {
  ASSERT_TRUE(agentJoins(a, agent));
  ASSERT_TRUE(phoneJoins(b, "D1", phone));
  static_cast<void>(phone.taken());
  a.bus.stop();
  network.settle();
  EXPECT_THAT(phone.taken(), ElementsAre(message::agentStatus(false)));
}

TEST_F(ClusterBusTest, aNodeThatIsCutOffServesItsOwnAndFindsOutWhatItMissed) {
  RecordedPeer atA;
  ASSERT_TRUE(agentJoins(a, agent));
  ASSERT_TRUE(phoneJoins(a, "D1", atA));
  ASSERT_TRUE(phoneJoins(b, "D2", phone));
  a.transport.cut();
  static_cast<void>(atA.taken());
  pass(8s, {&a, &b});
  phoneSays(a, "D1", atA, message::request("R1"));
  EXPECT_EQ(agent.frames.back(), message::request("R1"));
  static_cast<void>(phone.taken());
  ASSERT_TRUE(agentJoins(b, newer));
  EXPECT_THAT(phone.taken(), ElementsAre(message::agentStatus(true)));
  agentSays(b, newer, message::snapshot("ax1:new"));
  EXPECT_FALSE(agent.closed) << "it does not know yet";
  agentSays(a, agent, message::snapshot("ax1:old"));

  static_cast<void>(atA.taken());
  a.transport.mend();
  EXPECT_EQ(agent.closed, CloseCode::replaced);
  EXPECT_FALSE(newer.closed);
  EXPECT_THAT(atA.taken(), ::testing::Contains(message::snapshot("ax1:new")));
  EXPECT_EQ(FakeTransport::keptIn(network, "P1"), message::snapshot("ax1:new"));
  phoneSays(a, "D1", atA, message::request("R2"));
  EXPECT_EQ(newer.frames.back(), message::request("R2"));
  EXPECT_EQ(connectedIn(newer, "D1"), true);
}

TEST_F(ClusterBusTest, nobodyEntersARoomWhoseOtherNodesCannotBeAsked) {
  ASSERT_TRUE(agentJoins(a, agent));
  c.transport.cut();
  EXPECT_EQ(phoneJoins(c, "D1", phone), std::unexpected(CloseCode::internalError));
  EXPECT_EQ(agentJoins(c, newer), std::unexpected(CloseCode::internalError));
  EXPECT_THAT(c.transport.rooms(), IsEmpty());
  EXPECT_FALSE(agent.closed);
  c.transport.mend();
  EXPECT_TRUE(phoneJoins(c, "D1", phone));
}

TEST_F(ClusterBusTest, theSnapshotOfAReplacedAgentDoesNotStay) {
  ASSERT_TRUE(phoneJoins(c, "D1", phone));
  ASSERT_TRUE(agentJoins(a, agent));
  network.heldBack = {"node-b"};
  const Pending joining(network.io, b.hub.agentJoined("P1", newer));
  network.settle();
  // Node B asks A what it has, which is held back, too.
  network.advance(1s);
  ASSERT_TRUE(joining.value());
  agentSays(b, newer, message::snapshot("ax1:new"));
  agentSays(a, agent, message::snapshot("ax1:old"));
  network.heldBack.clear();
  network.settle();
  EXPECT_EQ(FakeTransport::keptIn(network, "P1"), message::snapshot("ax1:new"));
  EXPECT_EQ(phone.frames.back(), message::snapshot("ax1:new"));
}

TEST_F(ClusterBusTest, knowsWhetherADeviceIsConnectedAnywhere) {
  ASSERT_TRUE(agentJoins(a, agent));
  EXPECT_FALSE(a.hub.isConnected({"P1", "D1"}));
  ASSERT_TRUE(phoneJoins(b, "D1", phone));
  EXPECT_TRUE(a.hub.isConnected({"P1", "D1"}));
  EXPECT_FALSE(a.hub.isConnected({"P1", "D2"}));
  EXPECT_FALSE(a.hub.isConnected({"P2", "D1"}));
}

TEST_F(ClusterBusTest, nonsenseIsLoggedAndChangesNothing) {
  ASSERT_TRUE(agentJoins(a, agent));
  for (const char* text : {"", "x", "{}\n", "{\"kind\":\"presence\"}\n", "{\"kind\":\"boo\",\"node\":\"n\"}\n",
                           "{\"kind\":\"presence\",\"node\":\"n\",\"pairing\":\"P1\",\"claim\":-1}\n"})
    b.transport.tellRoom("P1", text);
  network.settle();
  EXPECT_FALSE(agent.closed);
  EXPECT_THAT(console.text(), ::testing::HasSubstr("Another node said what is no message"));
}

}  // namespace
}  // namespace tallyfox::server
