// What happens while the storage is slow: whatever changes meanwhile counts, and nothing is half done.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <list>

#include "MemoryPairingStore.hpp"
#include "Recorders.hpp"
#include "RelayHub.hpp"
#include "relay/RelayMessages.hpp"

namespace tallyfox::server {
namespace {

using ::testing::ElementsAre;
using testing::frameOf;
using ::testing::IsEmpty;
using testing::MemoryPairingStore;
using testing::Pending;
using testing::RecordedPeer;
using Hold = MemoryPairingStore::Hold;
using Verdict = RelayHub::Verdict;
namespace message = testing::message;

class RelayHubInterleavingsTest : public ::testing::Test {
 protected:
  RelayHubInterleavingsTest() {
    const Pending registration(io, hub.access().registerToken("P1", "token-1"));
    settle();
    EXPECT_TRUE(registration.value());
  }
  void settle() {
    io.restart();
    io.poll();
  }
  /// Lets everything that waits for the storage go on to its end.
  void releaseAll() {
    store.release();
    settle();
  }
  Pending<Verdict> phoneJoin(const std::string& deviceID, RecordedPeer& peer) {
    return {io, hub.phoneJoined({.pairingID = "P1", .relaySecret = "token-1", .deviceID = deviceID, .deviceName = "N"},
                                peer)};
  }
  Pending<Verdict> agentJoin(RecordedPeer& peer) { return {io, hub.agentJoined("P1", peer)}; }
  Pending<void> agentFrame(RecordedPeer& peer, const std::string& text) {
    return {io, hub.agentFrame("P1", peer, frameOf(text))};
  }
  Pending<Verdict> phoneFrame(const std::string& deviceID, RecordedPeer& peer, const std::string& text) {
    return {io, hub.phoneFrame({"P1", deviceID}, peer, frameOf(text))};
  }
  static std::size_t phonesIn(const std::string& status) {
    return PhoneStatusRelayMessage::decoded(Json::parse(status)).value().phones->size();
  }

