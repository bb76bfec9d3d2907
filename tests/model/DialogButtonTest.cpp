// A button's JSON form, its frame, and its equality and hash.

#include "model/DialogButton.hpp"

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

namespace tallyfox {
namespace {

const DialogButton sample{"Don’t Allow", "AXButton", 10, 20.5, 80, 24};

TEST(DialogButton, isWrittenInTheOrderOfItsFields) {
  EXPECT_EQ(jsonText(sample.json()),
            R"({"label":"Don’t Allow","role":"AXButton","x":10.0,"y":20.5,"width":80.0,"height":24.0})");
  EXPECT_EQ(DialogButton::decoded(sample.json()), sample);
}

TEST(DialogButton, requiresAllItsKeys) {
  const Json complete = sample.json();
  ASSERT_EQ(complete.size(), 6U);
  for (const auto& item : complete.items()) {
    Json lacking = complete;
    lacking.erase(item.key());
    EXPECT_FALSE(DialogButton::decoded(lacking).has_value()) << item.key();
    Json mistyped = complete;
    mistyped[item.key()] = true;
    EXPECT_FALSE(DialogButton::decoded(mistyped).has_value()) << item.key();
  }
}

TEST(DialogButton, hasAFrame) {
  EXPECT_EQ(sample.frame(), (DialogFrame{10, 20.5, 80, 24}));
}

TEST(DialogButton, treatsBothZerosAlike) {
  const DialogButton positive{"OK", "AXButton", 0.0, 0.0, 80, 24};
  const DialogButton negative{"OK", "AXButton", -0.0, -0.0, 80, 24};
  EXPECT_EQ(positive, negative);
  EXPECT_EQ(std::hash<DialogButton>()(positive), std::hash<DialogButton>()(negative));
}

TEST(DialogButton, differsInEveryField) {
  const std::vector<void (*)(DialogButton&)> changes = {
      [](DialogButton& button) { button.label = "Allow"; }, [](DialogButton& button) { button.role = "AXCheckBox"; },
      [](DialogButton& button) { button.x += 1; },          [](DialogButton& button) { button.y += 1; },
      [](DialogButton& button) { button.width += 1; },      [](DialogButton& button) { button.height += 1; },
  };
  for (const auto& change : changes) {
    DialogButton other = sample;
    change(other);
    EXPECT_NE(other, sample);
    EXPECT_NE(std::hash<DialogButton>()(other), std::hash<DialogButton>()(sample));
  }
}

}  // namespace
}  // namespace tallyfox
