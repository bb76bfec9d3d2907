#include "platform/macos/WorkspaceSettingsOpener.hpp"

#import <AppKit/AppKit.h>

#include "platform/macos/FoundationText.hpp"

namespace tallyfox::mac_os {

void WorkspaceSettingsOpener::open(const std::string& address) {
  @autoreleasepool {
    NSURL* const url = [NSURL URLWithString:foundationText(address)];
    if (url != nil) [NSWorkspace.sharedWorkspace openURL:url];
  }
}

}  // namespace tallyfox::mac_os
