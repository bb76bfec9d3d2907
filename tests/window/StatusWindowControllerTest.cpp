// The window while it is open: refreshed every two seconds and by every action, its buttons carried out, its requests
// forgotten and its widgets gone once it is closed.

#include "platform/linux/window/StatusWindowController.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QMessageBox>

#include "platform/linux/window/PauseMenu.hpp"
#include "platform/memory/VirtualTime.hpp"
#include "window/EventCounter.hpp"
#include "window/WindowFixture.hpp"

namespace tallyfox::linux_os {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class StatusWindowControllerTest : public testing::Test {
 protected:
  void show() {
    controller.show();
    settle();
  }
  void close() {
    controller.window()->close();
    settle();
  }
  [[nodiscard]] const QWidget& window() const { return *controller.window(); }
  [[nodiscard]] PauseMenu* pauseMenuOnScreen() const {
    for (QWidget* widget : QApplication::topLevelWidgets())
      if (auto* popup = dynamic_cast<PauseMenu*>(widget); popup != nullptr && popup->isVisible()) return popup;
    return nullptr;
  }
  void openPauseMenu() {
    click(window(), "More Options");
    settle();
    ASSERT_NE(pauseMenuOnScreen(), nullptr);
  }
  /// The titles of the open menu, "-" for a separator.
  [[nodiscard]] std::vector<std::string> pauseTitles() const {
    std::vector<std::string> titles;
    for (const QAction* action : pauseMenuOnScreen()->actions())
      titles.push_back(action->isSeparator() ? "-" : action->text().toStdString());
    return titles;
  }
  void choose(const std::string& title) {
    for (QAction* action : pauseMenuOnScreen()->actions())
      if (action->text().toStdString() == title) action->trigger();
    pauseMenuOnScreen()->close();
    settle();
  }

