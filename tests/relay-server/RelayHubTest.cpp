// Routing between pairings and against the database, without sockets: admission, forwarding word for word, unpairing,
// and what a failing database costs.
#include "RelayHub.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Recorders.hpp"
#include "TemporaryDirectory.hpp"
#include "relay/RelayMessages.hpp"
#include "storage/Sqlite.hpp"

namespace tallyfox::server {
namespace {

using testing::awaited;
using ::testing::ElementsAre;
using testing::frameOf;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using testing::RecordedPeer;
namespace message = testing::message;

class RelayHubTest : public ::testing::Test {
 protected:
  RelayHubTest() {
    EXPECT_TRUE(awaited(hub->access().registerToken("P1", "token-1")));
    EXPECT_TRUE(awaited(hub->access().registerToken("P2", "token-2")));
  }

  static PhoneHello hello(std::string deviceID, std::string pairingID = "P1", std::string secret = "token-1") {
    return {.pairingID = std::move(pairingID),
            .relaySecret = std::move(secret),
            .deviceID = deviceID,
            .deviceName = "Name of " + deviceID,
            .platform = "cli"};
  }
  /// Joins and forgets the greeting.
  void join(RecordedPeer& peer, const std::string& deviceID) {
    ASSERT_TRUE(awaited(hub->phoneJoined(hello(deviceID), peer)));
    static_cast<void>(peer.taken());
  }
  void join(RecordedPeer& peer) {
    ASSERT_TRUE(awaited(hub->agentJoined("P1", peer)));
    static_cast<void>(peer.taken());
  }
  static PhoneStatusRelayMessage statusIn(const std::string& text) {
    return PhoneStatusRelayMessage::decoded(Json::parse(text)).value();
  }
  void restart() {
    hub.reset();
    store.reset();
    store.emplace(testing::openedStore(directory.path()));
    hub.emplace(*store, log, limits, metrics);
  }
  /// Every later change fails as it does on a full disk.
  void fillTheDisk() {
    hub.reset();
    store.reset();
    {
      auto connection = SqliteConnection::open((directory.path() / "relay.sqlite").string());
      ASSERT_TRUE(connection);
      ASSERT_TRUE(connection->execute(
          "CREATE TRIGGER a BEFORE INSERT ON devices BEGIN SELECT RAISE(ABORT, 'disk full'); END;"
          "CREATE TRIGGER b BEFORE UPDATE ON devices BEGIN SELECT RAISE(ABORT, 'disk full'); END;"
          "CREATE TRIGGER c BEFORE DELETE ON devices BEGIN SELECT RAISE(ABORT, 'disk full'); END;"
          "CREATE TRIGGER d BEFORE UPDATE ON pairings BEGIN SELECT RAISE(ABORT, 'disk full'); END;"));
    }
    restart();
  }

