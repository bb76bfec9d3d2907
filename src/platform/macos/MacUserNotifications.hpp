#pragma once

#include <memory>

#include "base/Queue.hpp"
#include "platform/UserNotifications.hpp"

namespace tallyfox::mac_os {

/// The system's notification centre, which is there for application bundles only: elsewhere nothing is shown, and
/// authorization fails with a text. Notifications show also while the application itself is in front.
class MacUserNotifications : public UserNotifications {
 public:
  /// Before the application has finished launching. `mainQueue` outlives it.
  explicit MacUserNotifications(SerialQueue& mainQueue);
  ~MacUserNotifications() override;
  MacUserNotifications(const MacUserNotifications&) = delete;
  MacUserNotifications& operator=(const MacUserNotifications&) = delete;

  void requestAuthorization(std::function<void(std::expected<bool, std::string>)> completion) override;
  void add(const UserNotification& notification) override;

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace tallyfox::mac_os
