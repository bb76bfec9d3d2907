#pragma once

#include <memory>
#include <string>
#include <vector>

#include "platform/SettingsOpener.hpp"
#include "platform/linux/ProgramLauncher.hpp"
#include "platform/linux/SessionStatus.hpp"
#include "platform/linux/ThreadQueue.hpp"

namespace tallyfox::linux_os {

/// The desktop's own places for what a Mac's owner does in the System Settings; other addresses have no counterpart.
/// - Accessibility: a Linux desktop asks nobody for a permission, it is a switch of the session. Opening that pane
/// turns
///   the switch on, and the desktop's setting for later sessions where we know of one.
/// - Login items: shows the desktop's settings for startup programs; nothing where we know of none that is installed.
class DesktopSettings : public SettingsOpener {
 public:
  /// `desktopNames` as currentDesktopNames() gives them. On the user's session bus when no address is given.
  DesktopSettings(const std::vector<std::string>& desktopNames, ProgramLauncher launcher,
                  std::string sessionBusAddress = {});

  void open(const std::string& address) override;

 private:
  using Commands = std::vector<std::vector<std::string>>;
  Commands keepAccessibility_;
  Commands showStartupPrograms_;
  ProgramLauncher launcher_;
  std::shared_ptr<SessionStatus> status_;  ///< used on the worker alone
  ThreadQueue worker_{"settings"};
};

/// The commands that show where startup programs are chosen, for one desktop; the first whose program is there is
/// meant. Upper and lower case of the name count as equal.
[[nodiscard]] std::vector<std::vector<std::string>> startupSettingsCommands(const std::string& desktopName);
/// The command that keeps accessibility switched on in later sessions; empty for a desktop that has no such setting.
[[nodiscard]] std::vector<std::string> keepAccessibilityCommand(const std::string& desktopName);

}  // namespace tallyfox::linux_os
