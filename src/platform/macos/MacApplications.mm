#include "platform/macos/MacApplications.hpp"

#import <AppKit/AppKit.h>
#include <unistd.h>

#include <set>
#include <utility>

#include "platform/macos/FoundationText.hpp"
#include "platform/macos/QueuedCallback.hpp"

namespace tallyfox::mac_os {
namespace {

using EventCallback = QueuedCallback<WorkspaceEvent>;

std::optional<std::string> textIfAny(NSString* string) {
  if (string == nil) return std::nullopt;
  return utf8Text(string);
}

RunningApplication described(NSRunningApplication* application) {
  return {.processIdentifier = application.processIdentifier,
          .bundleIdentifier = textIfAny(application.bundleIdentifier),
          .localizedName = textIfAny(application.localizedName),
          .isTerminated = static_cast<bool>(application.terminated),
          .isRegular = application.activationPolicy == NSApplicationActivationPolicyRegular};
}

/// 0 when the notification names no process.
std::int32_t processOf(NSNotification* notification) {
  id application = notification.userInfo[NSWorkspaceApplicationKey];
  if (![application isKindOfClass:NSRunningApplication.class]) return 0;
  const pid_t process = ((NSRunningApplication*)application).processIdentifier;
  if (process > 0) return process;
  // An application that has ended may have lost its own.
  id number = notification.userInfo[@"NSApplicationProcessIdentifier"];
  return [number isKindOfClass:NSNumber.class] ? ((NSNumber*)number).intValue : 0;
}

/// The workspace tells on the main thread.
class WorkspaceObservation : public Subscription {
 public:
  explicit WorkspaceObservation(std::shared_ptr<const EventCallback> callback) : callback_(std::move(callback)) {
    tokens_ = [NSMutableArray array];
    observe(NSWorkspaceDidLaunchApplicationNotification, WorkspaceEventKind::launched);
    observe(NSWorkspaceDidTerminateApplicationNotification, WorkspaceEventKind::terminated);
    observe(NSWorkspaceDidActivateApplicationNotification, WorkspaceEventKind::activated);
    observe(NSWorkspaceDidHideApplicationNotification, WorkspaceEventKind::hidden);
    observe(NSWorkspaceDidUnhideApplicationNotification, WorkspaceEventKind::unhidden);
    observe(NSWorkspaceActiveSpaceDidChangeNotification, WorkspaceEventKind::activeSpaceChanged);
  }
  ~WorkspaceObservation() override {
    for (id<NSObject> token in tokens_)
      [NSWorkspace.sharedWorkspace.notificationCenter removeObserver:token];
  }
  WorkspaceObservation(const WorkspaceObservation&) = delete;
  WorkspaceObservation& operator=(const WorkspaceObservation&) = delete;

 private:
  void observe(NSNotificationName name, WorkspaceEventKind kind) {
    const std::weak_ptr<const EventCallback> waiting = callback_;
    const auto tell = ^(NSNotification* notification) {
      const auto callback = waiting.lock();
      const bool isOfSpace = kind == WorkspaceEventKind::activeSpaceChanged;
      const std::int32_t process = isOfSpace ? 0 : processOf(notification);
      if (callback && (isOfSpace || process > 0)) callback->tell({.kind = kind, .processIdentifier = process});
    };
    NSNotificationCenter* center = NSWorkspace.sharedWorkspace.notificationCenter;
    [tokens_ addObject:[center addObserverForName:name object:nil queue:nil usingBlock:tell]];
  }

  std::shared_ptr<const EventCallback> callback_;
  NSMutableArray<id<NSObject>>* tokens_;
};

}  // namespace

std::vector<RunningApplication> MacApplications::runningApplications() {
  @autoreleasepool {
    std::vector<RunningApplication> found;
    std::set<std::int32_t> seen;
    for (NSRunningApplication* application in NSWorkspace.sharedWorkspace.runningApplications) {
      RunningApplication running = described(application);
      // There are applications without a process.
      if (running.processIdentifier > 0 && seen.insert(running.processIdentifier).second)
        found.push_back(std::move(running));
    }
    return found;
  }
}

std::optional<RunningApplication> MacApplications::application(std::int32_t processIdentifier) {
  if (processIdentifier <= 0) return std::nullopt;
  @autoreleasepool {
    NSRunningApplication* found = [NSRunningApplication runningApplicationWithProcessIdentifier:processIdentifier];
    if (found == nil) return std::nullopt;
    RunningApplication running = described(found);
    running.processIdentifier = processIdentifier;
    return running;
  }
}

std::vector<RunningApplication> MacApplications::applicationsWithBundleIdentifier(const std::string& identifier) {
  // Launch Services would take another case for the same.
  std::vector<RunningApplication> found = runningApplications();
  std::erase_if(found, [&](const RunningApplication& running) {
    return identifier.empty() || running.bundleIdentifier != identifier;
  });
  return found;
}

void MacApplications::terminate(std::int32_t processIdentifier) {
  if (processIdentifier <= 0 || processIdentifier == getpid()) return;
  @autoreleasepool {
    (void)[[NSRunningApplication runningApplicationWithProcessIdentifier:processIdentifier] terminate];
  }
}

std::int32_t MacApplications::ownProcessIdentifier() {
  return getpid();
}

std::unique_ptr<Subscription> MacApplications::observe(std::function<void(const WorkspaceEvent&)> onEvent) {
  @autoreleasepool {
    return std::make_unique<WorkspaceObservation>(
        std::make_shared<const EventCallback>(mainQueue_, std::move(onEvent)));
  }
}

}  // namespace tallyfox::mac_os
