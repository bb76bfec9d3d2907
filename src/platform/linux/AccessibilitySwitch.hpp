#pragma once

#include <memory>
#include <string>

#include "platform/SettingsOpener.hpp"
#include "platform/linux/SessionStatus.hpp"
#include "platform/linux/ThreadQueue.hpp"

namespace tallyfox::linux_os {

/// A Linux desktop asks nobody for a permission: accessibility is a switch of the session. Opening the settings where a
/// Mac's owner allows accessibility turns that switch on here; other addresses have no counterpart.
class AccessibilitySwitch : public SettingsOpener {
 public:
  /// On the user's session bus when no address is given.
  explicit AccessibilitySwitch(std::string sessionBusAddress = {});

  void open(const std::string& address) override;

 private:
  std::shared_ptr<SessionStatus> status_;  ///< used on the worker alone
  ThreadQueue worker_{"accessibility-switch"};
};

}  // namespace tallyfox::linux_os
