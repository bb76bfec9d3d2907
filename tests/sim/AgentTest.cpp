// The whole agent, end to end, in memory and on the virtual clock: a dialog opens, the phone sees it, decides, and the
// desktop, the relay and the owner's log show what became of it.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "sim/Agent.hpp"

namespace tallyfox::sim {
namespace {

using memory::ElementID;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

constexpr const char* eraseLine = "Are you sure you want to permanently erase the items?";
constexpr const char* passwordLine = "Finder wants to make changes. Enter your password to allow this.";

class AgentTest : public testing::Test {
 protected:
  AgentTest() { agent.start(); }
  ElementID openErase() { return agent.openDialog(finder, "Finder", eraseLine, {"Cancel", "Empty Trash"}); }
  [[nodiscard]] bool phoneShowsWithin(std::size_t count, Seconds limit) {
    return time().advanceUntil([&] { return agent.phone.approvals().size() == count; }, limit);
  }
  memory::VirtualTime& time() { return agent.world.time; }
  memory::MemoryDesktop& desktop() { return agent.world.desktop; }

  Agent agent;
  TestPhone& phone = agent.phone;
  AgentWorld& world = agent.world;
  std::int32_t finder = world.desktop.launch("Finder", "com.apple.finder");
};

TEST_F(AgentTest, letsThePhoneAnswerADialog) {
  const ElementID dialog = openErase();
  ASSERT_TRUE(phoneShowsWithin(1, Seconds(3)));
  const PendingApproval approval = phone.approvals().at(0);
  EXPECT_EQ(approval.appName, "Finder");
  EXPECT_THAT(approval.messageLines, ElementsAre(eraseLine));
  EXPECT_THAT(approval.buttonLabels(), ElementsAre("Cancel", "Empty Trash"));
  EXPECT_FALSE(approval.requiresDirectAccess);
  EXPECT_EQ(world.interface.shownCount(), 1);
  EXPECT_THAT(world.notifications.delivered(),
              ElementsAre(UserNotification{approval.id.text(), "Tallyfox", "Your Mac needs approval."}));

  phone.request("d-1", approval.id, "Empty Trash");
  time().advance(Seconds(0.2));
  EXPECT_FALSE(desktop().exists(dialog));
  EXPECT_THAT(desktop().presses(), ElementsAre("Empty Trash"));
  EXPECT_EQ(phone.result("d-1"), (ApprovalResultCommand{approval.id, "Empty Trash", "accepted", std::nullopt}));
  EXPECT_THAT(phone.approvals(), IsEmpty());
  EXPECT_EQ(world.interface.shownCount(), 0);
  EXPECT_TRUE(world.printed("Decision d-1: accepted by accessibility press."));
  agent.settle();
  EXPECT_THAT(phone.approvals(), IsEmpty()) << "the answered dialog does not come back";
}

TEST_F(AgentTest, sendsNothingReadableThroughTheRelay) {
  openErase();
  agent.settle();
  for (const std::string& frame : world.network.sockets()[0].sent) {
    EXPECT_EQ(frame.find("Finder"), std::string::npos);
    EXPECT_EQ(frame.find("Trash"), std::string::npos);
  }
}

TEST_F(AgentTest, refusesToApproveAPasswordDialogButDeniesIt) {
  const ElementID dialog = agent.openDialog(finder, "Finder", passwordLine, {"Cancel", "OK"});
  ASSERT_TRUE(phoneShowsWithin(1, Seconds(3)));
  const PendingApproval approval = phone.approvals().at(0);
  EXPECT_TRUE(approval.requiresDirectAccess);
  phone.request("d-1", approval.id, "OK");
  agent.settle();
  EXPECT_EQ(phone.result("d-1")->status, "requires_direct_access");
  EXPECT_EQ(phone.result("d-1")->error, "This prompt requires direct Mac access.");
  EXPECT_THAT(desktop().presses(), IsEmpty());
  phone.request("d-2", approval.id, "Cancel");
  agent.settle();
  EXPECT_EQ(phone.result("d-2")->status, "accepted");
  EXPECT_THAT(desktop().presses(), ElementsAre("Cancel"));
  EXPECT_FALSE(desktop().exists(dialog));
}

TEST_F(AgentTest, hidesASuppressedDialogUntilItIsUnsuppressed) {
  openErase();
  ASSERT_TRUE(phoneShowsWithin(1, Seconds(3)));
  const Uuid suppressionID = phone.approvals().at(0).suppressionID;
  phone.suppress(suppressionID);
  time().runDue();
  EXPECT_THAT(phone.approvals(), IsEmpty());
  EXPECT_EQ(world.interface.shownCount(), 0);
  desktop().openWindow(finder,
                       memory::messageBox("Finder", {eraseLine}, {"Cancel", "Empty Trash"}, {10, 10, 420, 180}));
  agent.settle();
  EXPECT_THAT(phone.approvals(), IsEmpty()) << "its twin elsewhere has the same identity";
  phone.unsuppress(suppressionID);
  time().runDue();
  EXPECT_THAT(phone.approvals(), SizeIs(2)) << "both are back at once";
}

TEST_F(AgentTest, remembersASuppressionAcrossARestart) {
  openErase();
  ASSERT_TRUE(phoneShowsWithin(1, Seconds(3)));
  phone.suppress(phone.approvals().at(0).suppressionID);
  time().runDue();
  agent.delegate->applicationWillTerminate();
  agent.delegate = std::make_unique<AppDelegate>(world.platform(), world.interface);
  agent.start();
  agent.settle();
  EXPECT_THAT(phone.approvals(), IsEmpty());
}

TEST_F(AgentTest, comesBackThreeSecondsAfterTheRelayWasLost) {
  openErase();
  ASSERT_TRUE(phoneShowsWithin(1, Seconds(3)));
  const auto before = phone.approvals();
  world.network.close(0);
  time().advance(Seconds(2.9));
  EXPECT_THAT(world.network.sockets(), SizeIs(1));
  time().advance(Seconds(0.1));
  ASSERT_THAT(world.network.sockets(), SizeIs(2));
  world.network.open(1);
  time().runDue();
  EXPECT_EQ(phone.approvals(), before);
}

TEST_F(AgentTest, answersNotFoundWhenTheDialogWasClosedMeanwhile) {
  const ElementID dialog = openErase();
  ASSERT_TRUE(phoneShowsWithin(1, Seconds(3)));
  const Uuid id = phone.approvals().at(0).id;
  desktop().closeWindow(dialog);
  phone.request("d-1", id, "Empty Trash");
  agent.settle();
  EXPECT_EQ(phone.result("d-1")->status, "not_found");
  EXPECT_EQ(phone.result("d-1")->error, "The approved button no longer exists on screen.");
  phone.request("d-2", id, "Empty Trash");
  agent.settle();
  EXPECT_EQ(phone.result("d-2")->error, "The approval request is no longer pending.");
  EXPECT_THAT(desktop().presses(), IsEmpty());
  EXPECT_THAT(phone.approvals(), IsEmpty());
}

TEST_F(AgentTest, answersFailedWhenTheDialogIgnoresEverything) {
  openErase();
  desktop().heed(finder, false, false, false);
  ASSERT_TRUE(phoneShowsWithin(1, Seconds(3)));
  phone.request("d-1", phone.approvals().at(0).id, "Empty Trash");
  time().advance(Seconds(20));
  EXPECT_EQ(phone.result("d-1")->status, "failed");
  EXPECT_EQ(phone.result("d-1")->error, "The dialog was still visible after Tallyfox tried every safe click path.");
  EXPECT_THAT(phone.approvals(), SizeIs(1)) << "it is still there to be answered";
}

TEST_F(AgentTest, keepsAVanishedDialogForItsGrace) {
  const ElementID dialog = openErase();
  ASSERT_TRUE(phoneShowsWithin(1, Seconds(3)));
  desktop().closeWindow(dialog);
  time().advance(Seconds(7));
  EXPECT_THAT(phone.approvals(), SizeIs(1));
  EXPECT_TRUE(phoneShowsWithin(0, Seconds(6)));
}

TEST_F(AgentTest, emptiesThePhoneWithinTwoSecondsOfLosingTheTrust) {
  openErase();
  ASSERT_TRUE(phoneShowsWithin(1, Seconds(3)));
  desktop().setTrusted(false);
  EXPECT_TRUE(phoneShowsWithin(0, Seconds(2)));
  EXPECT_EQ(world.interface.shownCount(), 0);
  desktop().setTrusted(true);
  EXPECT_TRUE(phoneShowsWithin(1, Seconds(3)));
}

TEST_F(AgentTest, staysOutOfTheWayOfASecondAgent) {
  RecordingInterface interface;
  AppDelegate second(world.platform(), interface);
  second.applicationDidFinishLaunching();
  EXPECT_EQ(world.terminations, 1);
  second.applicationWillTerminate();
  agent.settle();
  EXPECT_THAT(interface.calls, IsEmpty());
  EXPECT_TRUE(world.instanceLock.isHeld("com.tallyfox.agent.lock"));
  openErase();
  EXPECT_TRUE(phoneShowsWithin(1, Seconds(3)));
}

TEST_F(AgentTest, leavesNothingRunningWhenItTerminates) {
  openErase();
  ASSERT_TRUE(phoneShowsWithin(1, Seconds(3)));
  agent.delegate->applicationWillTerminate();
  time().runDue();
  EXPECT_EQ(time().pendingTaskCount(), 0U);
  EXPECT_FALSE(world.instanceLock.isHeld("com.tallyfox.agent.lock"));
  EXPECT_EQ(world.network.sockets()[0].closeCode, 1001);
  agent.delegate.reset();
  EXPECT_EQ(world.network.sockets().size(), 1U);
}

TEST(AgentStart, showsADialogThatWaitedForTheFirstGrantOfTrust) {
  Agent agent;
  agent.world.desktop.setTrusted(false);
  agent.delegate = std::make_unique<AppDelegate>(agent.world.platform(), agent.world.interface);
  agent.start();
  agent.openDialog(agent.world.desktop.launch("Finder"), "Finder", eraseLine, {"Cancel", "Empty Trash"});
  agent.settle();
  ASSERT_THAT(agent.phone.approvals(), IsEmpty());
  agent.world.desktop.setTrusted(true);
  agent.world.time.advance(Seconds(0.2));
  EXPECT_THAT(agent.phone.approvals(), SizeIs(1));
}

TEST(AgentStart, retriesAFailedRegistrationEveryThreeSeconds) {
  Agent agent;
  agent.world.network.answerAll(HttpResponse{500});
  agent.delegate->applicationDidFinishLaunching();
  agent.world.time.advance(Seconds(10));
  EXPECT_EQ(
      agent.world.timesPrinted("Unable to register relay token: The relay rejected token registration with HTTP 500."),
      4);
  agent.world.network.answerAll(HttpResponse{204});
  agent.world.time.advance(Seconds(3));
  EXPECT_THAT(agent.world.network.sockets(), SizeIs(1));
}

TEST(AgentStart, takesANewIdentityWhenItsPairingWasRevoked) {
  Agent agent;
  agent.delegate->applicationDidFinishLaunching();
  const InstallationSecrets before = agent.phone.secrets();
  agent.world.network.answer(0, HttpResponse{410});
  agent.world.network.answerAll(HttpResponse{204});
  agent.world.time.runDue();
  EXPECT_NE(agent.phone.secrets().pairingID, before.pairingID);
  ASSERT_THAT(agent.world.network.sockets(), SizeIs(1));
  EXPECT_THAT(agent.world.network.sockets()[0].request.headers,
              Contains(testing::Pair("authorization", "Bearer " + agent.phone.secrets().relayAuthToken)));
}

TEST(AgentStart, refusesAnInsecureRelay) {
  Agent agent;
  agent.world.environment.set("TALLYFOX_RELAY_URL", "ws://relay.example.com/agent");
  agent.delegate->applicationDidFinishLaunching();
  agent.world.time.advance(Seconds(10));
  EXPECT_TRUE(agent.world.printed("Refusing insecure relay URL: ws://relay.example.com/agent"));
  EXPECT_THAT(agent.world.network.requests(), IsEmpty());
}

}  // namespace
}  // namespace tallyfox::sim
