#pragma once

#include <memory>

#include "base/Queue.hpp"
#include "platform/AccessibilityObservers.hpp"
#include "platform/Applications.hpp"
#include "platform/WindowList.hpp"
#include "platform/memory/DesktopModel.hpp"

namespace tallyfox::memory {

/// The model seen from the window server and the workspace.
class DesktopWorkspace : public AccessibilityObservers, public Applications, public WindowList {
 public:
  DesktopWorkspace(std::shared_ptr<DesktopModel> model, SerialQueue& mainQueue)
      : model_(std::move(model)), mainQueue_(mainQueue) {}

  std::expected<std::unique_ptr<Subscription>, AXError> observe(
      std::int32_t processIdentifier, const std::vector<std::string>& notifications,
      std::function<void(const std::string& notification)> onNotification) override;
  std::unique_ptr<Subscription> observeTrustChanges(std::function<void()> onChange) override;

  std::vector<RunningApplication> runningApplications() override;
  std::optional<RunningApplication> application(std::int32_t processIdentifier) override;
  std::vector<RunningApplication> applicationsWithBundleIdentifier(const std::string& identifier) override;
  void terminate(std::int32_t processIdentifier) override;
  std::int32_t ownProcessIdentifier() override;
  std::unique_ptr<Subscription> observe(std::function<void(const WorkspaceEvent&)> onEvent) override;

  std::vector<WindowInfo> windows(bool includeAllSpaces) override;

 private:
  std::shared_ptr<DesktopModel> model_;
  SerialQueue& mainQueue_;
};

}  // namespace tallyfox::memory
