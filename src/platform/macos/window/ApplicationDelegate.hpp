#pragma once

// Objective-C++.

#import <AppKit/AppKit.h>

#include <functional>

namespace tallyfox::mac_os {

/// What the system tells the application. Main thread.
struct ApplicationEvents {
  std::function<void()> onDidFinishLaunching;
  std::function<bool(bool hasVisibleWindows)> onReopen;
  std::function<void()> onWillTerminate;
};

}  // namespace tallyfox::mac_os

/// Forwards what the system tells the application, and decides nothing. The application does not keep it.
@interface TFApplicationDelegate : NSObject <NSApplicationDelegate>
- (instancetype)initWithEvents:(tallyfox::mac_os::ApplicationEvents)events;
@end
