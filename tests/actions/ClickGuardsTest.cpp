// Each guard answers for this very moment: whether the button is the approved one, alive, with the keys' focus, the
// window's own, and under the pointer.

#include "actions/ClickGuards.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "actions/ClickDesktop.hpp"

namespace tallyfox {
namespace {

using memory::ElementID;
using testing::ElementsAre;

struct ClickGuardsTest : testing::Test {
  memory::ClickDesktop world;
  memory::MemoryDesktop& desktop = world.desktop;
  ClickGuards guards{AXHelpers(world.seam, world.seam)};
  ResolvedDialogButton allow = world.resolved("Allow");
  ResolvedDialogButton deny = world.resolved("Don’t Allow");
  AXPoint centre{allow.button.frame().centerX(), allow.button.frame().centerY()};

  [[nodiscard]] bool isAllowAt(AXPoint point) const {
    return guards.approvedButtonAt(point, {allow.window}, allow) == allow.element;
  }
};

TEST_F(ClickGuardsTest, matchTheApprovedElementLabelAndState) {
  EXPECT_TRUE(guards.matchesApprovedButton(allow.element, allow));
  EXPECT_FALSE(guards.matchesApprovedButton(deny.element, allow));
  desktop.setEnabled(world.button("Allow"), std::nullopt);
  EXPECT_TRUE(guards.matchesApprovedButton(allow.element, allow));
  desktop.setEnabled(world.button("Allow"), false);
  EXPECT_FALSE(guards.matchesApprovedButton(allow.element, allow));
}

TEST_F(ClickGuardsTest, matchNoButtonThatCouldNotBeAskedWhetherItIsEnabled) {
  int messages = 0;
  // The label is read first, the state after it.
  desktop.onMessage([&messages](const memory::Message&) {
    return ++messages == 2 ? std::optional(AXError::cannotComplete) : std::nullopt;
  });
  EXPECT_FALSE(guards.matchesApprovedButton(allow.element, allow));
  EXPECT_EQ(messages, 2);
  EXPECT_TRUE(guards.matchesApprovedButton(allow.element, allow));
}

TEST_F(ClickGuardsTest, matchNoOtherLabel) {
  const ElementID button = world.button("Allow");
  for (const auto& title : {"allow", "Allow ", "Delete"}) {
    desktop.setTitle(button, title);
    EXPECT_FALSE(guards.matchesApprovedButton(allow.element, allow)) << title;
  }
  desktop.setTitle(button, "");
  EXPECT_FALSE(guards.matchesApprovedButton(allow.element, allow));
  desktop.setDescription(button, "Allow");
  EXPECT_TRUE(guards.matchesApprovedButton(allow.element, allow));
}

TEST_F(ClickGuardsTest, callAnElementAliveWithARoleAndAFrame) {
  const ElementID button = world.button("Allow");
  EXPECT_TRUE(guards.isElementStillAlive(allow.element));
  desktop.setAttribute(button, AXAttribute::role, AXValue{std::string()});
  EXPECT_FALSE(guards.isElementStillAlive(allow.element));
  desktop.setAttribute(button, AXAttribute::role, AXValue{std::string("AXButton")});
  desktop.setFrame(button, std::nullopt);
  EXPECT_FALSE(guards.isElementStillAlive(allow.element));
  desktop.removeElement(button);
  EXPECT_FALSE(guards.isElementStillAlive(allow.element));
}

TEST_F(ClickGuardsTest, findTheFocusInTheWindow) {
  EXPECT_TRUE(guards.isFocusedTarget(allow.window, world.pid));
  EXPECT_FALSE(guards.isFocusedTarget(allow.window, std::nullopt));
  EXPECT_FALSE(guards.isFocusedTarget(allow.window, world.pid + 1));
  const ElementID other = desktop.openWindow(world.pid, memory::accessPrompt());
  EXPECT_FALSE(guards.isFocusedTarget(allow.window, world.pid));
  EXPECT_TRUE(guards.isFocusedTarget(desktop.element(other), world.pid));
}

TEST_F(ClickGuardsTest, findTheFocusInASheetOfTheFocusedWindow) {
  const ElementID sheet = desktop.addChild(world.window, memory::spec(ax_role::sheet));
  const ElementID field = desktop.addChild(sheet, memory::spec("AXTextField"));
  EXPECT_FALSE(guards.isFocusedTarget(desktop.element(sheet), world.pid));
  desktop.focusElement(field);
  EXPECT_TRUE(guards.isFocusedTarget(desktop.element(sheet), world.pid));
}

TEST_F(ClickGuardsTest, findNoFocusOnAnEmptyDesktop) {
  desktop.quit(world.pid);
  EXPECT_FALSE(guards.isFocusedTarget(allow.window, world.pid));
}

TEST_F(ClickGuardsTest, knowTheWindowsOwnButton) {
  EXPECT_TRUE(guards.hasApprovedSemanticButton(allow.window, allow));
  EXPECT_TRUE(guards.hasApprovedSemanticButton(deny.window, deny));
  desktop.setEnabled(world.button("Allow"), false);
  EXPECT_FALSE(guards.hasApprovedSemanticButton(allow.window, allow));
}

TEST_F(ClickGuardsTest, refuseAnotherDefaultButton) {
  const ElementID other = desktop.addChild(world.window, memory::buttonSpec("Delete", {0, 0, 20, 20}));
  desktop.setAttribute(world.window, AXAttribute::defaultButton, AXValue{desktop.element(other)});
  EXPECT_FALSE(guards.hasApprovedSemanticButton(allow.window, allow));
  desktop.setTitle(other, "Allow");
  EXPECT_EQ(guards.approvedSemanticButton(allow.window, allow), desktop.element(other));
  desktop.setAttribute(world.window, AXAttribute::defaultButton, std::nullopt);
  EXPECT_FALSE(guards.hasApprovedSemanticButton(allow.window, allow));
}

TEST_F(ClickGuardsTest, refuseLabelsThatNeitherCancelNorConfirm) {
  ResolvedDialogButton quit = allow;
  quit.button.label = "Quit";
  EXPECT_FALSE(guards.hasApprovedSemanticButton(quit.window, quit));
}

TEST_F(ClickGuardsTest, findTheButtonUnderThePointer) {
  EXPECT_TRUE(isAllowAt(centre));
  EXPECT_FALSE(isAllowAt({deny.button.frame().centerX(), deny.button.frame().centerY()}));
  EXPECT_FALSE(isAllowAt({-5, -5}));
  const ElementID image =
      desktop.addChild(world.button("Allow"), memory::spec("AXImage", std::nullopt, allow.button.frame()));
  EXPECT_TRUE(desktop.exists(image));
  EXPECT_TRUE(isAllowAt(centre));
}

TEST_F(ClickGuardsTest, findNoButtonUnderAnotherWindow) {
  const ElementID cover = desktop.openWindow(desktop.launch("Cover"), memory::accessPrompt());
  EXPECT_FALSE(isAllowAt(centre));
  desktop.closeWindow(cover);
  EXPECT_TRUE(isAllowAt(centre));
}

TEST_F(ClickGuardsTest, findNoButtonOutsideTheTargetWindows) {
  const ElementID elsewhere =
      desktop.openWindow(world.pid, memory::spec(ax_role::window, "Else", DialogFrame{0, 0, 9, 9}));
  EXPECT_EQ(guards.approvedButtonAt(centre, {desktop.element(elsewhere)}, allow), std::nullopt);
}

TEST_F(ClickGuardsTest, listTheWindowsAroundTheButtonOnce) {
  const ElementID sheet = desktop.addChild(world.window, memory::spec(ax_role::sheet));
  const ElementID button = desktop.addChild(sheet, memory::buttonSpec("Allow", {0, 0, 20, 20}));
  const ResolvedDialogButton resolved{allow.button, desktop.element(button), desktop.element(sheet)};
  EXPECT_THAT(guards.windowsForAction(resolved, desktop.element(sheet)),
              ElementsAre(desktop.element(sheet), desktop.element(world.window)));
  const ElementID other = desktop.openWindow(world.pid, memory::accessPrompt());
  EXPECT_THAT(guards.windowsForAction(resolved, desktop.element(other)),
              ElementsAre(desktop.element(sheet), desktop.element(other), desktop.element(world.window)));
}

}  // namespace
}  // namespace tallyfox
