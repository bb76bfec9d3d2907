#pragma once

#include <string>

#include "platform/SettingsOpener.hpp"

namespace tallyfox {

/// Takes the owner to where the system's permissions are given. Main thread.
class PermissionManager {
 public:
  static constexpr const char* accessibilityAnchor = "Privacy_Accessibility";

  /// `anchor` names the pane and is passed on as it is.
  static void openPrivacySettings(SettingsOpener& settings, const std::string& anchor);
};

}  // namespace tallyfox
