// Routing within one pairing, without sockets: what goes to whom.
#include "PairingRoom.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Recorders.hpp"
#include "relay/RelayMessages.hpp"

namespace tallyfox::server {
namespace {

using ::testing::ElementsAre;
using testing::frameOf;
using ::testing::IsEmpty;
using testing::RecordedPeer;
namespace message = testing::message;

TEST(PairingRoom, greetsAPhoneAndBringsItUpToDate) {
  PairingRoom room;
  RecordedPeer agent, early, late;
  room.addPhone("D1", early);
  EXPECT_THAT(early.taken(), ElementsAre(message::welcome(false)));
  room.setAgent(agent);
  room.publishSnapshot(frameOf("snapshot 1"));
  room.publishSnapshot(frameOf("snapshot 2"));
  EXPECT_THAT(early.taken(), ElementsAre(message::agentStatus(true), "snapshot 1", "snapshot 2"));
  room.addPhone("D2", late);
  EXPECT_THAT(late.taken(), ElementsAre(message::welcome(true), "snapshot 2"));
}

TEST(PairingRoom, keepsTheSnapshotWhileTheAgentIsAway) {
  PairingRoom room;
  RecordedPeer agent, phone;
  room.setAgent(agent);
  room.publishSnapshot(frameOf("snapshot"));
  EXPECT_TRUE(room.removeAgent(agent));
  room.addPhone("D1", phone);
  EXPECT_THAT(phone.frames, ElementsAre(message::welcome(false), "snapshot"));
  EXPECT_FALSE(room.empty());
}

TEST(PairingRoom, newestAgentWinsWithoutTroublingThePhones) {
  PairingRoom room;
  RecordedPeer older, newer, phone;
  room.setAgent(older);
  room.addPhone("D1", phone);
  static_cast<void>(phone.taken());
  room.setAgent(newer);
  EXPECT_EQ(older.closed, CloseCode::replaced);
  EXPECT_FALSE(newer.closed);
  EXPECT_FALSE(room.removeAgent(older));
  EXPECT_THAT(phone.frames, IsEmpty());
  EXPECT_TRUE(room.sendToAgent(frameOf("request"), FrameType::approvalRequest));
  EXPECT_THAT(newer.frames, ElementsAre("request"));
  EXPECT_THAT(older.frames, IsEmpty());
}

TEST(PairingRoom, aDeviceMayWatchWithOneSocketAndAnswerWithAnother) {
  PairingRoom room;
  RecordedPeer watching, answering;
  room.addPhone("D1", watching);
  room.addPhone("D1", answering);
  EXPECT_FALSE(watching.closed);
  room.sendToPhones(frameOf("result"), FrameType::approvalResult);
  EXPECT_EQ(watching.frames.back(), "result");
  EXPECT_EQ(answering.frames.back(), "result");
  EXPECT_TRUE(room.removePhone("D1", answering));
  EXPECT_FALSE(room.removePhone("D1", answering));
  EXPECT_TRUE(room.isPhone("D1", watching));
  EXPECT_TRUE(room.removePhone("D1", watching));
  EXPECT_TRUE(room.empty());
}

TEST(PairingRoom, theFifthSocketOfADeviceReplacesItsOldest) {
  PairingRoom room;
  RecordedPeer sockets[5];
  for (RecordedPeer& socket : sockets)
    room.addPhone("D1", socket);
  EXPECT_EQ(sockets[0].closed, CloseCode::replaced);
  EXPECT_FALSE(room.isPhone("D1", sockets[0]));
  for (std::size_t at = 1; at < 5; ++at)
    EXPECT_TRUE(room.isPhone("D1", sockets[at])) << at;
}

TEST(PairingRoom, dismissesEverySocketOfADevice) {
  PairingRoom room;
  RecordedPeer watching, answering, other;
  room.addPhone("D1", watching);
  room.addPhone("D1", answering);
  room.addPhone("D2", other);
  room.dismissPhone("D1");
  EXPECT_EQ(watching.closed, CloseCode::unpaired);
  EXPECT_EQ(answering.closed, CloseCode::unpaired);
  EXPECT_FALSE(other.closed);
}

TEST(PairingRoom, cannotSendToAnAgentThatIsAwayOrFull) {
  PairingRoom room;
  EXPECT_FALSE(room.sendToAgent(frameOf("request"), FrameType::approvalRequest));
  RecordedPeer agent;
  agent.full = true;
  room.setAgent(agent);
  EXPECT_FALSE(room.sendToAgent(frameOf("request"), FrameType::approvalRequest));
}

TEST(PairingRoom, tellsTheAgentOfItsPhonesOnlyWhenSomethingChanged) {
  PairingRoom room;
  RecordedPeer agent, phone;
  const std::vector<DeviceRecord> devices{{.id = "D1", .name = "One", .platform = "cli"}, {.id = "D2", .name = "Two"}};
  room.publishPhoneStatus();
  room.setAgent(agent);
  room.publishPhoneStatus();
  EXPECT_THAT(agent.frames, IsEmpty());
  room.setPairedDevices(devices);
  room.publishPhoneStatus();
  room.publishPhoneStatus();
  ASSERT_EQ(agent.frames.size(), 1U);
  room.addPhone("D2", phone);
  room.publishPhoneStatus();
  ASSERT_EQ(agent.frames.size(), 2U);

  const auto statusOf = [](const std::string& text) {
    return PhoneStatusRelayMessage::decoded(Json::parse(text)).value();
  };
  EXPECT_EQ(statusOf(agent.frames[0]),
            (PhoneStatusRelayMessage{
                .phoneConnected = false,
                .phoneCount = 2,
                .phones = {{{.deviceID = "D1", .deviceName = "One", .platform = "cli", .connected = false},
                            {.deviceID = "D2", .deviceName = "Two", .platform = {}, .connected = false}}}}));
  EXPECT_TRUE(statusOf(agent.frames[1]).phoneConnected);
  EXPECT_EQ(statusOf(agent.frames[1]).phones->at(1).connected, true);
}

TEST(PairingRoom, aNewAgentIsToldThePhoneStatusAgain) {
  PairingRoom room;
  RecordedPeer older, newer;
  room.setAgent(older);
  room.setPairedDevices({});
  room.publishPhoneStatus();
  room.setAgent(newer);
  room.publishPhoneStatus();
  EXPECT_EQ(older.frames, newer.frames);
  EXPECT_EQ(newer.frames.size(), 1U);
}

TEST(PairingRoom, dismissesOnePhoneOrAllWithAWord) {
  PairingRoom room;
  RecordedPeer agent, first, second;
  room.setAgent(agent);
  room.addPhone("D1", first);
  room.addPhone("D2", second);
  static_cast<void>(first.taken());
  static_cast<void>(second.taken());
  room.dismissPhone("D1");
  room.dismissPhone("D3");
  EXPECT_THAT(first.frames, ElementsAre(message::unpaired));
  EXPECT_EQ(first.closed, CloseCode::unpaired);
  EXPECT_FALSE(second.closed);
  room.dismissAll();
  EXPECT_THAT(second.frames, ElementsAre(message::unpaired));
  EXPECT_EQ(second.closed, CloseCode::unpaired);
  EXPECT_EQ(agent.closed, CloseCode::unpaired);
  EXPECT_TRUE(room.empty());
}

}  // namespace
}  // namespace tallyfox::server
