#include "platform/linux/LinuxAccessibilityObservers.hpp"

#include <algorithm>

#include "platform/linux/RunningProcess.hpp"

namespace tallyfox::linux_os {
namespace {

class Observation : public Subscription {
 public:
  Observation(X11EventSource& windowEvents, AtspiEventSource& contentEvents, std::int32_t processIdentifier,
              const std::vector<std::string>& notifications,
              const std::function<void(const std::string&)>& onNotification) {
    const auto receiver = [alive = std::weak_ptr<const int>(token_), processIdentifier, notifications,
                           onNotification](const auto& change) {
      if (change.processIdentifier != processIdentifier) return;
      for (const std::string& notification : notificationsFor(change.kind))
        // Asked anew for each one: the receiver of the first may have ended the observation.
        if (!alive.expired() && std::ranges::find(notifications, notification) != notifications.end())
          onNotification(notification);
    };
    windowChanges_ = windowEvents.subscribe(receiver);
    contentChanges_ = contentEvents.subscribe(receiver);
  }

 private:
  std::shared_ptr<const int> token_ = std::make_shared<const int>(0);
  std::unique_ptr<Subscription> windowChanges_;
  std::unique_ptr<Subscription> contentChanges_;
};

}  // namespace

std::vector<std::string> notificationsFor(X11ChangeKind kind) {
  switch (kind) {
    case X11ChangeKind::windowClosed:
      return {"AXUIElementDestroyed"};
    case X11ChangeKind::windowOpened:
      return {"AXWindowCreated"};
    case X11ChangeKind::titleChanged:
      return {"AXTitleChanged"};
    case X11ChangeKind::windowMinimized:
      return {"AXWindowMiniaturized"};
    case X11ChangeKind::windowRestored:
      return {"AXWindowDeminiaturized"};
    case X11ChangeKind::applicationActivated:
      return {"AXApplicationActivated"};
    case X11ChangeKind::windowActivated:
      return {"AXMainWindowChanged", "AXFocusedWindowChanged"};
    case X11ChangeKind::applicationHidden:
    case X11ChangeKind::applicationShown:
    case X11ChangeKind::currentDesktopChanged:
      break;
  }
  return {};
}

std::vector<std::string> notificationsFor(AtspiChangeKind kind) {
  switch (kind) {
    case AtspiChangeKind::programRegistered:
    case AtspiChangeKind::programAnswered:
    case AtspiChangeKind::windowsChanged:
      return {"AXWindowCreated"};
    case AtspiChangeKind::focusMoved:
      return {"AXFocusedWindowChanged"};
  }
  return {};
}

std::expected<std::unique_ptr<Subscription>, AXError> LinuxAccessibilityObservers::observe(
    std::int32_t processIdentifier, const std::vector<std::string>& notifications,
    std::function<void(const std::string& notification)> onNotification) {
  if (!isProcessRunning(processIdentifier)) return std::unexpected(AXError::invalidElement);
  return std::make_unique<Observation>(windowEvents_, contentEvents_, processIdentifier, notifications, onNotification);
}

std::unique_ptr<Subscription> LinuxAccessibilityObservers::observeTrustChanges(std::function<void()> onChange) {
  return trustChanges_(std::move(onChange));
}

}  // namespace tallyfox::linux_os
