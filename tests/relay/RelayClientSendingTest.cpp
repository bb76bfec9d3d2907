// What the client sends: each snapshot once and again on every new connection, results, unpair requests, and what
// becomes of sends that fail.

#include <gmock/gmock.h>

#include <optional>

#include "base/Limits.hpp"
#include "relay/RelayClientFixture.hpp"

namespace tallyfox {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

class RelayClientSending : public RelayClientFixture {
 protected:
  void SetUp() override {
    RelayClientFixture::SetUp();
    connectAndOpen();
  }
  static PendingApproval otherApproval() {
    PendingApproval approval = sampleApproval();
    approval.id = Uuid::parsed("00000000-0000-4000-8000-0000000000FF").value();
    return approval;
  }
  std::function<void(SendOutcome)> keepOutcome() {
    return [this](SendOutcome outcome) {
      onQueue = onQueue && clientQueue->isCurrent();
      outcomes.push_back(std::move(outcome));
    };
  }

  std::vector<SendOutcome> outcomes;
};

TEST_F(RelayClientSending, sendsASnapshotSealed) {
  publish({sampleApproval(), otherApproval()});
  ASSERT_THAT(socket().sent, SizeIs(1));
  const MacSnapshotRelayMessage snapshot = sentSnapshot(0);
  EXPECT_EQ(snapshot.observedAt, time.clock().now());
  EXPECT_TRUE(snapshot.accessibilityTrusted);
  EXPECT_EQ(snapshot.approvalCount, 2);
  EXPECT_EQ(snapshot.snapshotID, "ax1:" + RelayCrypto::snapshotID({sampleApproval(), otherApproval()}));
  EXPECT_EQ(decodedApprovals(unsealed(snapshot.encryptedApprovals)),
            (std::vector<PendingApproval>{sampleApproval(), otherApproval()}));
  EXPECT_EQ(socket().sent[0].find("Finder"), std::string::npos);
}

TEST_F(RelayClientSending, sealsAnEmptyListToo) {
  publish({}, false);
  const MacSnapshotRelayMessage snapshot = sentSnapshot(0);
  EXPECT_EQ(snapshot.approvalCount, 0);
  EXPECT_EQ(snapshot.snapshotID, "ax0:e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855");
  EXPECT_EQ(RelayCrypto::open(snapshot.encryptedApprovals, secret), copyOfBytes("[]"));
}

TEST_F(RelayClientSending, sendsTheSameListOnce) {
  publish({sampleApproval()});
  publish({sampleApproval()});
  EXPECT_THAT(socket().sent, SizeIs(1));
}

TEST_F(RelayClientSending, sendsTheSameListAgainWhenForced) {
  publish({sampleApproval()});
  publish({sampleApproval()}, true, true);
  ASSERT_THAT(socket().sent, SizeIs(2));
  EXPECT_EQ(socket().sent[0], socket().sent[1]);
}

TEST_F(RelayClientSending, sendsAListWhoseDigestChanged) {
  publish({sampleApproval()});
  publish({sampleApproval(), otherApproval()});
  publish({sampleApproval()});
  EXPECT_THAT(socket().sent, SizeIs(3));
}

TEST_F(RelayClientSending, sendsNothingForAChangeOutsideOfTheDigest) {
  publish({sampleApproval()});
  PendingApproval moved = sampleApproval();
  moved.windowFrame.x += 10;
  publish({moved});
  EXPECT_THAT(socket().sent, SizeIs(1));
}

TEST_F(RelayClientSending, sendsAChangeOfAccessibilityTrustAlone) {
  publish({sampleApproval()}, false);
  publish({sampleApproval()}, true);
  ASSERT_THAT(socket().sent, SizeIs(2));
  EXPECT_EQ(sentSnapshot(0).snapshotID.substr(0, 4), "ax0:");
  EXPECT_EQ(sentSnapshot(1).snapshotID.substr(0, 4), "ax1:");
}

TEST_F(RelayClientSending, sendsTheLatestSnapshotOnEveryNewConnection) {
  publish({sampleApproval()});
  network.close(0);
  time.advance(Seconds(3));
  EXPECT_THAT(socket(1).sent, IsEmpty());
  open(1);
  ASSERT_THAT(socket(1).sent, SizeIs(1));
  EXPECT_EQ(socket(1).sent[0], socket(0).sent[0]);
}

TEST_F(RelayClientSending, sendsWhatWasPublishedWhileClosedRightAfterTheNextOpen) {
  network.close(0);
  time.runDue();
  publish({sampleApproval()});
  publish({otherApproval()});
  time.advance(Seconds(3));
  open(1);
  ASSERT_THAT(socket(1).sent, SizeIs(1));
  EXPECT_EQ(sentSnapshot(0, 1).snapshotID, "ax1:" + RelayCrypto::snapshotID({otherApproval()}));
}

TEST_F(RelayClientSending, sendsNothingMoreWhileTheSameSnapshotIsInFlight) {
  network.holdSends(0, true);
  publish({sampleApproval()});
  publish({sampleApproval()});
  EXPECT_THAT(socket().sent, SizeIs(1));
  network.holdSends(0, false);
  time.runDue();
  publish({sampleApproval()});
  EXPECT_THAT(socket().sent, SizeIs(1));
}

TEST_F(RelayClientSending, sendsANewSnapshotWithoutWaitingForTheOneInFlight) {
  network.holdSends(0, true);
  publish({sampleApproval()});
  publish({otherApproval()});
  EXPECT_THAT(socket().sent, SizeIs(2));
  network.holdSends(0, false);
  time.runDue();
  publish({otherApproval()});
  EXPECT_THAT(socket().sent, SizeIs(2));
  publish({sampleApproval()});
  EXPECT_THAT(socket().sent, SizeIs(3));
}

TEST_F(RelayClientSending, sendsAReturnToTheEarlierSnapshotWhileAnotherIsInFlight) {
  publish({sampleApproval()});
  network.holdSends(0, true);
  publish({});
  publish({sampleApproval()});
  ASSERT_THAT(socket().sent, SizeIs(3));
  EXPECT_EQ(sentSnapshot(2).snapshotID, sentSnapshot(0).snapshotID);
  network.holdSends(0, false);
  time.runDue();
  publish({sampleApproval()});
  EXPECT_THAT(socket().sent, SizeIs(3));
}

TEST_F(RelayClientSending, retriesAFailedSnapshotWithTheNextPublishAndNeverByItself) {
  network.failSends(0, true);
  publish({sampleApproval()});
  EXPECT_THAT(console.lines(), ElementsAre("Unable to send relay message: The message could not be sent."));
  network.failSends(0, false);
  time.advance(Seconds(60));
  EXPECT_THAT(socket().sent, IsEmpty());
  publish({sampleApproval()});
  EXPECT_THAT(socket().sent, SizeIs(1));
}

TEST_F(RelayClientSending, sendsASnapshotAgainWhoseSendTheLossCutOff) {
  network.holdSends(0, true);
  publish({sampleApproval()});
  network.close(0);
  time.advance(Seconds(3));
  open(1);
  EXPECT_THAT(socket(1).sent, SizeIs(1));
  publish({sampleApproval()});
  EXPECT_THAT(socket(1).sent, SizeIs(1));
}

TEST_F(RelayClientSending, sendsNothingUntilTheSocketIsOpen) {
  client->disconnect();
  connect();
  publish({sampleApproval()});
  EXPECT_THAT(socket(1).sent, IsEmpty());
  open(1);
  EXPECT_THAT(socket(1).sent, SizeIs(1));
}

TEST_F(RelayClientSending, refusesASnapshotBeyondTheLimitsAndStaysConnected) {
  PendingApproval huge = sampleApproval();
  huge.messageLines = {std::string(limits::frameBytes, 'x')};
  publish({huge});
  EXPECT_THAT(socket().sent, IsEmpty());
  EXPECT_THAT(console.lines(), ElementsAre("Unable to encode relay message: The message is too large."));
  publish({});
  EXPECT_THAT(socket().sent, SizeIs(1));
}

TEST_F(RelayClientSending, sendsAResultSealedUnderItsDecision) {
  const ApprovalResultCommand result{sampleApproval().id, "OK", approval_status::failed, "It stayed."};
  client->publishResult("decision-7", result);
  time.runDue();
  ASSERT_THAT(socket().sent, SizeIs(1));
  const auto message = ApprovalResultRelayMessage::decoded(sentJson(0));
  ASSERT_TRUE(message.has_value());
  EXPECT_EQ(message->decisionID, "decision-7");
  EXPECT_EQ(message->issuedAt, time.clock().now());
  EXPECT_EQ(ApprovalResultCommand::decoded(unsealed(message->encryptedResult)), result);
}

TEST_F(RelayClientSending, keepsTheOrderOfResultsAndSnapshots) {
  client->publishSnapshot({}, true, false);
  client->publishResult("decision-1", acceptedResult());
  client->publishSnapshot({sampleApproval()}, true, false);
  time.runDue();
  ASSERT_THAT(socket().sent, SizeIs(3));
  EXPECT_EQ(relayMessageType(sentJson(0)), "mac.snapshot");
  EXPECT_EQ(relayMessageType(sentJson(1)), "approval.result");
  EXPECT_EQ(relayMessageType(sentJson(2)), "mac.snapshot");
}

TEST_F(RelayClientSending, printsALineForAResultThatCannotBeSent) {
  network.failSends(0, true);
  client->publishResult("decision-1", acceptedResult());
  time.runDue();
  EXPECT_THAT(console.lines(), ElementsAre("Unable to send relay message: The message could not be sent."));
}

TEST_F(RelayClientSending, printsALineForAResultWithoutAConnection) {
  client->disconnect();
  client->publishResult("decision-1", acceptedResult());
  time.runDue();
  EXPECT_THAT(console.lines(), ElementsAre("Unable to send relay message: The relay is not connected."));
}

TEST_F(RelayClientSending, unpairsOnePhone) {
  client->unpairPhone("device-1", keepOutcome());
  time.runDue();
  EXPECT_EQ(sentJson(0), (UnpairPhoneRelayMessage{"device-1", time.clock().now()}.json()));
  ASSERT_THAT(outcomes, SizeIs(1));
  EXPECT_TRUE(outcomes[0].has_value());
  EXPECT_TRUE(onQueue);
}

TEST_F(RelayClientSending, unpairsThePairingWithoutAnyDeviceKey) {
  client->unpairPhone(std::nullopt, keepOutcome());
  time.runDue();
  EXPECT_FALSE(sentJson(0).contains("deviceID"));
  EXPECT_EQ(relayMessageType(sentJson(0)), "phone.unpair");
}

TEST_F(RelayClientSending, tellsThatAnUnpairRequestCouldNotBeSent) {
  network.failSends(0, true);
  client->unpairPhone(std::nullopt, keepOutcome());
  time.runDue();
  ASSERT_THAT(outcomes, SizeIs(1));
  EXPECT_FALSE(outcomes[0].has_value());
}

TEST_F(RelayClientSending, tellsThatThereIsNoConnectionForAnUnpairRequest) {
  client->disconnect();
  client->unpairPhone(std::nullopt, keepOutcome());
  time.runDue();
  ASSERT_THAT(outcomes, SizeIs(1));
  EXPECT_EQ(outcomes[0].error().description, "The relay is not connected.");
}

TEST_F(RelayClientSending, tellsOnceThatTheConnectionWasLostUnderAnUnpairRequest) {
  network.holdSends(0, true);
  client->unpairPhone(std::nullopt, keepOutcome());
  time.runDue();
  EXPECT_THAT(outcomes, IsEmpty());
  network.close(0);
  time.runDue();
  ASSERT_THAT(outcomes, SizeIs(1));
  EXPECT_FALSE(outcomes[0].has_value());
  time.advance(Seconds(60));
  EXPECT_THAT(outcomes, SizeIs(1));
}

TEST_F(RelayClientSending, endsAnUnpairRequestThatADisconnectCutsOff) {
  network.holdSends(0, true);
  client->unpairPhone(std::nullopt, keepOutcome());
  client->disconnect();
  time.runDue();
  ASSERT_THAT(outcomes, SizeIs(1));
  EXPECT_FALSE(outcomes[0].has_value());
}

}  // namespace
}  // namespace tallyfox
