#include "ui/Menu.hpp"

namespace tallyfox {

std::vector<MenuEntry<ApplicationMenuAction>> applicationMenu(bool canCheckForUpdates) {
  return {{.title = "About Tallyfox", .action = ApplicationMenuAction::about, .keyEquivalent = ""},
          {.title = "Check for Updates...",
           .action = ApplicationMenuAction::checkForUpdates,
           .keyEquivalent = "",
           .isEnabled = canCheckForUpdates},
          {.title = "", .action = std::nullopt, .keyEquivalent = ""},
          {.title = "Quit Tallyfox", .action = ApplicationMenuAction::quit, .keyEquivalent = "q"}};
}

std::vector<MenuEntry<PauseMenuChoice>> pauseMenu(bool isPaused) {
  const auto pause = [](std::string title, NotificationPauseOption option) {
    return MenuEntry<PauseMenuChoice>{
        .title = std::move(title), .action = PauseMenuChoice{.pause = option}, .keyEquivalent = ""};
  };
  std::vector<MenuEntry<PauseMenuChoice>> menu = {pause("Pause for 4 Hours", NotificationPauseOption::fourHours),
                                                  pause("Pause until Tomorrow", NotificationPauseOption::untilTomorrow),
                                                  pause("Pause Forever", NotificationPauseOption::indefinitely)};
  if (isPaused) {
    menu.push_back({.title = "", .action = std::nullopt, .keyEquivalent = ""});
    menu.push_back({.title = "Resume Now", .action = PauseMenuChoice{.pause = std::nullopt}, .keyEquivalent = ""});
  }
  return menu;
}

}  // namespace tallyfox
