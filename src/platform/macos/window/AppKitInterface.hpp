#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "app/AgentInterface.hpp"
#include "base/Queue.hpp"
#include "ui/InterfaceActions.hpp"

namespace tallyfox::mac_os {

/// The agent's interface on a Mac: status window, menu-bar item and application menu. The shared NSApplication exists
/// before this. Main thread.
class AppKitInterface : public AgentInterface {
 public:
  struct Settings {
    std::string version;  ///< for the about panel
  };
  /// The main queue is the main thread's, and outlives the interface.
  AppKitInterface(Settings settings, InterfaceActions actions, SerialQueue& mainQueue);
  ~AppKitInterface() override;
  AppKitInterface(const AppKitInterface&) = delete;
  AppKitInterface& operator=(const AppKitInterface&) = delete;

  void configureMenus() override;
  void enableCheckForUpdates(bool enabled) override;
  void showStatusWindow() override;
  void refreshStatusWindow() override;
  void showPendingCount(std::int64_t count) override;

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace tallyfox::mac_os
