// The classifier's tables, entry by entry: each verdict rule wins at its place over all later ones, and each phrase and
// each label counts.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <functional>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

#include "detection/DialogButtonSemantics.hpp"
#include "detection/DialogPromptClassifier.hpp"

namespace tallyfox {
namespace {

using Change = std::function<void(DialogPromptEvidence&)>;
using Reason = std::optional<std::string>;

const Reason accepted;
const Reason noButtons = "No actionable buttons exposed through Accessibility.";
const Reason tooManyButtons = "Too many buttons; likely a normal application window.";
const Reason systemSettings = "Ordinary System Settings windows are not approval prompts.";
const Reason settingsTitle = "Ordinary settings and preferences windows are not approval prompts.";
const Reason navigationChrome = "Window has navigation or settings chrome and is not modal.";
Reason notActionable(int buttons, int lines) {
  return "Not actionable enough: role=AXWindow, subrole=AXStandardWindow, buttons=" + std::to_string(buttons) +
         ", textLines=" + std::to_string(lines) + ".";
}

/// No dialog; one line and one button, nothing that any rule looks for.
DialogPromptEvidence plainWindow() {
  DialogPromptEvidence evidence;
  evidence.role = "AXWindow";
  evidence.subrole = "AXStandardWindow";
  evidence.messageLines = {"Line"};
  evidence.buttonLabels = {"Whatever"};
  return evidence;
}

void dialog(DialogPromptEvidence& evidence) {
  evidence.isModal = true;
}
void service(DialogPromptEvidence& evidence) {
  evidence.isKnownPromptService = true;
}
void chrome(DialogPromptEvidence& evidence) {
  evidence.hasNavigationChrome = true;
}
void phrase(DialogPromptEvidence& evidence) {
  evidence.messageLines = {"Are you sure?"};
}
Change titled(const char* title) {
  return [title](DialogPromptEvidence& evidence) { evidence.title = title; };
}
Change ownedBy(const char* bundleIdentifier) {
  return [bundleIdentifier](DialogPromptEvidence& evidence) { evidence.bundleIdentifier = bundleIdentifier; };
}
Change line(const char* text) {
  return [text](DialogPromptEvidence& evidence) { evidence.messageLines = {text}; };
}
Change lines(std::size_t count) {
  return [count](DialogPromptEvidence& evidence) { evidence.messageLines.assign(count, "Are you sure?"); };
}
Change buttons(std::vector<std::string> labels) {
  return [labels](DialogPromptEvidence& evidence) { evidence.buttonLabels = labels; };
}
/// A primary and a cancel button among that many, if there is room.
Change buttonCount(std::size_t count) {
  std::vector<std::string> labels = {"OK", "Cancel"};
  labels.resize(count, "Whatever");
  return buttons(labels);
}
const Change yesOrNo = buttonCount(2);

struct VerdictCase {
  const char* name;
  std::vector<Change> changes;
  Reason reason;

