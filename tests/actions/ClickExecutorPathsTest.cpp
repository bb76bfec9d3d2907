// Each way of pressing succeeds where it is the only one that the application heeds, in its order, with exactly the
// events that belong to it.

#include "actions/ClickExecutor.hpp"

#include <fmt/format.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <ranges>

#include "actions/ClickDesktop.hpp"

namespace tallyfox {
namespace {

using memory::accessPrompt;
using memory::ElementID;
using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using Result = ClickResult;

struct ClickExecutorPathsTest : ClickTest {};

TEST_F(ClickExecutorPathsTest, waitsForADialogThatClosesSlowly) {
  for (const auto& [closesAfter, clearedAfter] : std::vector<std::pair<double, double>>{{0.3, 0.5}, {1.0, 1.25}}) {
    ScheduledHandle closing;
    const ElementID window = world.window;
    const auto closeLater = [&, delay = closesAfter] {
      closing = world.mainQueue->after(Seconds{delay}, [this, window] { desktop.closeWindow(window); });
    };
    desktop.onPress(world.button("Allow"), closeLater);
    Result result = failure(ClickError::promptStillPresent);
    const double seconds = secondsOf([&] { result = world.click("Allow"); });
    EXPECT_EQ(result, ClickPath::accessibilityPress);
    EXPECT_NEAR(seconds, clearedAfter, 1e-6);
    world.window = desktop.openWindow(world.pid, accessPrompt());
  }
}

TEST_F(ClickExecutorPathsTest, focusesTheWindowsAfterARefusedPress) {
  desktop.setFault(world.pid, memory::Fault::refuseActions);
  heed(true, false, false);
  EXPECT_EQ(world.click("Allow"), failure(ClickError::promptStillPresent));
  const std::string window = std::to_string(world.window);
  const std::string application = "pid " + std::to_string(world.pid);
  const std::vector<std::string> expected = {pressDeed("Allow"),
                                             "set " + application + " AXFrontmost",
                                             "set " + application + " AXFocusedWindow",
                                             "set " + window + " AXMinimized",
                                             "raise " + window,
                                             "set " + window + " AXMain",
                                             "set " + window + " AXFocused"};
  ASSERT_GE(desktop.deeds().size(), expected.size());
  EXPECT_TRUE(std::ranges::equal(expected, desktop.deeds() | std::views::take(expected.size())));
}

TEST_F(ClickExecutorPathsTest, focusesNoWindowAfterAnIgnoredPress) {
  desktop.setFault(world.pid, memory::Fault::ignoreActions);
  heed(true, false, false);
  EXPECT_EQ(world.click("Allow"), failure(ClickError::promptStillPresent));
  EXPECT_THAT(world.deeds("set pid " + std::to_string(world.pid) + " AXFrontmost"), IsEmpty());
}

TEST_F(ClickExecutorPathsTest, pressesTheWindowsOwnButtonOfThatLabel) {
  // The window's default button is another element that carries the approved label.
  const ElementID own = desktop.addChild(world.window, memory::buttonSpec("Allow", {0, 0, 20, 20}));
  desktop.setAttribute(world.window, AXAttribute::defaultButton, AXValue{desktop.element(own)});
  world.recorded = world.published().at(0);
  desktop.setPressEffect(world.button("Allow"), memory::PressEffect::nothing);
  ResolvedDialogButton target = world.resolved("Allow");
  target.element = desktop.element(world.button("Allow"));
  desktop.clearDeeds();
  EXPECT_EQ(world.click(target), ClickPath::semanticButton);
  EXPECT_THAT(desktop.presses(), ElementsAre("Allow", "Allow"));
}

TEST_F(ClickExecutorPathsTest, pressesTheOwnButtonOnlyWhenItListsTheAction) {
  memory::ElementSpec silent = memory::buttonSpec("Allow", {0, 0, 20, 20});
  silent.actions.clear();
  const ElementID own = desktop.addChild(world.window, silent);
  desktop.setAttribute(world.window, AXAttribute::defaultButton, AXValue{desktop.element(own)});
  const ResolvedDialogButton target{
      {"Allow", "AXButton", 0, 0, 20, 20}, desktop.element(world.button("Allow")), desktop.element(world.window)};
  heed(false, false, false);
  const Result result = world.executor.click(target, alwaysPresent, [&] { return std::optional(target); });
  EXPECT_EQ(result, failure(ClickError::promptStillPresent));
  EXPECT_THAT(world.deeds("press " + std::to_string(own)), IsEmpty());
}

TEST_F(ClickExecutorPathsTest, pressesSpaceOnTheFocusedButton) {
  heed(false, true, false);
  hideSemanticButtons();
  EXPECT_EQ(world.click("Allow"), ClickPath::focusAndSpace);
  const std::string process = "pid " + std::to_string(world.pid);
  EXPECT_THAT(world.deeds("key"), ElementsAre("key 49 down " + process, "key 49 up " + process));
  EXPECT_THAT(desktop.presses(), ElementsAre("Allow"));
}

TEST_F(ClickExecutorPathsTest, performsTheWindowsAction) {
  desktop.closeWindow(world.window);
  auto prompt = accessPrompt();
  prompt.actions.emplace_back("AXConfirm");
  prompt.actions.emplace_back("AXCancel");
  for (const auto& [label, action] :
       std::vector<std::pair<std::string, std::string>>{{"Allow", "AXConfirm"}, {"Don’t Allow", "AXCancel"}}) {
    world.window = desktop.openWindow(world.pid, prompt);
    const ElementID window = world.window;
    heed(true, false, false);
    ignorePressesOf(desktop.element(world.button(label)));
    EXPECT_EQ(world.click(label), ClickPath::windowAction);
    EXPECT_EQ(desktop.deeds().back(), "press " + std::to_string(window) + " " + action);
    EXPECT_THAT(desktop.presses(), ElementsAre(label));
    world.seam.onAction = nullptr;
    desktop.setFault(world.pid, memory::Fault::none);
  }
}

TEST_F(ClickExecutorPathsTest, performsNoWindowActionForAnotherDefaultButton) {
  desktop.closeWindow(world.window);
  auto prompt = accessPrompt();
  prompt.actions.emplace_back("AXConfirm");
  world.window = desktop.openWindow(world.pid, prompt);
  desktop.setAttribute(world.window, AXAttribute::defaultButton, AXValue{desktop.element(world.button("Don’t Allow"))});
  heed(false, false, false);
  EXPECT_EQ(world.click("Allow"), failure(ClickError::promptStillPresent));
  EXPECT_THAT(world.deeds("press " + std::to_string(world.window)), IsEmpty());
}

TEST_F(ClickExecutorPathsTest, pressesReturnForTheDefaultButton) {
  heed(false, true, false);
  world.seam.onRead = [this](const AXUIElement&, AXAttribute attribute) {
    // No element ever has the focus, so Space is no way.
    if (attribute == AXAttribute::focusedUIElement) desktop.focusElement(world.button("Don’t Allow"));
  };
  EXPECT_EQ(world.click("Allow"), ClickPath::returnOrEscape);
  const std::string process = "pid " + std::to_string(world.pid);
  EXPECT_THAT(world.deeds("key"), ElementsAre("key 36 down " + process, "key 36 up " + process));
  EXPECT_THAT(desktop.presses(), ElementsAre("Allow"));
}

TEST_F(ClickExecutorPathsTest, pressesEscapeNeverReturnToCancel) {
  heed(false, true, false);
  world.seam.onRead = [this](const AXUIElement&, AXAttribute attribute) {
    if (attribute == AXAttribute::focusedUIElement) desktop.focusElement(world.button("Allow"));
  };
  EXPECT_EQ(world.click("Don’t Allow"), ClickPath::returnOrEscape);
  const std::string process = "pid " + std::to_string(world.pid);
  EXPECT_THAT(world.deeds("key"), ElementsAre("key 53 down " + process, "key 53 up " + process));
  EXPECT_THAT(desktop.presses(), ElementsAre("Don’t Allow"));
}

TEST_F(ClickExecutorPathsTest, pressesNoReturnWhenAnotherButtonIsTheDefault) {
  heed(false, true, false);
  world.seam.refusesFocus = true;
  const ElementID deny = world.button("Don’t Allow");
  desktop.setAttribute(world.window, AXAttribute::defaultButton, AXValue{desktop.element(deny)});
  desktop.focusElement(deny);
  EXPECT_EQ(world.click("Allow"), failure(ClickError::promptStillPresent));
  EXPECT_THAT(world.deeds("key"), IsEmpty());
  EXPECT_THAT(desktop.presses(), IsEmpty());
}

TEST_F(ClickExecutorPathsTest, pressesTheButtonUnderItsCentre) {
  // The application heeds only the third press of this element: neither the first, nor the window's own.
  hideSemanticButtons();
  heed(true, false, false);
  int presses = 0;
  const ElementID window = world.window;
  desktop.onPress(world.button("Allow"), [&] {
    if (++presses == 2) desktop.closeWindow(window);
  });
  EXPECT_EQ(world.click("Allow"), ClickPath::hitTestedPress);
  EXPECT_THAT(world.deeds("mouse"), IsEmpty());
}

TEST_F(ClickExecutorPathsTest, clicksTheMouseThroughTheProcess) {
  heed(false, false, true);
  const DialogFrame frame = world.resolved("Allow").button.frame();
  const std::string at = fmt::format("{},{}", frame.centerX(), frame.centerY());
  EXPECT_EQ(world.click("Allow"), ClickPath::mouseToProcess);
  const std::string process = " pid " + std::to_string(world.pid);
  EXPECT_THAT(world.deeds("mouse"), ElementsAre("mouse moved " + at + process, "mouse leftDown " + at + process,
                                                "mouse leftUp " + at + process));
  EXPECT_THAT(desktop.presses(), ElementsAre("Allow"));
}

TEST_F(ClickExecutorPathsTest, clicksTheMouseGloballyLast) {
  heed(false, false, true);
  // The first click, through the process, does nothing.
  int presses = 0;
  const ElementID window = world.window;
  desktop.onPress(world.button("Allow"), [&] {
    if (++presses == 2) desktop.closeWindow(window);
  });
  EXPECT_EQ(world.click("Allow"), ClickPath::mouseGlobal);
  const auto mouse = world.deeds("mouse");
  ASSERT_EQ(mouse.size(), 6U);
  EXPECT_THAT(std::vector(mouse.begin() + 3, mouse.end()), Each(HasSubstr(" global")));
}

TEST_F(ClickExecutorPathsTest, clicksWhereTheButtonIsNow) {
  heed(false, false, true);
  const ResolvedDialogButton target = world.resolved("Allow");
  desktop.setFrame(world.button("Allow"), DialogFrame{410, 400, 100, 24});
  desktop.clearDeeds();
  EXPECT_EQ(world.click(target), ClickPath::mouseToProcess);
  EXPECT_EQ(world.deeds("mouse").front(), "mouse moved 460,412 pid " + std::to_string(world.pid));
}

TEST_F(ClickExecutorPathsTest, stillPressesByAccessibilityWhenNoEventCanBeMade) {
  desktop.failEventCreation(true);
  hideSemanticButtons();
  int presses = 0;
  const ElementID window = world.window;
  desktop.onPress(world.button("Allow"), [&] {
    if (++presses == 2) desktop.closeWindow(window);
  });
  EXPECT_EQ(world.click("Allow"), ClickPath::hitTestedPress);
}

TEST_F(ClickExecutorPathsTest, takesTheWindowsProcessForAButtonWithoutOne) {
  heed(false, true, true);
  const ResolvedDialogButton target = world.resolved("Allow");
  desktop.clearDeeds();
  world.seam.strangers = {target.element.hash()};
  EXPECT_EQ(world.click(target), ClickPath::returnOrEscape);
  EXPECT_THAT(world.deeds("key"), Each(HasSubstr("pid " + std::to_string(world.pid))));
}

}  // namespace
}  // namespace tallyfox
