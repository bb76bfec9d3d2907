#include "detection/DialogEventMonitor.hpp"

#include <algorithm>
#include <array>
#include <utility>

namespace tallyfox {

namespace {

/// Shorter debounces would let a burst of events through as several scans.
constexpr Seconds leastDebounce{0.05};
/// A dialog is often still being drawn when its first event arrives.
constexpr std::array<Seconds, 2> followUpDelays = {Seconds{0.8}, Seconds{2.0}};

const char* reasonOf(WorkspaceEventKind kind) {
  switch (kind) {
    case WorkspaceEventKind::launched:
      return "application-launched";
    case WorkspaceEventKind::terminated:
      return "application-terminated";
    case WorkspaceEventKind::activated:
      return "application-activated";
    case WorkspaceEventKind::hidden:
      return "application-hidden";
    case WorkspaceEventKind::unhidden:
      return "application-unhidden";
    case WorkspaceEventKind::activeSpaceChanged:
      return "active-space-changed";
  }
  std::unreachable();
}

}  // namespace

const std::vector<std::string>& DialogEventMonitor::observedNotifications() {
  static const std::vector<std::string> names = {
      "AXWindowCreated",        "AXSheetCreated",         "AXMainWindowChanged",
      "AXFocusedWindowChanged", "AXApplicationActivated", "AXTitleChanged",
      "AXWindowMiniaturized",   "AXWindowDeminiaturized", "AXUIElementDestroyed"};
  return names;
}

DialogEventMonitor::DialogEventMonitor(Dependencies dependencies, Seconds debounceInterval,
                                       std::function<void(const std::string& reason)> onChange)
    : dependencies_(std::move(dependencies)),
      owners_(dependencies_.applications, dependencies_.windowList),
      debounceInterval_(std::max(leastDebounce, debounceInterval)),
      onChange_(std::move(onChange)) {}

DialogEventMonitor::~DialogEventMonitor() = default;

void DialogEventMonitor::start() {
  if (isStarted_) return;
  isStarted_ = true;
  startWorkspaceObservation();
  refreshApplications();
  startVisibleOwnerPolling();
  requestScan("prompt-monitor-started");
}

void DialogEventMonitor::stop() {
  debounceTask_.reset();
  followUpTasks_.clear();
  visibleOwnerPollTimer_.reset();
  visibleWindowSignature_.clear();
  workspaceSubscription_.reset();
  observations_.clear();
  isStarted_ = false;
}

void DialogEventMonitor::refreshApplications() {
  if (!isStarted_) return;
  std::erase_if(observations_, [this](const auto& observation) {
    const auto application = dependencies_.applications.application(observation.first);
    return !application || application->isTerminated;
  });
  for (const RunningApplication& application : owners_.promptScanApplications())
    observe(application);
}

void DialogEventMonitor::observe(const RunningApplication& application) {
  const std::int32_t processIdentifier = application.processIdentifier;
  if (application.isTerminated || observations_.contains(processIdentifier)) return;
  if (processIdentifier == dependencies_.applications.ownProcessIdentifier()) return;
  auto subscription = dependencies_.observers.observe(processIdentifier, observedNotifications(),
                                                      lifetime_.guard([this](const std::string& notification) {
                                                        requestScan(notification);
                                                        requestFollowUpScans(notification + "-settled");
                                                      }));
  if (subscription) observations_.emplace(processIdentifier, *std::move(subscription));
}

void DialogEventMonitor::startWorkspaceObservation() {
  workspaceSubscription_ =
      dependencies_.applications.observe(lifetime_.guard([this](const WorkspaceEvent& event) { handle(event); }));
}

void DialogEventMonitor::handle(const WorkspaceEvent& event) {
  if (event.kind == WorkspaceEventKind::terminated) observations_.erase(event.processIdentifier);
  const std::string reason = reasonOf(event.kind);
  requestScan(reason);
  requestFollowUpScans(reason + "-settled");
}

void DialogEventMonitor::startVisibleOwnerPolling() {
  visibleOwnerPollTimer_ = dependencies_.mainQueue.every(dependencies_.visibleOwnerPollInterval(),
                                                         lifetime_.guard([this] { pollVisibleOwners(); }));
}

void DialogEventMonitor::pollVisibleOwners() {
  std::set<std::string> signature = owners_.visibleWindowSignatures();
  if (signature == visibleWindowSignature_) return;
  visibleWindowSignature_ = std::move(signature);
  requestScan("visible-window-owners-changed");
  requestFollowUpScans("visible-window-owners-settled");
}

void DialogEventMonitor::requestScan(const std::string& reason) {
  debounceTask_ =
      dependencies_.mainQueue.after(debounceInterval_, lifetime_.guard([this, reason] { deliver(reason); }));
}

void DialogEventMonitor::requestFollowUpScans(const std::string& reason) {
  followUpTasks_.clear();
  for (const Seconds delay : followUpDelays) {
    followUpTasks_.push_back(
        dependencies_.mainQueue.after(delay, lifetime_.guard([this, reason] { deliver(reason); })));
  }
}

void DialogEventMonitor::deliver(const std::string& reason) {
  // The callback may stop this monitor, request again or end it: nothing of the monitor is used after it began.
  const std::string delivered = reason;  // NOLINT(performance-unnecessary-copy-initialization)
  refreshApplications();
  const auto onChange = onChange_;
  onChange(delivered);
}

}  // namespace tallyfox
