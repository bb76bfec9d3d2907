// Every failed read, missing attribute and value of another type reads as nothing; the walks keep to their limits,
// count the starting element and go last child first; a frame is whole, finite and on a screen, or absent.

#include "detection/AXHelpers.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>

#include "detection/DetectorDesktop.hpp"
#include "detection/ForwardingAccessibility.hpp"

namespace tallyfox {
namespace {

using memory::ElementID;
using memory::ElementSpec;
using memory::spec;
using testing::ElementsAre;
using testing::IsEmpty;

struct AXHelpersTest : testing::Test {
  memory::DetectorDesktop world;
  memory::MemoryDesktop& desktop = world.desktop;
  AXHelpers helpers{desktop.accessibility(), desktop.elements()};
  std::int32_t pid = desktop.launch("Notes", "org.notes");

  ElementID open(const ElementSpec& window) { return desktop.openWindow(pid, window); }
  [[nodiscard]] AXUIElement at(ElementID id) const { return desktop.element(id); }
};

TEST_F(AXHelpersTest, readsStringsBooleansAndElements) {
  const ElementID window = open(memory::accessPrompt());
  EXPECT_EQ(helpers.stringAttribute(at(window), AXAttribute::title), "Access");
  EXPECT_EQ(helpers.boolAttribute(at(window), AXAttribute::modal), true);
  EXPECT_EQ(helpers.elementAttribute(at(window), AXAttribute::defaultButton),
            at(desktop.find(window, "AXButton", "Allow")));
}

TEST_F(AXHelpersTest, givesNothingForAValueOfAnotherType) {
  const ElementID window = open(spec(ax_role::window, "Access"));
  desktop.setAttribute(window, AXAttribute::value, AXValue{4.0});
  desktop.setAttribute(window, AXAttribute::modal, AXValue{std::string("true")});
  EXPECT_EQ(helpers.stringAttribute(at(window), AXAttribute::value), std::nullopt);
  EXPECT_EQ(helpers.boolAttribute(at(window), AXAttribute::modal), std::nullopt);
  EXPECT_EQ(helpers.elementAttribute(at(window), AXAttribute::title), std::nullopt);
  desktop.setAttribute(window, AXAttribute::children, AXValue{std::string("none")});
  EXPECT_THAT(helpers.children(at(window)), IsEmpty());
}

TEST_F(AXHelpersTest, givesNothingWithoutAnAnswer) {
  const ElementID window = open(memory::accessPrompt());
  const AXUIElement gone = at(window);
  const AXUIElement application = desktop.application(pid);
  desktop.quit(pid);
  EXPECT_EQ(helpers.stringAttribute(gone, AXAttribute::title), std::nullopt);
  EXPECT_EQ(helpers.boolAttribute(gone, AXAttribute::modal), std::nullopt);
  EXPECT_EQ(helpers.elementAttribute(gone, AXAttribute::parent), std::nullopt);
  EXPECT_EQ(helpers.frame(gone), std::nullopt);
  EXPECT_EQ(helpers.label(gone), std::nullopt);
  EXPECT_EQ(helpers.role(gone), "");
  EXPECT_THAT(helpers.children(gone), IsEmpty());
  EXPECT_THAT(helpers.actionNames(gone), IsEmpty());
  EXPECT_THAT(helpers.windows(application), IsEmpty());
}

TEST_F(AXHelpersTest, repairsTextThatIsNoUtf8) {
  const ElementID window = open(spec(ax_role::window, std::string("Acc\xFF") + "ess"));
  EXPECT_EQ(helpers.stringAttribute(at(window), AXAttribute::title), "Acc\uFFFDess");
}

TEST_F(AXHelpersTest, listsActionsChildrenAndWindows) {
  const ElementID window = open(memory::accessPrompt());
  const ElementID button = desktop.find(window, "AXButton", "Allow");
  EXPECT_THAT(helpers.actionNames(at(button)), ElementsAre("AXPress"));
  EXPECT_EQ(helpers.children(at(window)).size(), 3U);
  EXPECT_THAT(helpers.windows(desktop.application(pid)), ElementsAre(at(window)));
}

TEST_F(AXHelpersTest, asksTheSystemForTheFocusWithAShortTimeOut) {
  const ElementID window = open(memory::accessPrompt());
  const ElementID button = desktop.find(window, "AXButton", "Allow");
  desktop.focusElement(button);
  ForwardingAccessibility forwarding(desktop.accessibility(), desktop.elements());
  const AXHelpers asking(forwarding, forwarding);
  EXPECT_EQ(asking.focusedWindow(), at(window));
  EXPECT_EQ(asking.focusedElement(), at(button));
  ASSERT_EQ(forwarding.timeouts.size(), 2U);
  for (const auto& [element, timeout] : forwarding.timeouts) {
    EXPECT_EQ(element, desktop.accessibility().systemWideElement());
    EXPECT_EQ(timeout, Seconds{0.2});
  }
}

TEST_F(AXHelpersTest, hasNoFocusOnAnEmptyDesktop) {
  EXPECT_EQ(helpers.focusedWindow(), std::nullopt);
  EXPECT_EQ(helpers.focusedElement(), std::nullopt);
}

TEST_F(AXHelpersTest, findsTheNearestWindowWithinTheLimit) {
  const ElementID window = open(memory::accessPrompt());
  const AXUIElement button = at(desktop.find(window, "AXButton", "Allow"));
  EXPECT_EQ(helpers.nearestWindow(button, 1), std::nullopt);
  EXPECT_EQ(helpers.nearestWindow(button, 2), at(window));
  EXPECT_EQ(helpers.nearestWindow(at(window), 1), at(window));
  EXPECT_EQ(helpers.nearestWindow(at(window), 0), std::nullopt);
  EXPECT_EQ(helpers.nearestWindow(at(window), -1), std::nullopt);
  EXPECT_EQ(helpers.nearestWindow(desktop.application(pid), 20), std::nullopt);
}

TEST_F(AXHelpersTest, takesASheetForTheNearestWindow) {
  const ElementID window = open(spec(ax_role::window, "Document"));
  const ElementID sheet = desktop.addChild(window, spec(ax_role::sheet));
  const ElementID group = desktop.addChild(sheet, spec("AXGroup"));
  EXPECT_EQ(helpers.nearestWindow(at(group), 20), at(sheet));
}

TEST_F(AXHelpersTest, findsTheNearestButtonWithinTheLimit) {
  const ElementID window = open(spec(ax_role::window, "Document"));
  const ElementID button = desktop.addChild(window, memory::buttonSpec("OK", {0, 0, 10, 10}));
  const ElementID image = desktop.addChild(button, spec("AXImage"));
  EXPECT_EQ(helpers.nearestButton(at(image), 8), at(button));
  EXPECT_EQ(helpers.nearestButton(at(image), 1), std::nullopt);
  EXPECT_EQ(helpers.nearestButton(at(window), 8), std::nullopt);
}

TEST_F(AXHelpersTest, endsAWalkThatGoesInACircle) {
  const ElementID window = open(spec("AXGroup"));
  desktop.setAttribute(window, AXAttribute::parent, AXValue{at(window)});
  desktop.setAttribute(window, AXAttribute::children, AXValue{std::vector{at(window), at(window)}});
  EXPECT_EQ(helpers.nearestWindow(at(window), 20), std::nullopt);
  EXPECT_EQ(helpers.deeplyNestedChildren(at(window), 50).size(), 50U);
}

TEST_F(AXHelpersTest, readsAFrameFromPositionAndSize) {
  const ElementID window = open(memory::accessPrompt({-20, 30, 420, 180}));
  EXPECT_EQ(helpers.frame(at(window)), (DialogFrame{-20, 30, 420, 180}));
}

TEST_F(AXHelpersTest, hasNoFrameWithoutASizeOrAPosition) {
  const ElementID window = open(memory::accessPrompt());
  desktop.setAttribute(window, AXAttribute::size, std::nullopt);
  EXPECT_EQ(helpers.frame(at(window)), std::nullopt);
  desktop.setAttribute(window, AXAttribute::size, AXValue{AXSize{10, 10}});
  desktop.setAttribute(window, AXAttribute::position, AXValue{AXSize{10, 10}});
  EXPECT_EQ(helpers.frame(at(window)), std::nullopt);
}

TEST_F(AXHelpersTest, hasNoFrameForNumbersThatNoScreenHas) {
  const ElementID window = open(memory::accessPrompt());
  const double nan = std::numeric_limits<double>::quiet_NaN();
  const double infinity = std::numeric_limits<double>::infinity();
  for (const DialogFrame& frame :
       {DialogFrame{nan, 0, 10, 10}, DialogFrame{0, -infinity, 10, 10}, DialogFrame{0, 0, 1e300, 10},
        DialogFrame{0, 0, 10, infinity}, DialogFrame{-1'000'001, 0, 10, 10}}) {
    desktop.setFrame(window, frame);
    EXPECT_EQ(helpers.frame(at(window)), std::nullopt);
  }
  desktop.setFrame(window, DialogFrame{-1'000'000, 1'000'000, 10, 10});
  EXPECT_TRUE(helpers.frame(at(window)).has_value());
}

TEST_F(AXHelpersTest, walksDescendantsLastChildFirst) {
  const ElementID window = open(spec(ax_role::window));
  const ElementID a = desktop.addChild(window, spec("AXGroup", "A"));
  const ElementID b = desktop.addChild(window, spec("AXGroup", "B"));
  const ElementID c = desktop.addChild(b, spec("AXGroup", "C"));
  EXPECT_THAT(helpers.deeplyNestedChildren(at(window), 3), ElementsAre(at(b), at(c), at(a)));
  EXPECT_THAT(helpers.deeplyNestedChildren(at(window), 2), ElementsAre(at(b), at(c)));
  EXPECT_THAT(helpers.deeplyNestedChildren(at(window), 100), ElementsAre(at(b), at(c), at(a)));
}

TEST_F(AXHelpersTest, walksNoDescendantsWithoutALimit) {
  const ElementID window = open(memory::accessPrompt());
  EXPECT_THAT(helpers.deeplyNestedChildren(at(window), 0), IsEmpty());
  EXPECT_THAT(helpers.deeplyNestedChildren(at(window), -5), IsEmpty());
}

TEST_F(AXHelpersTest, asksNothingOfElementsBeyondTheLimit) {
  const ElementID window = open(memory::accessPrompt());
  desktop.resetTraffic();
  (void)helpers.deeplyNestedChildren(at(window), 1);
  EXPECT_EQ(desktop.traffic().messages, 1U);
}

TEST_F(AXHelpersTest, labelsAnElementByItsTitleElseItsDescription) {
  const ElementID window = open(spec(ax_role::window));
  const ElementID button = desktop.addChild(window, spec(ax_role::button));
  EXPECT_EQ(helpers.label(at(button)), std::nullopt);
  desktop.setDescription(button, "Close");
  EXPECT_EQ(helpers.label(at(button)), "Close");
  desktop.setTitle(button, "");
  EXPECT_EQ(helpers.label(at(button)), "Close");
  desktop.setTitle(button, "OK");
  EXPECT_EQ(helpers.label(at(button)), "OK");
  desktop.setTitle(button, "");
  desktop.setDescription(button, "");
  EXPECT_EQ(helpers.label(at(button)), std::nullopt);
}

}  // namespace
}  // namespace tallyfox
