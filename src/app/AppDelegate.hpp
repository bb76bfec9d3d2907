#pragma once

#include <memory>

#include "app/AgentInterface.hpp"
#include "app/AgentPlatform.hpp"

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
  void showStatusWindow();
  void unpairPhoneFromStatusWindow();

 private:
  struct Parts;
  std::unique_ptr<Parts> parts_;
};

}  // namespace tallyfox
