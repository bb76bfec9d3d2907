// The menus: every entry in its place, and what it does.

#include "ui/Menu.hpp"

#include <gtest/gtest.h>

namespace tallyfox {
namespace {

TEST(ApplicationMenu, holdsAboutUpdatesAndQuitInThisOrder) {
  using enum ApplicationMenuAction;
  using Entry = MenuEntry<ApplicationMenuAction>;
  const std::vector<Entry> expected = {
      {.title = "About Tallyfox", .action = about, .keyEquivalent = "", .isEnabled = true},
      {.title = "Check for Updates...", .action = checkForUpdates, .keyEquivalent = "", .isEnabled = true},
      {.title = "", .action = std::nullopt, .keyEquivalent = "", .isEnabled = true},
      {.title = "Quit Tallyfox", .action = quit, .keyEquivalent = "q", .isEnabled = true}};
  EXPECT_EQ(applicationMenu(true), expected);
}

TEST(ApplicationMenu, keepsTheCheckForUpdatesDisabledWithoutAnUpdater) {
  std::vector<MenuEntry<ApplicationMenuAction>> menu = applicationMenu(false);
  EXPECT_FALSE(menu.at(1).isEnabled);
  menu.at(1).isEnabled = true;
  EXPECT_EQ(menu, applicationMenu(true));
}

TEST(PauseMenu, offersTheLongerPauses) {
  using enum NotificationPauseOption;
  using Entry = MenuEntry<PauseMenuChoice>;
  const auto entry = [](const char* title, NotificationPauseOption option) {
    return Entry{.title = title, .action = PauseMenuChoice{option}, .keyEquivalent = "", .isEnabled = true};
  };
  const std::vector<Entry> expected = {entry("Pause for 4 Hours", fourHours),
                                       entry("Pause until Tomorrow", untilTomorrow),
                                       entry("Pause Forever", indefinitely)};
  EXPECT_EQ(pauseMenu(false), expected);
}

TEST(PauseMenu, offersToResumeBelowASeparatorOnlyWhilePaused) {
  std::vector<MenuEntry<PauseMenuChoice>> menu = pauseMenu(true);
  ASSERT_EQ(menu.size(), 5U);
  EXPECT_EQ(menu[3].action, std::nullopt);
  EXPECT_EQ(menu[4].title, "Resume Now");
  EXPECT_EQ(menu[4].action, PauseMenuChoice{std::nullopt});
  menu.resize(3);
  EXPECT_EQ(menu, pauseMenu(false));
}

TEST(PauseMenu, opensFourPointsBelowItsButton) {
  EXPECT_EQ(pauseMenuOffset, 4.0);
}

}  // namespace
}  // namespace tallyfox
