// Which events lie between two looks at the desktop.

#include "platform/linux/X11DesktopState.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tallyfox::linux_os {

void PrintTo(const X11Change& change, std::ostream* stream) {
  *stream << "kind " << static_cast<int>(change.kind) << " of " << change.processIdentifier;
}

namespace {

using enum X11ChangeKind;
using testing::ElementsAre;
using testing::IsEmpty;

const X11DesktopState editor = {.windows = {{1, {310, "Notes", false}}}, .active = 1, .currentDesktop = 0};

X11DesktopState withDialog() {
  X11DesktopState state = editor;
  state.windows[2] = {310, "Save?", false};
  state.active = 2;
  return state;
}

X11DesktopState withOtherApplication() {
  X11DesktopState state = editor;
  state.windows[9] = {420, "Shell", false};
  state.active = 9;
  return state;
}

TEST(X11DesktopState, tellsNothingWhenNothingChanged) {
  EXPECT_THAT(changesBetween(editor, editor), IsEmpty());
  EXPECT_THAT(changesBetween({}, {}), IsEmpty());
}

TEST(X11DesktopState, tellsADialogOpenedAndActivatedWithinItsApplication) {
  EXPECT_THAT(changesBetween(editor, withDialog()),
              ElementsAre(X11Change{windowOpened, 310}, X11Change{windowActivated, 310}));
}

TEST(X11DesktopState, tellsADialogClosedAndItsMainWindowActivated) {
  EXPECT_THAT(changesBetween(withDialog(), editor),
              ElementsAre(X11Change{windowClosed, 310}, X11Change{windowActivated, 310}));
}

TEST(X11DesktopState, tellsAnotherApplicationActivated) {
  EXPECT_THAT(
      changesBetween(editor, withOtherApplication()),
      ElementsAre(X11Change{windowOpened, 420}, X11Change{applicationActivated, 420}, X11Change{windowActivated, 420}));
}

TEST(X11DesktopState, tellsANewTitle) {
  X11DesktopState renamed = editor;
  renamed.windows[1].title = "Notes *";
  EXPECT_THAT(changesBetween(editor, renamed), ElementsAre(X11Change{titleChanged, 310}));
}

TEST(X11DesktopState, tellsMinimisingOneOfTwoWindowsWithoutHidingTheApplication) {
  X11DesktopState minimized = withDialog();
  minimized.windows[2].isMinimized = true;
  minimized.active.reset();
  EXPECT_THAT(changesBetween(withDialog(), minimized), ElementsAre(X11Change{windowMinimized, 310}));
}

TEST(X11DesktopState, hidesAnApplicationWithItsLastWindowAndShowsItWithTheFirst) {
  X11DesktopState hidden = withDialog();
  hidden.windows[1].isMinimized = true;
  hidden.windows[2].isMinimized = true;
  hidden.active.reset();
  EXPECT_THAT(
      changesBetween(withDialog(), hidden),
      ElementsAre(X11Change{windowMinimized, 310}, X11Change{windowMinimized, 310}, X11Change{applicationHidden, 310}));
  X11DesktopState shown = hidden;
  shown.windows[2].isMinimized = false;
  EXPECT_THAT(changesBetween(hidden, shown),
              ElementsAre(X11Change{windowRestored, 310}, X11Change{applicationShown, 310}));
}

TEST(X11DesktopState, doesNotCallANewApplicationShownOrAGoneOneHidden) {
  X11DesktopState minimized;
  minimized.windows[1] = {310, "Notes", true};
  EXPECT_THAT(changesBetween({}, minimized), ElementsAre(X11Change{windowOpened, 310}));
  EXPECT_THAT(changesBetween(minimized, {}), ElementsAre(X11Change{windowClosed, 310}));
}

TEST(X11DesktopState, takesAReusedWindowNumberForAnotherWindow) {
  X11DesktopState reused = editor;
  reused.windows[1] = {420, "Notes", false};
  EXPECT_THAT(changesBetween(editor, reused),
              ElementsAre(X11Change{windowClosed, 310}, X11Change{windowOpened, 420},
                          X11Change{applicationActivated, 420}, X11Change{windowActivated, 420}));
}

TEST(X11DesktopState, waitsWithTheActivationUntilTheWindowIsListed) {
  X11DesktopState early = editor;
  early.active = 2;
  EXPECT_THAT(changesBetween(editor, early), IsEmpty());
  EXPECT_THAT(
      changesBetween(early, withDialog()),
      ElementsAre(X11Change{windowOpened, 310}, X11Change{applicationActivated, 310}, X11Change{windowActivated, 310}));
}

TEST(X11DesktopState, tellsNothingWhenTheFocusIsLostToNobody) {
  X11DesktopState unfocused = editor;
  unfocused.active.reset();
  EXPECT_THAT(changesBetween(editor, unfocused), IsEmpty());
}

TEST(X11DesktopState, tellsAnotherDesktop) {
  X11DesktopState other = editor;
  other.currentDesktop = 1;
  EXPECT_THAT(changesBetween(editor, other), ElementsAre(X11Change{currentDesktopChanged, 0}));
  other.currentDesktop.reset();
  EXPECT_THAT(changesBetween(editor, other), IsEmpty()) << "a manager that stopped telling it has not changed it";
  EXPECT_THAT(changesBetween(other, editor), IsEmpty()) << "nor has one that started";
}

TEST(X11DesktopState, keepsWindowsOfUnknownProcessesApartFromApplications) {
  X11DesktopState unknown;
  unknown.windows[1] = {0, "?", false};
  X11DesktopState minimized = unknown;
  minimized.windows[1].isMinimized = true;
  EXPECT_THAT(changesBetween(unknown, minimized), ElementsAre(X11Change{windowMinimized, 0}));
}

}  // namespace
}  // namespace tallyfox::linux_os
