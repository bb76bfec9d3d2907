// Runs the contracts over the Mac's backend: the main thread runs the application's event loop, as in the agent, and
// the tests have a thread of their own, as those of other systems do.

#import <AppKit/AppKit.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <signal.h>

#include <cstdio>
#include <thread>

#include "contract/macos/Permission.hpp"

namespace {

class PermissionReport : public testing::Environment {
 public:
  void TearDown() override { std::fputs(tallyfox::contract::permissionReport().c_str(), stdout); }
};

/// The loop looks at whether it was stopped when an event comes.
void stopEventLoop() {
  [NSApp stop:nil];
  NSEvent* const last = [NSEvent otherEventWithType:NSEventTypeApplicationDefined
                                           location:NSZeroPoint
                                      modifierFlags:0
                                          timestamp:0
                                       windowNumber:0
                                            context:nil
                                            subtype:0
                                              data1:0
                                              data2:0];
  [NSApp postEvent:last atStart:YES];
}

}  // namespace

int main(int argc, char** argv) {
  testing::InitGoogleMock(&argc, argv);
  testing::AddGlobalTestEnvironment(new PermissionReport);
  // A program on the stage may be gone before a command reaches it.
  ::signal(SIGPIPE, SIG_IGN);
  if (GTEST_FLAG_GET(list_tests)) return RUN_ALL_TESTS();
  int result = 1;
  @autoreleasepool {
    NSApplication* const application = NSApplication.sharedApplication;
    [application setActivationPolicy:NSApplicationActivationPolicyAccessory];
    std::thread tests([&result] {
      @autoreleasepool {
        result = RUN_ALL_TESTS();
      }
      dispatch_async(dispatch_get_main_queue(), ^{
        stopEventLoop();
      });
    });
    [application run];
    tests.join();
  }
  return result;
}
