// What becomes of a decision when the dialog changes between its reading and its press: closed, moved, minimised,
// disabled, replaced by a look-alike, doubled, hung or busy asking back. The right button is pressed once or none is,
// and nothing is reported as pressed that was not.

#include <gmock/gmock.h>
#include <signal.h>

#include <algorithm>
#include <string>

#include "desktop/ClickFixture.hpp"

namespace tallyfox::testing {
namespace {

using ::testing::Each;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::StartsWith;

class ClickMoments : public ClickFixture, public ::testing::WithParamInterface<DialogToolkit> {
 protected:
  [[nodiscard]] std::unique_ptr<DialogProgram> open(const std::vector<std::string>& words) {
    return ClickFixture::open(GetParam(), words);
  }
  void TearDown() override { EXPECT_THAT(strayInput(), IsEmpty()); }
};
INSTANTIATE_TEST_SUITE_P(Toolkit, ClickMoments, ::testing::ValuesIn(dialogToolkits()), nameOfCase);

TEST_P(ClickMoments, aButtonDisabledSinceIsNotPressed) {
  const auto program = open({"Cancel=press", "Erase=press", "--default=Erase"});
  const PendingApproval approval = approvalOf(*program);
  program->tell("disable Erase");
  EXPECT_EQ(decide(approval, "Erase"), failedGone);
  EXPECT_THAT(program->hits(), IsEmpty());
}

TEST_P(ClickMoments, aButtonDisabledAsItIsPressedGetsNothingElse) {
  const auto program = open({"Cancel=press", "Erase=press", "--default=Erase"});
  const PendingApproval approval = approvalOf(*program);
  elements.beforeNextPress = [&] { program->tell("disable Erase"); };
  EXPECT_EQ(decide(approval, "Erase"), stillVisible);
  EXPECT_THAT(program->hits(), IsEmpty());
}

TEST_P(ClickMoments, aButtonThatGreysItselfIsPressedOnce) {
  const auto program = open({"Cancel=press", "Erase=disable", "--default=Erase"});
  EXPECT_EQ(decide(approvalOf(*program), "Erase"), stillVisible);
  EXPECT_THAT(program->hits(), ElementsAre("Erase press"));
}

TEST_P(ClickMoments, aButtonThatChangesItsLabelIsPressedOnce) {
  const auto program = open({"Cancel=press", "Erase=relabel", "--default=Erase"});
  // The dialog with these buttons is gone from the screen.
  EXPECT_EQ(decide(approvalOf(*program), "Erase"), "accepted by accessibility press.");
  EXPECT_THAT(program->hits(), ElementsAre("Erase press"));
}

TEST_P(ClickMoments, aDialogClosedSinceIsNotFound) {
  const auto program = open({"Cancel=press", "Erase=press"});
  const PendingApproval approval = approvalOf(*program);
  program->tell("close");
  EXPECT_EQ(decide(approval, "Erase"), notFound);
  EXPECT_THAT(program->hits(), IsEmpty());
}

TEST_P(ClickMoments, aDialogClosedAsItIsPressedHasGone) {
  const auto program = open({"Cancel=press", "Erase=press"});
  const PendingApproval approval = approvalOf(*program);
  elements.beforeNextPress = [&] { program->tell("close"); };
  EXPECT_EQ(decide(approval, "Erase"), "accepted by accessibility press.");
  EXPECT_THAT(program->hits(), IsEmpty());
}

TEST_P(ClickMoments, aDialogThatSaysSomethingElseByNowIsNotFound) {
  const auto program = open({"Cancel=press", "Erase=press"});
  const PendingApproval approval = approvalOf(*program);
  program->tell("text Are you sure that you want to erase the backup?");
  EXPECT_EQ(decide(approval, "Erase"), notFound);
  EXPECT_THAT(program->hits(), IsEmpty());
}

TEST_P(ClickMoments, aLookAlikeThatSaysSomethingElseIsNotPressed) {
  const auto program = open({"Cancel=press", "Erase=press"});
  const PendingApproval approval = approvalOf(*program);
  program->tell("replace Are you sure that you want to erase the backup?|Cancel=press|Erase=press");
  (void)windowOf(program->process());
  EXPECT_EQ(decide(approval, "Erase"), notFound);
  EXPECT_THAT(program->hits(), IsEmpty());
}

TEST_P(ClickMoments, aLookAlikeThatComesAsTheButtonIsPressedGetsNothing) {
  const auto program = open({"Cancel=press", "Erase=nothing"});
  const PendingApproval approval = approvalOf(*program);
  clock.atNextWait = [&] {
    program->tell("replace Are you sure that you want to erase the backup?|Cancel=press|Erase=press");
    (void)windowOf(program->process());
  };
  EXPECT_EQ(decide(approval, "Erase"), "accepted by accessibility press.");
  EXPECT_THAT(program->hits(), Each(StartsWith("Erase")));
  EXPECT_TRUE(program->process().isRunning());
}

TEST_P(ClickMoments, theSameDialogWithItsButtonsInAnotherOrderIsPressedByLabel) {
  const auto program = open({"Cancel=press", "Erase=press"});
  const PendingApproval approval = approvalOf(*program);
  program->tell("replace " + std::string(DialogProgram::text) + "|Erase=press|Cancel=press");
  (void)windowOf(program->process());
  EXPECT_EQ(decide(approval, "Erase"), "accepted by accessibility press.");
  EXPECT_EQ(program->process().waitForExit(), DialogProgram::closedBy(0));
  EXPECT_THAT(program->hits(), ElementsAre("2: Erase press"));
}

TEST_P(ClickMoments, theSameDialogOfAnotherProcessIsNotPressed) {
  auto program = open({"Cancel=press", "Erase=press"});
  const PendingApproval approval = approvalOf(*program);
  const auto other = open({"Cancel=press", "Erase=press"});
  program.reset();
  EXPECT_EQ(decide(approval, "Erase"), notFound);
  EXPECT_THAT(other->hits(), IsEmpty());
  EXPECT_TRUE(other->process().isRunning());
}

TEST_P(ClickMoments, ofTwinsOfTwoProcessesTheApprovedOneIsPressed) {
  const auto first = open({"Cancel=press", "Erase=press"});
  move(screenWindow(*first), 30, 60);
  const auto second = open({"Cancel=press", "Erase=press"});
  const PendingApproval approval = approvalOf(*first);
  EXPECT_EQ(decide(approval, "Erase"), "accepted by accessibility press.");
  EXPECT_EQ(first->process().waitForExit(), DialogProgram::closedBy(1));
  EXPECT_THAT(first->hits(), ElementsAre("Erase press"));
  EXPECT_THAT(second->hits(), IsEmpty());
  EXPECT_TRUE(second->process().isRunning());
}

TEST_P(ClickMoments, ofTwinsOfOneProcessTheApprovedOneIsPressed) {
  const auto program = open({"Cancel=press", "Erase=press"});
  const linux_os::XWindow first = screenWindow(*program);
  program->tell("twin");
  ASSERT_TRUE(DesktopSession::waitUntil([&] { return screenWindow(*program).id != first.id; }));
  const linux_os::XWindow twin = screenWindow(*program);
  move(first, 30, 60);
  move(twin, 700, 400);
  std::vector<PendingApproval> approvals = approvalsOf(*program, 2);
  ASSERT_EQ(approvals.size(), 2U);
  std::ranges::sort(approvals, {}, [](const PendingApproval& approval) { return approval.windowFrame.x; });
  EXPECT_EQ(decide(approvals.back(), "Erase"), "accepted by accessibility press.");
  EXPECT_THAT(program->hits(), ElementsAre("2: Erase press"));
  EXPECT_EQ(decide(approvals.front(), "Cancel"), "accepted by accessibility press.");
  EXPECT_EQ(program->process().waitForExit(), DialogProgram::closedBy(0));
  EXPECT_THAT(program->hits(), ElementsAre("2: Erase press", "Cancel press"));
}

TEST_P(ClickMoments, aDialogMovedSinceIsClickedWhereItIsNow) {
  const auto program = open({"Cancel=press", "Proceed=mouse", "--default=Proceed"});
  const PendingApproval approval = approvalOf(*program);
  move(screenWindow(*program), 37, 71);
  EXPECT_THAT(decide(approval, "Proceed"), StartsWith("accepted by mouse click"));
  EXPECT_EQ(program->process().waitForExit(), DialogProgram::closedBy(1));
  EXPECT_THAT(program->hits(), ElementsAre("Proceed press", "Proceed space", "Proceed press", "Proceed mouse"));
}

TEST_P(ClickMoments, aDialogThatMovesDuringTheClickIsClickedWhereItIsNow) {
  const auto program = open({"Cancel=press", "Proceed=mouse", "--default=Proceed"});
  const PendingApproval approval = approvalOf(*program);
  clock.atNextWait = [&] { move(screenWindow(*program), 801, 502); };
  EXPECT_THAT(decide(approval, "Proceed"), StartsWith("accepted by mouse click"));
  EXPECT_EQ(program->process().waitForExit(), DialogProgram::closedBy(1));
  EXPECT_THAT(program->hits(), ElementsAre("Proceed press", "Proceed space", "Proceed press", "Proceed mouse"));
}

TEST_P(ClickMoments, aMinimisedDialogComesBackForTheMouse) {
  const auto program = open({"Cancel=press", "Proceed=mouse", "--default=Proceed"});
  const PendingApproval approval = approvalOf(*program);
  ASSERT_TRUE(desktop->setMinimized(screenWindow(*program).id, true));
  ASSERT_TRUE(DesktopSession::waitUntil([&] { return screenWindow(*program).isMinimized; }));
  EXPECT_THAT(decide(approval, "Proceed"), StartsWith("accepted by mouse click"));
  EXPECT_EQ(program->process().waitForExit(), DialogProgram::closedBy(1));
  EXPECT_THAT(program->hits(), ElementsAre("Proceed press", "Proceed space", "Proceed press", "Proceed mouse"));
}

TEST_P(ClickMoments, aButtonThatAsksBackIsNotPressedAgain) {
  const auto program = open({"Cancel=press", "Erase=nest", "--default=Erase"});
  EXPECT_EQ(decide(approvalOf(*program), "Erase"), stillVisible);
  EXPECT_THAT(program->hits(), ElementsAre("Erase press"));
  // GTK 3 is deaf to accessibility until the handler that it called for a press returns.
  if (GetParam() == DialogToolkit::gtk3) return;
  std::vector<PendingApproval> approvals = approvalsOf(*program, 2);
  std::erase_if(approvals, [](const auto& approval) { return approval.windowTitle == DialogProgram::title; });
  ASSERT_EQ(approvals.size(), 1U);
  EXPECT_EQ(decide(approvals.front(), "Yes"), "accepted by accessibility press.");
  EXPECT_EQ(program->process().waitForExit(), DialogProgram::closedBy(1));
  EXPECT_THAT(program->hits(), ElementsAre("Erase press", "2: Yes press"));
}

TEST_P(ClickMoments, aDialogThatAsksBackInItsOwnLikenessGetsNothing) {
  const auto program = open({"Cancel=press", "Proceed=alike", "--default=Proceed"});
  EXPECT_EQ(decide(approvalOf(*program), "Proceed"), stillVisible);
  EXPECT_THAT(program->hits(), Each("Proceed press"));
  EXPECT_TRUE(program->process().isRunning());
}

TEST_P(ClickMoments, aProgramThatHangsInItsPressIsNotSaidToHaveTakenIt) {
  const auto program = open({"Cancel=press", "Erase=stop", "--default=Erase"});
  EXPECT_EQ(decide(approvalOf(*program), "Erase"), stillVisible);
  EXPECT_THAT(program->hits(), ElementsAre("Erase press"));
  program->process().signal(SIGCONT);
  EXPECT_EQ(program->process().waitForExit(), DialogProgram::closedBy(1));
  EXPECT_THAT(program->hits(), ElementsAre("Erase press")) << "what was sent while it hung presses it again";
}

TEST_P(ClickMoments, aProgramThatHangsBeforeThePressIsNotPressedLater) {
  const auto program = open({"Cancel=press", "Erase=press", "--default=Erase"});
  const PendingApproval approval = approvalOf(*program);
  program->process().setStopped(true);
  EXPECT_EQ(decide(approval, "Erase"), notFound);
  program->process().setStopped(false);
  program->tell("disable Cancel");
  EXPECT_THAT(program->hits(), IsEmpty());
}

TEST_P(ClickMoments, aProgramThatHangsAsItIsPressedIsPressedOnceAtMost) {
  const auto program = open({"Cancel=press", "Erase=press", "--default=Erase"});
  const PendingApproval approval = approvalOf(*program);
  elements.beforeNextPress = [&] { program->process().setStopped(true); };
  EXPECT_EQ(decide(approval, "Erase"), stillVisible);
  EXPECT_THAT(program->hits(), IsEmpty());
  program->process().setStopped(false);
  (void)program->process().waitForExit(Seconds(1));
  EXPECT_LE(program->hits().size(), 1U);
}

TEST_P(ClickMoments, aDialogThatEndsWithItsProgramHasGone) {
  const auto program = open({"Cancel=press", "Erase=crash"});
  EXPECT_EQ(decide(approvalOf(*program), "Erase"), "accepted by accessibility press.");
  EXPECT_EQ(program->process().waitForExit(), 99);
  EXPECT_THAT(program->hits(), ElementsAre("Erase press"));
}

}  // namespace
}  // namespace tallyfox::testing
