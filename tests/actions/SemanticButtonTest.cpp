// Cancelling labels stand for the cancel button, AXCancel and Escape; confirming ones for the default button, AXConfirm
// and Return; all others for nothing.

#include "actions/SemanticButton.hpp"

#include <gtest/gtest.h>

#include "detection/DialogButtonSemantics.hpp"

namespace tallyfox {
namespace {

const SemanticButton cancelling{AXAttribute::cancelButton, "AXCancel", KeyCode::escape};
const SemanticButton confirming{AXAttribute::defaultButton, "AXConfirm", KeyCode::returnKey};

TEST(SemanticButton, cancelsForEveryCancelLabel) {
  for (const auto& label : DialogButtonSemantics::cancelActionLabels())
    EXPECT_EQ(semanticButton(label), cancelling) << label;
  EXPECT_EQ(semanticButton(" Don’t  ALLOW "), cancelling);
}

TEST(SemanticButton, confirmsForEveryConfirmLabel) {
  for (const auto& label : DialogButtonSemantics::confirmActionLabels())
    EXPECT_EQ(semanticButton(label), confirming) << label;
}

TEST(SemanticButton, meansNothingForOtherLabels) {
  for (const char* label : {"", "Quit", "Open System Settings", "OK…", "Don’t Save"}) {
    EXPECT_EQ(semanticButton(label), std::nullopt) << label;
  }
}

}  // namespace
}  // namespace tallyfox
