// The agent's side of the pairing: which addresses are used, how registration succeeds, fails and is repeated, how one
// client replaces another, and what the phone's commands lead to.

#include "app/RelaySession.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <vector>

#include "app/AgentCore.hpp"

namespace tallyfox {
namespace {

using namespace std::chrono_literals;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;
using testing::SizeIs;

class RelaySessionTest : public AgentCore {
 protected:
  void startWith(const std::string& url) {
    world.environment.set("TALLYFOX_RELAY_URL", url);
    session.startRelayIfConfigured();
    world.time.runDue();
  }
  [[nodiscard]] std::size_t registrations() const { return world.network.requests().size(); }
  [[nodiscard]] std::size_t clients() const { return world.network.sockets().size(); }
  [[nodiscard]] Uuid storedID() { return store.all().at(0).id; }
};

TEST_F(RelaySessionTest, startsNothingWithoutAConfiguration) {
  world.environment.unset("TALLYFOX_RELAY_URL");
  session.startRelayIfConfigured();
  world.time.advance(10s);
  EXPECT_EQ(registrations(), 0U);
  EXPECT_THAT(world.console.lines(), IsEmpty());
}

TEST_F(RelaySessionTest, asksAKeychainAgainThatWasLockedAtTheStart) {
  answerRegistrations(204);
  world.keychain.failNext(memory::MemoryKeychain::Operation::copyMatching, true,
                          keychain_status::interactionNotAllowed);
  session.startRelayIfConfigured();
  world.time.runDue();
  EXPECT_THAT(world.network.requests(), IsEmpty());
  world.time.advance(Seconds(3));
  EXPECT_THAT(world.network.sockets(), SizeIs(1));
}

TEST_F(RelaySessionTest, stopsAtAnAddressThatIsNone) {
  startWith("wss://relay.example.com:port");
  EXPECT_EQ(registrations(), 0U);
  EXPECT_THAT(world.console.lines(), ElementsAre("Invalid relay URL: wss://relay.example.com:port"));
  EXPECT_EQ(world.time.pendingTaskCount(), 0U);
}

class RefusedRelayAddress : public RelaySessionTest, public testing::WithParamInterface<std::string> {};
TEST_P(RefusedRelayAddress, isPrintedAndNotUsed) {
  startWith(GetParam());
  EXPECT_EQ(registrations(), 0U);
  EXPECT_THAT(world.console.lines(), ElementsAre("Refusing insecure relay URL: " + GetParam()));
  EXPECT_EQ(world.time.pendingTaskCount(), 0U);
}
INSTANTIATE_TEST_SUITE_P(Relay, RefusedRelayAddress,
                         testing::Values("ws://relay.example.com", "ws://localhost.example.com", "ws://10.0.0.1:80",
                                         "https://relay.example.com", "wss:///agent", "relay.example.com",
                                         "ws://[::2]/"));

class AllowedRelayAddress : public RelaySessionTest, public testing::WithParamInterface<std::string> {};
TEST_P(AllowedRelayAddress, isRegisteredAt) {
  startWith(GetParam());
  EXPECT_EQ(registrations(), 1U);
  EXPECT_THAT(world.console.lines(), IsEmpty());
}
INSTANTIATE_TEST_SUITE_P(Relay, AllowedRelayAddress,
                         testing::Values("wss://relay.example.com", "WSS://relay.example.com/agent?x=1",
                                         "wss://relay.example.com:8443", "ws://localhost", "ws://localhost:9000",
                                         "ws://127.0.0.1:1", "ws://[::1]:9000/agent"));

TEST_F(RelaySessionTest, registersTheTokenBeforeItConnects) {
  session.startRelayIfConfigured();
  world.time.runDue();
  ASSERT_EQ(registrations(), 1U);
  const HttpRequest& request = world.network.requests()[0].request;
  EXPECT_EQ(request.method, "PUT");
  EXPECT_EQ(request.url, "https://relay.example.com/api/pairings/" + phone.secrets().pairingID + "/relay-token");
  EXPECT_THAT(request.headers, Contains(Pair("authorization", "Bearer " + phone.secrets().relayAuthToken)));
  EXPECT_EQ(clients(), 0U);
  world.network.answer(0, HttpResponse{204});
  world.time.runDue();
  ASSERT_EQ(clients(), 1U);
  const WebSocketRequest& socket = world.network.sockets()[0].request;
  EXPECT_EQ(socket.url, "wss://relay.example.com/agent");
  EXPECT_THAT(socket.headers, ElementsAre(Pair("authorization", "Bearer " + phone.secrets().relayAuthToken)));
}

TEST_F(RelaySessionTest, sendsTheCurrentListToANewConnection) {
  store.replace({scannedApproval(1, world.now())});
  connect();
  EXPECT_EQ(phone.approvals(), store.all());
}

TEST_F(RelaySessionTest, buildsOneClientOutOfTwoQuickStarts) {
  session.startRelayIfConfigured();
  session.startRelayIfConfigured();
  world.time.runDue();
  ASSERT_EQ(registrations(), 2U);
  EXPECT_TRUE(world.network.requests()[0].isAbandoned);
  world.network.answer(0, HttpResponse{204});
  world.network.answer(1, HttpResponse{204});
  world.time.runDue();
  EXPECT_EQ(clients(), 1U);
}

TEST_F(RelaySessionTest, dropsTheSuccessOfAnOlderStart) {
  session.startRelayIfConfigured();
  world.network.answer(0, HttpResponse{204});
  world.mainQueue->post([this] { session.startRelayIfConfigured(); });
  world.time.runDue();
  EXPECT_EQ(registrations(), 2U);
  EXPECT_EQ(clients(), 0U);
}

TEST_F(RelaySessionTest, dropsTheFailureOfAnOlderStartInSilence) {
  session.startRelayIfConfigured();
  world.network.answer(0, HttpResponse{500});
  world.mainQueue->post([this] { session.startRelayIfConfigured(); });
  world.time.advance(5s);
  EXPECT_EQ(registrations(), 2U) << "no retry either";
  EXPECT_THAT(world.console.lines(), IsEmpty());
}

TEST_F(RelaySessionTest, dropsTheRevocationOfAnOlderStart) {
  session.startRelayIfConfigured();
  const InstallationSecrets before = phone.secrets();
  world.network.answer(0, HttpResponse{410});
  world.mainQueue->post([this] { session.startRelayIfConfigured(); });
  world.time.runDue();
  EXPECT_EQ(phone.secrets(), before);
}

TEST_F(RelaySessionTest, retriesAFailedRegistrationEveryThreeSeconds) {
  answerRegistrations(500);
  session.startRelayIfConfigured();
  world.time.advance(Seconds(2.9));
  EXPECT_EQ(registrations(), 1U);
  world.time.advance(Seconds(6.2));
  EXPECT_EQ(registrations(), 4U);
  EXPECT_EQ(world.timesPrinted("Unable to register relay token: The relay rejected token registration with HTTP 500."),
            4);
  answerRegistrations(204);
  world.time.advance(3s);
  EXPECT_EQ(clients(), 1U);
  world.network.open(0);
  world.time.advance(60s);
  EXPECT_EQ(registrations(), 5U);
}

TEST_F(RelaySessionTest, passesTheTransportsSentenceOn) {
  world.network.answerAll(std::unexpected(TransportError{"Connection refused."}));
  session.startRelayIfConfigured();
  world.time.runDue();
  EXPECT_THAT(world.console.lines(), ElementsAre("Unable to register relay token: Connection refused."));
}

TEST_F(RelaySessionTest, takesANewIdentityWhenThePairingWasRevoked) {
  session.startRelayIfConfigured();
  const InstallationSecrets before = phone.secrets();
  world.network.answer(0, HttpResponse{410});
  world.time.runDue();
  const InstallationSecrets after = phone.secrets();
  EXPECT_NE(after.pairingID, before.pairingID);
  EXPECT_NE(after.relayAuthToken, before.relayAuthToken);
  EXPECT_NE(after.e2eSecret, before.e2eSecret);
  ASSERT_EQ(registrations(), 2U);
  EXPECT_EQ(world.network.requests()[1].request.url,
            "https://relay.example.com/api/pairings/" + after.pairingID + "/relay-token");
  EXPECT_THAT(world.console.lines(), IsEmpty());
}

TEST_F(RelaySessionTest, asksARelayThatRevokesEverythingNoMoreThanEveryThreeSeconds) {
  answerRegistrations(410);
  session.startRelayIfConfigured();
  world.time.runDue();
  EXPECT_EQ(registrations(), 2U);
  world.time.advance(Seconds(6.1));
  EXPECT_EQ(registrations(), 4U);
}

TEST_F(RelaySessionTest, replacesItsClientOnANewStart) {
  connect();
  EXPECT_TRUE(session.relayStatus().relayConnected);
  session.startRelayIfConfigured();
  EXPECT_FALSE(session.relayStatus().relayConnected);
  world.time.runDue();
  EXPECT_EQ(clients(), 2U);
  EXPECT_TRUE(world.network.sockets()[0].isCancelled);
  EXPECT_EQ(world.network.sockets()[0].closeCode, 1001);
}

TEST_F(RelaySessionTest, dropsWhatAReplacedClientStillBrings) {
  connect();
  phone.request("late", Uuid::random(), "OK");
  session.startRelayIfConfigured();
  world.time.runDue();
  EXPECT_THAT(requests, IsEmpty());
}

TEST_F(RelaySessionTest, showsWhatTheRelayTellsOfPhones) {
  connect();
  const int refreshes = world.interface.refreshes;
  world.network.deliver(0, R"({"type":"phone.status","phoneConnected":true,"phoneCount":2})");
  world.time.runDue();
  EXPECT_TRUE(session.relayStatus().phoneConnected);
  EXPECT_EQ(session.relayStatus().phoneCount, 2);
  EXPECT_GT(world.interface.refreshes, refreshes);
}

TEST_F(RelaySessionTest, letsAnAcceptedDecisionTakeEffectBeforeItAnswers) {
  store.replace({scannedApproval(1), scannedApproval(2)});
  connect();
  const Uuid id = storedID();
  phone.request("d-1", id, "OK");
  world.time.runDue();
  ASSERT_THAT(requests, SizeIs(1));
  EXPECT_EQ(requests[0].decisionID, "d-1");
  EXPECT_EQ(requests[0].command, (ApprovalRequestCommand{id, "OK"}));
  EXPECT_EQ(store.approval(id), std::nullopt);
  EXPECT_THAT(phone.approvals(), SizeIs(1));
  EXPECT_EQ(world.interface.shownCount(), 1);
  EXPECT_EQ(scans, 1);
  EXPECT_EQ(phone.result("d-1"), (ApprovalResultCommand{id, "OK", "accepted", std::nullopt}));
  EXPECT_THAT(phone.results(0), SizeIs(1));
  EXPECT_EQ(relayMessageType(*parsedJson(world.network.sockets()[0].sent.back())), "approval.result");
}

TEST_F(RelaySessionTest, changesNothingAfterADecisionThatFailed) {
  store.replace({scannedApproval(1)});
  connect();
  decisionStatus = approval_status::failed;
  phone.request("d-1", storedID(), "OK");
  world.time.runDue();
  EXPECT_THAT(store.all(), SizeIs(1));
  EXPECT_EQ(scans, 0);
  ASSERT_THAT(phone.results(0), SizeIs(1));
  EXPECT_EQ(phone.result("d-1")->status, "failed");
}

TEST_F(RelaySessionTest, carriesOutOneDecisionAfterTheOther) {
  connect();
  std::vector<std::string> order;
  onDecision = [&] {
    const std::string decision = requests.back().decisionID;
    order.push_back(decision + " begins");
    world.time.clock().sleep(Seconds(1.25));
    order.push_back(decision + " ends");
  };
  phone.request("d-1", Uuid::random(), "OK");
  phone.request("d-2", Uuid::random(), "OK");
  world.time.advance(5s);
  EXPECT_THAT(order, ElementsAre("d-1 begins", "d-1 ends", "d-2 begins", "d-2 ends"));
}

TEST_F(RelaySessionTest, doesNotBringAnAnsweredDialogBackFromAScanThatBeganBefore) {
  connect();
  scanCycle.scheduleScan("test");
  finishScan({scannedApproval(1)});
  scanCycle.scheduleScan("test");
  phone.request("d-1", storedID(), "OK");
  world.time.runDue();
  finishScan({scannedApproval(1)});
  EXPECT_THAT(store.all(), IsEmpty());
  world.time.runDue();
  EXPECT_THAT(phone.approvals(), IsEmpty());
}

TEST_F(RelaySessionTest, suppressesADialogAtOnce) {
  store.replace({scannedApproval(1), scannedApproval(2)});
  connect();
  const Uuid suppressed = scannedApproval(1).suppressionID;
  phone.suppress(suppressed);
  world.time.runDue();
  EXPECT_TRUE(suppressionStore.contains(suppressed));
  EXPECT_THAT(phone.approvals(), SizeIs(1));
  EXPECT_EQ(world.interface.shownCount(), 1);
  EXPECT_EQ(scans, 0);
}

TEST_F(RelaySessionTest, unsuppressesADialogWithANewScan) {
  connect();
  const Uuid suppressed = scannedApproval(1).suppressionID;
  suppressionStore.suppress(suppressed);
  phone.unsuppress(suppressed);
  world.time.runDue();
  EXPECT_FALSE(suppressionStore.contains(suppressed));
  EXPECT_EQ(scans, 1);
  finishScan({});
  EXPECT_EQ(scans, 2) << "one scan alone reports no dialog that it has not seen before";
}

TEST_F(RelaySessionTest, goesByTheInnerActionAndIgnoresUnknownOnes) {
  connect();
  const Uuid id = Uuid::random();
  phone.command("suppress", relay_type::approvalUnsuppress, id);
  phone.command("forget", relay_type::approvalUnsuppress, id);
  world.time.runDue();
  EXPECT_TRUE(suppressionStore.contains(id));
  EXPECT_EQ(scans, 0);
}

TEST_F(RelaySessionTest, unpairsThenStartsAnewUnderANewIdentity) {
  connect();
  const InstallationSecrets before = phone.secrets();
  world.network.holdSends(0, true);
  session.unpairPhoneFromStatusWindow();
  world.time.runDue();
  EXPECT_TRUE(session.pairingResetInProgress());
  const auto farewells = phone.frames(0, relay_type::phoneUnpair);
  ASSERT_THAT(farewells, SizeIs(1));
  EXPECT_FALSE(farewells[0].contains("deviceID"));
  EXPECT_EQ(phone.secrets(), before);

  session.unpairPhoneFromStatusWindow();
  world.network.holdSends(0, false);
  world.time.runDue();
  EXPECT_FALSE(session.pairingResetInProgress());
  EXPECT_NE(phone.secrets().pairingID, before.pairingID);
  EXPECT_TRUE(world.network.sockets()[0].isCancelled);
  EXPECT_EQ(registrations(), 2U) << "asking twice unpairs once";
  EXPECT_EQ(clients(), 2U);
  EXPECT_EQ(scans, 1);
}

TEST_F(RelaySessionTest, unpairsWithoutTheRelayWhenItDoesNotAnswer) {
  connect();
  const InstallationSecrets before = phone.secrets();
  world.network.holdSends(0, true);
  session.unpairPhoneFromStatusWindow();
  world.time.advance(Seconds(2.9));
  EXPECT_TRUE(session.pairingResetInProgress());
  world.time.advance(Seconds(0.1));
  EXPECT_FALSE(session.pairingResetInProgress());
  EXPECT_NE(phone.secrets().pairingID, before.pairingID);
}

TEST_F(RelaySessionTest, unpairsAtOnceWithoutAClient) {
  ASSERT_TRUE(pairing.launchConfiguration().has_value());
  const InstallationSecrets before = phone.secrets();
  session.unpairPhoneFromStatusWindow();
  EXPECT_FALSE(session.pairingResetInProgress());
  EXPECT_NE(phone.secrets().pairingID, before.pairingID);
}

TEST_F(RelaySessionTest, leavesNothingBehindWhenItEnds) {
  connect();
  world.network.answerAll(std::nullopt);
  session.startRelayIfConfigured();
  session.cancelStartupRetry();
  session.cancelRegistration();
  session.disconnect();
  world.time.runDue();
  EXPECT_EQ(world.time.pendingTaskCount(), 0U);
  EXPECT_TRUE(world.network.requests().back().isAbandoned);
}

}  // namespace
}  // namespace tallyfox
