#pragma once

#include <expected>
#include <functional>
#include <string>

namespace tallyfox {

struct UserNotification {
  std::string identifier;
  std::string title;
  std::string body;
  bool operator==(const UserNotification&) const = default;
};

/// Local notifications with the default sound. Main thread only; nothing blocks.
class UserNotifications {
 public:
  virtual ~UserNotifications() = default;
  /// Asks for alerts and sound. The answer, or why there is none, arrives once as a task of the main queue, never
  /// inside the call.
  virtual void requestAuthorization(std::function<void(std::expected<bool, std::string>)> completion) = 0;
  /// Delivered at once, in order; failure, also for want of authorization, is silent.
  virtual void add(const UserNotification& notification) = 0;
};

}  // namespace tallyfox
