#pragma once

#include <memory>
#include <optional>
#include <string>

#include "app/AgentInterface.hpp"
#include "app/AgentPlatform.hpp"
#include "model/NotificationPauseOption.hpp"
#include "ui/MacStatusSnapshot.hpp"

namespace tallyfox {

/// The agent: owns every long-lived object, wires them, and forwards. Main thread.
class AppDelegate {
 public:
  AppDelegate(AgentPlatform platform, AgentInterface& interface);
  ~AppDelegate();
  AppDelegate(const AppDelegate&) = delete;
  AppDelegate& operator=(const AppDelegate&) = delete;

  void applicationDidFinishLaunching();
  bool applicationShouldHandleReopen(bool hasVisibleWindows);
  void applicationWillTerminate();
  void quit();

  // What menus and status window ask for.
  void showStatusWindow();
  [[nodiscard]] MacStatusSnapshot currentStatusSnapshot();
  /// Opens the settings where accessibility is allowed, and looks whether it has been.
  void requestPermissions();
  void enableLoginItem();
  void pauseNotifications(NotificationPauseOption option);
  void resumeNotifications();
  void unpairPhoneFromStatusWindow();
  [[nodiscard]] bool pairingResetInProgress() const;
  /// Why the pairing credentials could not be loaded, in a sentence for the owner; absent while they can.
  [[nodiscard]] std::optional<std::string> credentialError() const;
  /// Without configured updates only keeps the menu entry disabled.
  void checkForUpdates();

 private:
  struct Parts;
  std::unique_ptr<Parts> parts_;
};

}  // namespace tallyfox
