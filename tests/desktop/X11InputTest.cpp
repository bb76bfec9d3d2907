// Synthetic keys and clicks reach real programs, and only the program they are meant for: whatever could lead them
// elsewhere (the focus, another window, a grab, a held modifier) stops them before they are made.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "desktop/DesktopSession.hpp"
#include "desktop/X11TestClient.hpp"
#include "platform/linux/XTestInput.hpp"

namespace tallyfox::linux_os {
namespace {

using testing::DesktopSession;
using ::testing::ElementsAre;
using ::testing::Eq;
using ::testing::IsEmpty;
using ::testing::Optional;
using testing::X11TestClient;

constexpr std::uint32_t returnSymbol = 0xFF0D;
constexpr std::uint32_t spaceSymbol = 0x0020;
constexpr std::uint32_t shiftSymbol = 0xFFE1;

class X11InputTest : public ::testing::Test {
 protected:
  X11InputTest() { client_.awaitWindowManager(); }

  /// The window of a process once it is there, made the active one.
  [[nodiscard]] XWindow active(std::int32_t pid) {
    XWindow found;
    EXPECT_TRUE(DesktopSession::waitUntil(
        [&] {
          for (const XWindow& window : desktop_->windowsFrontToBack())
            if (window.processIdentifier == pid && window.isMapped) found = window;
          const auto front = desktop_->activeWindow();
          if (front && front->id == found.id) return true;
          if (found.id != 0) (void)desktop_->activate(found.id);
          return false;
        },
        X11TestClient::startTime));
    return found;
  }
  /// A window of the test's own process that has the focus. The manager may grab the pointer for a moment meanwhile.
  [[nodiscard]] XWindow ownActiveWindow() {
    (void)client_.open({.x = 200, .y = 200, .width = 400, .height = 300, .title = "Own"});
    return active(getpid());
  }
  /// Posts again until it got through: right after a window came up its manager may still hold the devices.
  [[nodiscard]] std::vector<std::string> inputAfterPosting(const std::function<void()>& post, std::size_t count) {
    std::vector<std::string> input;
    (void)DesktopSession::waitUntil([&] {
      post();
      input = client_.awaitInput(count, Seconds(0.5));
      return input.size() >= count;
    });
    return input;
  }
  void postKey(KeyCode key, bool isDown, std::int32_t pid) {
    input_->createKeyEvent({key, isDown})->postToProcess(pid);
  }
  void pressKey(KeyCode key, std::int32_t pid) {
    postKey(key, true, pid);
    postKey(key, false, pid);
  }
  void postMouse(MouseEventKind kind, AXPoint point, std::int32_t pid) {
    input_->createMouseEvent({kind, point})->postToProcess(pid);
  }
  void click(AXPoint point, std::int32_t pid) {
    postMouse(MouseEventKind::moved, point, pid);
    postMouse(MouseEventKind::leftDown, point, pid);
    postMouse(MouseEventKind::leftUp, point, pid);
  }

