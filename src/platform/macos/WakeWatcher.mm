#include "platform/macos/WakeWatcher.hpp"

#import <AppKit/AppKit.h>

#include <utility>

namespace tallyfox::mac_os {

struct WakeWatcher::Impl {
  id<NSObject> token;
};

WakeWatcher::WakeWatcher(std::function<void()> onWake) : impl_(std::make_unique<Impl>()) {
  const std::function<void()> tell = std::move(onWake);
  // Without a queue the block runs where the workspace posts: on the main thread.
  impl_->token =
      [NSWorkspace.sharedWorkspace.notificationCenter addObserverForName:NSWorkspaceDidWakeNotification
                                                                  object:nil
                                                                   queue:nil
                                                              usingBlock:^(NSNotification* __unused notification) {
                                                                tell();
                                                              }];
}

WakeWatcher::~WakeWatcher() {
  [NSWorkspace.sharedWorkspace.notificationCenter removeObserver:impl_->token];
}

}  // namespace tallyfox::mac_os
