#include "platform/macos/window/ApplicationDelegate.hpp"

#include <utility>

#include "platform/macos/window/CallOut.hpp"

using tallyfox::mac_os::callOut;

@implementation TFApplicationDelegate {
  tallyfox::mac_os::ApplicationEvents _events;
}

- (instancetype)initWithEvents:(tallyfox::mac_os::ApplicationEvents)events {
  self = [super init];
  if (self != nil) _events = std::move(events);
  return self;
}

- (void)applicationDidFinishLaunching:(NSNotification*)__unused notification {
  callOut(_events.onDidFinishLaunching);
}

- (BOOL)applicationShouldHandleReopen:(NSApplication*)__unused sender hasVisibleWindows:(BOOL)hasVisibleWindows {
  return callOut(_events.onReopen, static_cast<bool>(hasVisibleWindows));
}

- (void)applicationWillTerminate:(NSNotification*)__unused notification {
  callOut(_events.onWillTerminate);
}

/// The agent goes on without a window.
- (BOOL)applicationShouldTerminateAfterLastWindowClosed:(NSApplication*)__unused sender {
  return NO;
}

- (BOOL)applicationSupportsSecureRestorableState:(NSApplication*)__unused application {
  return YES;
}

@end
