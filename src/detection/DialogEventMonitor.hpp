#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "base/Lifetime.hpp"
#include "base/Queue.hpp"
#include "detection/VisibleWindowOwners.hpp"
#include "platform/AccessibilityObservers.hpp"
#include "platform/Applications.hpp"
#include "platform/WindowList.hpp"

namespace tallyfox {

/// Turns window events into debounced scan requests. Main thread only.
class DialogEventMonitor {
 public:
  struct Dependencies {
    SerialQueue& mainQueue;
    AccessibilityObservers& observers;
    Applications& applications;
    WindowList& windowList;
    std::function<Seconds()> visibleOwnerPollInterval;  ///< asked when polling starts
  };
  /// The nine notifications observed per application, in the order of registration.
  [[nodiscard]] static const std::vector<std::string>& observedNotifications();

  DialogEventMonitor(Dependencies dependencies, Seconds debounceInterval,
                     std::function<void(const std::string& reason)> onChange);
  ~DialogEventMonitor();

  /// Observes the workspace and the applications, polls the visible windows and requests a first scan with the reason
  /// "prompt-monitor-started". Idempotent until stop().
  void start();
  void stop();
  void refreshApplications();
  /// Debounced: one onChange per burst, with the reason of its last event, at least 50 ms after it.
  void requestScan(const std::string& reason);
  /// onChange 0.8 s and 2.0 s from now; replaces the follow-ups still pending.
  void requestFollowUpScans(const std::string& reason);

  [[nodiscard]] bool isStarted() const { return isStarted_; }

 private:
  void startWorkspaceObservation();
  void startVisibleOwnerPolling();
  void pollVisibleOwners();
  void handle(const WorkspaceEvent& event);
  void observe(const RunningApplication& application);
  void deliver(const std::string& reason);

  Dependencies dependencies_;
  VisibleWindowOwners owners_;
  Seconds debounceInterval_;
  std::function<void(const std::string&)> onChange_;
  std::map<std::int32_t, std::unique_ptr<Subscription>> observations_;
  std::unique_ptr<Subscription> workspaceSubscription_;
  ScheduledHandle debounceTask_;
  std::vector<ScheduledHandle> followUpTasks_;
  ScheduledHandle visibleOwnerPollTimer_;
  std::set<std::string> visibleWindowSignature_;
  bool isStarted_ = false;
  Lifetime lifetime_;
};

}  // namespace tallyfox
