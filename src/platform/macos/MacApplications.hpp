#pragma once

#include "base/Queue.hpp"
#include "platform/Applications.hpp"

namespace tallyfox::mac_os {

/// The applications that the workspace knows. Asked from any thread, it answers with what the main run loop last heard:
/// while the main thread is busy, nothing changes.
class MacApplications : public Applications {
 public:
  /// `mainQueue` must outlive this object and its subscriptions.
  explicit MacApplications(SerialQueue& mainQueue) : mainQueue_(mainQueue) {}

  std::vector<RunningApplication> runningApplications() override;
  std::optional<RunningApplication> application(std::int32_t processIdentifier) override;
  std::vector<RunningApplication> applicationsWithBundleIdentifier(const std::string& identifier) override;
  void terminate(std::int32_t processIdentifier) override;
  std::int32_t ownProcessIdentifier() override;
  std::unique_ptr<Subscription> observe(std::function<void(const WorkspaceEvent&)> onEvent) override;

 private:
  SerialQueue& mainQueue_;
};

}  // namespace tallyfox::mac_os
