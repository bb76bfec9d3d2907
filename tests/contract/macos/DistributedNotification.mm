#include "contract/macos/DistributedNotification.hpp"

#import <Foundation/Foundation.h>

namespace tallyfox::contract {

void postDistributedNotification(const std::string& name) {
  @autoreleasepool {
    [NSDistributedNotificationCenter.defaultCenter postNotificationName:@(name.c_str())
                                                                 object:nil
                                                               userInfo:nil
                                                     deliverImmediately:YES];
  }
}

}  // namespace tallyfox::contract