  friend void PrintTo(const VerdictCase& one, std::ostream* out) { *out << one.name; }
};

class DialogPromptVerdict : public testing::TestWithParam<VerdictCase> {};

TEST_P(DialogPromptVerdict, isThatOfTheFirstRuleThatFits) {
  DialogPromptEvidence evidence = plainWindow();
  for (const Change& change : GetParam().changes)
    change(evidence);
  const DialogPromptClassification verdict = DialogPromptClassifier::classify(evidence);
  EXPECT_EQ(verdict.rejectionReason, GetParam().reason);
  EXPECT_EQ(verdict.accepted, !GetParam().reason.has_value());
}

std::vector<VerdictCase> exclusions() {
  const Change settingsOwner = ownedBy("com.apple.SystemPreferences");
  const Change title = titled("Settings");
  return {
      {"rule1BeforeSettings", {settingsOwner, title, chrome, phrase, buttons({})}, noButtons},
      {"rule1BeforeServices", {dialog, service, phrase, buttons({})}, noButtons},
      {"rule2BeforeSettings", {settingsOwner, title, chrome, phrase, buttonCount(13)}, tooManyButtons},
      {"rule2BeforeServices", {dialog, service, phrase, buttonCount(13)}, tooManyButtons},
      {"rule2ForMoreButtons", {dialog, phrase, buttonCount(14)}, tooManyButtons},
      {"rule2NotForTwelve", {dialog, phrase, buttonCount(12)}, notActionable(12, 1)},
      {"rule3BeforeTitle", {settingsOwner, title, chrome, phrase, yesOrNo}, systemSettings},
      {"rule3ForTheNewerOwner", {ownedBy("com.apple.systemsettings"), phrase, yesOrNo}, systemSettings},
      {"rule3ForServices", {settingsOwner, service, phrase, yesOrNo}, systemSettings},
      {"rule3NotForDialogs", {settingsOwner, title, chrome, dialog, phrase, yesOrNo}, accepted},
      {"rule3NotForOtherOwners", {ownedBy("com.apple.systemsettings.helper"), phrase, yesOrNo}, accepted},
      {"rule4BeforeChrome", {title, chrome, phrase, yesOrNo}, settingsTitle},
      {"rule4ForPreferences", {titled("Preferences"), phrase, yesOrNo}, settingsTitle},
      {"rule4ForASettingsEnding", {titled("Mail Settings"), phrase, yesOrNo}, settingsTitle},
      {"rule4ForAPreferencesEnding", {titled("Network Preferences"), phrase, yesOrNo}, settingsTitle},
      {"rule4ForServices", {title, service, phrase, yesOrNo}, settingsTitle},
      {"rule4NotForDialogs", {title, chrome, dialog, phrase, yesOrNo}, accepted},
      {"rule4NotInsideAWord", {titled("MySettings"), phrase, yesOrNo}, accepted},
      {"rule4NotForABeginning", {titled("Settings of Mail"), phrase, yesOrNo}, accepted},
      {"rule5BeforeServices", {chrome, service, phrase, yesOrNo}, navigationChrome},
      {"rule5BeforePhrases", {chrome, phrase, yesOrNo}, navigationChrome},
      {"rule5NotForDialogs", {chrome, dialog, phrase, yesOrNo}, accepted},
  };
}
INSTANTIATE_TEST_SUITE_P(Exclusions, DialogPromptVerdict, testing::ValuesIn(exclusions()),
                         [](const auto& instance) { return std::string(instance.param.name); });

std::vector<VerdictCase> weighings() {
  const Change openSettings = buttons({"Help", "Open Settings"});
  const Change aboutSettings = line("Erase it in System Settings");
  return {
      {"rule6AcceptsWhateverIsSaid", {dialog, service}, accepted},
      {"rule6AcceptsAnyLength", {dialog, service, lines(30)}, accepted},
      {"rule6AcceptsSixButtons", {dialog, service, buttonCount(6)}, accepted},
      {"rule6RejectsSevenButtons", {dialog, service, phrase, buttonCount(7)}, notActionable(7, 1)},
      {"rule6NotForPlainWindows", {service}, notActionable(1, 1)},
      {"rule7RejectsSevenButtons", {dialog, phrase, buttonCount(7)}, notActionable(7, 1)},
      {"rule7CountsEachButton", {dialog, phrase, buttons(std::vector<std::string>(7, "OK"))}, notActionable(7, 1)},
      {"rule8AcceptsAnyButton", {dialog, phrase}, accepted},
      {"rule8AcceptsSixButtons", {dialog, phrase, buttonCount(6)}, accepted},
      {"rule8AcceptsAnyLength", {dialog, lines(30)}, accepted},
      {"rule9RejectsWithoutPhrase", {yesOrNo}, notActionable(2, 1)},
      {"rule9RejectsServicesToo", {service, yesOrNo}, notActionable(2, 1)},
      {"rule9RejectsSevenButtons", {phrase, buttonCount(7)}, notActionable(7, 1)},
      {"rule9RejectsElevenLines", {lines(11), yesOrNo}, notActionable(2, 11)},
      {"rule9CountsTheTitle", {titled("Title"), lines(10), yesOrNo}, notActionable(2, 11)},
      {"rule9CountsABlankTitle", {titled(" "), lines(10), yesOrNo}, notActionable(2, 11)},
      {"rule10AcceptsTenLines", {lines(10), yesOrNo}, accepted},
      {"rule10AcceptsSixButtons", {phrase, buttonCount(6)}, accepted},
      {"rule10AcceptsPrimaryAndCancel", {phrase, yesOrNo}, accepted},
      {"rule10AcceptsAHighSignal", {phrase, buttons({"Quit"})}, accepted},
      {"rule10AcceptsOpeningSettings", {aboutSettings, openSettings}, accepted},
      {"rule10AcceptsServices", {service, phrase, yesOrNo}, accepted},
      {"rule10AcceptsADialogsPair", {dialog, yesOrNo}, accepted},
      {"rule10AcceptsADialogsHighSignal", {dialog, buttons({"Quit", "QUIT"})}, accepted},
      {"rule10AcceptsADialogThatOpensSettings", {dialog, line("See System Settings"), openSettings}, accepted},
      {"rule10AcceptsALongDialogsPair", {dialog, titled("Title"), yesOrNo}, accepted},
      {"rule11ForAPlainWindow", {phrase}, notActionable(1, 1)},
      {"rule11ForADialog", {dialog}, notActionable(1, 1)},
      {"rule11ForAPrimaryAlone", {dialog, buttons({"OK", "Help"})}, notActionable(2, 1)},
      {"rule11ForACancelAlone", {dialog, buttons({"Cancel", "Help"})}, notActionable(2, 1)},
      {"rule11ForTwoHighSignals", {dialog, buttons({"OK", "Quit"})}, notActionable(2, 1)},
      {"rule11ForSettingsUnsaid", {dialog, openSettings}, notActionable(2, 1)},
      {"rule11ForSettingsUnopened", {dialog, line("See System Settings")}, notActionable(1, 1)},
  };
}
INSTANTIATE_TEST_SUITE_P(Weighings, DialogPromptVerdict, testing::ValuesIn(weighings()),
                         [](const auto& instance) { return std::string(instance.param.name); });

TEST(DialogPromptVerdicts, quoteRoleAndSubroleAsTheyAre) {
  DialogPromptEvidence evidence = plainWindow();
  evidence.role = "AXSheet";
  evidence.subrole = " ";
  evidence.title = "Title";
  EXPECT_EQ(DialogPromptClassifier::classify(evidence).rejectionReason,
            "Not actionable enough: role=AXSheet, subrole= , buttons=1, textLines=2.");
  evidence.subrole.clear();
  EXPECT_EQ(DialogPromptClassifier::classify(evidence).rejectionReason,
            "Not actionable enough: role=AXSheet, subrole=, buttons=1, textLines=2.");
}

class PromptPhrase : public testing::TestWithParam<const char*> {};

TEST_P(PromptPhrase, makesADialogAPrompt) {
  DialogPromptEvidence evidence = plainWindow();
  evidence.isModal = true;
  const int scoreWithout = DialogPromptClassifier::classify(evidence).promptScore;
  const std::string text = GetParam();
  evidence.messageLines = {"..." + text + "..."};
  EXPECT_EQ(DialogPromptClassifier::classify(evidence),
            (DialogPromptClassification{true, scoreWithout + 2, std::nullopt}));
  evidence.messageLines = {text.substr(0, text.size() - 1)};
  EXPECT_EQ(DialogPromptClassifier::classify(evidence).promptScore, scoreWithout);
}

INSTANTIATE_TEST_SUITE_P(Each, PromptPhrase,
                         testing::Values("would like to access", "wants access", "permission", "grant access",
                                         "access files", "access your", "password", "keychain", "are you sure",
                                         "you can't undo", "you can’t undo", "permanently", "erase", "delete",
                                         "empty bin", "empty trash", "replace", "discard", "won't run", "won’t run",
                                         "ready to install", "ready to use", "install and relaunch",
                                         "downloaded and is ready", "save changes", "unsaved"));

bool isAcceptedDialog(const std::vector<std::string>& labels, const char* text = "Line") {
  DialogPromptEvidence evidence = plainWindow();
  evidence.isModal = true;
  evidence.messageLines = {text};
  evidence.buttonLabels = labels;
  return DialogPromptClassifier::classify(evidence).accepted;
}

TEST(DialogPromptVerdicts, acceptEveryHighSignalLabelAloneAndNoOther) {
  const auto& highSignals = DialogPromptClassifier::highSignalSingleActionLabels();
  for (const std::string& label : highSignals)
    EXPECT_TRUE(isAcceptedDialog({label})) << label;
  for (const std::string& label : DialogButtonSemantics::promptButtonLabels())
    EXPECT_EQ(isAcceptedDialog({label}), highSignals.contains(label)) << label;
}

TEST(DialogPromptVerdicts, acceptEveryHighSignalLabelBesideEveryCancelLabel) {
  for (const std::string& primary : DialogPromptClassifier::highSignalSingleActionLabels()) {
    EXPECT_FALSE(isAcceptedDialog({primary, "Help"})) << primary;
    for (const std::string& cancel : DialogButtonSemantics::cancelActionLabels())
      EXPECT_TRUE(isAcceptedDialog({cancel, primary})) << primary << " beside " << cancel;
  }
}

TEST(DialogPromptVerdicts, acceptEachWayToOpenSettings) {
  for (const char* label : {"Open System Settings", "Open Settings"}) {
    for (const char* text : {"system settings", "Privacy & Security", "Privacy and Security", "Accessibility Settings"})
      EXPECT_TRUE(isAcceptedDialog({"Help", label}, text)) << label << ", " << text;
    EXPECT_FALSE(isAcceptedDialog({"Help", label}, "settings, privacy, accessibility")) << label;
  }
  EXPECT_FALSE(isAcceptedDialog({"Help", "Settings"}, "system settings"));
}

}  // namespace
}  // namespace tallyfox
