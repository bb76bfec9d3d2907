// The client's one connection: how it is asked for, lost, won back and given up, and that nothing which belongs to an
// earlier one counts.

#include <gmock/gmock.h>

#include "relay/RelayClientFixture.hpp"

namespace tallyfox {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class RelayClientConnection : public RelayClientFixture {};

const RelayConnectionStatus disconnected;
const RelayConnectionStatus connected{.relayConnected = true, .phoneConnected = false, .phoneCount = 0, .phones = {}};

TEST_F(RelayClientConnection, asksForTheAddressAsItIsWithItsToken) {
  connect();
  ASSERT_EQ(socketCount(), 1U);
  EXPECT_EQ(socket().request.url, "wss://relay.example.com/socket");
  EXPECT_THAT(socket().request.headers,
              ElementsAre(std::pair<std::string, std::string>("authorization", "Bearer token")));
  EXPECT_EQ(socket().request.timeout, Seconds(60));
}

TEST_F(RelayClientConnection, printsItsLineBeforeTheSocketHasOpened) {
  connect();
  EXPECT_THAT(console.lines(), ElementsAre("Tallyfox relay connected."));
  EXPECT_THAT(statuses, IsEmpty());
}

TEST_F(RelayClientConnection, returnsFromEveryCallBeforeAnythingHappens) {
  client->connect();
  client->publishSnapshot({}, true, false);
  client->disconnect();
  EXPECT_EQ(socketCount(), 0U);
  EXPECT_THAT(console.lines(), IsEmpty());
  EXPECT_THAT(statuses, IsEmpty());
}

TEST_F(RelayClientConnection, reportsTheRelayOnceTheSocketIsOpen) {
  connect();
  open();
  EXPECT_THAT(statuses, ElementsAre(connected));
  EXPECT_TRUE(onQueue);
}

TEST_F(RelayClientConnection, doesNotConnectTwice) {
  connect();
  connect();
  open();
  connect();
  EXPECT_EQ(socketCount(), 1U);
  EXPECT_THAT(console.lines(), ElementsAre("Tallyfox relay connected."));
}

TEST_F(RelayClientConnection, comesBackThreeSecondsAfterALoss) {
  connectAndOpen();
  network.close(0);
  time.runDue();
  EXPECT_THAT(statuses, ElementsAre(disconnected));
  time.advance(Seconds(2.9));
  EXPECT_EQ(socketCount(), 1U);
  time.advance(Seconds(0.2));
  EXPECT_EQ(socketCount(), 2U);
  open(1);
  EXPECT_EQ(statuses.back(), connected);
}

TEST_F(RelayClientConnection, armsOneReconnectForTheTwoEventsOfOneLoss) {
  connectAndOpen();
  network.close(0);  // a close event and a failed receive
  time.advance(Seconds(60));
  EXPECT_EQ(socketCount(), 2U);
  EXPECT_THAT(statuses, ElementsAre(disconnected));
}

TEST_F(RelayClientConnection, printsWhyAConnectionCouldNotBeMadeAndTriesAgainForever) {
  connect();
  for (std::size_t attempt = 0; attempt < 5; ++attempt) {
    console.clear();
    network.refuse(attempt, "Connection refused.");
    time.runDue();
    EXPECT_THAT(console.lines(), ElementsAre("Relay receive failed: Connection refused."));
    time.advance(Seconds(3));
    EXPECT_EQ(socketCount(), attempt + 2);
  }
}

TEST_F(RelayClientConnection, givesUpAnAttemptThatDoesNotOpenInSixtySeconds) {
  connect();
  time.advance(Seconds(59));
  EXPECT_EQ(socketCount(), 1U);
  time.advance(Seconds(4.5));
  EXPECT_EQ(socketCount(), 2U);
}

TEST_F(RelayClientConnection, closesWithGoingAwayWhenDisconnected) {
  connectAndOpen();
  client->disconnect();
  time.runDue();
  EXPECT_TRUE(socket().isCancelled);
  EXPECT_EQ(socket().closeCode, 1001);
  EXPECT_THAT(statuses, ElementsAre(disconnected));
  time.advance(Seconds(60));
  EXPECT_EQ(socketCount(), 1U);
  EXPECT_THAT(statuses, ElementsAre(disconnected));
  EXPECT_THAT(console.lines(), IsEmpty());
}

TEST_F(RelayClientConnection, doesNotComeBackWhenDisconnectedDuringTheWait) {
  connectAndOpen();
  network.close(0);
  time.advance(Seconds(1));
  client->disconnect();
  time.advance(Seconds(60));
  EXPECT_EQ(socketCount(), 1U);
}

TEST_F(RelayClientConnection, connectsAgainAfterADisconnect) {
  connectAndOpen();
  client->disconnect();
  connect();
  EXPECT_EQ(socketCount(), 2U);
  open(1);
  EXPECT_EQ(statuses.back(), connected);
}

TEST_F(RelayClientConnection, connectsAtOnceWhenAskedDuringTheWaitAndOnlyOnce) {
  connectAndOpen();
  network.close(0);
  time.advance(Seconds(1));
  connect();
  EXPECT_EQ(socketCount(), 2U);
  time.advance(Seconds(10));
  EXPECT_EQ(socketCount(), 2U);
}

TEST_F(RelayClientConnection, ignoresEventsOfAnEarlierSocket) {
  connect();
  network.open(0);  // the open event is under way when the client gives the socket up
  client->disconnect();
  client->connect();
  time.runDue();
  ASSERT_EQ(socketCount(), 2U);
  open(1);
  console.clear();
  statuses.clear();
  network.deliver(0, jsonText(request()));
  network.close(0);
  time.advance(Seconds(10));
  EXPECT_THAT(statuses, IsEmpty());
  EXPECT_THAT(requests, IsEmpty());
  EXPECT_THAT(console.lines(), IsEmpty());
  EXPECT_EQ(socketCount(), 2U);
  EXPECT_TRUE(socket(1).isOpen);
}

TEST_F(RelayClientConnection, ignoresALossThatWasUnderWayWhenANewSocketBegan) {
  connectAndOpen();
  client->disconnect();
  client->connect();
  network.close(0);  // its events are posted before the client's queue has run
  time.runDue();
  ASSERT_EQ(socketCount(), 2U);
  open(1);
  EXPECT_EQ(statuses.back(), connected);
  time.advance(Seconds(10));
  EXPECT_EQ(socketCount(), 2U);
}

TEST_F(RelayClientConnection, callsNobodyOnceDestroyed) {
  connectAndOpen();
  network.deliver(0, jsonText(request()));
  network.close(0);
  client.reset();
  time.advance(Seconds(60));
  EXPECT_THAT(requests, IsEmpty());
  EXPECT_THAT(statuses, IsEmpty());
  EXPECT_THAT(console.lines(), IsEmpty());
  EXPECT_EQ(socketCount(), 1U);
}

TEST_F(RelayClientConnection, doesNotComeBackWhenDestroyedDuringTheWait) {
  connectAndOpen();
  network.close(0);
  time.advance(Seconds(1));
  client.reset();
  time.advance(Seconds(60));
  EXPECT_EQ(socketCount(), 1U);
}

TEST_F(RelayClientConnection, saysGoodbyeAlsoWhenDestroyedRightAfterDisconnect) {
  connectAndOpen();
  client->disconnect();
  client.reset();
  time.runDue();
  EXPECT_EQ(socket().closeCode, 1001);
}

TEST_F(RelayClientConnection, leavesNothingBehindOnItsQueue) {
  connectAndOpen();
  client->disconnect();
  client.reset();
  time.runDue();
  EXPECT_EQ(time.pendingTaskCount(), 0U);
  EXPECT_EQ(clientQueue.use_count(), 1);
}

}  // namespace
}  // namespace tallyfox
