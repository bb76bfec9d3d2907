#include "platform/linux/LinuxAccessibilityObservers.hpp"

#include <algorithm>

#include "platform/linux/RunningProcess.hpp"

namespace tallyfox::linux_os {
namespace {

class Observation : public Subscription {
 public:
  Observation(X11EventSource& events, std::int32_t processIdentifier, std::vector<std::string> notifications,
              std::function<void(const std::string&)> onNotification) {
    changes_ =
        events.subscribe([alive = std::weak_ptr<const int>(token_), processIdentifier, asked = std::move(notifications),
                          receiver = std::move(onNotification)](const X11Change& change) {
          if (change.processIdentifier != processIdentifier) return;
          for (const std::string& notification : notificationsFor(change.kind))
            // Asked anew for each one: the receiver of the first may have ended the observation.
            if (!alive.expired() && std::ranges::find(asked, notification) != asked.end()) receiver(notification);
        });
  }

 private:
  std::shared_ptr<const int> token_ = std::make_shared<const int>(0);
  std::unique_ptr<Subscription> changes_;
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

std::expected<std::unique_ptr<Subscription>, AXError> LinuxAccessibilityObservers::observe(
    std::int32_t processIdentifier, const std::vector<std::string>& notifications,
    std::function<void(const std::string& notification)> onNotification) {
  if (!isProcessRunning(processIdentifier)) return std::unexpected(AXError::invalidElement);
  return std::make_unique<Observation>(events_, processIdentifier, notifications, std::move(onNotification));
}

std::unique_ptr<Subscription> LinuxAccessibilityObservers::observeTrustChanges(std::function<void()> onChange) {
  return trustChanges_(std::move(onChange));
}

}  // namespace tallyfox::linux_os
