// The phone's commands against a relay and a computer that the test plays: what each sends, what it prints, and with
// which status it ends.

#include "phone/PhoneCommands.hpp"

#include "phone/PhoneFixture.hpp"

namespace tallyfox::phone {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

class PairCommandTest : public PhoneTest {};
class ListCommandTest : public PhoneTest {};
class WatchCommandTest : public PhoneTest {};
class AnswerCommandTest : public PhoneTest {
 protected:
  void answer(const std::string& id = "3f2a9c1b", const std::string& button = "Allow") {
    pair();
    run({"answer", id, button});
    welcome();
    deliverSnapshot({approval(), approval("3F2A0000-0000-4000-8000-000000000009")});
  }
  [[nodiscard]] std::string decisionID() const { return sent().back().at("decisionID").get<std::string>(); }
};
class SuppressCommandTest : public PhoneTest {};
class UnpairCommandTest : public PhoneTest {};

TEST_F(PairCommandTest, saysHelloAndKeepsThePairingThatTheRelayAccepts) {
  run({"pair", "--name", "Desk"}, pairingCode() + "\n");
  ASSERT_EQ(network.sockets().size(), 1U);
  EXPECT_EQ(network.sockets()[0].request.url, "wss://relay.example/phone");
  EXPECT_TRUE(network.sockets()[0].request.headers.empty());
  open();
  ASSERT_EQ(sent().size(), 1U);
  EXPECT_EQ(store.load().value(), std::nullopt);
  const Json hello = sent().front();
  EXPECT_EQ(hello.at("type"), "phone.hello");
  EXPECT_EQ(hello.at("version"), 1);
  EXPECT_EQ(hello.at("pairingID"), "tallyfox-1");
  EXPECT_EQ(hello.at("relaySecret"), token);
  EXPECT_EQ(hello.at("deviceName"), "Desk");
  EXPECT_EQ(hello.at("platform"), "cli");
  welcome();
  EXPECT_EQ(exitStatus, 0);
  EXPECT_EQ(store.load().value()->deviceID, hello.at("deviceID").get<std::string>());
  EXPECT_THAT(lines.lines(), ElementsAre("Paired as \"Desk\" through relay.example."));
}

TEST_F(PairCommandTest, keepsNothingThatTheRelayRefuses) {
  run({"pair"}, pairingCode());
  open();
  close(4401);
  EXPECT_EQ(exitStatus, 1);
  EXPECT_EQ(store.load().value(), std::nullopt);
  EXPECT_THAT(errors.lines(), ElementsAre(HasSubstr("does not know this pairing")));
}

TEST_F(PairCommandTest, refusesWhatIsNoPairingCodeAndASecondPairing) {
  run({"pair"}, "hello");
  EXPECT_EQ(exitStatus, 1);
  pair();
  run({"pair"}, pairingCode());
  EXPECT_THAT(errors.lines().back(), HasSubstr("paired already"));
  EXPECT_TRUE(network.sockets().empty());
}

TEST_F(ListCommandTest, showsTheListForANewcomer) {
  pair();
  run({"list"});
  welcome();
  deliverSnapshot({approval()});
  EXPECT_EQ(exitStatus, 0);
  EXPECT_THAT(lines.lines(), ElementsAre("3F2A9C1B  Files: Empty Trash?                                       12 s ago",
                                         "          Empty all items from Trash?",
                                         "          Buttons: [Cancel]  [Allow] (recommended)"));
}

TEST_F(ListCommandTest, saysThatThereIsNoListYet) {
  pair();
  run({"list"});
  welcome(false);
  time.advance(Seconds{3});
  EXPECT_EQ(exitStatus, 0);
  EXPECT_THAT(lines.lines(), Contains("The computer has not sent a list yet."));
}

TEST_F(ListCommandTest, endsInTimeWithOrWithoutPairing) {
  run({"list"});
  EXPECT_EQ(exitStatus, 1);
  EXPECT_THAT(errors.lines(), ElementsAre(HasSubstr("not paired")));
  pair();
  exitStatus.reset();
  run({"--timeout", "5", "list"});
  time.advance(Seconds{5});
  EXPECT_EQ(exitStatus, 1);
  EXPECT_THAT(errors.lines().back(), HasSubstr("No answer came in time."));
}

TEST_F(ListCommandTest, tellsAProblemWithASnapshotItCannotOpen) {
  pair();
  run({"list"});
  welcome();
  deliverSnapshot({approval()}, "another secret");
  EXPECT_THAT(errors.lines(), ElementsAre(HasSubstr("could not be decrypted")));
}

TEST_F(WatchCommandTest, showsEveryChangeAsALineOfJson) {
  pair();
  run({"watch", "--json"});
  welcome();
  deliverSnapshot({approval()});
  deliver({{"type", "agent.status"}, {"agentConnected", false}});
  deliver({{"type", "something.new"}});
  std::vector<std::string> events;
  for (const auto& line : lines.lines()) {
    const Json event = parsedJson(line).value();
    events.push_back(event.at("event").get<std::string>() + " " + event.value("state", ""));
    EXPECT_THAT(event.at("at").get<std::string>(), testing::MatchesRegex("....-..-..T..:..:...[0-9][0-9][0-9]Z"));
  }
  EXPECT_THAT(events, ElementsAre("state connecting", "state connected", "snapshot ", "state agent-offline"));
  EXPECT_EQ(parsedJson(lines.lines()[2]).value().at("approvals").at(0), approval().json());
  EXPECT_EQ(exitStatus, std::nullopt);
}

TEST_F(WatchCommandTest, connectsAgainAfterThreeSeconds) {
  pair();
  run({"watch"});
  welcome();
  close(std::nullopt);
  EXPECT_THAT(lines.lines(), Contains(HasSubstr("Trying again in 3 seconds.")));
  time.advance(Seconds{2.9});
  EXPECT_EQ(network.sockets().size(), 1U);
  time.advance(Seconds{0.2});
  EXPECT_EQ(network.sockets().size(), 2U);
  network.refuse(socket());
  time.advance(Seconds{3.1});
  EXPECT_EQ(network.sockets().size(), 3U);
  welcome();
  EXPECT_EQ(lines.lines().back(), "Connected.");
}

TEST_F(WatchCommandTest, endsWhereTryingAgainIsOfNoUse) {
  pair();
  run({"watch"});
  welcome();
  deliver({{"type", "phone.unpaired"}});
  EXPECT_EQ(exitStatus, 1);
  EXPECT_THAT(errors.lines(), ElementsAre(HasSubstr("no longer paired")));
  for (const auto code : std::vector<std::uint16_t>{4400, 4401, 4410, 4429}) {
    exitStatus.reset();
    run({"watch"});
    welcome();
    close(code);
    EXPECT_EQ(exitStatus, 1) << code;
  }
}

TEST_F(WatchCommandTest, endsQuietlyAfterItsTime) {
  pair();
  run({"watch", "--timeout", "10"});
  welcome();
  time.advance(Seconds{10});
  EXPECT_EQ(exitStatus, 0);
}

TEST_F(AnswerCommandTest, sealsTheRequestForTheApprovalAndItsLabel) {
  answer("3f2a9", "  ALLOW ");
  EXPECT_EQ(sent().back().at("type"), "approval.request");
  EXPECT_EQ(opened("encryptedRequest"), (ApprovalRequestCommand{approval().id, "Allow"}.json()));
  EXPECT_EQ(sent().back().at("issuedAt"), formattedISO8601(time.clock().now()));
}

TEST_F(AnswerCommandTest, endsWithTheStatusOfItsOwnResult) {
  for (const auto& [status, code] : std::vector<std::pair<std::string, int>>{
           {"accepted", 0}, {"failed", 3}, {"not_found", 4}, {"requires_direct_access", 5}}) {
    exitStatus.reset();
    answer();
    deliverResult("somebody-else", "accepted");
    EXPECT_EQ(exitStatus, std::nullopt);
    deliverResult(decisionID(), status, "Because.");
    EXPECT_EQ(exitStatus, code) << status;
  }
}

TEST_F(AnswerCommandTest, endsWithSixWhenTheComputerIsOffline) {
  answer();
  deliver({{"type", "decision.undeliverable"}, {"decisionID", "other"}, {"reason", "offline"}});
  EXPECT_EQ(exitStatus, std::nullopt);
  deliver({{"type", "decision.undeliverable"}, {"decisionID", decisionID()}, {"reason", "offline"}});
  EXPECT_EQ(exitStatus, 6);
}

TEST_F(AnswerCommandTest, sendsNothingForAnApprovalOrButtonThatIsNotThere) {
  answer("FFFF");
  EXPECT_EQ(exitStatus, 4);
  answer("3F2A");
  EXPECT_EQ(exitStatus, 2);
  EXPECT_THAT(errors.lines().back(), HasSubstr("Several approvals"));
  answer("3f2a9c1b", "Shred");
  EXPECT_EQ(exitStatus, 2);
  EXPECT_THAT(errors.lines().back(), HasSubstr("The buttons are: Cancel, Allow."));
  for (const auto& connection : network.sockets())
    EXPECT_EQ(connection.sent.size(), 1U);
}

TEST_F(AnswerCommandTest, waitsOnForItsResultOverALostConnection) {
  answer();
  const std::string decision = decisionID();
  close(4000);
  time.advance(Seconds{0.3});
  ASSERT_EQ(network.sockets().size(), 2U);
  welcome();
  deliverSnapshot({approval()});
  EXPECT_EQ(sent().size(), 1U);  // the hello alone: nothing is pressed twice
  deliverResult(decision, "accepted");
  EXPECT_EQ(exitStatus, 0);
}

TEST_F(AnswerCommandTest, printsNoSecretWhateverHappens) {
  answer();
  deliverResult(decisionID(), "failed", "No.");
  run({"--json", "answer", "3f2a9c1b", "Allow"});
  welcome();
  close(4401);
  EXPECT_THAT(everythingSaid(), Not(HasSubstr(secret)));
  EXPECT_THAT(everythingSaid(), Not(HasSubstr(token)));
}

TEST_F(SuppressCommandTest, sendsTheSuppressionOfTheDialog) {
  pair();
  run({"suppress", "3f2a"});
  welcome();
  deliverSnapshot({approval()});
  EXPECT_EQ(sent().back().at("type"), "approval.suppress");
  EXPECT_EQ(opened("encryptedSuppression"),
            (ApprovalSuppressionCommand{"suppress", approval().id, approval().suppressionID}.json()));
  time.advance(Seconds{1});
  EXPECT_EQ(exitStatus, 0);
  EXPECT_THAT(lines.lines().back(), HasSubstr("unsuppress AAAAAAAA-0000-4000-8000-000000000002"));
}

TEST_F(SuppressCommandTest, sendsTheEndOfASuppression) {
  pair();
  run({"unsuppress", "aaaaaaaa-0000-4000-8000-000000000002"});
  welcome();
  EXPECT_EQ(sent().back().at("type"), "approval.unsuppress");
  EXPECT_EQ(opened("encryptedSuppression"),
            (ApprovalSuppressionCommand{"unsuppress", std::nullopt, approval().suppressionID}.json()));
  deliver({{"type", "decision.undeliverable"}, {"decisionID", sent().back().at("decisionID")}, {"reason", "offline"}});
  EXPECT_EQ(exitStatus, 6);
  run({"unsuppress", "aaaa"});
  EXPECT_EQ(exitStatus, 2);
}

TEST_F(UnpairCommandTest, leavesAtTheRelayAndForgets) {
  pair();
  run({"unpair"});
  welcome();
  EXPECT_EQ(sent().back(), (Json{{"type", "phone.leave"}}));
  EXPECT_EQ(exitStatus, 0);
  EXPECT_EQ(store.load().value(), std::nullopt);
  EXPECT_THAT(lines.lines(), ElementsAre("Unpaired."));
}

TEST_F(UnpairCommandTest, forgetsAlsoWithoutTheRelay) {
  pair();
  run({"unpair"});
  network.refuse(socket());
  time.runDue();
  EXPECT_EQ(exitStatus, 0);
  EXPECT_EQ(store.load().value(), std::nullopt);
  EXPECT_THAT(lines.lines().back(), HasSubstr("may still list this phone"));
}

}  // namespace
}  // namespace tallyfox::phone
