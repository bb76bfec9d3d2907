#pragma once

#include <memory>
#include <string>

#include "base/Lifetime.hpp"
#include "base/Queue.hpp"
#include "platform/UserNotifications.hpp"
#include "platform/linux/ThreadQueue.hpp"

namespace tallyfox::linux_os {

/// Notifications through org.freedesktop.Notifications on the session bus. A thread of its own talks to the bus, so
/// that a slow notification server delays nobody; each notification is sent without waiting for an answer.
class DesktopNotifications : public UserNotifications {
 public:
  /// On the user's session bus when no address is given.
  explicit DesktopNotifications(SerialQueue& mainQueue, std::string sessionBusAddress = {});
  ~DesktopNotifications() override;

  /// Authorised when a notification server answers: the desktop asks nobody.
  void requestAuthorization(std::function<void(std::expected<bool, std::string>)> completion) override;
  void add(const UserNotification& notification) override;

 private:
  class Bus;
  SerialQueue& mainQueue_;
  std::shared_ptr<Bus> bus_;  ///< used on the worker alone
  ThreadQueue worker_{"notifications"};
  Lifetime lifetime_;
};

/// Text as the notification service's markup shows it: &, < and > are written as entities.
[[nodiscard]] std::string notificationMarkup(const std::string& text);

}  // namespace tallyfox::linux_os
