#pragma once

#include <optional>
#include <string>
#include <vector>

#include "model/NotificationPauseOption.hpp"

namespace tallyfox {

/// One line of a menu; without an action it is a separator.
template <typename Action>
struct MenuEntry {
  std::string title;
  std::optional<Action> action;
  std::string keyEquivalent;  ///< with the platform's menu modifier; empty for none
  bool isEnabled = true;
  bool operator==(const MenuEntry&) const = default;
};

enum class ApplicationMenuAction { about, checkForUpdates, quit };

/// The menu named "Tallyfox".
[[nodiscard]] std::vector<MenuEntry<ApplicationMenuAction>> applicationMenu(bool canCheckForUpdates);

/// A pause, or its end.
struct PauseMenuChoice {
  std::optional<NotificationPauseOption> pause;  ///< absent to resume
  bool operator==(const PauseMenuChoice&) const = default;
};

/// What opens this many points below the button that asks for it.
inline constexpr double pauseMenuOffset = 4;
[[nodiscard]] std::vector<MenuEntry<PauseMenuChoice>> pauseMenu(bool isPaused);

}  // namespace tallyfox
