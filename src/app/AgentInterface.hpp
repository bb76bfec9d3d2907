#pragma once

#include <cstdint>

namespace tallyfox {

/// What the agent tells its user interface. Main thread. Implementations with no screen do nothing.
class AgentInterface {
 public:
  virtual ~AgentInterface() = default;
  virtual void configureMenus() = 0;
  /// Of the menu entry "Check for Updates...", which is disabled until told otherwise.
  virtual void enableCheckForUpdates(bool enabled) = 0;
  virtual void showStatusWindow() = 0;
  virtual void refreshStatusWindow() = 0;
  /// The number beside the menu-bar icon.
  virtual void showPendingCount(std::int64_t count) = 0;
};

}  // namespace tallyfox
