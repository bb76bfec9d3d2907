// Every way of pressing, forced in turn: dialogs of real toolkits obey one kind of input alone, and say themselves what
// hit them and how often. The way that works ends the click, those before it were tried in their order, and no other
// window gets any input.

#include <gmock/gmock.h>

#include <string>

#include "desktop/ClickFixture.hpp"

namespace tallyfox::testing {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class ClickPaths : public ClickFixture, public ::testing::WithParamInterface<DialogToolkit> {
 protected:
  [[nodiscard]] std::unique_ptr<DialogProgram> open(const std::vector<std::string>& words) {
    return ClickFixture::open(GetParam(), words);
  }
  void TearDown() override { EXPECT_THAT(strayInput(), IsEmpty()); }
};
INSTANTIATE_TEST_SUITE_P(Toolkit, ClickPaths, ::testing::ValuesIn(dialogToolkits()), nameOfCase);

TEST_P(ClickPaths, anOrdinaryButtonIsPressedOnceByItsAction) {
  struct Case {
    std::string label;
    int place;
  };
  for (const Case& one : {Case{"Cancel", 0}, Case{"Erase", 1}}) {
    const auto program = open({"Cancel=press", "Erase=press", "--default=Erase"});
    EXPECT_EQ(decide(approvalOf(*program), one.label), "accepted by accessibility press.");
    EXPECT_EQ(program->process().waitForExit(), DialogProgram::closedBy(one.place));
    EXPECT_THAT(program->hits(), ElementsAre(one.label + " press"));
  }
}

TEST_P(ClickPaths, aDialogThatTakesItsTimeToCloseIsNotPressedAgain) {
  const auto program = open({"Cancel=press", "Erase=late", "--default=Erase"});
  EXPECT_EQ(decide(approvalOf(*program), "Erase"), "accepted by accessibility press.");
  EXPECT_EQ(program->process().waitForExit(), DialogProgram::closedBy(1));
  EXPECT_THAT(program->hits(), ElementsAre("Erase press"));
}

TEST_P(ClickPaths, aButtonThatObeysOnlySpaceGetsIt) {
  const auto program = open({"Cancel=press", "Proceed=space", "--default=Proceed"});
  EXPECT_EQ(decide(approvalOf(*program), "Proceed"), "accepted by space key.");
  EXPECT_EQ(program->process().waitForExit(), DialogProgram::closedBy(1));
  EXPECT_THAT(program->hits(), ElementsAre("Proceed press", "Proceed space"));
}

TEST_P(ClickPaths, keysGoToNoButtonThatDoesNotTakeTheFocus) {
  const auto program = open({"Cancel=press", "Proceed=space"});
  const std::string outcome = decide(approvalOf(*program), "Proceed");
  if (GetParam() == DialogToolkit::gtk4) {
    // It gives its focus to nobody, so that Space would press Cancel.
    EXPECT_EQ(outcome, stillVisible);
    EXPECT_THAT(program->hits(), ElementsAre("Proceed press", "Proceed press", "Proceed mouse", "Proceed mouse"));
  } else {
    EXPECT_EQ(outcome, "accepted by space key.");
    EXPECT_THAT(program->hits(), ElementsAre("Proceed press", "Proceed space"));
  }
}

TEST_P(ClickPaths, aConfirmingDefaultButtonThatObeysOnlyReturnGetsIt) {
  const auto program = open({"Cancel=press", "Erase=return", "--default=Erase"});
  EXPECT_EQ(decide(approvalOf(*program), "Erase"), "accepted by return or escape key.");
  EXPECT_EQ(program->process().waitForExit(), DialogProgram::closedBy(1));
  EXPECT_THAT(program->hits(), ElementsAre("Erase press", "Erase press", "Erase space", "Erase return"));
}

TEST_P(ClickPaths, aButtonThatObeysOnlyTheMouseGetsItInItsMiddle) {
  const auto program = open({"Cancel=press", "Proceed=mouse", "--default=Proceed"});
  EXPECT_EQ(decide(approvalOf(*program), "Proceed"), "accepted by mouse click to the process.");
  EXPECT_EQ(program->process().waitForExit(), DialogProgram::closedBy(1));
  EXPECT_THAT(program->hits(), ElementsAre("Proceed press", "Proceed space", "Proceed press", "Proceed mouse"));
}

TEST_P(ClickPaths, aButtonWithoutAnActionIsReachedByTheMouse) {
  const auto program = open({"Cancel=press", "Proceed=area", "--default=Proceed"});
  EXPECT_EQ(decide(approvalOf(*program), "Proceed"), "accepted by mouse click to the process.");
  EXPECT_EQ(program->process().waitForExit(), DialogProgram::closedBy(1));
  EXPECT_THAT(program->hits(), ElementsAre("Proceed space", "Proceed mouse"));
}

TEST_P(ClickPaths, whatObeysNothingIsTriedInEveryWayAndReportedAsVisible) {
  // Its label neither confirms nor cancels, so no Return and no Escape is typed.
  const auto program = open({"Cancel=press", "Proceed=nothing", "--default=Proceed"});
  EXPECT_EQ(decide(approvalOf(*program), "Proceed"), stillVisible);
  EXPECT_THAT(program->hits(),
              ElementsAre("Proceed press", "Proceed space", "Proceed press", "Proceed mouse", "Proceed mouse"));
  EXPECT_TRUE(program->process().isRunning());
}

TEST_P(ClickPaths, aCoveredCentreKeepsTheMouseAway) {
  const auto program = open({"Cancel=press", "Proceed=mouse", "--default=Proceed"});
  const PendingApproval approval = approvalOf(*program);
  const auto button = resolver.resolveCurrentButton(approval, "Proceed");
  ASSERT_TRUE(button);
  (void)bystander.open({.x = static_cast<std::int16_t>(button->button.x + button->button.width / 2 - 10),
                        .y = static_cast<std::int16_t>(button->button.y + button->button.height / 2 - 10),
                        .width = 20,
                        .height = 20,
                        .isUnmanaged = true});
  EXPECT_EQ(decide(approval, "Proceed"), stillVisible);
  EXPECT_THAT(program->hits(), ElementsAre("Proceed press", "Proceed space"));
}

TEST_P(ClickPaths, aCoveredDialogIsPressedByItsActionWhereItIs) {
  const auto program = open({"Cancel=press", "Erase=press"});
  const PendingApproval approval = approvalOf(*program);
  coverEverything();
  EXPECT_EQ(decide(approval, "Erase"), "accepted by accessibility press.");
  EXPECT_EQ(program->process().waitForExit(), DialogProgram::closedBy(1));
  EXPECT_THAT(program->hits(), ElementsAre("Erase press"));
}

TEST_P(ClickPaths, aDialogUnderWhatStaysOnTopGetsNoMouse) {
  const auto program = open({"Cancel=press", "Proceed=mouse", "--default=Proceed"});
  const PendingApproval approval = approvalOf(*program);
  coverEverything();
  EXPECT_EQ(decide(approval, "Proceed"), stillVisible);
  EXPECT_THAT(program->hits(), ElementsAre("Proceed press", "Proceed space"));
}

TEST_P(ClickPaths, aDialogBehindAnotherProgramIsRaisedForTheMouse) {
  const auto program = open({"Cancel=press", "Proceed=mouse", "--default=Proceed"});
  const PendingApproval approval = approvalOf(*program);
  (void)bystander.open({.x = 0, .y = 0, .width = 1280, .height = 780, .title = "In front"});
  EXPECT_EQ(decide(approval, "Proceed"), "accepted by mouse click to the process.");
  EXPECT_EQ(program->process().waitForExit(), DialogProgram::closedBy(1));
  EXPECT_THAT(program->hits(), ElementsAre("Proceed press", "Proceed space", "Proceed press", "Proceed mouse"));
}

TEST_P(ClickPaths, ofTwoButtonsWithOneLabelOneIsPressedOnce) {
  const auto program = open({"Cancel=press", "Erase=press", "Erase=press"});
  EXPECT_EQ(decide(approvalOf(*program), "Erase"), "accepted by accessibility press.");
  EXPECT_EQ(program->process().waitForExit(), DialogProgram::closedBy(1));
  EXPECT_THAT(program->hits(), ElementsAre("Erase press"));
}

TEST_P(ClickPaths, theOwnersOwnModifierKeepsKeysAndMouseAway) {
  constexpr std::uint32_t shift = 0xFFE1;
  const auto program = open({"Cancel=press", "Proceed=nothing", "--default=Proceed"});
  const PendingApproval approval = approvalOf(*program);
  bystander.fakeKey(shift, true);
  const std::string outcome = decide(approval, "Proceed");
  bystander.fakeKey(shift, false);
  EXPECT_EQ(outcome, stillVisible);
  EXPECT_THAT(program->hits(), ElementsAre("Proceed press", "Proceed press"));
}

using ClickPathsOfGtk3 = ClickFixture;

TEST_F(ClickPathsOfGtk3, aMenuThatHoldsThePointerGetsNoClick) {
  const auto program = open(DialogToolkit::gtk3, {"Cancel=press", "Proceed=mouse", "--default=Proceed"});
  const PendingApproval approval = approvalOf(*program);
  bystander.grabPointer(bystander.open({.x = 1200, .y = 700, .width = 20, .height = 20, .isUnmanaged = true}));
  EXPECT_EQ(decide(approval, "Proceed"), stillVisible);
  EXPECT_THAT(program->hits(), ElementsAre("Proceed press", "Proceed space", "Proceed press"));
  EXPECT_THAT(strayInput(), IsEmpty());
}

TEST_F(ClickPathsOfGtk3, noKeyCancelsWhereNoToolkitNamesItsCancelButton) {
  const auto program = open(DialogToolkit::gtk3, {"Cancel=return", "Erase=press", "--default=Cancel"});
  EXPECT_EQ(decide(approvalOf(*program), "Cancel"), stillVisible);
  EXPECT_THAT(program->hits(),
              ElementsAre("Cancel press", "Cancel space", "Cancel press", "Cancel mouse", "Cancel mouse"));
  EXPECT_THAT(strayInput(), IsEmpty());
}

}  // namespace
}  // namespace tallyfox::testing
