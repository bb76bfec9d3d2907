// Windows are accepted or rejected by the first rule that fits, with the exact reason; the score is the sum of its
// weights and comes with every verdict.

#include "detection/DialogPromptClassifier.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tallyfox {
namespace {

using testing::AllOf;
using testing::Field;
using Verdict = DialogPromptClassification;

constexpr const char* phraseLine = "App would like to access files in your Documents folder";

DialogPromptEvidence window(std::vector<std::string> lines, std::vector<std::string> buttons) {
  DialogPromptEvidence evidence;
  evidence.role = "AXWindow";
  evidence.messageLines = std::move(lines);
  evidence.buttonLabels = std::move(buttons);
  return evidence;
}

DialogPromptEvidence modal(std::vector<std::string> lines, std::vector<std::string> buttons) {
  DialogPromptEvidence evidence = window(std::move(lines), std::move(buttons));
  evidence.isModal = true;
  return evidence;
}

std::vector<std::string> labels(std::size_t count) {
  std::vector<std::string> made;
  for (std::size_t i = 0; i < count; ++i)
    made.push_back("Choice " + std::to_string(i));
  return made;
}

Verdict classify(const DialogPromptEvidence& evidence) {
  return DialogPromptClassifier::classify(evidence);
}
auto rejectedWith(const std::string& reason) {
  return AllOf(Field(&Verdict::accepted, false), Field(&Verdict::rejectionReason, reason));
}
auto isAccepted() {
  return AllOf(Field(&Verdict::accepted, true), Field(&Verdict::rejectionReason, std::nullopt));
}

TEST(DialogPromptClassifier, rejectsAWindowWithoutButtonsButScoresIt) {
  const Verdict verdict = classify(modal({"Are you sure? This cannot be undone: your password is erased."}, {}));
  EXPECT_THAT(verdict, rejectedWith("No actionable buttons exposed through Accessibility."));
  EXPECT_EQ(verdict.promptScore, 4 + 2 + 6);
}

TEST(DialogPromptClassifier, rejectsThirteenButtons) {
  EXPECT_THAT(classify(modal({phraseLine}, labels(13))),
              rejectedWith("Too many buttons; likely a normal application window."));
}

TEST(DialogPromptClassifier, neverAcceptsSevenToTwelveButtons) {
  for (std::size_t count = 7; count <= 12; ++count) {
    auto buttons = labels(count - 2);
    buttons.insert(buttons.end(), {"OK", "Cancel"});
    const std::string reason =
        "Not actionable enough: role=AXWindow, subrole=, buttons=" + std::to_string(count) + ", textLines=1.";
    EXPECT_THAT(classify(modal({phraseLine}, buttons)), rejectedWith(reason));
    EXPECT_THAT(classify(window({phraseLine}, buttons)), rejectedWith(reason));
    auto service = modal({phraseLine}, buttons);
    service.isKnownPromptService = true;
    EXPECT_THAT(classify(service), rejectedWith(reason));
  }
}

TEST(DialogPromptClassifier, countsButtonsBeforeAndLabelsAfterRemovingDuplicates) {
  const Verdict verdict = classify(modal({"Done."}, {"OK", "OK"}));
  EXPECT_THAT(verdict, isAccepted());
  // Dialog-like, few buttons, short text, one high-signal label, one prompt label.
  EXPECT_EQ(verdict.promptScore, 4 + 2 + 2 + 3 + 2);
}

TEST(DialogPromptClassifier, rejectsPreferencesWindowsThatAreNoDialogs) {
  const char* reason = "Ordinary settings and preferences windows are not approval prompts.";
  for (const char* title : {"Network Preferences", "Settings", " PREFERENCES ", "Mail\u00A0Settings"}) {
    auto evidence = window({phraseLine}, {"OK", "Cancel"});
    evidence.title = title;
    EXPECT_THAT(classify(evidence), rejectedWith(reason)) << title;
    evidence.isModal = true;
    EXPECT_THAT(classify(evidence), isAccepted()) << title;
  }
  auto other = window({phraseLine}, {"OK", "Cancel"});
  other.title = "MySettings";
  EXPECT_THAT(classify(other), isAccepted());
}

TEST(DialogPromptClassifier, rejectsSystemSettingsUnlessItIsASheet) {
  for (const char* bundle : {"com.apple.systempreferences", "com.apple.SystemSettings"}) {
    auto evidence = window({phraseLine}, {"OK", "Cancel"});
    evidence.bundleIdentifier = bundle;
    evidence.title = "Settings";
    evidence.hasNavigationChrome = true;
    EXPECT_THAT(classify(evidence), rejectedWith("Ordinary System Settings windows are not approval prompts."));
    evidence.role = "AXSheet";
    EXPECT_THAT(classify(evidence), isAccepted());
  }
}

TEST(DialogPromptClassifier, rejectsNavigationChromeUnlessDialogLike) {
  auto evidence = window({phraseLine}, {"OK", "Cancel"});
  evidence.hasNavigationChrome = true;
  EXPECT_THAT(classify(evidence), rejectedWith("Window has navigation or settings chrome and is not modal."));
  evidence.subrole = "AXDialog";
  EXPECT_THAT(classify(evidence), isAccepted());
}

TEST(DialogPromptClassifier, matchesRoleAndSubroleExactly) {
  auto evidence = window({}, {"OK", "Cancel"});
  evidence.subrole = "axdialog";
  EXPECT_THAT(classify(evidence),
              rejectedWith("Not actionable enough: role=AXWindow, subrole=axdialog, buttons=2, textLines=0."));
  evidence.subrole = "AXDialog";
  EXPECT_THAT(classify(evidence), isAccepted());
}

TEST(DialogPromptClassifier, acceptsDialogsOfPromptServicesWithFewButtons) {
  auto evidence = modal({}, {"Choice"});
  EXPECT_THAT(classify(evidence),
              rejectedWith("Not actionable enough: role=AXWindow, subrole=, buttons=1, textLines=0."));
  evidence.isKnownPromptService = true;
  EXPECT_THAT(classify(evidence), isAccepted());
  evidence.isModal = false;
  EXPECT_THAT(classify(evidence),
              rejectedWith("Not actionable enough: role=AXWindow, subrole=, buttons=1, textLines=0."));
}

TEST(DialogPromptClassifier, acceptsADialogWithAPhraseWhateverItsButtons) {
  EXPECT_THAT(classify(modal({phraseLine}, {"Whatever"})), isAccepted());
  EXPECT_THAT(classify(modal({"Hello"}, {"Whatever"})),
              rejectedWith("Not actionable enough: role=AXWindow, subrole=, buttons=1, textLines=1."));
}

TEST(DialogPromptClassifier, acceptsADialogWithoutAPhraseByItsButtons) {
  EXPECT_THAT(classify(modal({"Hello"}, {"OK", "Cancel"})), isAccepted());
  EXPECT_THAT(classify(modal({"Hello"}, {"Quit", "Later"})), isAccepted());
  EXPECT_THAT(classify(modal({"Hello"}, {"Quit"})), isAccepted());
  EXPECT_THAT(classify(modal({"See System Settings."}, {"Help", "Open Settings"})), isAccepted());
  EXPECT_FALSE(classify(modal({"Hello"}, {"Help", "Open Settings"})).accepted);
  EXPECT_FALSE(classify(modal({"Hello"}, {"OK", "Help"})).accepted);
}

TEST(DialogPromptClassifier, acceptsAPlainWindowOnlyWithPhraseShortTextAndButtons) {
  EXPECT_THAT(classify(window({phraseLine}, {"OK", "Cancel"})), isAccepted());
  EXPECT_FALSE(classify(window({"Hello"}, {"OK", "Cancel"})).accepted);
  EXPECT_FALSE(classify(window({phraseLine}, {"Whatever"})).accepted);
  EXPECT_THAT(classify(window(std::vector<std::string>(10, phraseLine), {"OK", "Cancel"})), isAccepted());
  auto eleven = window(std::vector<std::string>(10, phraseLine), {"OK", "Cancel"});
  eleven.title = "Eleventh";
  EXPECT_THAT(classify(eleven),
              rejectedWith("Not actionable enough: role=AXWindow, subrole=, buttons=2, textLines=11."));
}

TEST(DialogPromptClassifier, matchesLabelsWithEitherApostrophe) {
  for (const char* label : {"Don’t Allow", "Don't Allow"}) {
    const Verdict verdict = classify(modal({"Hello"}, {label, "OK"}));
    EXPECT_THAT(verdict, isAccepted());
    EXPECT_EQ(verdict.promptScore, 4 + 2 + 2 + 4 + 4) << label;
  }
}

TEST(DialogPromptClassifier, matchesPhrasesWithEitherApostropheAndInCapitals) {
  EXPECT_THAT(classify(modal({"It won’t run."}, {"Whatever"})), isAccepted());
  EXPECT_THAT(classify(modal({"IT WON'T RUN."}, {"Whatever"})), isAccepted());
}

TEST(DialogPromptClassifier, findsPhrasesAcrossTitleAndLines) {
  auto evidence = modal({"you sure?"}, {"Whatever"});
  evidence.title = "Are";
  EXPECT_THAT(classify(evidence), isAccepted());
}

TEST(DialogPromptClassifier, scoresAPermissionRequest) {
  auto evidence = modal({phraseLine}, {"Don’t Allow", "OK"});
  const Verdict verdict = classify(evidence);
  EXPECT_THAT(verdict, isAccepted());
  // Two phrases match: "would like to access" and "access files".
  EXPECT_EQ(verdict.promptScore, 4 + 2 + 2 + 4 + 4 + 2 + 2);
  evidence.isKnownPromptService = true;
  EXPECT_EQ(classify(evidence).promptScore, 24);
}

TEST(DialogPromptClassifier, scoresAtMostThirtyFour) {
  auto evidence = modal({"System Settings: permission, password, keychain, are you sure, delete, erase"},
                        {"OK", "Cancel", "Quit", "Open Settings"});
  evidence.isKnownPromptService = true;
  EXPECT_EQ(classify(evidence).promptScore, 4 + 2 + 2 + 4 + 4 + 4 + 6 + 8);
}

TEST(DialogPromptClassifier, holdsExactlyTheTwentyOneHighSignalLabels) {
  EXPECT_THAT(DialogPromptClassifier::highSignalSingleActionLabels(),
              testing::UnorderedElementsAreArray({"ok",
                                                  "allow",
                                                  "always allow",
                                                  "continue",
                                                  "yes",
                                                  "empty bin",
                                                  "empty trash",
                                                  "delete",
                                                  "erase",
                                                  "replace",
                                                  "discard",
                                                  "save",
                                                  "install",
                                                  "install and relaunch",
                                                  "relaunch",
                                                  "restart",
                                                  "open system settings",
                                                  "open settings",
                                                  "quit",
                                                  "don't save",
                                                  "don’t save"}));
}

}  // namespace
}  // namespace tallyfox
