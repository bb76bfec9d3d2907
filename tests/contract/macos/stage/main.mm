// The stage: see README.md.

#import "contract/macos/stage/StageCommands.hpp"

#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <iostream>
#include <string>
#include <thread>

namespace {

void say(NSString* line) {
  std::fprintf(stdout, "%s\n", line.UTF8String);
  std::fflush(stdout);
}

/// Commands run in the main run loop, also while a dialog has it. One comes only when the one before is answered.
void readCommands(StageCommands* commands) {
  for (std::string line; std::getline(std::cin, line);) {
    @autoreleasepool {
      if (line == "wake") {
        [commands wake];
        say(@"ok");
        continue;
      }
      NSString* const command = @(line.c_str());
      CFRunLoopPerformBlock(CFRunLoopGetMain(), kCFRunLoopCommonModes, ^{
        // The loop empties its own with events only, and a window that is closed must go at once.
        @autoreleasepool {
          [commands perform:command];
        }
      });
      CFRunLoopWakeUp(CFRunLoopGetMain());
    }
  }
  // Nobody is there any more; the main thread may be hanging.
  ::_exit(0);
}

}  // namespace

@interface StageDelegate : NSObject <NSApplicationDelegate>
@end

@implementation StageDelegate {
  StageCommands* _commands;
}

- (void)applicationDidFinishLaunching:(NSNotification*)__unused notification {
  StageCommands* const commands = [[StageCommands alloc] initWithAnswer:^(NSString* line) {
    say(line);
  }];
  _commands = commands;
  std::thread([commands] { readCommands(commands); }).detach();
  say(@"ready");
}

@end

int main(int argc, char** argv) {
  @autoreleasepool {
    NSApplication* const application = NSApplication.sharedApplication;
    const bool isBackground = argc > 1 && std::strcmp(argv[1], "--background") == 0;
    [application setActivationPolicy:isBackground ? NSApplicationActivationPolicyAccessory
                                                  : NSApplicationActivationPolicyRegular];
    StageDelegate* const delegate = [[StageDelegate alloc] init];
    application.delegate = delegate;
    [application run];
  }
  return 0;
}
