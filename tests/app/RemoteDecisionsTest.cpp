// What becomes of the phone's requests on a whole desktop: pressed with proof, refused, not found or failed, each with
// its text and one line for the owner.

#include "app/RemoteDecisions.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

#include "app/AgentWorld.hpp"

namespace tallyfox {
namespace {

using memory::ElementID;
using memory::messageBox;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

class RemoteDecisionsTest : public testing::Test {
 protected:
  ElementID open(const std::vector<std::string>& lines, const std::vector<std::string>& buttons) {
    return world.desktop.openWindow(finder, messageBox("Finder", lines, buttons));
  }
  /// The first approval that the detector finds, under its id in the store.
  PendingApproval pending() {
    (void)detector.scan();
    store.replace(detector.scan());
    return store.all().at(0);
  }
  ApprovalResultCommand carryOut(const Uuid& approvalID, const std::string& buttonLabel) {
    return decisions.carryOut({.decisionID = "d-1", .command = {approvalID, buttonLabel}, .issuedAt = std::nullopt});
  }

  AgentWorld world;
  std::int32_t finder = world.desktop.launch("Finder", "com.apple.finder");
  DialogDetector detector{{.accessibility = world.desktop.accessibility(),
                           .elements = world.desktop.elements(),
                           .applications = world.desktop.applications(),
                           .windowList = world.desktop.windowList(),
                           .clock = world.time.clock(),
                           .console = world.console,
                           .isSuppressed = [](const Uuid&) { return false; },
                           .diagnosticsEnabled = [] { return false; }}};
  ApprovalStore store{Seconds(8), world.time.clock()};
  DialogFocusResolver resolver{detector};
  ClickExecutor executor{
      {world.desktop.accessibility(), world.desktop.elements(), world.desktop.input(), world.time.clock()}};
  RemoteDecisions decisions{{.store = store,
                             .resolver = resolver,
                             .executor = executor,
                             .accessibility = world.desktop.accessibility(),
                             .elements = world.desktop.elements(),
                             .console = world.console}};
};

TEST_F(RemoteDecisionsTest, pressesTheNamedButtonAndSaysHow) {
  const ElementID dialog = open({"Are you sure you want to erase the items?"}, {"Cancel", "Empty Trash"});
  const PendingApproval approval = pending();
  EXPECT_EQ(carryOut(approval.id, "Empty Trash"),
            (ApprovalResultCommand{approval.id, "Empty Trash", "accepted", std::nullopt}));
  EXPECT_FALSE(world.desktop.exists(dialog));
  EXPECT_THAT(world.desktop.presses(), ElementsAre("Empty Trash"));
  EXPECT_THAT(world.console.lines(), ElementsAre("Decision d-1: accepted by accessibility press."));
}

TEST_F(RemoteDecisionsTest, doesNotFindWhatIsNoLongerPending) {
  const Uuid id = Uuid::random();
  EXPECT_EQ(carryOut(id, "OK"),
            (ApprovalResultCommand{id, "OK", "not_found", "The approval request is no longer pending."}));
  EXPECT_THAT(world.console.lines(), ElementsAre("Decision d-1: not found."));
}

TEST_F(RemoteDecisionsTest, doesNotFindAButtonWhoseDialogWasClosed) {
  const ElementID dialog = open({"Are you sure you want to erase the items?"}, {"Cancel", "Empty Trash"});
  const PendingApproval approval = pending();
  world.desktop.closeWindow(dialog);
  EXPECT_EQ(carryOut(approval.id, "Empty Trash"),
            (ApprovalResultCommand{approval.id, "Empty Trash", "not_found",
                                   "The approved button no longer exists on screen."}));
  EXPECT_THAT(world.desktop.presses(), IsEmpty());
}

TEST_F(RemoteDecisionsTest, findsAButtonByItsExactLabelOnly) {
  open({"Are you sure you want to erase the items?"}, {"Cancel", "Empty Trash"});
  const PendingApproval approval = pending();
  for (const char* label : {"empty trash", "Empty Trash ", "Delete"}) {
    EXPECT_EQ(carryOut(approval.id, label).status, "not_found") << label;
  }
  EXPECT_THAT(world.desktop.presses(), IsEmpty());
}

TEST_F(RemoteDecisionsTest, bringsTheApplicationToTheFrontBeforeItGivesUp) {
  const ElementID dialog = open({"Are you sure you want to erase the items?"}, {"Cancel", "Empty Trash"});
  const PendingApproval approval = pending();
  world.desktop.closeWindow(dialog);
  world.desktop.clearDeeds();
  (void)carryOut(approval.id, "Empty Trash");
  EXPECT_THAT(world.desktop.deeds(), Contains(HasSubstr("AXFrontmost")));
}

TEST_F(RemoteDecisionsTest, leavesTheApplicationAloneWhenTheButtonIsFoundAtOnce) {
  open({"Are you sure you want to erase the items?"}, {"Cancel", "Empty Trash"});
  (void)carryOut(pending().id, "Empty Trash");
  EXPECT_THAT(world.desktop.deeds(), Not(Contains(HasSubstr("AXFrontmost"))));
}

TEST_F(RemoteDecisionsTest, refusesToApproveAPasswordDialog) {
  open({"Finder wants to make changes. Enter your password to allow this."}, {"Cancel", "OK"});
  const PendingApproval approval = pending();
  ASSERT_TRUE(approval.requiresDirectAccess);
  EXPECT_EQ(carryOut(approval.id, "OK"), (ApprovalResultCommand{approval.id, "OK", "requires_direct_access",
                                                                "This prompt requires direct Mac access."}));
  EXPECT_THAT(world.desktop.presses(), IsEmpty());
  EXPECT_THAT(world.console.lines(), ElementsAre("Decision d-1: requires direct access."));
}

TEST_F(RemoteDecisionsTest, deniesAPasswordDialogByAnyDenyingLabel) {
  for (const char* label : {"Cancel", "Deny", "Don’t Allow", "Don't Allow", "Not Now", "No", "Later", "Skip"}) {
    open({"Finder wants to make changes. Enter your password to allow this."}, {label, "OK"});
    EXPECT_EQ(carryOut(pending().id, label).status, "accepted") << label;
    EXPECT_EQ(world.desktop.presses().back(), label);
    world.time.advance(Seconds(9));
    store.replace({});
  }
}

TEST_F(RemoteDecisionsTest, refusesAPasswordDialogsOtherLabelsEvenWhenTheyLookHarmless) {
  open({"Finder wants to make changes. Enter your password to allow this."}, {"Quit", "OK"});
  const PendingApproval approval = pending();
  EXPECT_EQ(carryOut(approval.id, "Quit").status, "requires_direct_access");
  EXPECT_EQ(carryOut(approval.id, "Help").status, "requires_direct_access");
}

TEST_F(RemoteDecisionsTest, failsWhenTheDialogIgnoresEverything) {
  const ElementID dialog = open({"Are you sure you want to erase the items?"}, {"Cancel", "Empty Trash"});
  const PendingApproval approval = pending();
  world.desktop.heed(finder, false, false, false);
  EXPECT_EQ(carryOut(approval.id, "Empty Trash"),
            (ApprovalResultCommand{approval.id, "Empty Trash", "failed",
                                   "The dialog was still visible after Tallyfox tried every safe click path."}));
  EXPECT_TRUE(world.desktop.exists(dialog));
  EXPECT_THAT(world.console.lines(), ElementsAre("Decision d-1: failed."));
}

TEST_F(RemoteDecisionsTest, failsOnAButtonThatWasDisabledMeanwhile) {
  const ElementID dialog = open({"Are you sure you want to erase the items?"}, {"Cancel", "Empty Trash"});
  const PendingApproval approval = pending();
  world.desktop.setEnabled(world.desktop.find(dialog, "AXButton", "Empty Trash"), false);
  EXPECT_EQ(
      carryOut(approval.id, "Empty Trash"),
      (ApprovalResultCommand{approval.id, "Empty Trash", "failed", "The approved button no longer exists on screen."}));
  EXPECT_THAT(world.desktop.presses(), IsEmpty());
}

}  // namespace
}  // namespace tallyfox
