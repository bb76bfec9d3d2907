#pragma once

#include <memory>

#include "base/Queue.hpp"
#include "platform/Accessibility.hpp"
#include "platform/AccessibilityObservers.hpp"

namespace tallyfox::mac_os {

/// Accessibility events by the system's observers, whose sources run in the main run loop. Main thread only.
class MacAccessibilityObservers : public AccessibilityObservers {
 public:
  /// Both must outlive this object and its subscriptions. `accessibility` is the Mac's.
  MacAccessibilityObservers(SerialQueue& mainQueue, Accessibility& accessibility);
  ~MacAccessibilityObservers() override;

  /// Beside the seam's errors: cannotComplete when the application takes no registration now. One that let the time-out
  /// pass is left alone for a moment, so that a program that hangs does not stop the main thread again and again. What
  /// an application does not support is left out.
  std::expected<std::unique_ptr<Subscription>, AXError> observe(
      std::int32_t processIdentifier, const std::vector<std::string>& notifications,
      std::function<void(const std::string& notification)> onNotification) override;
  std::unique_ptr<Subscription> observeTrustChanges(std::function<void()> onChange) override;

 private:
  struct Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace tallyfox::mac_os