  testing::TemporaryDirectory directory;
  testing::RecordedConsole console;
  RelayLog log{console};
  RelayLimits limits;
  std::optional<SqlitePairingStore> store{testing::openedStore(directory.path())};
  RelayMetrics metrics;
  std::optional<RelayHub> hub{std::in_place, *store, log, limits, metrics};
  RecordedPeer agent, phone, other;
  const PhoneAddress at1{"P1", "D1"}, at2{"P1", "D2"};
};

TEST_F(RelayHubTest, forwardsEveryKindOfRequestWordForWord) {
  join(agent);
  join(phone, "D1");
  static_cast<void>(agent.taken());
  const std::vector<std::string> frames{message::request("R1"), message::suppression("approval.suppress", "R2"),
                                        message::suppression("approval.unsuppress", "R3")};
  for (const std::string& frame : frames)
    EXPECT_TRUE(awaited(hub->phoneFrame(at1, phone, frameOf(frame))));
  EXPECT_EQ(agent.frames, frames);
  EXPECT_THAT(phone.frames, IsEmpty());
}

TEST_F(RelayHubTest, givesResultsAndSnapshotsToAllPhonesOfThePairingAlone) {
  RecordedPeer stranger;
  join(agent);
  join(phone, "D1");
  join(other, "D2");
  ASSERT_TRUE(awaited(hub->phoneJoined(hello("D1", "P2", "token-2"), stranger)));
  static_cast<void>(stranger.taken());
  awaited(hub->agentFrame("P1", agent, frameOf(message::result("R1"))));
  awaited(hub->agentFrame("P1", agent, frameOf(message::snapshot("ax1:1"))));
  EXPECT_THAT(phone.frames, ElementsAre(message::result("R1"), message::snapshot("ax1:1")));
  EXPECT_EQ(other.frames, phone.frames);
  EXPECT_THAT(stranger.frames, IsEmpty());
}

TEST_F(RelayHubTest, undeliverableGoesToTheOnePhoneAndNothingIsQueued) {
  join(phone, "D1");
  join(other, "D2");
  EXPECT_TRUE(awaited(hub->phoneFrame(at1, phone, frameOf(message::request("R1")))));
  EXPECT_TRUE(awaited(hub->phoneFrame(at1, phone, frameOf(message::suppression("approval.suppress", "R2")))));
  EXPECT_THAT(phone.frames, ElementsAre(message::undeliverable("R1"), message::undeliverable("R2")));
  EXPECT_THAT(other.frames, IsEmpty());
  ASSERT_TRUE(awaited(hub->agentJoined("P1", agent)));
  ASSERT_EQ(agent.frames.size(), 1U);
  EXPECT_EQ(statusIn(agent.frames[0]).phoneCount, 2);
}

TEST_F(RelayHubTest, undeliverableAlsoWhenTheAgentIsFull) {
  join(agent);
  join(phone, "D1");
  agent.full = true;
  EXPECT_TRUE(awaited(hub->phoneFrame(at1, phone, frameOf(message::request("R1")))));
  EXPECT_THAT(phone.frames, ElementsAre(message::undeliverable("R1")));
}

TEST_F(RelayHubTest, tellsTheAgentOfEachPhoneThatComesOrGoes) {
  ASSERT_TRUE(awaited(hub->agentJoined("P1", agent)));
  EXPECT_EQ(statusIn(agent.taken().at(0)), (PhoneStatusRelayMessage{.phones = std::vector<RelayPhoneStatus>{}}));
  ASSERT_TRUE(awaited(hub->phoneJoined(hello("D1"), phone)));
  const RelayPhoneStatus connected{.deviceID = "D1", .deviceName = "Name of D1", .platform = "cli", .connected = true};
  EXPECT_EQ(statusIn(agent.taken().at(0)),
            (PhoneStatusRelayMessage{.phoneConnected = true, .phoneCount = 1, .phones = {{connected}}}));
  hub->phoneLeft(at1, phone);
  RelayPhoneStatus gone = connected;
  gone.connected = false;
  EXPECT_EQ(statusIn(agent.taken().at(0)),
            (PhoneStatusRelayMessage{.phoneConnected = false, .phoneCount = 1, .phones = {{gone}}}));
}

TEST_F(RelayHubTest, ignoresFramesOfReplacedSockets) {
  RecordedPeer newerAgent;
  RecordedPeer newerPhones[4];
  join(agent);
  join(phone, "D1");
  join(newerAgent);
  for (RecordedPeer& newerPhone : newerPhones)
    join(newerPhone, "D1");
  static_cast<void>(newerAgent.taken());
  awaited(hub->agentFrame("P1", agent, frameOf(message::result("R1"))));
  EXPECT_TRUE(awaited(hub->phoneFrame(at1, phone, frameOf(message::request("R2")))));
  EXPECT_THAT(newerPhones[0].frames, IsEmpty());
  EXPECT_THAT(newerAgent.frames, IsEmpty());
  hub->phoneLeft(at1, phone);
  hub->agentLeft("P1", agent);
  EXPECT_THAT(newerPhones[0].frames, IsEmpty());
  EXPECT_THAT(newerAgent.frames, IsEmpty());
}

TEST_F(RelayHubTest, aPhoneThatLeavesLeavesWithAllItsSockets) {
  RecordedPeer watching;
  join(agent);
  join(phone, "D1");
  join(watching, "D1");
  EXPECT_EQ(awaited(hub->phoneFrame(at1, phone, frameOf(R"({"type":"phone.leave"})"))),
            std::unexpected(CloseCode::normal));
  EXPECT_EQ(watching.closed, CloseCode::unpaired);
}

TEST_F(RelayHubTest, ignoresUnknownTypes) {
  join(agent);
  join(phone, "D1");
  static_cast<void>(agent.taken());
  for (const char* text : {R"({"type":"phone.hello"})", R"({"type":"mac.snapshot"})", R"({"type":""})"}) {
    EXPECT_TRUE(awaited(hub->phoneFrame(at1, phone, frameOf(text)))) << text;
  }
  awaited(hub->agentFrame("P1", agent, frameOf(R"({"type":"approval.request"})")));
  EXPECT_THAT(agent.frames, IsEmpty());
  EXPECT_THAT(phone.frames, IsEmpty());
}

TEST_F(RelayHubTest, malformedFrameOfAPhoneIsAClose) {
  join(agent);
  join(phone, "D1");
  static_cast<void>(agent.taken());
  for (const char* text : {"", "x", "[]", "{}", R"({"type":1})", R"({"type":"approval.request"})", "\xFF",
                           R"({"type":"approval.suppress","decisionID":"R"})",
                           R"({"type":"approval.request","decisionID":7,"encryptedRequest":{}})"}) {
    EXPECT_EQ(awaited(hub->phoneFrame(at1, phone, frameOf(text))), std::unexpected(CloseCode::malformed)) << text;
  }
  EXPECT_EQ(awaited(hub->phoneFrame(at1, phone, frameOf(std::string(10000, '[')))),
            std::unexpected(CloseCode::malformed));
  EXPECT_THAT(agent.frames, IsEmpty());
}

TEST_F(RelayHubTest, malformedFrameOfTheAgentIsALogLine) {
  join(agent);
  join(phone, "D1");
  for (const char* text : {"", "{}", R"({"type":"mac.snapshot"})", R"({"type":"approval.result","decisionID":1})",
                           R"({"type":"phone.unpair"})"}) {
    const std::size_t before = console.text().size();
    awaited(hub->agentFrame("P1", agent, frameOf(text)));
    EXPECT_THAT(console.text().substr(before), HasSubstr("Unable to decode a frame of the agent of pairing P1"))
        << text;
  }
  EXPECT_THAT(phone.frames, IsEmpty());
  EXPECT_FALSE(agent.closed);
}

TEST_F(RelayHubTest, refusesHellosWithTheRightCode) {
  EXPECT_EQ(awaited(hub->phoneJoined(hello("D1", "P9"), phone)), std::unexpected(CloseCode::unauthorized));
  EXPECT_EQ(awaited(hub->phoneJoined(hello("D1", "P1", "token-2"), phone)), std::unexpected(CloseCode::unauthorized));
  ASSERT_TRUE(awaited(store->revokePairing("P2")));
  EXPECT_EQ(awaited(hub->phoneJoined(hello("D1", "P2", "token-2"), phone)), std::unexpected(CloseCode::unpaired));
  EXPECT_THAT(phone.frames, IsEmpty());
}

TEST_F(RelayHubTest, takesSixteenPhonesAndKnownOnesBeyond) {
  std::vector<RecordedPeer> phones(17);
  for (std::size_t index = 0; index < 16; ++index) {
    ASSERT_TRUE(awaited(hub->phoneJoined(hello("D" + std::to_string(index)), phones[index])));
  }
  EXPECT_EQ(awaited(hub->phoneJoined(hello("D16"), phones[16])), std::unexpected(CloseCode::tooManyPhones));
  hub->phoneLeft({"P1", "D3"}, phones[3]);
  EXPECT_EQ(awaited(hub->phoneJoined(hello("D16"), phones[16])), std::unexpected(CloseCode::tooManyPhones));
  EXPECT_TRUE(awaited(hub->phoneJoined(hello("D3"), phones[3])));
  EXPECT_EQ(awaited(hub->phoneFrame({"P1", "D3"}, phones[3], frameOf(message::leave))),
            std::unexpected(CloseCode::normal));
  EXPECT_TRUE(awaited(hub->phoneJoined(hello("D16"), phones[16])));
}

TEST_F(RelayHubTest, leavingForgetsThePhoneAndItMayComeBack) {
  join(agent);
  join(phone, "D1");
  static_cast<void>(agent.taken());
  EXPECT_EQ(awaited(hub->phoneFrame(at1, phone, frameOf(message::leave))), std::unexpected(CloseCode::normal));
  EXPECT_EQ(statusIn(agent.taken().at(0)).phoneCount, 0);
  hub->phoneLeft(at1, phone);
  EXPECT_THAT(agent.frames, IsEmpty());
  EXPECT_TRUE(awaited(hub->phoneJoined(hello("D1"), other)));
}

TEST_F(RelayHubTest, unpairsOneDeviceForGood) {
  join(agent);
  join(phone, "D1");
  join(other, "D2");
  static_cast<void>(agent.taken());
  awaited(hub->agentFrame("P1", agent, frameOf(message::unpair("D1"))));
  EXPECT_THAT(phone.frames, ElementsAre(message::unpaired));
  EXPECT_EQ(phone.closed, CloseCode::unpaired);
  EXPECT_FALSE(other.closed);
  EXPECT_EQ(statusIn(agent.taken().at(0)).phoneCount, 1);
  EXPECT_EQ(awaited(hub->phoneJoined(hello("D1"), phone)), std::unexpected(CloseCode::unpaired));
  restart();
  EXPECT_EQ(awaited(hub->phoneJoined(hello("D1"), phone)), std::unexpected(CloseCode::unpaired));
}

TEST_F(RelayHubTest, unpairsADeviceThatIsNotConnected) {
  join(agent);
  join(phone, "D1");
  hub->phoneLeft(at1, phone);
  awaited(hub->agentFrame("P1", agent, frameOf(message::unpair("D1"))));
  EXPECT_EQ(statusIn(agent.frames.back()).phoneCount, 0);
  EXPECT_EQ(awaited(hub->phoneJoined(hello("D1"), other)), std::unexpected(CloseCode::unpaired));
}

TEST_F(RelayHubTest, unpairingAnUnknownDeviceChangesNothing) {
  join(agent);
  join(phone, "D1");
  static_cast<void>(agent.taken());
  awaited(hub->agentFrame("P1", agent, frameOf(message::unpair("D9"))));
  EXPECT_THAT(agent.frames, IsEmpty());
  EXPECT_FALSE(phone.closed);
}

TEST_F(RelayHubTest, unpairingAllRevokesThePairing) {
  join(agent);
  join(phone, "D1");
  join(other, "D2");
  awaited(hub->agentFrame("P1", agent, frameOf(message::unpairAll)));
  for (const RecordedPeer* each : {&phone, &other}) {
    EXPECT_THAT(each->frames, ElementsAre(message::unpaired));
    EXPECT_EQ(each->closed, CloseCode::unpaired);
  }
  EXPECT_EQ(agent.closed, CloseCode::unpaired);
  hub->agentLeft("P1", agent);
  hub->phoneLeft(at1, phone);
  hub->phoneLeft(at2, other);
  RecordedPeer again;
  EXPECT_EQ(awaited(hub->agentJoined("P1", again)), std::unexpected(CloseCode::unpaired));
  EXPECT_EQ(awaited(hub->phoneJoined(hello("D1"), again)), std::unexpected(CloseCode::unpaired));
  EXPECT_EQ(awaited(hub->access().pairingOfToken("token-1")), std::unexpected(PairingAccess::Refusal::revoked));
}

TEST_F(RelayHubTest, restartKeepsPhonesButNoSnapshot) {
  join(agent);
  join(phone, "D1");
  awaited(hub->agentFrame("P1", agent, frameOf(message::snapshot("ax1:1"))));
  restart();
  RecordedPeer newAgent, newPhone;
  ASSERT_TRUE(awaited(hub->agentJoined("P1", newAgent)));
  EXPECT_EQ(statusIn(newAgent.frames.at(0)).phoneCount, 1);
  ASSERT_TRUE(awaited(hub->phoneJoined(hello("D1"), newPhone)));
  EXPECT_THAT(newPhone.frames, ElementsAre(message::welcome(true)));
}

TEST_F(RelayHubTest, renamedPhoneIsReportedWithItsNewName) {
  join(agent);
  join(phone, "D1");
  static_cast<void>(agent.taken());
  PhoneHello renamed = hello("D1");
  renamed.deviceName = "New name";
  ASSERT_TRUE(awaited(hub->phoneJoined(renamed, other)));
  EXPECT_EQ(statusIn(agent.taken().at(0)).phones->at(0).deviceName, "New name");
}

TEST_F(RelayHubTest, dropsTheOldestSnapshotWhenAllTogetherGrowTooLarge) {
  limits.snapshotBytes = 3000;
  RecordedPeer secondAgent, joining, joiningSecond;
  join(agent);
  ASSERT_TRUE(awaited(hub->agentJoined("P2", secondAgent)));
  awaited(hub->agentFrame("P2", secondAgent, frameOf(message::snapshot("old", std::string(1500, 'x')))));
  awaited(hub->agentFrame("P1", agent, frameOf(message::snapshot("small"))));
  awaited(hub->agentFrame("P1", agent, frameOf(message::snapshot("new", std::string(1500, 'x')))));
  ASSERT_TRUE(awaited(hub->phoneJoined(hello("D1", "P2", "token-2"), joiningSecond)));
  EXPECT_THAT(joiningSecond.frames, ElementsAre(message::welcome(true)));
  ASSERT_TRUE(awaited(hub->phoneJoined(hello("D1"), joining)));
  EXPECT_THAT(joining.frames, ElementsAre(message::welcome(true), HasSubstr("\"new\"")));
}

TEST_F(RelayHubTest, closingSaysGoodbyeToAllAndRefusesNewcomers) {
  join(agent);
  join(phone, "D1");
  hub->close();
  EXPECT_EQ(agent.closed, CloseCode::goingAway);
  EXPECT_EQ(phone.closed, CloseCode::goingAway);
  EXPECT_EQ(awaited(hub->agentJoined("P2", other)), std::unexpected(CloseCode::goingAway));
  EXPECT_EQ(awaited(hub->phoneJoined(hello("D2"), other)), std::unexpected(CloseCode::goingAway));
}

TEST_F(RelayHubTest, failingDatabaseCostsTheOneOperationAndIsLogged) {
  join(phone, "D1");
  fillTheDisk();
  ASSERT_TRUE(awaited(hub->agentJoined("P1", agent)));
  ASSERT_TRUE(awaited(hub->phoneJoined(hello("D1"), other)));
  EXPECT_EQ(awaited(hub->phoneJoined(hello("D2"), phone)), std::unexpected(CloseCode::internalError));
  EXPECT_EQ(awaited(hub->phoneFrame(at1, other, frameOf(message::leave))), std::unexpected(CloseCode::internalError));
  awaited(hub->agentFrame("P1", agent, frameOf(message::unpair("D1"))));
  awaited(hub->agentFrame("P1", agent, frameOf(message::unpairAll)));
  EXPECT_FALSE(agent.closed);
  EXPECT_FALSE(other.closed);
  EXPECT_EQ(awaited(hub->access().registerToken("P1", "token-1")),
            std::unexpected(PairingAccess::Refusal::storageFailed));
  for (const char* line :
       {"Unable to admit a phone of pairing P1: disk full", "Unable to forget a phone of pairing P1: disk full",
        "Unable to unpair a phone of pairing P1: disk full", "Unable to revoke the token of pairing P1: disk full",
        "Unable to store a registration: disk full"}) {
    EXPECT_THAT(console.text(), HasSubstr(line));
  }
  EXPECT_TRUE(awaited(hub->phoneFrame(at1, other, frameOf(message::request("R1")))));
  EXPECT_EQ(agent.frames.back(), message::request("R1"));
}

TEST_F(RelayHubTest, logsNeitherSecretsNorNamesNorContents) {
  join(agent);
  join(phone, "D1");
  static_cast<void>(awaited(hub->phoneJoined(hello("D2", "P1", "wrong-secret"), other)));
  static_cast<void>(awaited(hub->phoneFrame(at1, phone, frameOf(message::request("R1")))));
  awaited(hub->agentFrame("P1", agent, frameOf(R"({"type":"mac.snapshot","snapshotID":"token-1"})")));
  awaited(hub->agentFrame("P1", agent, frameOf(message::unpairAll)));
  for (const char* secret : {"token-1", "token-2", "wrong-secret", "Name of", "c2VhbGVk", "R1"}) {
    EXPECT_THAT(console.text(), Not(HasSubstr(secret)));
  }
  EXPECT_THAT(console.text(), HasSubstr("Phone D1 of pairing P1 connected."));
}

}  // namespace
}  // namespace tallyfox::server
