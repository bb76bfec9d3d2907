// What a record says of a window: the owner's identity, what is recommended, and why it needs the owner's own hand.

#include "detection/ApprovalBuilder.hpp"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "detection/DialogIdentity.hpp"

namespace tallyfox {
namespace {

constexpr Date moment{};
const AXUIElement element(nullptr);  // a record does not look at it

WindowSource notes() {
  return {.window = element, .appName = "Notes", .bundleIdentifier = "org.notes", .processIdentifier = 7};
}

PromptContent content(std::vector<std::string> lines, const std::vector<std::string>& labels) {
  PromptContent made{.element = element,
                     .role = "AXWindow",
                     .subrole = "AXDialog",
                     .title = "Access",
                     .isModal = false,
                     .frame = DialogFrame{100, 200, 300, 150},
                     .buttons = {},
                     .messageLines = std::move(lines),
                     .hasNavigationChrome = false};
  for (const std::string& label : labels)
    made.buttons.push_back({label, "AXButton", 0, 0, 80, 24});
  return made;
}

TEST(ApprovalBuilder, derivesBothIdentitiesFromTheBundleIdentifier) {
  const PromptContent prompt = content({"Are you sure?"}, {"Cancel", "OK"});
  const auto approval = ApprovalBuilder::approval(notes(), prompt, moment);
  ASSERT_TRUE(approval.has_value());
  EXPECT_EQ(approval->id, DialogIdentity::digestID("org.notes|Access|100,200,300,150|Are you sure?|Cancel,OK"));
  EXPECT_EQ(approval->suppressionID,
            DialogIdentity::suppressionID("org.notes", "Access", {"Are you sure?"}, {"Cancel", "OK"}));
}

TEST(ApprovalBuilder, derivesBothIdentitiesFromTheNameWithoutBundleIdentifier) {
  WindowSource source = notes();
  source.bundleIdentifier.reset();
  const auto approval = ApprovalBuilder::approval(source, content({"Are you sure?"}, {"Cancel", "OK"}), moment);
  ASSERT_TRUE(approval.has_value());
  EXPECT_EQ(approval->id, DialogIdentity::digestID("Notes|Access|100,200,300,150|Are you sure?|Cancel,OK"));
  EXPECT_EQ(approval->suppressionID,
            DialogIdentity::suppressionID("Notes", "Access", {"Are you sure?"}, {"Cancel", "OK"}));
}

TEST(ApprovalBuilder, recommendsAButtonAndNeedsNoDirectAccess) {
  const auto approval = ApprovalBuilder::approval(notes(), content({"Are you sure?"}, {"Deny", "OK", "Allow"}), moment);
  ASSERT_TRUE(approval.has_value());
  EXPECT_EQ(approval->recommendedButtonLabel, "OK");
  EXPECT_FALSE(approval->requiresDirectAccess);
  EXPECT_EQ(approval->directAccessReason, std::nullopt);
  EXPECT_FALSE(approval->isFallbackDetection);
}

TEST(ApprovalBuilder, needsDirectAccessWhereThereIsAReasonForIt) {
  const auto approval = ApprovalBuilder::approval(notes(), content({"Enter your password"}, {"Cancel"}), moment);
  ASSERT_TRUE(approval.has_value());
  EXPECT_TRUE(approval->requiresDirectAccess);
  EXPECT_TRUE(approval->directAccessReason->starts_with("This dialog asks for a password or keychain access."));
  EXPECT_EQ(approval->recommendedButtonLabel, std::nullopt);
}

TEST(ApprovalBuilder, buildsNothingOfARejectedWindowOrOneWithoutFrame) {
  EXPECT_EQ(ApprovalBuilder::approval(notes(), content({"Hello"}, {"Help"}), moment), std::nullopt);
  PromptContent prompt = content({"Are you sure?"}, {"Cancel", "OK"});
  prompt.frame.reset();
  EXPECT_EQ(ApprovalBuilder::approval(notes(), prompt, moment), std::nullopt);
}

TEST(ApprovalBuilder, knowsAPromptServiceByItsOwner) {
  WindowSource source = notes();
  EXPECT_FALSE(ApprovalBuilder::evidence(source, content({}, {})).isKnownPromptService);
  source.bundleIdentifier = "com.apple.SecurityAgent";
  EXPECT_TRUE(ApprovalBuilder::evidence(source, content({}, {})).isKnownPromptService);
}

}  // namespace
}  // namespace tallyfox
