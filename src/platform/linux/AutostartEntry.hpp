#pragma once

#include <expected>
#include <string>

#include "platform/LoginItemService.hpp"

namespace tallyfox::linux_os {

/// CONFIG_HOME/autostart/com.tallyfox.agent.desktop, which every desktop starts at login. An entry that the owner has
/// switched off in the desktop's settings waits for approval and is never switched on again from here; one that starts
/// another executable counts as absent.
class AutostartEntry : public LoginItemService {
 public:
  AutostartEntry(std::string configHome, std::string executable);

  LoginItemServiceStatus status() override;
  std::expected<void, std::string> registerItem() override;

 private:
  [[nodiscard]] std::string text() const;

  std::string folder_;
  std::string executable_;
};

}  // namespace tallyfox::linux_os
