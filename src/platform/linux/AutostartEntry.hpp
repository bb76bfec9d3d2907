#pragma once

#include <expected>
#include <string>
#include <vector>

#include "platform/LoginItemService.hpp"
#include "platform/linux/ProgramLauncher.hpp"

namespace tallyfox::linux_os {

/// CONFIG_HOME/autostart/com.tallyfox.agent.desktop, which every desktop starts at login. An entry that the owner has
/// switched off in the desktop's settings, or has kept from this desktop, waits for approval and is never switched on
/// again from here; one that starts another executable counts as absent.
class AutostartEntry : public LoginItemService {
 public:
  /// `desktopNames` as currentDesktopNames() gives them; `launcher` finds programs as the desktop does.
  AutostartEntry(std::string configHome, std::string executable, std::vector<std::string> desktopNames,
                 ProgramLauncher launcher);

  LoginItemServiceStatus status() override;
  std::expected<void, std::string> registerItem() override;

 private:
  [[nodiscard]] std::string text() const;
  [[nodiscard]] bool isProgram(const std::string& tryExec) const;

  std::string folder_;
  std::string executable_;
  std::vector<std::string> desktopNames_;
  ProgramLauncher launcher_;
};

}  // namespace tallyfox::linux_os
