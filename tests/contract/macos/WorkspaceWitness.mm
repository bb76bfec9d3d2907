#include "contract/macos/WorkspaceWitness.hpp"

#import <AppKit/AppKit.h>
#import <ApplicationServices/ApplicationServices.h>

#include "contract/macos/MainThread.hpp"
#include "platform/macos/CFRef.hpp"

namespace tallyfox::contract {

struct WorkspaceWitness::Impl {
  NSMutableArray<id<NSObject>>* tokens = [NSMutableArray array];
};

WorkspaceWitness::WorkspaceWitness() : impl_(std::make_unique<Impl>()) {
  const auto listen = [this](NSNotificationName name, WorkspaceEventKind kind) {
    const Recorder<WorkspaceEvent> heard = heard_;
    const auto note = ^(NSNotification* notification) {
      NSRunningApplication* const application = notification.userInfo[NSWorkspaceApplicationKey];
      heard.add({kind, application.processIdentifier});
    };
    NSNotificationCenter* const center = NSWorkspace.sharedWorkspace.notificationCenter;
    [impl_->tokens addObject:[center addObserverForName:name object:nil queue:nil usingBlock:note]];
  };
  onMainThread([&] {
    @autoreleasepool {
      listen(NSWorkspaceDidLaunchApplicationNotification, WorkspaceEventKind::launched);
      listen(NSWorkspaceDidTerminateApplicationNotification, WorkspaceEventKind::terminated);
      listen(NSWorkspaceDidActivateApplicationNotification, WorkspaceEventKind::activated);
      listen(NSWorkspaceActiveSpaceDidChangeNotification, WorkspaceEventKind::activeSpaceChanged);
      frontmostAtFirst_ = NSWorkspace.sharedWorkspace.frontmostApplication.processIdentifier;
    }
  });
}

WorkspaceWitness::~WorkspaceWitness() {
  onMainThread([this] {
    for (id<NSObject> token in impl_->tokens)
      [NSWorkspace.sharedWorkspace.notificationCenter removeObserver:token];
  });
}

bool WorkspaceWitness::isAtRest() const {
  std::int32_t lastActivated = frontmostAtFirst_;
  for (const WorkspaceEvent& event : heard_.all())
    if (event.kind == WorkspaceEventKind::activated) lastActivated = event.processIdentifier;
  const std::int32_t front = frontmost();
  return front == 0 || front == lastActivated;
}

std::int32_t WorkspaceWitness::frontmost() {
  std::int32_t pid = 0;
  onMainThread([&pid] {
    @autoreleasepool {
      pid = NSWorkspace.sharedWorkspace.frontmostApplication.processIdentifier;
    }
  });
  return pid > 0 ? pid : 0;
}

void WorkspaceWitness::bringToFront(std::int32_t pid) {
  @autoreleasepool {
    NSRunningApplication* const application = [NSRunningApplication runningApplicationWithProcessIdentifier:pid];
    [application activateWithOptions:NSApplicationActivateAllWindows];
    // Newer systems let a program in the background do so by this alone, if at all.
    const auto element = mac_os::CFRef<::AXUIElementRef>::adopt(::AXUIElementCreateApplication(pid));
    ::AXUIElementSetAttributeValue(element.get(), CFSTR("AXFrontmost"), kCFBooleanTrue);
  }
}

}  // namespace tallyfox::contract
