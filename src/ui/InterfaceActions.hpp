#pragma once

#include <functional>

#include "model/NotificationPauseOption.hpp"
#include "ui/MacStatusSnapshot.hpp"
#include "ui/StatusWindowModel.hpp"

namespace tallyfox {

/// What the interface asks of the agent. Main thread; none of them waits for the owner.
struct InterfaceActions {
  std::function<MacStatusSnapshot()> snapshot;   ///< taken anew each time
  std::function<StatusWindowContext()> context;  ///< whether the code is requested is the window's own to know
  std::function<void()> onEnableLoginItem;
  std::function<void()> onUnpairPhone;
  std::function<void()> onCheckForUpdates;
  std::function<void(NotificationPauseOption)> onPauseNotifications;
  std::function<void()> onResumeNotifications;
  std::function<void()> openAccessibilitySettings;
  std::function<void()> quit;
};

}  // namespace tallyfox
