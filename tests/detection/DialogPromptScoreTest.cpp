// The score of a window, term by term: a window that earns nothing, then each term alone with its weight and cap.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "detection/DialogPromptClassifier.hpp"

namespace tallyfox {
namespace {

const std::vector<std::string> sevenUnknown = {"A", "B", "C", "D", "E", "F", "G"};

/// Earns nothing: no dialog, too many buttons to be few, none of them known, no text at all.
DialogPromptEvidence bareWindow() {
  DialogPromptEvidence evidence;
  evidence.role = "AXWindow";
  evidence.buttonLabels = sevenUnknown;
  return evidence;
}

int score(const DialogPromptEvidence& evidence) {
  return DialogPromptClassifier::classify(evidence).promptScore;
}
int scoreOfButtons(std::vector<std::string> labels) {
  DialogPromptEvidence evidence = bareWindow();
  evidence.buttonLabels = std::move(labels);
  return score(evidence);
}
/// With the unknown buttons added until they are no longer few.
int scoreOfLabels(std::vector<std::string> labels) {
  labels.insert(labels.end(), sevenUnknown.begin(), sevenUnknown.end());
  return scoreOfButtons(std::move(labels));
}
int scoreOfText(const std::string& title, std::vector<std::string> lines) {
  DialogPromptEvidence evidence = bareWindow();
  evidence.title = title;
  evidence.messageLines = std::move(lines);
  return score(evidence);
}

TEST(DialogPromptScore, isNothingForABareWindow) {
  EXPECT_EQ(score(bareWindow()), 0);
}

TEST(DialogPromptScore, addsFourOnceForADialog) {
  DialogPromptEvidence modal = bareWindow();
  modal.isModal = true;
  EXPECT_EQ(score(modal), 4);
  DialogPromptEvidence marked = bareWindow();
  marked.subrole = "AXDialog";
  EXPECT_EQ(score(marked), 4);
  DialogPromptEvidence sheet = bareWindow();
  sheet.role = "AXSheet";
  EXPECT_EQ(score(sheet), 4);
  sheet.subrole = "AXDialog";
  sheet.isModal = true;
  EXPECT_EQ(score(sheet), 4);
  for (const char* text : {"AXSheet ", "axsheet", "AXSheets", "AXDialog"}) {
    DialogPromptEvidence other = bareWindow();
    other.role = text;
    EXPECT_EQ(score(other), 0) << text;
  }
  for (const char* text : {"AXDialog ", "axdialog", "AXSystemDialog", "AXSheet"}) {
    DialogPromptEvidence other = bareWindow();
    other.subrole = text;
    EXPECT_EQ(score(other), 0) << text;
  }
}

TEST(DialogPromptScore, addsTwoForOneToSixButtons) {
  for (std::size_t count = 0; count <= 14; ++count)
    EXPECT_EQ(scoreOfButtons(std::vector<std::string>(count, "Unknown")), count >= 1 && count <= 6 ? 2 : 0) << count;
}

TEST(DialogPromptScore, addsTwoForOneToTenLines) {
  for (std::size_t count = 0; count <= 12; ++count) {
    const std::vector<std::string> lines(count, "Line");
    EXPECT_EQ(scoreOfText("", lines), count >= 1 && count <= 10 ? 2 : 0) << count;
    EXPECT_EQ(scoreOfText("Title", lines), count <= 9 ? 2 : 0) << count << " and a title";
  }
  EXPECT_EQ(scoreOfText(" ", {}), 2) << "a title counts when it is not empty, blank or not";
  EXPECT_EQ(scoreOfText("", {""}), 2) << "a line counts, empty or not";
}

TEST(DialogPromptScore, addsFourForAPrimaryBesideACancel) {
  // Two known labels earn two each besides.
  EXPECT_EQ(scoreOfLabels({"OK", "Cancel"}), 4 + 4);
  EXPECT_EQ(scoreOfLabels({"Quit", "Later"}), 4 + 4);
  EXPECT_EQ(scoreOfLabels({"OK", "Quit"}), 4);
  EXPECT_EQ(scoreOfLabels({"Cancel", "Later"}), 4);
  EXPECT_EQ(scoreOfLabels({"Install on Quit", "Cancel"}), 4);
}

TEST(DialogPromptScore, addsThreeForASingleHighSignalLabel) {
  EXPECT_EQ(scoreOfButtons(std::vector<std::string>(7, "OK")), 3 + 2);
  EXPECT_EQ(scoreOfButtons({"OK", " ok ", "Ok", "oK", "OK\n", "\tOK", "OK"}), 3 + 2);
  EXPECT_EQ(scoreOfButtons(std::vector<std::string>(7, "Cancel")), 2);
  EXPECT_EQ(scoreOfButtons(std::vector<std::string>(7, "Install on Quit")), 2);
}

TEST(DialogPromptScore, addsFourForOpeningSettings) {
  DialogPromptEvidence evidence = bareWindow();
  evidence.buttonLabels.front() = "Open Settings";
  evidence.messageLines = {"See the settings"};
  EXPECT_EQ(score(evidence), 2 + 2);
  evidence.messageLines = {"See System Settings"};
  EXPECT_EQ(score(evidence), 2 + 2 + 4);
  evidence.buttonLabels.front() = "Settings";
  EXPECT_EQ(score(evidence), 2);
}

TEST(DialogPromptScore, addsFourForAPromptService) {
  DialogPromptEvidence evidence = bareWindow();
  evidence.isKnownPromptService = true;
  EXPECT_EQ(score(evidence), 4);
}

TEST(DialogPromptScore, addsTwoForEachOfThreePromptLabels) {
  EXPECT_EQ(scoreOfLabels({"Install on Quit"}), 2);
  EXPECT_EQ(scoreOfLabels({"Install on Quit", "install  on quit"}), 2);
  EXPECT_EQ(scoreOfLabels({"Install on Quit", "Don't Install"}), 4);
  EXPECT_EQ(scoreOfLabels({"Install on Quit", "Don't Install", "Don’t Install"}), 6);
  EXPECT_EQ(scoreOfLabels({"Install on Quit", "Don't Install", "Don’t Install", "Don't Save", "Quit"}), 6);
}

TEST(DialogPromptScore, addsTwoForEachOfFourPhrases) {
  // One line of text earns two besides.
  EXPECT_EQ(scoreOfText("", {"permission"}), 2 + 2);
  EXPECT_EQ(scoreOfText("", {"permission, permission, permission"}), 2 + 2);
  EXPECT_EQ(scoreOfText("", {"permission, password"}), 2 + 4);
  EXPECT_EQ(scoreOfText("", {"permission, password, keychain"}), 2 + 6);
  EXPECT_EQ(scoreOfText("", {"permission, password, keychain, erase"}), 2 + 8);
  EXPECT_EQ(scoreOfText("", {"permission, password, keychain, erase, unsaved, discard"}), 2 + 8);
  EXPECT_EQ(scoreOfText("Permission", {}), 2 + 2);
}

TEST(DialogPromptScore, findsPhrasesAcrossLinesWithOneSpaceBetween) {
  EXPECT_EQ(scoreOfText("Are you", {"sure"}), 2 + 2);
  EXPECT_EQ(scoreOfText("", {"are  ", "  you\u00A0", "\nSURE"}), 2 + 2);
  EXPECT_EQ(scoreOfText("Are you", {"", "sure"}), 2) << "an empty line leaves two spaces";
  EXPECT_EQ(scoreOfText("pass", {"word"}), 2);
}

}  // namespace
}  // namespace tallyfox