  DesktopSession session_{{.accessibility = false}};
  std::shared_ptr<X11Desktop> desktop_ = X11Desktop::open(session_.display()).value();
  X11TestClient client_{session_.display()};
  std::unique_ptr<XTestInput> input_ = std::make_unique<XTestInput>(desktop_, session_.display());
};

TEST_F(X11InputTest, pressesARealDialogsDefaultButtonWithReturn) {
  const auto dialog =
      session_.start({"zenity", "--question", "--title=Go on?", "--text=Go on?"}, X11TestClient::withoutAccessibility);
  (void)active(dialog->pid());
  EXPECT_TRUE(DesktopSession::waitUntil([&] {
    if (dialog->isRunning()) pressKey(KeyCode::returnKey, dialog->pid());
    return dialog->waitForExit(Seconds(0.2)).has_value();
  }));
  EXPECT_THAT(dialog->waitForExit(), Optional(Eq(0))) << "answered with its default button";
}

TEST_F(X11InputTest, cancelsARealDialogWithEscape) {
  const auto dialog =
      session_.start({"zenity", "--question", "--title=Go on?", "--text=Go on?"}, X11TestClient::withoutAccessibility);
  (void)active(dialog->pid());
  EXPECT_TRUE(DesktopSession::waitUntil([&] {
    if (dialog->isRunning()) pressKey(KeyCode::escape, dialog->pid());
    return dialog->waitForExit(Seconds(0.2)).has_value();
  }));
  EXPECT_THAT(dialog->waitForExit(), Optional(Eq(1)));
}

TEST_F(X11InputTest, refusesKeysForAProcessWithoutTheFocus) {
  const auto dialog =
      session_.start({"zenity", "--question", "--title=Go on?", "--text=Go on?"}, X11TestClient::withoutAccessibility);
  (void)active(dialog->pid());
  (void)ownActiveWindow();
  pressKey(KeyCode::returnKey, dialog->pid());
  pressKey(KeyCode::space, 1);
  EXPECT_THAT(inputAfterPosting([this] { pressKey(KeyCode::space, getpid()); }, 2),
              ElementsAre("key press", "key release"))
      << "what was posted to others did not arrive here";
  EXPECT_TRUE(dialog->isRunning());
}

TEST_F(X11InputTest, refusesKeysWhileTheFocusIsElsewhereThanTheActiveWindow) {
  (void)ownActiveWindow();
  EXPECT_THAT(inputAfterPosting([this] { pressKey(KeyCode::space, getpid()); }, 2), ::testing::SizeIs(2));
  const auto bubble = client_.open({.isUnmanaged = true});
  client_.focus(bubble);
  pressKey(KeyCode::space, getpid());
  client_.synchronize();
  EXPECT_THAT(client_.takeInput(), IsEmpty());
}

TEST_F(X11InputTest, refusesKeysWhileAnotherProgramHoldsTheKeyboard) {
  (void)ownActiveWindow();
  EXPECT_THAT(inputAfterPosting([this] { pressKey(KeyCode::space, getpid()); }, 2), ::testing::SizeIs(2));
  X11TestClient locker(session_.display());
  const auto lock = locker.open({.isUnmanaged = true});
  locker.grabKeyboard(lock);
  pressKey(KeyCode::space, getpid());
  locker.synchronize();
  EXPECT_THAT(locker.takeInput(), IsEmpty());
  locker.releaseGrabs();
  EXPECT_THAT(inputAfterPosting([this] { pressKey(KeyCode::space, getpid()); }, 2),
              ElementsAre("key press", "key release"));
}

TEST_F(X11InputTest, refusesKeysWhileTheOwnerHoldsAModifier) {
  (void)ownActiveWindow();
  EXPECT_THAT(inputAfterPosting([this] { pressKey(KeyCode::space, getpid()); }, 2), ::testing::SizeIs(2));
  client_.fakeKey(shiftSymbol, true);
  EXPECT_THAT(client_.awaitInput(1), ElementsAre("key press")) << "the modifier itself";
  pressKey(KeyCode::space, getpid());
  client_.fakeKey(shiftSymbol, false);
  EXPECT_THAT(client_.awaitInput(1), ElementsAre("key release"));
}

TEST_F(X11InputTest, clicksAtThePoint) {
  const XWindow own = ownActiveWindow();
  const AXPoint point{own.clientFrame.x + 50, own.clientFrame.y + 40};
  const std::string at = std::to_string(int(point.x)) + "," + std::to_string(int(point.y));
  EXPECT_THAT(inputAfterPosting([&] { click(point, getpid()); }, 2),
              ElementsAre("button press " + at, "button release " + at));
}

TEST_F(X11InputTest, refusesClicksOnWhatCoversTheWindow) {
  const auto dialog =
      session_.start({"zenity", "--question", "--title=Go on?", "--text=Go on?"}, X11TestClient::withoutAccessibility);
  const XWindow window = active(dialog->pid());
  const AXPoint point{window.clientFrame.centerX(), window.clientFrame.centerY()};
  (void)client_.open({.x = static_cast<std::int16_t>(point.x - 10),
                      .y = static_cast<std::int16_t>(point.y - 10),
                      .width = 20,
                      .height = 20,
                      .isUnmanaged = true});
  click(point, dialog->pid());
  client_.synchronize();
  EXPECT_THAT(client_.takeInput(), IsEmpty());
  EXPECT_THAT(inputAfterPosting([&] { click(point, getpid()); }, 2), ::testing::SizeIs(2));
}

TEST_F(X11InputTest, refusesClicksWhileAnotherProgramHoldsThePointer) {
  const XWindow own = ownActiveWindow();
  const AXPoint point{own.clientFrame.x + 50, own.clientFrame.y + 40};
  EXPECT_THAT(inputAfterPosting([&] { click(point, getpid()); }, 2), ::testing::SizeIs(2));
  X11TestClient menu(session_.display());
  menu.grabPointer(menu.open({.isUnmanaged = true}));
  click(point, getpid());
  menu.synchronize();
  client_.synchronize();
  EXPECT_THAT(menu.takeInput(), IsEmpty());
  EXPECT_THAT(client_.takeInput(), IsEmpty());
}

TEST_F(X11InputTest, postsGloballyAsTheHardwareWould) {
  const XWindow own = ownActiveWindow();
  input_->createKeyEvent({KeyCode::space, true})->postGlobally();
  input_->createKeyEvent({KeyCode::space, false})->postGlobally();
  EXPECT_THAT(client_.awaitInput(2), ElementsAre("key press", "key release"));
  const AXPoint point{own.clientFrame.x + 7, own.clientFrame.y + 9};
  input_->createMouseEvent({MouseEventKind::leftDown, point})->postGlobally();
  input_->createMouseEvent({MouseEventKind::leftUp, point})->postGlobally();
  EXPECT_EQ(client_.awaitInput(2).size(), 2U);
}

TEST_F(X11InputTest, refusesGlobalInputThatWouldGoAstray) {
  const XWindow own = ownActiveWindow();
  const auto postEverything = [&] {
    input_->createKeyEvent({KeyCode::space, true})->postGlobally();
    input_->createKeyEvent({KeyCode::space, false})->postGlobally();
    const AXPoint point{own.clientFrame.x + 7, own.clientFrame.y + 9};
    input_->createMouseEvent({MouseEventKind::leftDown, point})->postGlobally();
    input_->createMouseEvent({MouseEventKind::leftUp, point})->postGlobally();
  };
  X11TestClient menu(session_.display());
  const auto bubble = menu.open({.isUnmanaged = true});
  menu.grabKeyboard(bubble);
  menu.grabPointer(bubble);
  postEverything();
  menu.synchronize();
  EXPECT_THAT(menu.takeInput(), IsEmpty());
  menu.releaseGrabs();
  client_.fakeKey(shiftSymbol, true);
  EXPECT_THAT(client_.awaitInput(1), ElementsAre("key press")) << "the modifier itself";
  postEverything();
  client_.fakeKey(shiftSymbol, false);
  EXPECT_THAT(client_.awaitInput(1), ElementsAre("key release"));
  postEverything();
  EXPECT_EQ(client_.awaitInput(4).size(), 4U);
}

TEST_F(X11InputTest, postsAnEventOnce) {
  (void)ownActiveWindow();
  const auto down = input_->createKeyEvent({KeyCode::space, true});
  const auto up = input_->createKeyEvent({KeyCode::space, false});
  for (int i = 0; i < 3; ++i) {
    down->postGlobally();
    up->postGlobally();
  }
  EXPECT_THAT(client_.awaitInput(2), ElementsAre("key press", "key release"));
  client_.synchronize();
  EXPECT_THAT(client_.takeInput(), IsEmpty());
}

TEST_F(X11InputTest, dropsAReleaseWithoutItsPress) {
  (void)ownActiveWindow();
  postKey(KeyCode::space, false, getpid());
  input_->createKeyEvent({KeyCode::space, false})->postGlobally();
  input_->createMouseEvent({MouseEventKind::leftUp, {250, 250}})->postGlobally();
  client_.synchronize();
  EXPECT_THAT(client_.takeInput(), IsEmpty());
}

TEST_F(X11InputTest, releasesAKeyAlsoWhenTheFocusWentElsewhereMeanwhile) {
  (void)ownActiveWindow();
  EXPECT_TRUE(DesktopSession::waitUntil([&] {
    postKey(KeyCode::space, true, getpid());
    return client_.isKeyDown(spaceSymbol);
  }));
  const auto dialog =
      session_.start({"zenity", "--question", "--title=Go on?", "--text=Go on?"}, X11TestClient::withoutAccessibility);
  (void)active(dialog->pid());
  postKey(KeyCode::space, false, getpid());
  EXPECT_FALSE(client_.isKeyDown(spaceSymbol));
}

TEST_F(X11InputTest, releasesWhatItHoldsWhenItEnds) {
  const XWindow own = ownActiveWindow();
  input_->createKeyEvent({KeyCode::space, true})->postGlobally();
  input_->createKeyEvent({KeyCode::returnKey, true})->postGlobally();
  input_->createMouseEvent({MouseEventKind::leftDown, {own.clientFrame.x + 5, own.clientFrame.y + 5}})->postGlobally();
  const auto late = input_->createKeyEvent({KeyCode::escape, true});
  EXPECT_EQ(client_.awaitInput(3).size(), 3U);
  EXPECT_TRUE(client_.isKeyDown(spaceSymbol));
  input_.reset();
  EXPECT_FALSE(client_.isKeyDown(spaceSymbol));
  EXPECT_FALSE(client_.isKeyDown(returnSymbol));
  EXPECT_EQ(client_.awaitInput(3).size(), 3U) << "two key releases and a button release";
  late->postGlobally();
  client_.synchronize();
  EXPECT_THAT(client_.takeInput(), IsEmpty());
}

TEST_F(X11InputTest, hasNoEventForAKeyThatTheKeyboardLacks) {
  EXPECT_NE(input_->createKeyEvent({KeyCode::returnKey, true}), nullptr);
  client_.unmapKey(returnSymbol);
  EXPECT_EQ(input_->createKeyEvent({KeyCode::returnKey, true}), nullptr);
  EXPECT_NE(input_->createKeyEvent({KeyCode::space, true}), nullptr);
}

TEST_F(X11InputTest, hasNoEventForAPointThatCannotBeAddressed) {
  for (const AXPoint point : {AXPoint{-1, 5}, AXPoint{5, 40000}, AXPoint{std::numeric_limits<double>::infinity(), 5},
                              AXPoint{5, std::numeric_limits<double>::quiet_NaN()}})
    EXPECT_EQ(input_->createMouseEvent({MouseEventKind::moved, point}), nullptr);
}

TEST_F(X11InputTest, makesALeftClickAlsoForALeftHandedOwner) {
  const XWindow own = ownActiveWindow();
  client_.swapPointerButtons();
  const AXPoint point{own.clientFrame.x + 50, own.clientFrame.y + 40};
  input_->createMouseEvent({MouseEventKind::leftDown, point})->postGlobally();
  input_->createMouseEvent({MouseEventKind::leftUp, point})->postGlobally();
  EXPECT_THAT(client_.awaitInput(2),
              ElementsAre(::testing::StartsWith("button press"), ::testing::StartsWith("button release")));
}

TEST(X11InputWithoutDisplay, makesNoEvents) {
  XTestInput input(X11Desktop::withoutDisplay(), std::nullopt);
  EXPECT_EQ(input.createKeyEvent({KeyCode::space, true}), nullptr);
  EXPECT_EQ(input.createMouseEvent({MouseEventKind::moved, {1, 1}}), nullptr);
}

}  // namespace
}  // namespace tallyfox::linux_os
