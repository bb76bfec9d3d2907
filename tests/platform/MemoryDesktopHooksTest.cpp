// What a test may see and bend from outside: every message before it arrives, and every touch with what it would press.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "MemoryDesktopFixture.hpp"

namespace tallyfox::memory {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class MemoryDesktopHooksTest : public MemoryDesktopFixture {
 protected:
  MemoryDesktopHooksTest() {
    desktop.onTouch([this](const Touch& touch) {
      touches.push_back(touch.name + " " + (touch.button == 0 ? "nothing" : labelOf(touch.button)));
    });
  }
  std::string labelOf(ElementID id) {
    const auto title = read(id, AXAttribute::title);
    return title ? std::get<std::string>(*title) : "gone";
  }

  std::int32_t pid = desktop.launch("Notes");
  ElementID window = desktop.openWindow(pid, messageBox("Notes", {"Sure?"}, {"Cancel", "Delete"}));
  std::vector<std::string> touches;
};

TEST_F(MemoryDesktopHooksTest, answersInThePlaceOfAnApplication) {
  int messages = 0;
  desktop.onMessage([&](const Message& message) -> std::optional<AXError> {
    ++messages;
    EXPECT_EQ(message.processIdentifier, pid);
    return message.element == window ? std::optional(AXError::noValue) : std::nullopt;
  });
  EXPECT_EQ(read(window, AXAttribute::title), std::unexpected(AXError::noValue));
  EXPECT_TRUE(read(button(window, "Delete"), AXAttribute::title).has_value());
  EXPECT_TRUE(read(desktop.application(pid), AXAttribute::windows).has_value());
  EXPECT_EQ(messages, 3);
}

TEST_F(MemoryDesktopHooksTest, waitsForAMessageThatTimesOut) {
  desktop.onMessage([](const Message&) { return AXError::cannotComplete; });
  const Seconds before = time.clock().continuous();
  EXPECT_EQ(read(window, AXAttribute::title), std::unexpected(AXError::cannotComplete));
  EXPECT_EQ(time.clock().continuous() - before, Seconds(0.2));
}

TEST_F(MemoryDesktopHooksTest, letsTheDesktopChangeJustBeforeAMessageArrives) {
  desktop.onMessage([this](const Message&) {
    desktop.closeWindow(window);
    return std::nullopt;
  });
  EXPECT_EQ(read(window, AXAttribute::title), std::unexpected(AXError::invalidElement));
}

TEST_F(MemoryDesktopHooksTest, tellsOfATouchBeforeItTakesEffect) {
  desktop.onTouch([this](const Touch& touch) {
    EXPECT_EQ(touch.button, button(window, "Delete"));
    EXPECT_TRUE(desktop.exists(window));
    touches.push_back(touch.name);
  });
  EXPECT_TRUE(perform(button(window, "Delete"), "AXPress").has_value());
  EXPECT_FALSE(desktop.exists(window));
  EXPECT_THAT(touches, ElementsAre("AXPress"));
}

TEST_F(MemoryDesktopHooksTest, tellsWhatKeysAndClicksWouldPressHeededOrNot) {
  desktop.heed(pid, false, false, false);
  desktop.focusElement(button(window, "Cancel"));
  desktop.input().createKeyEvent({KeyCode::space, true})->postToProcess(pid);
  desktop.input().createKeyEvent({KeyCode::returnKey, true})->postGlobally();
  desktop.input().createKeyEvent({KeyCode::escape, true})->postToProcess(pid);
  const auto position = std::get<AXPoint>(read(button(window, "Delete"), AXAttribute::position).value());
  desktop.input().createMouseEvent({MouseEventKind::leftDown, {position.x + 1, position.y + 1}})->postGlobally();
  desktop.input().createMouseEvent({MouseEventKind::moved, {1, 1}})->postGlobally();
  EXPECT_THAT(touches,
              ElementsAre("49 down Cancel", "36 down Delete", "53 down Cancel", "leftDown Delete", "moved nothing"));
  EXPECT_THAT(desktop.presses(), IsEmpty());
}

TEST_F(MemoryDesktopHooksTest, tellsOfATouchThatTheApplicationNeverHearsOf) {
  desktop.setFault(pid, Fault::hang);
  EXPECT_FALSE(perform(button(window, "Delete"), "AXPress").has_value());
  EXPECT_EQ(touches.size(), 1U);
  EXPECT_TRUE(desktop.exists(window));
}

TEST_F(MemoryDesktopHooksTest, tellsNothingOfRaisingAWindow) {
  EXPECT_TRUE(perform(window, "AXRaise").has_value());
  EXPECT_THAT(touches, IsEmpty());
}

TEST_F(MemoryDesktopHooksTest, worksAndReportsAnError) {
  desktop.setFault(pid, Fault::workAndRefuse);
  EXPECT_FALSE(perform(button(window, "Delete"), "AXPress").has_value());
  EXPECT_FALSE(desktop.exists(window));
  EXPECT_THAT(desktop.presses(), ElementsAre("Delete"));
}

}  // namespace
}  // namespace tallyfox::memory
