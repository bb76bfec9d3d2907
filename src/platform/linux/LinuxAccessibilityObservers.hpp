#pragma once

#include <functional>
#include <memory>
#include <utility>

#include "platform/AccessibilityObservers.hpp"
#include "platform/linux/AtspiEventSource.hpp"
#include "platform/linux/X11EventSource.hpp"

namespace tallyfox::linux_os {

/// Accessibility notifications learned from the X server: registering with the accessibility bus would make every key
/// press in other programs wait for us. Told are windows created, destroyed, renamed, minimised and restored, and the
/// focus moving between windows. A sheet is a window here, but for those of browsers, which show as the focus moving;
/// what else changes within a window tells nothing.
class LinuxAccessibilityObservers : public AccessibilityObservers {
 public:
  /// Registers a callback for when the permission may have changed; called back as tasks of the main queue.
  using TrustChanges = std::function<std::unique_ptr<Subscription>(std::function<void()>)>;

  LinuxAccessibilityObservers(X11EventSource& windowEvents, AtspiEventSource& contentEvents, TrustChanges trustChanges)
      : windowEvents_(windowEvents), contentEvents_(contentEvents), trustChanges_(std::move(trustChanges)) {}

  std::expected<std::unique_ptr<Subscription>, AXError> observe(
      std::int32_t processIdentifier, const std::vector<std::string>& notifications,
      std::function<void(const std::string& notification)> onNotification) override;
  std::unique_ptr<Subscription> observeTrustChanges(std::function<void()> onChange) override;

 private:
  X11EventSource& windowEvents_;
  AtspiEventSource& contentEvents_;
  TrustChanges trustChanges_;
};

/// The notifications that a change means, in the order of delivery.
[[nodiscard]] std::vector<std::string> notificationsFor(X11ChangeKind kind);
[[nodiscard]] std::vector<std::string> notificationsFor(AtspiChangeKind kind);

}  // namespace tallyfox::linux_os
