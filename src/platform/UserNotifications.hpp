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
  /// Asks for alerts and sound; the answer (or an error text) arrives on the main queue.
  virtual void requestAuthorization(std::function<void(std::expected<bool, std::string>)> completion) = 0;
  /// Delivered at once; failure is silent.
  virtual void add(const UserNotification& notification) = 0;
};

}  // namespace tallyfox
