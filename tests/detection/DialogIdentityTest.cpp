// Identifiers are the first 16 bytes of SHA-256 over exact texts: the fingerprint changes with anything visible, the
// suppression identity survives moves and re-ordered buttons and cannot collide across components.

#include "detection/DialogIdentity.hpp"

#include <gtest/gtest.h>

namespace tallyfox {
namespace {

PendingApproval dialog() {
  PendingApproval approval;
  approval.windowTitle = "Access";
  approval.windowFrame = {512, 300, 420, 180};
  approval.messageLines = {"Line one", "Line two"};
  approval.buttons = {{"Don’t Allow", "AXButton", 520, 440, 100, 24}, {"Allow", "AXButton", 640, 440, 100, 24}};
  return approval;
}

Uuid suppression(const PendingApproval& approval) {
  return DialogIdentity::suppressionID("org.notes", approval.windowTitle, approval.messageLines,
                                       approval.buttonLabels());
}

TEST(DialogIdentity, takesTheFirstSixteenDigestBytesUnchanged) {
  EXPECT_EQ(DialogIdentity::digestID("").text(), "E3B0C442-98FC-1C14-9AFB-F4C8996FB924");
  EXPECT_EQ(DialogIdentity::digestID("abc").text(), "BA7816BF-8F01-CFEA-4141-40DE5DAE2223");
}

TEST(DialogIdentity, fingerprintsTitleFrameLinesAndButtons) {
  // org.notes|Access|512,300,420,180|Line one|Line two|Don’t Allow,Allow
  EXPECT_EQ(DialogIdentity::approvalID("org.notes", dialog()).text(), "5CBDF2EB-0692-F89D-2D03-84BF3D02991E");
  PendingApproval silent = dialog();
  silent.messageLines.clear();
  // Notes|Access|512,300,420,180||Don’t Allow,Allow
  EXPECT_EQ(DialogIdentity::approvalID("Notes", silent).text(), "E1453B07-8692-83CE-3F26-685FAA1D5CCC");
}

TEST(DialogIdentity, writesLengthsInBytesIntoTheSuppressionIdentity) {
  EXPECT_EQ(
      DialogIdentity::suppressionID("org.notes", "Access", {"Line one", "Ünïcode"}, {"OK", "Cancel", "Don’t"}).text(),
      "62D8E7A1-4C7A-5768-A89A-361186493E56");
}

TEST(DialogIdentity, tellsTwoPlacesApartButSuppressesBoth) {
  PendingApproval moved = dialog();
  moved.windowFrame.x += 1;
  EXPECT_NE(DialogIdentity::approvalID("org.notes", dialog()), DialogIdentity::approvalID("org.notes", moved));
  EXPECT_EQ(suppression(dialog()), suppression(moved));
}

TEST(DialogIdentity, suppressesReorderedButtonsToo) {
  PendingApproval reordered = dialog();
  std::swap(reordered.buttons[0], reordered.buttons[1]);
  EXPECT_NE(DialogIdentity::approvalID("org.notes", dialog()), DialogIdentity::approvalID("org.notes", reordered));
  EXPECT_EQ(suppression(dialog()), suppression(reordered));
}

TEST(DialogIdentity, collidesAcrossABarOnlyInTheFingerprint) {
  PendingApproval barred = dialog();
  barred.messageLines = {"Line one|Line two"};
  EXPECT_EQ(DialogIdentity::approvalID("org.notes", dialog()), DialogIdentity::approvalID("org.notes", barred));
  EXPECT_NE(suppression(dialog()), suppression(barred));
}

TEST(DialogIdentity, truncatesTheFrame) {
  PendingApproval whole = dialog();
  PendingApproval fraction = dialog();
  whole.windowFrame.x = 100.0;
  fraction.windowFrame.x = 100.9;
  EXPECT_EQ(DialogIdentity::approvalID("org.notes", whole), DialogIdentity::approvalID("org.notes", fraction));
}

TEST(DialogIdentity, fingerprintsAnythingVisible) {
  const std::vector<void (*)(PendingApproval&)> changes = {
      [](PendingApproval& other) { other.windowTitle = "access"; },
      [](PendingApproval& other) { other.windowFrame.y += 1; },
      [](PendingApproval& other) { other.windowFrame.width += 1; },
      [](PendingApproval& other) { other.windowFrame.height += 1; },
      [](PendingApproval& other) { other.messageLines[1] = "Line  two"; },
      [](PendingApproval& other) { std::swap(other.messageLines[0], other.messageLines[1]); },
      [](PendingApproval& other) { other.buttons[1].label = "ALLOW"; },
      [](PendingApproval& other) { other.buttons.pop_back(); },
  };
  const Uuid id = DialogIdentity::approvalID("org.notes", dialog());
  for (std::size_t i = 0; i < changes.size(); ++i) {
    PendingApproval other = dialog();
    changes[i](other);
    EXPECT_NE(DialogIdentity::approvalID("org.notes", other), id) << "change " << i;
  }
  EXPECT_NE(DialogIdentity::approvalID("org.other", dialog()), id);
  PendingApproval alike = dialog();
  alike.buttons[0].x += 5;
  alike.appName = "Other name";
  alike.detectedAt += std::chrono::hours(1);
  EXPECT_EQ(DialogIdentity::approvalID("org.notes", alike), id);
}

TEST(DialogIdentity, suppressesByTheLengthPrefixedComponents) {
  const auto expectText = [](const Uuid& id, std::string_view text) { EXPECT_EQ(id, DialogIdentity::digestID(text)); };
  expectText(DialogIdentity::suppressionID("org.notes", "", {}, {}), "14:suppression-v29:org.notes0:1:01:0");
  expectText(DialogIdentity::suppressionID("a", "b", {"c", "", "c"}, {"e", "d"}),
             "14:suppression-v21:a1:b1:31:c0:1:c1:21:d1:e");
  expectText(DialogIdentity::suppressionID("a", "b", {"é"}, {"OK", "OK"}), "14:suppression-v21:a1:b1:12:é1:22:OK2:OK");
  // By scalar values: capitals, small letters, letters beyond ASCII, those beyond the first plane.
  expectText(DialogIdentity::suppressionID("a", "", {}, {"😀", "é", "a", "\uFFFD", "Z", ""}),
             "14:suppression-v21:a0:1:01:60:1:Z1:a2:é3:\uFFFD4:😀");
}

TEST(DialogIdentity, suppressesNothingElseByChance) {
  const Uuid id = DialogIdentity::suppressionID("a", "b", {"c", "d"}, {"e"});
  EXPECT_NE(DialogIdentity::suppressionID("a", "b", {"d", "c"}, {"e"}), id);
  EXPECT_NE(DialogIdentity::suppressionID("a", "b", {"c"}, {"d", "e"}), id);
  EXPECT_NE(DialogIdentity::suppressionID("a", "b", {"c", "d"}, {"e", "e"}), id);
  EXPECT_NE(DialogIdentity::suppressionID("b", "a", {"c", "d"}, {"e"}), id);
}

}  // namespace
}  // namespace tallyfox
