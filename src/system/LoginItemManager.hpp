#pragma once

#include "model/LoginItemStatus.hpp"
#include "platform/ApplicationBundle.hpp"
#include "platform/LoginItemService.hpp"
#include "platform/SettingsOpener.hpp"

namespace tallyfox {

/// Whether the application starts at login, and how the owner brings that about. Every problem becomes an unavailable
/// status whose text is shown as it is. Main thread.
class LoginItemManager {
 public:
  LoginItemManager(ApplicationBundle& bundle, LoginItemService& service, SettingsOpener& settings)
      : bundle_(bundle), service_(service), settings_(settings) {}

  [[nodiscard]] LoginItemStatus status();
  /// The status afterwards: requiresApproval when the owner must still allow it. A bare executable is not registered.
  LoginItemStatus registerItem();
  void openSettings();

 private:
  ApplicationBundle& bundle_;
  LoginItemService& service_;
  SettingsOpener& settings_;
};

}  // namespace tallyfox
