// Labels are compared trimmed, with single spaces and in lower case; the five sets hold exactly their labels, with both
// apostrophe forms; the recommended button is the first recommended one by position.

#include "detection/DialogButtonSemantics.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>

#include "base/Json.hpp"

namespace tallyfox {
namespace {

using testing::UnorderedElementsAre;
using Semantics = DialogButtonSemantics;

DialogButton button(const std::string& label) {
  return {label, "AXButton", 0, 0, 10, 10};
}

std::optional<std::string> recommended(const std::vector<std::string>& labels) {
  std::vector<DialogButton> buttons;
  for (const std::string& label : labels)
    buttons.push_back(button(label));
  const auto found = Semantics::recommendedButton(buttons);
  return found ? std::optional(found->label) : std::nullopt;
}

TEST(DialogButtonSemantics, normalisesSpacesAndCaseButNoApostrophes) {
  EXPECT_EQ(Semantics::normalized("  Don’t   Allow\n"), "don’t allow");
  EXPECT_EQ(Semantics::normalized("Don't Allow"), "don't allow");
  EXPECT_EQ(Semantics::normalized("Always\u00A0Allow"), "always allow");
  EXPECT_EQ(Semantics::normalized("ÖFFNEN"), "öffnen");
  EXPECT_EQ(Semantics::normalized("OK…"), "ok…");
}

TEST(DialogButtonSemantics, takesBothApostrophesForASafeDismissal) {
  EXPECT_TRUE(Semantics::safeDismissalLabels().contains(Semantics::normalized("  Don’t   Allow\n")));
  EXPECT_TRUE(Semantics::safeDismissalLabels().contains(Semantics::normalized("Don't Allow")));
}

TEST(DialogButtonSemantics, knowsNoLabelWithAnEllipsis) {
  for (const char* label : {"OK…", "Allow…"}) {
    const std::string text = Semantics::normalized(label);
    for (const auto* set :
         {&Semantics::safeDismissalLabels(), &Semantics::cancelActionLabels(), &Semantics::confirmActionLabels(),
          &Semantics::promptButtonLabels(), &Semantics::recommendedLabels()}) {
      EXPECT_FALSE(set->contains(text)) << label;
    }
  }
}

TEST(DialogButtonSemantics, takesLaterForACancelActionButNoSafeDismissal) {
  for (const char* label : {"Later", "Skip"}) {
    EXPECT_TRUE(Semantics::cancelActionLabels().contains(Semantics::normalized(label)));
    EXPECT_FALSE(Semantics::safeDismissalLabels().contains(Semantics::normalized(label)));
  }
}

// Phones tell by the same rule which buttons they may offer.
TEST(DialogButtonSemantics, takesForADenyWhatTheRelaysProtocolSays) {
  std::ifstream file(TALLYFOX_SOURCE_DIR "/docs/relay-protocol-vectors.json");
  const Json vectors = Json::parse(std::string(std::istreambuf_iterator<char>(file), {}));
  const Json& denies = vectors.at("denies");
  ASSERT_FALSE(denies.empty());
  for (const Json& each : denies) {
    const std::string label = each.at("label");
    EXPECT_EQ(Semantics::cancelActionLabels().contains(Semantics::normalized(label)), each.at("isDeny").get<bool>())
        << label;
  }
}

TEST(DialogButtonSemantics, takesQuitAndDontSaveForPromptLabelsOnly) {
  for (const char* label : {"Quit", "Don’t Save", "Don't Save"}) {
    const std::string text = Semantics::normalized(label);
    EXPECT_TRUE(Semantics::promptButtonLabels().contains(text)) << label;
    EXPECT_FALSE(Semantics::confirmActionLabels().contains(text)) << label;
    EXPECT_FALSE(Semantics::cancelActionLabels().contains(text)) << label;
  }
}

TEST(DialogButtonSemantics, matchesNothingWithAnEmptyLabel) {
  EXPECT_EQ(Semantics::normalized(""), "");
  EXPECT_EQ(Semantics::normalized(" \t\n"), "");
  EXPECT_FALSE(Semantics::promptButtonLabels().contains(""));
  EXPECT_EQ(recommended({""}), std::nullopt);
}

TEST(DialogButtonSemantics, holdsExactlyItsLabels) {
  EXPECT_THAT(Semantics::safeDismissalLabels(),
              UnorderedElementsAre("cancel", "deny", "don’t allow", "don't allow", "not now", "no"));
  EXPECT_THAT(Semantics::cancelActionLabels(),
              UnorderedElementsAre("cancel", "deny", "don’t allow", "don't allow", "not now", "no", "later", "skip"));
  EXPECT_THAT(Semantics::confirmActionLabels(),
              UnorderedElementsAre("ok", "allow", "always allow", "continue", "yes", "empty bin", "empty trash",
                                   "delete", "erase", "replace", "discard", "save", "install", "install and relaunch",
                                   "relaunch", "restart"));
  EXPECT_THAT(
      Semantics::recommendedLabels(),
      UnorderedElementsAre("allow", "always allow", "ok", "open system settings", "open settings", "continue", "yes"));
  EXPECT_EQ(Semantics::promptButtonLabels().size(), 32U);
  for (const auto* part : {&Semantics::cancelActionLabels(), &Semantics::confirmActionLabels()}) {
    for (const std::string& label : *part)
      EXPECT_TRUE(Semantics::promptButtonLabels().contains(label)) << label;
  }
  for (const char* label : {"open system settings", "open settings", "quit", "don't save", "don’t save",
                            "install on quit", "don't install", "don’t install"}) {
    EXPECT_TRUE(Semantics::promptButtonLabels().contains(label)) << label;
  }
}

TEST(DialogButtonSemantics, recommendsTheFirstRecommendedButtonByPosition) {
  EXPECT_EQ(recommended({"Deny", "OK", "Allow"}), "OK");
  EXPECT_EQ(recommended({"Deny", "Allow", "OK"}), "Allow");
  EXPECT_EQ(recommended({" ALWAYS  Allow "}), " ALWAYS  Allow ");
  EXPECT_EQ(recommended({"Deny", "Delete"}), std::nullopt);
  EXPECT_EQ(recommended({}), std::nullopt);
}

}  // namespace
}  // namespace tallyfox
