// Shows every way of pressing a button on the desktop in memory, what stops a press, and how applications misbehave.

#include "MemoryDesktopFixture.hpp"

namespace tallyfox::memory {
namespace {

using Strings = std::vector<std::string>;

class MemoryDesktopActionsTest : public MemoryDesktopFixture {
 protected:
  void press(KeyCode key, std::optional<std::int32_t> target = std::nullopt) {
    for (const bool isDown : {true, false})
      post(desktop.input().createKeyEvent({key, isDown}), target);
  }
  void click(AXPoint point, std::optional<std::int32_t> target = std::nullopt) {
    for (const MouseEventKind kind : {MouseEventKind::moved, MouseEventKind::leftDown, MouseEventKind::leftUp})
      post(desktop.input().createMouseEvent({kind, point}), target);
  }
  AXPoint center(ElementID element) {
    const auto position = std::get<AXPoint>(*read(element, AXAttribute::position));
    const auto size = std::get<AXSize>(*read(element, AXAttribute::size));
    return {position.x + size.width / 2, position.y + size.height / 2};
  }
  static void post(const std::unique_ptr<SyntheticEvent>& event, std::optional<std::int32_t> target) {
    ASSERT_NE(event, nullptr);
    if (target) return event->postToProcess(*target);
    event->postGlobally();
  }
};

TEST_F(MemoryDesktopActionsTest, closesTheWindowAtOnceOnAPress) {
  EXPECT_TRUE(perform(save, "AXPress"));
  EXPECT_FALSE(desktop.exists(box));
  EXPECT_EQ(desktop.presses(), Strings{"Save"});
  EXPECT_EQ(desktop.deeds(), DeedLog{"press " + std::to_string(save) + " AXPress"});
  desktop.clearDeeds();
  EXPECT_TRUE(desktop.presses().empty());
  EXPECT_TRUE(desktop.deeds().empty());
}

TEST_F(MemoryDesktopActionsTest, closesOnlyTheSheetThatHoldsTheButton) {
  ElementSpec spec = messageBox("Sure?", {}, {"Yes"});
  spec.role = "AXSheet";
  const ElementID sheet = desktop.addChild(box, spec);
  EXPECT_TRUE(perform(button(sheet, "Yes"), "AXPress"));
  EXPECT_FALSE(desktop.exists(sheet));
  EXPECT_TRUE(desktop.exists(box));
}

TEST_F(MemoryDesktopActionsTest, doesWhatTheTestSaysInsteadOfClosing) {
  int calls = 0;
  desktop.onPress(save, [&] { ++calls; });
  EXPECT_TRUE(perform(save, "AXPress"));
  EXPECT_EQ(calls, 1);
  EXPECT_TRUE(desktop.exists(box));
  desktop.setPressEffect(save, PressEffect::nothing);
  EXPECT_TRUE(perform(save, "AXPress"));
  EXPECT_EQ(calls, 1);
  EXPECT_EQ(desktop.presses(), (Strings{"Save", "Save"}));
}

TEST_F(MemoryDesktopActionsTest, letsAPressReplaceTheWindowThatHoldsTheButton) {
  desktop.onPress(save, [this] {
    desktop.closeWindow(box);
    desktop.openWindow(pid, messageBox("Really?", {}, {"OK"}));
  });
  EXPECT_TRUE(perform(save, "AXPress"));
  EXPECT_EQ(desktop.windowList().windows(false).front().name, "Really?");
}

TEST_F(MemoryDesktopActionsTest, namesAPressedButtonByItsDescriptionWithoutATitle) {
  desktop.setTitle(save, "");
  desktop.setDescription(save, "Keep");
  EXPECT_TRUE(perform(save, "AXPress"));
  EXPECT_EQ(desktop.presses(), Strings{"Keep"});
}

TEST_F(MemoryDesktopActionsTest, refusesADisabledButtonInEveryWay) {
  desktop.setEnabled(save, false);
  desktop.focusElement(save);
  EXPECT_EQ(perform(save, "AXPress"), std::unexpected(AXError::unsupported));
  press(KeyCode::space);
  press(KeyCode::returnKey);
  click(center(save));
  EXPECT_TRUE(desktop.presses().empty());
  EXPECT_TRUE(desktop.exists(box));
}

TEST_F(MemoryDesktopActionsTest, refusesActionsThatAreNotListed) {
  const ElementID plain = desktop.addChild(box, ElementSpec{.role = "AXButton", .title = "Plain"});
  EXPECT_EQ(perform(plain, "AXPress"), std::unexpected(AXError::unsupported));
  EXPECT_EQ(perform(box, "AXConfirm"), std::unexpected(AXError::unsupported));
  EXPECT_EQ(desktop.elements().performAction(desktop.application(pid), "AXPress"),
            std::unexpected(AXError::unsupported));
  EXPECT_EQ(desktop.elements().copyActionNames(desktop.element(box)), Strings{"AXRaise"});
}

TEST_F(MemoryDesktopActionsTest, pressesTheDefaultAndTheCancelButtonOfAWindowThatListsTheActions) {
  ElementSpec spec = messageBox("Replace?", {}, {"Cancel", "Replace"});
  spec.actions = {"AXConfirm", "AXCancel"};
  EXPECT_TRUE(perform(desktop.openWindow(pid, spec), "AXConfirm"));
  EXPECT_TRUE(perform(desktop.openWindow(pid, spec), "AXCancel"));
  EXPECT_EQ(desktop.presses(), (Strings{"Replace", "Cancel"}));
  spec.children.clear();
  EXPECT_EQ(perform(desktop.openWindow(pid, spec), "AXConfirm"), std::unexpected(AXError::unsupported));
}

TEST_F(MemoryDesktopActionsTest, playsEveryFault) {
  desktop.setFault(pid, Fault::refuseActions);
  EXPECT_EQ(perform(save, "AXPress"), std::unexpected(AXError::unsupported));
  desktop.setFault(pid, Fault::ignoreActions);
  EXPECT_TRUE(perform(save, "AXPress"));
  EXPECT_TRUE(desktop.presses().empty());
  desktop.setFault(pid, Fault::vanishOnAction);
  EXPECT_EQ(perform(save, "AXPress"), std::unexpected(AXError::invalidElement));
  EXPECT_FALSE(desktop.exists(save));
  EXPECT_TRUE(desktop.exists(box));
  EXPECT_TRUE(desktop.presses().empty());
}

TEST_F(MemoryDesktopActionsTest, pressesTheFocusedButtonBySpaceWhenItIsLetGo) {
  desktop.focusElement(cancel);
  post(desktop.input().createKeyEvent({KeyCode::space, true}), pid);
  EXPECT_TRUE(desktop.presses().empty());
  post(desktop.input().createKeyEvent({KeyCode::space, false}), pid);
  EXPECT_EQ(desktop.presses(), Strings{"Cancel"});
  EXPECT_EQ(desktop.deeds(),
            (DeedLog{"key 49 down pid " + std::to_string(pid), "key 49 up pid " + std::to_string(pid)}));
}

TEST_F(MemoryDesktopActionsTest, doesNothingOnSpaceWithoutAFocusedButton) {
  press(KeyCode::space);
  EXPECT_TRUE(desktop.presses().empty());
}

TEST_F(MemoryDesktopActionsTest, doesNotPressAButtonThatGotTheFocusWhileSpaceWasDown) {
  desktop.focusElement(cancel);
  post(desktop.input().createKeyEvent({KeyCode::space, true}), pid);
  desktop.focusElement(save);
  post(desktop.input().createKeyEvent({KeyCode::space, false}), pid);
  EXPECT_TRUE(desktop.presses().empty());
}

TEST_F(MemoryDesktopActionsTest, pressesTheDefaultButtonByReturnAndTheCancelButtonByEscape) {
  const ElementID second = desktop.openWindow(pid, messageBox("Second", {}, {"Cancel", "Go"}));
  press(KeyCode::returnKey);
  EXPECT_FALSE(desktop.exists(second));
  press(KeyCode::escape);
  EXPECT_FALSE(desktop.exists(box));
  EXPECT_EQ(desktop.presses(), (Strings{"Go", "Cancel"}));
  EXPECT_EQ(desktop.deeds().front(), "key 36 down global");
}

TEST_F(MemoryDesktopActionsTest, givesKeysToTheSheetOfTheFocusedWindow) {
  ElementSpec spec = messageBox("Sure?", {}, {"Yes"});
  spec.role = "AXSheet";
  desktop.addChild(box, spec);
  press(KeyCode::returnKey);
  EXPECT_EQ(desktop.presses(), Strings{"Yes"});
}

TEST_F(MemoryDesktopActionsTest, givesGlobalKeysToTheApplicationWithTheFocusOnly) {
  const std::int32_t other = desktop.launch("Other");
  desktop.openWindow(other, messageBox("Other", {}, {"OK"}));
  press(KeyCode::returnKey);
  EXPECT_EQ(desktop.presses(), Strings{"OK"});
  press(KeyCode::escape, pid);
  EXPECT_EQ(desktop.presses(), (Strings{"OK", "Cancel"}));
}

TEST_F(MemoryDesktopActionsTest, pressesTheButtonUnderThePointer) {
  click(center(cancel));
  EXPECT_EQ(desktop.presses(), Strings{"Cancel"});
  EXPECT_TRUE(desktop.deeds().front().starts_with("mouse moved "));
  EXPECT_TRUE(desktop.deeds().back().ends_with(" global"));
}

TEST_F(MemoryDesktopActionsTest, writesMousePositionsPlainly) {
  post(desktop.input().createMouseEvent({MouseEventKind::leftDown, {120, 80.5}}), std::nullopt);
  EXPECT_EQ(desktop.deeds(), DeedLog{"mouse leftDown 120,80.5 global"});
}

TEST_F(MemoryDesktopActionsTest, pressesNothingWhenThePointerLeavesTheButtonBeforeItIsLetGo) {
  post(desktop.input().createMouseEvent({MouseEventKind::leftDown, center(save)}), pid);
  post(desktop.input().createMouseEvent({MouseEventKind::leftUp, center(cancel)}), pid);
  EXPECT_TRUE(desktop.presses().empty());
}

TEST_F(MemoryDesktopActionsTest, givesAClickToTheWindowOnTopOrToNobody) {
  const std::int32_t other = desktop.launch("Other");
  const ElementID cover = desktop.openWindow(other, messageBox("Cover", {}, {}, {390, 290, 500, 300}));
  click(center(save), pid);
  click(center(save));
  EXPECT_TRUE(desktop.presses().empty());
  desktop.closeWindow(cover);
  click(center(save), pid);
  EXPECT_EQ(desktop.presses(), Strings{"Save"});
}

TEST_F(MemoryDesktopActionsTest, heedsOnlyTheWaysItIsTold) {
  desktop.heed(pid, false, false, true);
  EXPECT_TRUE(perform(save, "AXPress"));
  desktop.focusElement(save);
  press(KeyCode::space, pid);
  press(KeyCode::returnKey, pid);
  EXPECT_TRUE(desktop.presses().empty());
  desktop.heed(pid, false, true, false);
  click(center(save), pid);
  EXPECT_TRUE(desktop.presses().empty());
  press(KeyCode::space, pid);
  EXPECT_EQ(desktop.presses(), Strings{"Save"});
}

TEST_F(MemoryDesktopActionsTest, postsAnEventOnlyOnce) {
  desktop.setPressEffect(save, PressEffect::nothing);
  const auto event = desktop.input().createKeyEvent({KeyCode::returnKey, true});
  event->postToProcess(pid);
  event->postToProcess(pid);
  event->postGlobally();
  EXPECT_EQ(desktop.presses(), Strings{"Save"});
}

TEST_F(MemoryDesktopActionsTest, failsToCreateEventsWhenTold) {
  desktop.failEventCreation(true);
  EXPECT_EQ(desktop.input().createKeyEvent({KeyCode::space, true}), nullptr);
  EXPECT_EQ(desktop.input().createMouseEvent({MouseEventKind::moved, {}}), nullptr);
}

TEST_F(MemoryDesktopActionsTest, ignoresEventsForAHangingApplication) {
  const AXPoint point = center(save);
  desktop.setFault(pid, Fault::hang);
  press(KeyCode::returnKey);
  click(point);
  EXPECT_TRUE(desktop.presses().empty());
}

}  // namespace
}  // namespace tallyfox::memory
