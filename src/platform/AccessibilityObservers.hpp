#pragma once

#include <cstdint>
#include <expected>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "platform/AXTypes.hpp"

namespace tallyfox {

/// A registration. Destroying it on the main thread ends it: no callback follows.
class Subscription {
 public:
  virtual ~Subscription() = default;
};

/// Events from applications. Main thread only; callbacks arrive as tasks of the main queue, never inside a call.
class AccessibilityObservers {
 public:
  virtual ~AccessibilityObservers() = default;

  /// Reports the named notifications of one application by their names ("AXWindowCreated"). A backend reports those it
  /// can learn of without burdening the application. Fails when the process is gone.
  [[nodiscard]] virtual std::expected<std::unique_ptr<Subscription>, AXError> observe(
      std::int32_t processIdentifier, const std::vector<std::string>& notifications,
      std::function<void(const std::string& notification)> onNotification) = 0;
  /// Reports that the permission may have changed (macOS: the distributed notification "com.apple.accessibility.api").
  [[nodiscard]] virtual std::unique_ptr<Subscription> observeTrustChanges(std::function<void()> onChange) = 0;
};

}  // namespace tallyfox
