#include "system/LoginItemManager.hpp"

namespace tallyfox {
namespace {

constexpr const char* settingsAddress = "x-apple.systempreferences:com.apple.LoginItems-Settings.extension";

}  // namespace

LoginItemStatus LoginItemManager::status() {
  if (!bundle_.isApplicationBundle()) {
    return login_item::Unavailable{"Run the built app bundle to enable launch at login."};
  }
  switch (service_.status()) {
    case LoginItemServiceStatus::notRegistered:
      return login_item::Disabled{};
    case LoginItemServiceStatus::enabled:
      return login_item::Enabled{};
    case LoginItemServiceStatus::requiresApproval:
      return login_item::RequiresApproval{};
    case LoginItemServiceStatus::notFound:
      return login_item::Unavailable{"macOS could not find this app bundle as a login item."};
    case LoginItemServiceStatus::unknown:
      break;
  }
  return login_item::Unavailable{"macOS returned an unknown Login Items status."};
}

LoginItemStatus LoginItemManager::registerItem() {
  if (!bundle_.isApplicationBundle()) return status();
  if (const auto registered = service_.registerItem(); !registered) {
    return login_item::Unavailable{"Unable to register Tallyfox as a login item: " + registered.error()};
  }
  return status();
}

void LoginItemManager::openSettings() {
  settings_.open(settingsAddress);
}

}  // namespace tallyfox
