#pragma once

// Objective-C++.

#import <AppKit/AppKit.h>

#include <functional>

#include "ui/Menu.hpp"

namespace tallyfox::mac_os {

/// The application's menu bar: the one menu named "Tallyfox". Main thread.
class ApplicationMenu {
 public:
  /// Takes the place of the menu bar that was. Checking for updates is disabled until told otherwise.
  explicit ApplicationMenu(std::function<void(ApplicationMenuAction)> onAction);
  /// Takes the menu bar away.
  ~ApplicationMenu();
  ApplicationMenu(const ApplicationMenu&) = delete;
  ApplicationMenu& operator=(const ApplicationMenu&) = delete;

  void setCanCheckForUpdates(bool canCheck);

 private:
  NSMenu* menu_;
};

}  // namespace tallyfox::mac_os
