#include "platform/macos/MacLoginItemService.hpp"

#import <ServiceManagement/ServiceManagement.h>

#include "platform/macos/FoundationText.hpp"

namespace tallyfox::mac_os {

LoginItemServiceStatus MacLoginItemService::status() {
  @autoreleasepool {
    switch (SMAppService.mainAppService.status) {
      case SMAppServiceStatusNotRegistered:
        return LoginItemServiceStatus::notRegistered;
      case SMAppServiceStatusEnabled:
        return LoginItemServiceStatus::enabled;
      case SMAppServiceStatusRequiresApproval:
        return LoginItemServiceStatus::requiresApproval;
      case SMAppServiceStatusNotFound:
        return LoginItemServiceStatus::notFound;
    }
    return LoginItemServiceStatus::unknown;
  }
}

std::expected<void, std::string> MacLoginItemService::registerItem() {
  @autoreleasepool {
    NSError* error = nil;
    if ([SMAppService.mainAppService registerAndReturnError:&error]) return {};
    // The system calls it an error that the application is registered already, or waits for its owner's approval.
    const LoginItemServiceStatus present = status();
    if (present == LoginItemServiceStatus::enabled || present == LoginItemServiceStatus::requiresApproval) return {};
    return std::unexpected(errorText(error));
  }
}

}  // namespace tallyfox::mac_os
