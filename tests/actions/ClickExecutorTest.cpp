// The executor presses the approved button and nothing else, and reports success only when the dialog is gone; every
// guard holds at the moment of each press, key and click.

#include "actions/ClickExecutor.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <set>

#include "actions/ClickDesktop.hpp"

namespace tallyfox {
namespace {

using memory::ElementID;
using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;
using Result = ClickResult;

struct ClickExecutorTest : ClickTest {};

TEST(ClickError, saysItsSentence) {
  EXPECT_EQ(description(ClickError::unableToCreateEvent), "Unable to create a synthetic click event.");
  EXPECT_EQ(description(ClickError::pendingApprovalNotFound), "The approval request is no longer pending.");
  EXPECT_EQ(description(ClickError::buttonNotFound), "The approved button no longer exists on screen.");
  EXPECT_EQ(description(ClickError::promptStillPresent),
            "The dialog was still visible after Tallyfox tried every safe click path.");
}

TEST(ClickPath, hasANameOfItsOwn) {
  std::set<std::string_view> names;
  for (int path = 0; path <= static_cast<int>(ClickPath::mouseGlobal); ++path)
    names.insert(name(static_cast<ClickPath>(path)));
  EXPECT_EQ(names.size(), 8U);
}

TEST_F(ClickExecutorTest, clearsADialogThatClosesOnPress) {
  Result result = failure(ClickError::promptStillPresent);
  const double seconds = secondsOf([&] { result = world.click("Allow"); });
  EXPECT_EQ(result, ClickPath::accessibilityPress);
  EXPECT_NEAR(seconds, 0.15, 1e-6);
  EXPECT_THAT(desktop.presses(), ElementsAre("Allow"));
  // One press: no window was focused, no event posted.
  EXPECT_EQ(desktop.deeds().size(), 1U);
}

TEST_F(ClickExecutorTest, touchesNothingWhenTheButtonWasDisabled) {
  const ResolvedDialogButton target = world.resolved("Allow");
  desktop.clearDeeds();
  desktop.setEnabled(world.button("Allow"), false);
  EXPECT_EQ(world.click(target), failure(ClickError::buttonNotFound));
  EXPECT_THAT(desktop.deeds(), IsEmpty());
}

TEST_F(ClickExecutorTest, touchesNothingWhenTheLabelChangedOrTheButtonIsGone) {
  const ResolvedDialogButton target = world.resolved("Allow");
  desktop.clearDeeds();
  const ElementID button = world.button("Allow");
  desktop.setTitle(button, "Delete");
  EXPECT_EQ(world.click(target), failure(ClickError::buttonNotFound));
  desktop.removeElement(button);
  EXPECT_EQ(world.click(target), failure(ClickError::buttonNotFound));
  EXPECT_THAT(desktop.deeds(), IsEmpty());
}

TEST_F(ClickExecutorTest, takesARefusedPressOfAVanishedDialogForCleared) {
  desktop.setFault(world.pid, memory::Fault::refuseActions);
  const ResolvedDialogButton target = world.resolved("Allow");
  world.seam.onAction = [this](const AXUIElement&, std::string_view) { desktop.closeWindow(world.window); };
  Result result = failure(ClickError::promptStillPresent);
  EXPECT_NEAR(secondsOf([&] { result = world.click(target); }), 0, 1e-6);
  EXPECT_EQ(result, ClickPath::accessibilityPress);
}

TEST_F(ClickExecutorTest, postsNoSpaceWhenTheFocusIsElsewhere) {
  heed(false, true, false);
  hideSemanticButtons();
  world.seam.refusesFocus = true;
  desktop.focusElement(world.button("Don’t Allow"));
  EXPECT_EQ(world.click("Allow"), failure(ClickError::promptStillPresent));
  EXPECT_THAT(world.deeds("key"), IsEmpty());
  EXPECT_THAT(desktop.presses(), IsEmpty());
}

TEST_F(ClickExecutorTest, postsNoKeyWhenAnotherWindowTookTheFocus) {
  heed(false, true, false);
  const auto other = desktop.launch("Other");
  const ElementID window = desktop.openWindow(other, memory::spec(ax_role::window, "Other", DialogFrame{0, 0, 90, 90}));
  const ResolvedDialogButton target = world.resolved("Allow");
  desktop.focusWindow(window);
  desktop.clearDeeds();
  EXPECT_EQ(world.click(target), failure(ClickError::promptStillPresent));
  EXPECT_THAT(world.deeds("key"), IsEmpty());
  EXPECT_THAT(world.deeds("mouse"), IsEmpty());
}

TEST_F(ClickExecutorTest, postsNoMouseEventWhenAnotherWindowCoversTheCentre) {
  heed(false, false, true);
  const auto other = desktop.launch("Cover");
  const ElementID cover = desktop.openWindow(other, memory::messageBox("Cover", {"Hello"}, {"Delete"}));
  const ResolvedDialogButton target = world.resolved("Allow");
  desktop.focusWindow(world.window);
  desktop.raise(cover);
  desktop.clearDeeds();
  const auto recorded = world.recorded;
  const Result result = world.executor.click(
      target, [&] { return world.detector.promptPresence(recorded); }, [&] { return std::optional(target); });
  EXPECT_EQ(result, failure(ClickError::promptStillPresent));
  EXPECT_THAT(world.deeds("mouse"), IsEmpty());
  EXPECT_THAT(desktop.presses(), IsEmpty());
}

TEST_F(ClickExecutorTest, stopsAfterTheMoveWhenTheButtonIsCoveredThen) {
  heed(false, false, true);
  const ResolvedDialogButton target = world.resolved("Allow");
  desktop.clearDeeds();
  world.seam.onHitTest = [&] {
    if (world.deeds("mouse moved").size() == 1) {
      desktop.openWindow(desktop.launch("Cover"), memory::messageBox("Cover", {"Hello"}, {"Delete"}));
      desktop.focusWindow(world.window);
      world.seam.onHitTest = nullptr;
    }
  };
  EXPECT_EQ(world.click(target), failure(ClickError::promptStillPresent));
  EXPECT_THAT(world.deeds("mouse"), ElementsAre(StartsWith("mouse moved")));
  EXPECT_THAT(desktop.presses(), IsEmpty());
}

TEST_F(ClickExecutorTest, failsWhenNoEventCanBeMade) {
  heed(false, true, true);
  desktop.failEventCreation(true);
  EXPECT_EQ(world.click("Allow"), failure(ClickError::unableToCreateEvent));
  EXPECT_THAT(world.deeds("key"), IsEmpty());
  EXPECT_THAT(world.deeds("mouse"), IsEmpty());
}

TEST_F(ClickExecutorTest, postsNothingToAnUnknownProcess) {
  heed(false, true, true);
  world.seam.knowsProcesses = false;
  EXPECT_EQ(world.click("Allow"), failure(ClickError::promptStillPresent));
  EXPECT_THAT(world.deeds("key"), IsEmpty());
  EXPECT_THAT(world.deeds("mouse"), IsEmpty());
  EXPECT_THAT(world.deeds("set pid"), IsEmpty());
}

TEST_F(ClickExecutorTest, endsWhenTheButtonIsNotFoundAgain) {
  heed(false, true, true);
  const ResolvedDialogButton target = world.resolved("Allow");
  desktop.clearDeeds();
  const Result result = world.executor.click(target, alwaysPresent, [] { return std::nullopt; });
  EXPECT_EQ(result, failure(ClickError::buttonNotFound));
  EXPECT_THAT(world.deeds("key"), IsEmpty());
}

TEST_F(ClickExecutorTest, goesOnWithTheButtonFoundAgain) {
  // The first button stays deaf; the dialog has put a live one of the same label beside it.
  const ResolvedDialogButton target = world.resolved("Allow");
  const ElementID fresh = desktop.addChild(world.window, memory::buttonSpec("Allow", {410, 310, 100, 24}));
  heed(false, true, false);
  hideSemanticButtons();
  desktop.clearDeeds();
  const ResolvedDialogButton again{{"Allow", "AXButton", 410, 310, 100, 24}, desktop.element(fresh), target.window};
  const Result result = world.executor.click(
      target, [&] { return presence(desktop.exists(world.window)); }, [&] { return std::optional(again); });
  EXPECT_EQ(result, ClickPath::focusAndSpace);
  EXPECT_THAT(world.deeds("set " + std::to_string(fresh)), ElementsAre("set " + std::to_string(fresh) + " AXFocused"));
}

TEST_F(ClickExecutorTest, neverUsesAnotherButtonFoundAgain) {
  const ResolvedDialogButton target = world.resolved("Allow");
  const ResolvedDialogButton other = world.resolved("Don’t Allow");
  ResolvedDialogButton mislabelled = other;
  mislabelled.button.label = "Allow";
  heed(false, true, true);
  for (const ResolvedDialogButton& offered : {other, mislabelled}) {
    desktop.clearDeeds();
    desktop.setPressEffect(world.button("Allow"), memory::PressEffect::nothing);
    const Result result = world.executor.click(
        target, [&] { return presence(desktop.exists(world.window)); }, [&] { return std::optional(offered); });
    EXPECT_EQ(result, failure(ClickError::promptStillPresent));
    EXPECT_THAT(desktop.presses(), Each("Allow"));
    EXPECT_THAT(world.deeds("set " + std::to_string(world.button("Don’t Allow"))), IsEmpty());
  }
}

TEST_F(ClickExecutorTest, pressesNothingMoreOnceTheLabelChanged) {
  const ElementID button = world.button("Allow");
  desktop.onPress(button, [&] { desktop.setTitle(button, "Delete"); });
  const ResolvedDialogButton target = world.resolved("Allow");
  desktop.clearDeeds();
  const Result result = world.executor.click(target, alwaysPresent, [&] { return std::optional(target); });
  EXPECT_EQ(result, failure(ClickError::promptStillPresent));
  EXPECT_THAT(desktop.presses(), ElementsAre("Allow"));
  EXPECT_THAT(world.deeds("press"), ElementsAre("press " + std::to_string(button) + " AXPress"));
  EXPECT_THAT(world.deeds("key"), IsEmpty());
  EXPECT_THAT(world.deeds("mouse"), IsEmpty());
}

TEST_F(ClickExecutorTest, pressesNothingMoreOnceTheButtonIsDisabled) {
  const ElementID button = world.button("Allow");
  desktop.onPress(button, [&] { desktop.setEnabled(button, false); });
  EXPECT_EQ(world.click("Allow"), failure(ClickError::promptStillPresent));
  EXPECT_THAT(world.deeds("press"), ElementsAre(pressDeed("Allow")));
  EXPECT_THAT(world.deeds("key"), IsEmpty());
  EXPECT_THAT(world.deeds("mouse"), IsEmpty());
}

TEST_F(ClickExecutorTest, returnsAtOnceWhenThePromptIsFoundGoneBetweenPaths) {
  heed(false, false, false);
  const ResolvedDialogButton target = world.resolved("Allow");
  desktop.clearDeeds();
  int checks = 0;
  const Result result =
      world.executor.click(target, [&] { return presence(++checks <= 3); }, [&] { return std::optional(target); });
  EXPECT_EQ(result, ClickPath::accessibilityPress);
  EXPECT_EQ(checks, 4);
  EXPECT_THAT(desktop.deeds(), ElementsAre(pressDeed("Allow")));
}

TEST_F(ClickExecutorTest, blocksNoLongerThanItsWaits) {
  heed(false, false, false);
  Result result = failure(ClickError::buttonNotFound);
  const double seconds = secondsOf([&] { result = world.click("Allow"); });
  EXPECT_EQ(result, failure(ClickError::promptStillPresent));
  // Press, own button, Space, Return, hit-tested press and two clicks wait; the window lists no action of its own.
  EXPECT_NEAR(seconds, 7 * 1.25 + 0.08 + 4 * 0.08, 1e-6);
  EXPECT_EQ(world.refreshes, 1);
  EXPECT_THAT(desktop.presses(), IsEmpty());
}

TEST_F(ClickExecutorTest, endsWhenTheApplicationHangs) {
  const ResolvedDialogButton target = world.resolved("Allow");
  desktop.setFault(world.pid, memory::Fault::hang);
  desktop.clearDeeds();
  EXPECT_EQ(world.click(target), failure(ClickError::buttonNotFound));
  EXPECT_THAT(desktop.presses(), IsEmpty());
}

TEST_F(ClickExecutorTest, takesNoSilenceAfterThePressForTheEndOfTheDialog) {
  const ResolvedDialogButton target = world.resolved("Allow");
  desktop.onPress(world.button("Allow"), [&] { desktop.setFault(world.pid, memory::Fault::hang); });
  EXPECT_EQ(world.click(target), failure(ClickError::promptStillPresent));
  EXPECT_TRUE(desktop.exists(world.window));
  EXPECT_THAT(desktop.presses(), ElementsAre("Allow"));
}

TEST_F(ClickExecutorTest, takesNoLostPermissionForTheEndOfTheDialog) {
  const ResolvedDialogButton target = world.resolved("Allow");
  desktop.onPress(world.button("Allow"), [&] { desktop.setTrusted(false); });
  EXPECT_EQ(world.click(target), failure(ClickError::promptStillPresent));
  EXPECT_TRUE(desktop.exists(world.window));
}

TEST_F(ClickExecutorTest, seesTheDialogGoOnceAHungApplicationAnswersAgain) {
  const ResolvedDialogButton target = world.resolved("Allow");
  desktop.onPress(world.button("Allow"), [&] { desktop.setFault(world.pid, memory::Fault::hang); });
  const auto queue = world.time.makeQueue("world");
  const auto end = queue->after(Seconds(0.6), [&] {
    desktop.setFault(world.pid, memory::Fault::none);
    desktop.closeWindow(world.window);
  });
  EXPECT_EQ(world.click(target), ClickPath::accessibilityPress);
}

TEST_F(ClickExecutorTest, seesTheDialogGoWithItsApplication) {
  const ResolvedDialogButton target = world.resolved("Allow");
  desktop.onPress(world.button("Allow"), [&] { desktop.quit(world.pid); });
  EXPECT_EQ(world.click(target), ClickPath::accessibilityPress);
}

TEST_F(ClickExecutorTest, isNotHeldUpByAnotherApplicationThatHangs) {
  const ResolvedDialogButton target = world.resolved("Allow");
  const auto other = desktop.launch("Editor");
  desktop.openWindow(other, memory::messageBox("Untitled", {"Text"}, {"OK"}));
  desktop.setFault(other, memory::Fault::hang);
  EXPECT_EQ(world.click(target), ClickPath::accessibilityPress);
}

TEST_F(ClickExecutorTest, survivesAButtonWithABrokenFrame) {
  heed(false, false, true);
  const ResolvedDialogButton target = world.resolved("Allow");
  desktop.onPress(world.button("Allow"), [] {});
  desktop.setFrame(world.button("Allow"), DialogFrame{1e308, 1e308, 1e308, -1e308});
  desktop.clearDeeds();
  const Result result = world.executor.click(target, alwaysPresent, [&] { return std::optional(target); });
  // Without a frame the button counts as gone.
  EXPECT_EQ(result, ClickPath::accessibilityPress);
  EXPECT_THAT(world.deeds("mouse"), IsEmpty());
}

/// One click of a button that never yields, disturbed while the executor asks for the `moment`th time whether the
/// prompt is there: what was done to the desktop afterwards; absent when it never asked so often.
std::optional<std::vector<std::string>> deedsAfter(int moment,
                                                   const std::function<void(memory::ClickDesktop&)>& disturb) {
  memory::ClickDesktop world;
  world.desktop.closeWindow(world.window);
  memory::ElementSpec prompt = memory::accessPrompt();
  prompt.actions.emplace_back(ax_action::confirm);
  world.window = world.desktop.openWindow(world.pid, prompt);
  world.desktop.heed(world.pid, false, false, false);
  const ResolvedDialogButton target = world.resolved("Allow");
  int checks = 0;
  const auto check = [&] {
    if (++checks == moment) {
      disturb(world);
      world.desktop.clearDeeds();
    }
    return PromptPresence::present;
  };
  (void)world.executor.click(target, check, [&] { return std::optional(target); });
  return checks < moment ? std::nullopt : std::optional(world.desktop.deeds());
}

/// Whatever the moment, nothing that begins so is done after the disturbance.
void expectNoneAfter(const std::vector<std::string>& forbidden,
                     const std::function<void(memory::ClickDesktop&)>& disturb) {
  int moment = 1;
  while (const auto deeds = deedsAfter(moment, disturb)) {
    for (const std::string& deed : *deeds) {
      for (const std::string& start : forbidden)
        EXPECT_FALSE(deed.starts_with(start)) << deed << " after check " << moment;
    }
    ++moment;
  }
  // Every path waits and asks several times.
  EXPECT_GT(moment, 30);
}

TEST(ClickExecutorAtAnyMoment, postsNothingOnceTheFocusLeft) {
  expectNoneAfter({"key", "mouse"}, [](memory::ClickDesktop& world) {
    const auto thief = world.desktop.launch("Thief");
    world.desktop.openWindow(thief, memory::spec(ax_role::window, "Thief", DialogFrame{0, 0, 90, 90}));
  });
}

TEST(ClickExecutorAtAnyMoment, postsNoClickOnceTheButtonIsCovered) {
  expectNoneAfter({"mouse"}, [](memory::ClickDesktop& world) {
    const auto cover = world.desktop.launch("Cover");
    world.desktop.openWindow(cover, memory::messageBox("Cover", {"Hello"}, {"Delete"}));
    world.desktop.focusWindow(world.window);
  });
}

TEST(ClickExecutorAtAnyMoment, doesNothingOnceTheLabelChanged) {
  expectNoneAfter({"press", "key", "mouse"},
                  [](memory::ClickDesktop& world) { world.desktop.setTitle(world.button("Allow"), "Delete"); });
}

TEST(ClickExecutorAtAnyMoment, doesNothingOnceTheButtonIsDisabled) {
  expectNoneAfter({"press", "key", "mouse"},
                  [](memory::ClickDesktop& world) { world.desktop.setEnabled(world.button("Allow"), false); });
}

TEST(ClickExecutorAtAnyMoment, pressesNoReturnOnceAnotherButtonIsTheDefault) {
  expectNoneAfter({"key 36"}, [](memory::ClickDesktop& world) {
    world.desktop.setAttribute(world.window, AXAttribute::defaultButton,
                               AXValue{world.desktop.element(world.button("Don’t Allow"))});
  });
}

}  // namespace
}  // namespace tallyfox
