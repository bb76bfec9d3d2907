#pragma once

#include <cstdint>
#include <expected>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "platform/AXTypes.hpp"

namespace tallyfox {

/// A registration. Destroying it on the main thread ends it: no callback follows, also not for what has happened
/// already. A callback may end its own.
class Subscription {
 public:
  virtual ~Subscription() = default;
};

/// Events from applications. Main thread only; callbacks arrive as tasks of the main queue, never inside a call.
class AccessibilityObservers {
 public:
  virtual ~AccessibilityObservers() = default;

  /// Reports the named notifications of one application by their names ("AXWindowCreated"). A backend reports those it
  /// can learn of without burdening the application. Fails with invalidElement when the process is gone, and with
  /// notTrusted where events need the permission. The registration outlives its application without harm.
  [[nodiscard]] virtual std::expected<std::unique_ptr<Subscription>, AXError> observe(
      std::int32_t processIdentifier, const std::vector<std::string>& notifications,
      std::function<void(const std::string& notification)> onNotification) = 0;
  /// Reports that the permission may have been given or taken (macOS: the distributed notification
  /// "com.apple.accessibility.api").
  [[nodiscard]] virtual std::unique_ptr<Subscription> observeTrustChanges(std::function<void()> onChange) = 0;
};

}  // namespace tallyfox
