#include "platform/linux/AccessibilitySwitch.hpp"

#include <utility>

namespace tallyfox::linux_os {
namespace {

constexpr const char* accessibilityAnchor = "?Privacy_Accessibility";

}  // namespace

AccessibilitySwitch::AccessibilitySwitch(std::string sessionBusAddress)
    : status_(std::make_shared<SessionStatus>(std::move(sessionBusAddress))) {}

void AccessibilitySwitch::open(const std::string& address) {
  if (!address.ends_with(accessibilityAnchor)) return;
  worker_.post([status = status_] { (void)status->enable(); });
}

}  // namespace tallyfox::linux_os