  memory::VirtualTime time;
  std::shared_ptr<SerialQueue> queue = time.makeQueue("main");
  RecordingAgent agent;
  InterfaceActions actions = agent.actions();
  ApplicationActions menu{[](ApplicationMenuAction) {}};
  StatusWindowController controller{{.actions = actions, .menu = menu, .mainQueue = *queue}, Appearance::light};
};

TEST_F(StatusWindowControllerTest, opensNothingUntilToldTo) {
  controller.refresh();
  time.advance(Seconds(10));
  EXPECT_EQ(controller.window(), nullptr);
  EXPECT_EQ(agent.snapshots, 0);
}

TEST_F(StatusWindowControllerTest, refreshesEveryTwoSecondsWhileShown) {
  show();
  EXPECT_TRUE(window().isVisible());
  EXPECT_EQ(agent.snapshots, 1);
  time.advance(Seconds(1.9));
  EXPECT_EQ(agent.snapshots, 1);
  time.advance(Seconds(0.2));
  EXPECT_EQ(agent.snapshots, 2);
  time.advance(Seconds(20));
  EXPECT_EQ(agent.snapshots, 12);
  close();
  time.advance(Seconds(20));
  EXPECT_EQ(agent.snapshots, 12);
}

TEST_F(StatusWindowControllerTest, showsWhatTheNextRefreshFinds) {
  show();
  agent.state.snapshot.loginItemStatus = login_item::Disabled{};
  EXPECT_EQ(button(window(), "Enable"), nullptr);
  time.advance(Seconds(2));
  EXPECT_NE(button(window(), "Enable"), nullptr);
  EXPECT_NE(shown<QLabel>(window(), "Finish setup"), nullptr);
}

TEST_F(StatusWindowControllerTest, neitherLaysOutNorPaintsForAnUnchangedState) {
  show();
  const EventCounter counter;
  time.advance(Seconds(60));
  settle();
  EXPECT_EQ(agent.snapshots, 31);
  EXPECT_EQ(counter.layouts(), 0);
  EXPECT_EQ(counter.paintings(), 0);
}

TEST_F(StatusWindowControllerTest, keepsOneWindowHoweverOftenItIsShown) {
  show();
  const QPointer<StatusWindow> first = controller.window();
  controller.window()->showMinimized();
  settle();
  show();
  EXPECT_EQ(controller.window(), first);
  EXPECT_FALSE(window().isMinimized());
  time.advance(Seconds(2));
  EXPECT_EQ(agent.snapshots, 2) << "one timer";
}

TEST_F(StatusWindowControllerTest, givesItsWidgetsBackWhenClosed) {
  show();
  const qsizetype before = QApplication::allWidgets().size();
  const QPointer<StatusWindow> first = controller.window();
  close();
  EXPECT_TRUE(first.isNull());
  EXPECT_EQ(controller.window(), nullptr);
  show();
  EXPECT_EQ(QApplication::allWidgets().size(), before);
  close();
  EXPECT_LT(QApplication::allWidgets().size(), before - 20);
}

TEST_F(StatusWindowControllerTest, forgetsARequestedCodeWhenClosed) {
  show();
  EXPECT_EQ(named(window(), "Pairing code"), nullptr);
  click(window(), "Pair Another iPhone");
  settle();
  EXPECT_NE(named(window(), "Pairing code"), nullptr);
  click(window(), "Hide Code");
  settle();
  EXPECT_EQ(named(window(), "Pairing code"), nullptr);
  click(window(), "Pair Another iPhone");
  close();
  show();
  EXPECT_EQ(named(window(), "Pairing code"), nullptr);
}

TEST_F(StatusWindowControllerTest, carriesOutEachActionOnceAndRefreshes) {
  agent.state.snapshot.loginItemStatus = login_item::Disabled{};
  agent.state.snapshot.updateAvailability.isUpdateAvailable = true;
  show();
  click(window(), "Enable");
  EXPECT_THAT(agent.calls, ElementsAre("enableLoginItem"));
  EXPECT_EQ(agent.snapshots, 2);
  click(window(), "Install Update...");
  EXPECT_THAT(agent.calls, ElementsAre("enableLoginItem", "checkForUpdates"));
  agent.state.snapshot.accessibilityTrusted = false;
  controller.refresh();
  agent.calls.clear();
  click(window(), "Open Settings");
  EXPECT_THAT(agent.calls, ElementsAre("openAccessibilitySettings"));
}

TEST_F(StatusWindowControllerTest, pausesForTwoHoursOrResumesByWhatIsTrueNow) {
  show();
  click(window(), "Pause for 2 Hours");
  EXPECT_THAT(agent.calls, ElementsAre("pause twoHours"));
  // Meanwhile paused by another way; the button still says what it said.
  agent.state.snapshot.notificationPause.pausesIndefinitely = true;
  click(window(), "Pause for 2 Hours");
  EXPECT_THAT(agent.calls, ElementsAre("pause twoHours", "resume"));
  click(window(), "Resume");
  EXPECT_THAT(agent.calls, ElementsAre("pause twoHours", "resume", "resume"));
}

TEST_F(StatusWindowControllerTest, opensThePauseMenuFourPointsBelowItsButton) {
  show();
  openPauseMenu();
  const QAbstractButton* opener = button(window(), "More Options");
  const QPoint corner = opener->mapToGlobal(QPoint(0, opener->height() + 4));
  EXPECT_EQ(pauseMenuOnScreen()->pos(), corner);
  EXPECT_THAT(pauseTitles(), ElementsAre("Pause for 4 Hours", "Pause until Tomorrow", "Pause Forever"));
  choose("");
  agent.state.snapshot.notificationPause.pausesIndefinitely = true;
  controller.refresh();
  openPauseMenu();
  EXPECT_THAT(pauseTitles(),
              ElementsAre("Pause for 4 Hours", "Pause until Tomorrow", "Pause Forever", "-", "Resume Now"));
}

TEST_F(StatusWindowControllerTest, carriesOutWhatThePauseMenuChooses) {
  agent.state.snapshot.notificationPause.pausesIndefinitely = true;
  show();
  for (const char* title : {"Pause for 4 Hours", "Pause until Tomorrow", "Pause Forever", "Resume Now"}) {
    openPauseMenu();
    choose(title);
  }
  EXPECT_THAT(agent.calls, ElementsAre("pause fourHours", "pause untilTomorrow", "pause indefinitely", "resume"));
  EXPECT_EQ(pauseMenuOnScreen(), nullptr);
}

TEST_F(StatusWindowControllerTest, unpairsOnlyAfterTheQuestionWasConfirmed) {
  show();
  click(window(), "Unpair iPhone");
  settle();
  EXPECT_THAT(agent.calls, IsEmpty());
  click(*controller.window()->findChild<QMessageBox*>(), "Cancel");
  settle();
  EXPECT_THAT(agent.calls, IsEmpty());
  click(window(), "Unpair iPhone");
  settle();
  click(*controller.window()->findChild<QMessageBox*>(), "Unpair");
  settle();
  EXPECT_THAT(agent.calls, ElementsAre("unpairPhone"));
}

TEST_F(StatusWindowControllerTest, opensLaterWindowsInTheAppearanceOfTheMoment) {
  controller.setAppearance(Appearance::dark);
  show();
  EXPECT_EQ(controller.window()->grab().toImage().pixel(2, 2),
            pixelOf(AppTheme::of(Appearance::dark).windowBackground));
}

}  // namespace
}  // namespace tallyfox::linux_os
