#include "system/PermissionManager.hpp"

namespace tallyfox {

void PermissionManager::openPrivacySettings(SettingsOpener& settings, const std::string& anchor) {
  settings.open("x-apple.systempreferences:com.apple.preference.security?" + anchor);
}

}  // namespace tallyfox
