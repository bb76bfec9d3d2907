// The owners of system prompts are known by parts of their names; prompts about secrets and settings need the owner's
// own hand, secrets first.

#include "detection/PromptRules.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tallyfox {
namespace {

constexpr const char* secretReason =
    "This dialog asks for a password or keychain access. Use TeamViewer, AnyDesk, Screen Sharing, or physical access "
    "so Tallyfox never handles secrets. You can still deny it remotely.";
constexpr const char* settingsReason =
    "Approving this requires changing macOS settings. Use TeamViewer, AnyDesk, Screen Sharing, or physical access to "
    "approve it. You can still deny it remotely.";

std::vector<DialogButton> buttons(const std::vector<std::string>& labels) {
  std::vector<DialogButton> made;
  for (const std::string& label : labels)
    made.push_back({label, "AXButton", 0, 0, 10, 10});
  return made;
}

TEST(PromptRules, knowPromptServicesByIdentifierOrName) {
  EXPECT_TRUE(isKnownPromptService("Anything", "com.apple.SecurityAgent"));
  EXPECT_TRUE(isKnownPromptService("Anything", "com.apple.CoreServicesUIAgent"));
  EXPECT_TRUE(isKnownPromptService("Anything", "com.apple.loginwindow"));
  EXPECT_TRUE(isKnownPromptService("SecurityAgent", std::nullopt));
  EXPECT_TRUE(isKnownPromptService("Core Services UI Agent", std::nullopt));
  EXPECT_TRUE(isKnownPromptService("CoreServicesUIAgent Helper", "x.y"));
  EXPECT_TRUE(isKnownPromptService("LoginWindow", std::nullopt));
  EXPECT_FALSE(isKnownPromptService("Notes", "org.notes"));
  EXPECT_FALSE(isKnownPromptService("Notes", "core services ui agent"));
  EXPECT_FALSE(isKnownPromptService("", std::nullopt));
}

TEST(PromptRules, needDirectAccessForSecrets) {
  for (const char* line : {"Enter your PASSWORD", "the Keychain", "Access  key needed", "login keychain"}) {
    EXPECT_EQ(directAccessRequiredReason("", {line}, buttons({"OK"})), secretReason) << line;
  }
  EXPECT_EQ(directAccessRequiredReason("Password", {}, {}), secretReason);
}

TEST(PromptRules, needDirectAccessForSettings) {
  for (const char* label : {"Open System Settings", "Open  Settings"}) {
    EXPECT_EQ(directAccessRequiredReason("", {"Hello"}, buttons({"Deny", label})), settingsReason) << label;
  }
  for (const char* line :
       {"Go to System Settings.", "Privacy & Security", "privacy and security", "Accessibility Settings"}) {
    EXPECT_EQ(directAccessRequiredReason("", {line}, buttons({"OK"})), settingsReason) << line;
  }
}

TEST(PromptRules, nameSecretsBeforeSettings) {
  EXPECT_EQ(directAccessRequiredReason("", {"The keychain is kept in System Settings."}, buttons({"Open Settings"})),
            secretReason);
}

TEST(PromptRules, needNoDirectAccessOtherwise) {
  EXPECT_EQ(directAccessRequiredReason("Delete", {"Are you sure?"}, buttons({"Cancel", "Delete"})), std::nullopt);
  EXPECT_EQ(directAccessRequiredReason("", {}, buttons({"Open System Settings…"})), std::nullopt);
}

}  // namespace
}  // namespace tallyfox
