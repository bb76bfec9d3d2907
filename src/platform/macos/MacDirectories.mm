#include "platform/macos/MacDirectories.hpp"

#import <Foundation/Foundation.h>

#include "platform/macos/FoundationText.hpp"

namespace tallyfox::mac_os {

std::string temporaryDirectory() {
  @autoreleasepool {
    std::string path = utf8Text(NSTemporaryDirectory());
    while (path.size() > 1 && path.ends_with('/'))
      path.pop_back();
    return path;
  }
}

}  // namespace tallyfox::mac_os
