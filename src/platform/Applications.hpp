#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "platform/AccessibilityObservers.hpp"

namespace tallyfox {

struct RunningApplication {
  std::int32_t processIdentifier = 0;
  std::optional<std::string> bundleIdentifier;  ///< Linux: the desktop-file id
  std::optional<std::string> localizedName;
  bool isTerminated = false;
  bool isRegular = true;  ///< has or may have windows of its own in the task list; background programs are not regular

  bool operator==(const RunningApplication&) const = default;
};

enum class WorkspaceEventKind { launched, terminated, activated, hidden, unhidden, activeSpaceChanged };

struct WorkspaceEvent {
  WorkspaceEventKind kind = WorkspaceEventKind::launched;
  std::int32_t processIdentifier = 0;  ///< 0 for activeSpaceChanged
  bool operator==(const WorkspaceEvent&) const = default;
};

/// The running applications of this desktop session.
class Applications {
 public:
  virtual ~Applications() = default;

  /// In a stable order, each process once. Any thread.
  [[nodiscard]] virtual std::vector<RunningApplication> runningApplications() = 0;
  /// Absent when no application has this process id. One that has just ended may still be there, terminated. Any
  /// thread.
  [[nodiscard]] virtual std::optional<RunningApplication> application(std::int32_t processIdentifier) = 0;
  /// The applications with exactly this identifier. Any thread.
  [[nodiscard]] virtual std::vector<RunningApplication> applicationsWithBundleIdentifier(
      const std::string& identifier) = 0;
  /// Asks an application politely to quit and does not wait: one that hangs goes on. Never asks this process.
  virtual void terminate(std::int32_t processIdentifier) = 0;
  /// The agent's own process id. Any thread.
  [[nodiscard]] virtual std::int32_t ownProcessIdentifier() = 0;
  /// What happens from now on; an application is told launched once and terminated once. Main thread only; callbacks
  /// arrive as tasks of the main queue, never inside a call.
  [[nodiscard]] virtual std::unique_ptr<Subscription> observe(std::function<void(const WorkspaceEvent&)> onEvent) = 0;
};

}  // namespace tallyfox
