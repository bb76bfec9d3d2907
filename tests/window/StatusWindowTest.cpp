// The window shows its model and nothing else, does no work for what has not changed, can be used by keyboard alone,
// keeps its width whatever phones are called, and turns around with the reading direction.

#include "platform/linux/window/StatusWindow.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <QAction>
#include <QMenu>
#include <QMessageBox>
#include <QScrollBar>
#include <QToolButton>
#include <memory>

#include "window/EventCounter.hpp"
#include "window/StatusWindowFixture.hpp"

namespace tallyfox::linux_os {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAreArray;

void addRow(std::vector<std::string>& texts, const std::optional<StatusRowModel>& row) {
  if (!row) return;
  texts.push_back(row->title);
  texts.push_back(row->detail);
  if (row->pill) texts.push_back(row->pill->text);
  for (const auto& each : {row->button, row->secondaryButton})
    if (each) texts.push_back(each->title);
}

/// Everything that a model says.
std::vector<std::string> textsOf(const StatusWindowModel& model) {
  const PairingCardModel& pairing = model.pairing;
  std::vector<std::string> texts = {model.title,     model.headline, model.detail,
                                    model.pill.text, pairing.title,  pairing.status};
  for (const std::string& text : {pairing.detail, pairing.problem.value_or(""), pairing.caption})
    if (!text.empty()) texts.push_back(text);
  for (const auto& each : {pairing.openSettings, pairing.codeToggle, pairing.unpair})
    if (each) texts.push_back(each->title);
  for (const auto& row : {model.update, model.installLocation, std::optional(model.accessibility),
                          std::optional(model.loginItem), std::optional(model.notificationPause)})
    addRow(texts, row);
  return texts;
}

TEST_F(StatusWindowTest, showsEveryStateAndNothingElse) {
  for (const std::string_view name : gallery::stateNames) {
    SCOPED_TRACE(name);
    const StatusWindowModel model = gallery::stateNamed(name)->model();
    // In one window one after the other: nothing of an earlier state may stay.
    show(model);
    EXPECT_THAT(visibleTexts(), UnorderedElementsAreArray(textsOf(model)));
    const QWidget* code = named(*window, "Pairing code");
    EXPECT_EQ(code != nullptr, model.pairing.code.has_value());
    EXPECT_EQ(named(*window, "Update Available") != nullptr, model.update.has_value());
    EXPECT_EQ(named(*window, "Location") != nullptr, model.installLocation.has_value());
    EXPECT_EQ(window->windowTitle(), "Tallyfox");
    EXPECT_EQ(window->findChild<QScrollArea*>()->widget()->size(), window->size()) << "nothing is scrolled";
  }
}

TEST_F(StatusWindowTest, putsTheCardsInTheOrderOfTheModel) {
  gallery::State state = *gallery::stateNamed("no-setup");
  state.snapshot.updateAvailability.isUpdateAvailable = true;
  show(state.model());
  int last = -1;
  for (const char* title :
       {"Update Available", "iPhone Pairing", "Location", "Accessibility", "Login Item", "Not Available"}) {
    const QWidget* card = named(*window, title);
    ASSERT_NE(card, nullptr) << title;
    const int top = card->mapTo(window, QPoint(0, 0)).y();
    EXPECT_GT(top, last) << title;
    last = top + card->height();
  }
}

TEST_F(StatusWindowTest, keepsToTheSizesOfTheLayout) {
  show(gallery::pairedState().model());
  namespace sizes = status_window_layout;
  EXPECT_EQ(window->width(), sizes::compactWidth);
  const QWidget* pairing = named(*window, "iPhone Pairing");
  const QWidget* accessibility = named(*window, "Accessibility");
  EXPECT_EQ(pairing->mapTo(window, QPoint(0, 0)).x(), sizes::sideMargin);
  EXPECT_EQ(pairing->width(), sizes::compactWidth - 2 * sizes::sideMargin);
  EXPECT_EQ(accessibility->mapTo(window, QPoint(0, 0)).y(),
            pairing->mapTo(window, QPoint(0, 0)).y() + pairing->height() + sizes::spacing);
  const QWidget* last = named(*window, "Active");
  EXPECT_EQ(window->height(), last->mapTo(window, QPoint(0, 0)).y() + last->height() + sizes::bottomMargin);
}

TEST_F(StatusWindowTest, growsAndShrinksWithItsContent) {
  show(gallery::pairedState().model());
  const QSize paired = window->size();
  show(gallery::stateNamed("pair-another")->model());
  EXPECT_GT(window->height(), paired.height() + static_cast<int>(status_window_layout::codeSide));
  show(gallery::pairedState().model());
  EXPECT_EQ(window->size(), paired);
}

TEST_F(StatusWindowTest, staysOnItsScreenWhenItGrows) {
  show(gallery::stateNamed("connecting")->model());
  const QRect area = window->screen()->availableGeometry();
  window->move(area.right() - window->width(), area.bottom() - window->height());
  settle();
  show(gallery::stateNamed("ready-to-scan")->model());
  EXPECT_TRUE(area.contains(window->frameGeometry()));
  window->move(area.topLeft());
  show(gallery::stateNamed("connecting")->model());
  EXPECT_EQ(window->frameGeometry().topLeft(), area.topLeft()) << "it stays where it fits";
}

TEST_F(StatusWindowTest, keepsTheOwnersSizeWhileTheContentNeedsNoOther) {
  show(gallery::pairedState().model());
  window->resize(500, 300);
  settle();
  gallery::State paused = gallery::pairedState();
  paused.snapshot.connectedPhones.front().deviceName = "Other";
  show(paused.model());
  EXPECT_EQ(window->size(), QSize(500, 300));
}

TEST_F(StatusWindowTest, paintsPillsInTheirColoursInBothAppearances) {
  for (const Appearance appearance : {Appearance::light, Appearance::dark}) {
    show(gallery::stateNamed("no-setup")->model(), appearance);
    window->setAppearance(appearance);
    const auto groundOf = [&](const std::string& text) {
      const QLabel* pill = shown<QLabel>(*window, text);
      return pill->mapTo(window, QPoint(5, pill->height() / 2));
    };
    QImage picture = window->grab().toImage();
    EXPECT_EQ(picture.pixel(groundOf("Needs Setup")), pixelOf(app_brand::warningPill));
    EXPECT_EQ(picture.pixel(2, 2), pixelOf(AppTheme::of(appearance).windowBackground));
    show(gallery::pairedState().model());
    picture = window->grab().toImage();
    EXPECT_EQ(picture.pixel(groundOf("Allowed")), pixelOf(app_brand::successPill));
  }
}

TEST_F(StatusWindowTest, doesNothingForWhatItShowsAlready) {
  show(gallery::stateNamed("ready-to-scan")->model());
  const EventCounter counter;
  for (int round = 0; round < 5; ++round)
    window->apply(gallery::stateNamed("ready-to-scan")->model());
  settle();
  EXPECT_EQ(counter.layouts(), 0);
  EXPECT_EQ(counter.paintings(), 0);
}

TEST_F(StatusWindowTest, repaintsOnlyTheCardThatChanged) {
  show(gallery::pairedState().model());
  gallery::State paused = gallery::pairedState();
  paused.snapshot.notificationPause.pausesIndefinitely = true;
  const EventCounter counter;
  window->apply(paused.model());
  settle();
  EXPECT_TRUE(counter.wasPainted(named(*window, "Paused")));
  for (const char* untouched : {"iPhone Pairing", "Accessibility", "Login Item"})
    EXPECT_FALSE(counter.wasPainted(named(*window, untouched))) << untouched;
  EXPECT_FALSE(counter.wasPainted(shown<QLabel>(*window, "Maria’s iPhone can receive approval alerts from this Mac.")));
}

TEST_F(StatusWindowTest, recoloursEverythingAtOnceWithoutBeingReopened) {
  show(gallery::pairedState().model());
  const QSize size = window->size();
  window->setAppearance(Appearance::dark);
  settle();
  const QImage picture = window->grab().toImage();
  const AppTheme dark = AppTheme::of(Appearance::dark);
  EXPECT_EQ(picture.pixel(2, 2), pixelOf(dark.windowBackground));
  for (const char* card : {"iPhone Pairing", "Accessibility", "Login Item", "Active"})
    EXPECT_EQ(picture.pixel(named(*window, card)->mapTo(window, QPoint(6, 20))), pixelOf(dark.cardBackground)) << card;
  EXPECT_EQ(window->size(), size);
}

struct Press {
  const char* state;
  const char* title;
  StatusWindowAction action;
};
constexpr Press presses[] = {
    {"no-setup-trusted", "Enable", StatusWindowAction::enableLoginItem},
    {"untrusted", "Open Settings", StatusWindowAction::openAccessibilitySettings},
    {"paired", "Pair Another iPhone", StatusWindowAction::togglePairingCode},
    {"pair-another", "Hide Code", StatusWindowAction::togglePairingCode},
    {"paired", "Unpair iPhone", StatusWindowAction::unpairPhone},
    {"update-available", "Install Update...", StatusWindowAction::checkForUpdates},
    {"paired", "Pause for 2 Hours", StatusWindowAction::toggleNotificationPause},
    {"paused-until", "Resume", StatusWindowAction::toggleNotificationPause},
    {"paired", "More Options", StatusWindowAction::showNotificationPauseOptions},
};

StatusWindowModel modelFor(const std::string& name) {
  if (const auto state = gallery::stateNamed(name)) return state->model();
  gallery::State state = gallery::pairedState();
  if (name == "untrusted") state.snapshot.accessibilityTrusted = false;
  state.snapshot.loginItemStatus = login_item::Disabled{};
  return state.model();
}

TEST_F(StatusWindowTest, tellsEachPressOnceByMouseAndByKeyboard) {
  for (const Press& press : presses) {
    SCOPED_TRACE(press.title);
    show(modelFor(press.state));
    actions.clear();
    click(*window, press.title);
    EXPECT_THAT(actions, ElementsAre(press.action));
    for (const Qt::Key key : {Qt::Key_Space, Qt::Key_Return, Qt::Key_Enter}) {
      actions.clear();
      button(*window, press.title)->setFocus(Qt::TabFocusReason);
      QTest::keyClick(window->focusWidget(), key);
      EXPECT_THAT(actions, ElementsAre(press.action)) << key;
    }
  }
}

TEST_F(StatusWindowTest, doesNotPressADisabledButton) {
  gallery::State state = gallery::pairedState();
  state.context.pairingResetInProgress = true;
  show(state.model());
  ASSERT_NE(button(*window, "Unpairing..."), nullptr);
  EXPECT_FALSE(button(*window, "Unpairing...")->isEnabled());
  click(*window, "Unpairing...");
  EXPECT_THAT(actions, IsEmpty());
}

TEST_F(StatusWindowTest, isReachedByTabFromTopToBottom) {
  show(gallery::stateNamed("update-available")->model());
  named(*window, "Tallyfox Menu")->setFocus(Qt::TabFocusReason);
  std::vector<std::string> names;
  for (int step = 0; step < 7; ++step) {
    names.push_back(QApplication::focusWidget()->accessibleName().toStdString());
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
  }
  EXPECT_THAT(names, ElementsAre("Tallyfox Menu", "Install Update...", "Pair Another iPhone", "Unpair iPhone",
                                 "Pause for 2 Hours", "More Options", "Tallyfox Menu"));
}

TEST_F(StatusWindowTest, ringsWhatTheKeyboardReachedAndNotWhatTheMousePressed) {
  show(gallery::pairedState().model());
  QAbstractButton* unpair = button(*window, "Unpair iPhone");
  const auto edge = [&] {
    return window->grab().toImage().pixel(unpair->mapTo(window, QPoint(unpair->width() / 2, 1)));
  };
  const QRgb ring = pixelOf(AppTheme::of(Appearance::light).focusRing);
  EXPECT_NE(edge(), ring);
  QTest::mouseClick(unpair, Qt::LeftButton);
  unpair->setFocus(Qt::MouseFocusReason);
  EXPECT_NE(edge(), ring);
  unpair->clearFocus();
  unpair->setFocus(Qt::TabFocusReason);
  EXPECT_EQ(edge(), ring);
}

TEST_F(StatusWindowTest, closesByEscapeAndByItsShortcut) {
  for (const QKeySequence& keys : {QKeySequence(Qt::Key_Escape), QKeySequence(Qt::CTRL | Qt::Key_W)}) {
    show(gallery::pairedState().model());
    const int before = closings;
    QTest::keySequence(window, keys);
    settle();
    EXPECT_EQ(closings, before + 1);
    EXPECT_TRUE(window.isNull()) << "its widgets are gone";
  }
}

TEST_F(StatusWindowTest, offersTheApplicationMenuWithoutATray) {
  show(gallery::pairedState().model());
  const auto* opener = qobject_cast<QToolButton*>(named(*window, "Tallyfox Menu"));
  ASSERT_NE(opener, nullptr);
  EXPECT_EQ(opener->menu()->actions(), menu.entries());
  QTest::keySequence(window, QKeySequence(Qt::CTRL | Qt::Key_Q));
  EXPECT_THAT(menuActions, ElementsAre(ApplicationMenuAction::quit));
}

TEST_F(StatusWindowTest, scrollsByKeyboardWhereTheScreenIsTooSmall) {
  show(gallery::stateNamed("ready-to-scan")->model());
  window->resize(440, 200);
  settle();
  const QScrollBar* bar = window->findChild<QScrollArea*>()->verticalScrollBar();
  ASSERT_GT(bar->maximum(), 0);
  QTest::keyClick(window, Qt::Key_End);
  EXPECT_EQ(bar->value(), bar->maximum());
  QTest::keyClick(window, Qt::Key_PageUp);
  EXPECT_LT(bar->value(), bar->maximum());
  QTest::keyClick(window, Qt::Key_Home);
  EXPECT_EQ(bar->value(), 0);
  QTest::keyClick(window, Qt::Key_Down);
  EXPECT_EQ(bar->value(), bar->singleStep());
}

TEST_F(StatusWindowTest, isNeverWidenedByAPhonesName) {
  show(gallery::pairedState().model());
  for (const std::string& name : {std::string(300, 'W'), std::string("Ünïcödé 手机 ") + std::string(200, 'x'),
                                  std::string("<b>bold</b> & <img src=x>\n\tnext"), std::string("שלום עולם")}) {
    gallery::State state = gallery::pairedState();
    state.snapshot.connectedPhones.front().deviceName = name;
    show(state.model());
    EXPECT_EQ(window->width(), status_window_layout::compactWidth);
    const QLabel* label = shown<QLabel>(*window, name + " can receive approval alerts from this Mac.");
    ASSERT_NE(label, nullptr) << name;
    EXPECT_EQ(label->textFormat(), Qt::PlainText);
    const QRect place(label->mapTo(window, QPoint(0, 0)), label->size());
    EXPECT_TRUE(window->rect().contains(place)) << name;
    EXPECT_EQ(label->height(), label->heightForWidth(label->width())) << "all lines have room";
  }
}

TEST_F(StatusWindowTest, turnsAroundWithTheReadingDirection) {
  const auto leftOf = [&](const std::string& text) {
    return shown<QLabel>(*window, text)->mapTo(window, QPoint(0, 0)).x();
  };
  show(gallery::pairedState().model());
  EXPECT_GT(leftOf("Allowed"), leftOf("Accessibility"));
  delete window.data();
  const DirectionScope scope(Qt::RightToLeft);
  show(gallery::pairedState().model());
  EXPECT_LT(leftOf("Allowed"), leftOf("Accessibility"));
  EXPECT_EQ(window->width(), status_window_layout::compactWidth);
  const QAbstractButton* unpair = button(*window, "Unpair iPhone");
  EXPECT_LT(unpair->x(), button(*window, "Pair Another iPhone")->x());
}

TEST_F(StatusWindowTest, givesEveryControlANameAndADescription) {
  for (const std::string_view name : gallery::stateNames) {
    show(gallery::stateNamed(name)->model());
    for (const QWidget* widget : window->findChildren<QWidget*>()) {
      const bool isControl = widget->isVisible() && (widget->focusPolicy() & Qt::TabFocus) != 0;
      if (!isControl) continue;
      EXPECT_FALSE(widget->accessibleName().isEmpty()) << widget->metaObject()->className();
      EXPECT_FALSE(widget->accessibleDescription().isEmpty()) << widget->accessibleName().toStdString();
    }
  }
}

}  // namespace
}  // namespace tallyfox::linux_os
