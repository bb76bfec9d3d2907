// The way to the privacy settings: the anchor follows the address as it is.

#include "system/PermissionManager.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "platform/memory/MemoryServices.hpp"

namespace tallyfox {
namespace {

using testing::ElementsAre;

TEST(PermissionManager, appendsTheAnchorRightAfterTheQuestionMark) {
  memory::MemorySettingsOpener settings;
  PermissionManager::openPrivacySettings(settings, PermissionManager::accessibilityAnchor);
  PermissionManager::openPrivacySettings(settings, "Privacy_A b/ü&");
  PermissionManager::openPrivacySettings(settings, "");
  EXPECT_THAT(settings.opened(),
              ElementsAre("x-apple.systempreferences:com.apple.preference.security?Privacy_Accessibility",
                          "x-apple.systempreferences:com.apple.preference.security?Privacy_A b/ü&",
                          "x-apple.systempreferences:com.apple.preference.security?"));
}

}  // namespace
}  // namespace tallyfox
