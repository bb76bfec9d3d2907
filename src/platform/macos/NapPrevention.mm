#include "platform/macos/NapPrevention.hpp"

#import <Foundation/Foundation.h>

namespace tallyfox::mac_os {

struct NapPrevention::Impl {
  id<NSObject> activity =
      [NSProcessInfo.processInfo beginActivityWithOptions:NSActivityUserInitiatedAllowingIdleSystemSleep
                                                   reason:@"Dialogs are answered while nobody is at the screen"];
};

NapPrevention::NapPrevention() : impl_(std::make_unique<Impl>()) {}

NapPrevention::~NapPrevention() {
  [NSProcessInfo.processInfo endActivity:impl_->activity];
}

}  // namespace tallyfox::mac_os