  testing::RecordedConsole console;
  RelayLog log{console};
  RelayLimits limits;
  MemoryPairingStore store;
  RelayMetrics metrics;
  RelayHub hub{store, log, limits, metrics};
  RecordedPeer agent, phone, other;
  boost::asio::io_context io;
};

TEST_F(RelayHubInterleavingsTest, aPhoneThatIsAdmittedJustBeforeARevocationIsLetGo) {
  const auto joined = agentJoin(agent);
  settle();
  ASSERT_TRUE(joined.value());
  store.holding = Hold::answers;
  const auto joining = phoneJoin("D1", phone);
  settle();
  const auto revoking = agentFrame(agent, message::unpairAll);
  settle();
  releaseAll();
  EXPECT_TRUE(revoking.ended());
  EXPECT_TRUE(joining.value());
  EXPECT_EQ(phone.frames.back(), message::unpaired) << "it was in the room by the time of the revocation's turn";
  EXPECT_EQ(phone.closed, CloseCode::unpaired);
}

TEST_F(RelayHubInterleavingsTest, aPhoneThatComesWhileThePairingIsRevokedIsRefused) {
  const auto joined = agentJoin(agent);
  settle();
  store.holding = Hold::answers;
  const auto revoking = agentFrame(agent, message::unpairAll);
  settle();
  const auto joining = phoneJoin("D1", phone);
  settle();
  EXPECT_FALSE(joining.ended());
  releaseAll();
  EXPECT_EQ(joining.value(), std::unexpected(CloseCode::unpaired));
  EXPECT_THAT(phone.frames, IsEmpty());
  EXPECT_EQ(agent.closed, CloseCode::unpaired);
}

TEST_F(RelayHubInterleavingsTest, anAgentThatComesWhileThePairingIsRevokedIsRefused) {
  const auto joined = agentJoin(agent);
  settle();
  store.holding = Hold::calls;
  const auto revoking = agentFrame(agent, message::unpairAll);
  const auto joining = agentJoin(other);
  settle();
  releaseAll();
  EXPECT_EQ(joining.value(), std::unexpected(CloseCode::unpaired));
  EXPECT_FALSE(other.closed) << "the caller closes it with the verdict";
}

TEST_F(RelayHubInterleavingsTest, theOneThatAskedLastIsTheAgent) {
  store.holding = Hold::answers;
  const auto first = agentJoin(agent);
  const auto second = agentJoin(other);
  settle();
  releaseAll();
  EXPECT_TRUE(first.value());
  EXPECT_TRUE(second.value());
  EXPECT_EQ(agent.closed, CloseCode::replaced);
  EXPECT_FALSE(other.closed);
}

TEST_F(RelayHubInterleavingsTest, aPhoneThatIsUnpairedWhileItLeavesStaysUnpaired) {
  const auto joined = agentJoin(agent);
  const auto phoneJoined = phoneJoin("D1", phone);
  settle();
  store.holding = Hold::calls;
  const auto unpairing = agentFrame(agent, message::unpair("D1"));
  const auto leaving = phoneFrame("D1", phone, message::leave);
  settle();
  releaseAll();
  EXPECT_TRUE(leaving.value()) << "it was closed by its owner's word";
  EXPECT_EQ(phone.closed, CloseCode::unpaired);
  const auto again = phoneJoin("D1", other);
  settle();
  EXPECT_EQ(again.value(), std::unexpected(CloseCode::unpaired));
}

TEST_F(RelayHubInterleavingsTest, onlySixteenOfMorePhonesThatComeAtOnceArePaired) {
  store.holding = Hold::answers;
  std::list<RecordedPeer> peers(20);
  std::list<Pending<Verdict>> joins;
  int number = 0;
  for (RecordedPeer& peer : peers)
    joins.emplace_back(io, hub.phoneJoined({.pairingID = "P1",
                                            .relaySecret = "token-1",
                                            .deviceID = "D" + std::to_string(++number),
                                            .deviceName = "N"},
                                           peer));
  settle();
  releaseAll();
  EXPECT_EQ(std::ranges::count_if(joins, [](const auto& each) { return each.value().has_value(); }), 16);
  EXPECT_EQ(joins.back().value(), std::unexpected(CloseCode::tooManyPhones));
}

TEST_F(RelayHubInterleavingsTest, whoWaitsWhenTheRelayStopsIsSentAway) {
  for (const Hold hold : {Hold::calls, Hold::answers}) {
    SCOPED_TRACE(static_cast<int>(hold));
    MemoryPairingStore slow;
    RelayHub stopping(slow, log, limits, metrics);
    const Pending registration(io, stopping.access().registerToken("P1", "token-1"));
    settle();
    slow.holding = hold;
    const Pending agentJoining(io, stopping.agentJoined("P1", agent));
    const Pending phoneJoining(
        io, stopping.phoneJoined({.pairingID = "P1", .relaySecret = "token-1", .deviceID = "D1", .deviceName = "N"},
                                 phone));
    settle();
    stopping.close();
    slow.release();
    settle();
    EXPECT_EQ(agentJoining.value(), std::unexpected(CloseCode::goingAway));
    EXPECT_EQ(phoneJoining.value(), std::unexpected(CloseCode::goingAway));
    EXPECT_THAT(agent.frames, IsEmpty());
    EXPECT_THAT(phone.frames, IsEmpty());
  }
}

TEST_F(RelayHubInterleavingsTest, framesFlowWhileTheStorageIsSlow) {
  const auto agentJoined = agentJoin(agent);
  const auto phoneJoined = phoneJoin("D1", phone);
  settle();
  static_cast<void>(phone.taken());
  static_cast<void>(agent.taken());
  store.holding = Hold::calls;
  const auto joining = phoneJoin("D2", other);
  settle();
  const auto request = phoneFrame("D1", phone, message::request("R1"));
  const auto result = agentFrame(agent, message::result("R1"));
  settle();
  EXPECT_FALSE(joining.ended());
  EXPECT_THAT(agent.frames, ElementsAre(message::request("R1")));
  EXPECT_THAT(phone.frames, ElementsAre(message::result("R1")));
  releaseAll();
}

TEST_F(RelayHubInterleavingsTest, theAgentIsToldOfEveryPhoneThatWaitedTogether) {
  const auto agentJoined = agentJoin(agent);
  settle();
  store.holding = Hold::answers;
  const auto first = phoneJoin("D1", phone);
  const auto second = phoneJoin("D2", other);
  settle();
  releaseAll();
  EXPECT_EQ(phonesIn(agent.frames.back()), 2U);
}

TEST_F(RelayHubInterleavingsTest, aPhoneThatGoesWhileOthersWaitIsSeenAsGone) {
  const auto agentJoined = agentJoin(agent);
  const auto phoneJoined = phoneJoin("D1", phone);
  settle();
  static_cast<void>(agent.taken());
  store.holding = Hold::answers;
  const auto second = phoneJoin("D2", other);
  settle();
  hub.phoneLeft({"P1", "D1"}, phone);
  const auto status = PhoneStatusRelayMessage::decoded(Json::parse(agent.taken().at(0))).value();
  EXPECT_FALSE(status.phoneConnected) << "at once, not when the storage answers";
  releaseAll();
  EXPECT_EQ(phonesIn(agent.frames.back()), 2U);
}

TEST_F(RelayHubInterleavingsTest, aStorageThatFailsLaterRefusesNewcomersAlone) {
  const auto agentJoined = agentJoin(agent);
  const auto phoneJoined = phoneJoin("D1", phone);
  settle();
  store.holding = Hold::calls;
  const auto joining = phoneJoin("D2", other);
  settle();
  store.failure = "gone";
  releaseAll();
  EXPECT_EQ(joining.value(), std::unexpected(CloseCode::internalError));
  const auto late = agentJoin(other);
  settle();
  EXPECT_EQ(late.value(), std::unexpected(CloseCode::internalError));
  EXPECT_FALSE(agent.closed);
  EXPECT_FALSE(phone.closed);
  store.failure.clear();
  const auto again = phoneJoin("D2", other);
  settle();
  EXPECT_TRUE(again.value());
}

}  // namespace
}  // namespace tallyfox::server
