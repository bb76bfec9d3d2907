// The approval record: its title, its score against another record, its equality and hash.

#include "model/PendingApproval.hpp"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <string>
#include <vector>

#include "model/SampleApproval.hpp"

namespace tallyfox {
namespace {

/// The same dialog under another id.
PendingApproval seenAgain() {
  PendingApproval approval = sampleApproval();
  approval.id = Uuid::parsed("00000000-0000-4000-8000-0000000000FF").value();
  return approval;
}

using Change = void (*)(PendingApproval&);

TEST(PendingApproval, isTitledByApplicationAndWindow) {
  EXPECT_EQ(sampleApproval().displayTitle(), "Finder: Empty Trash");
}

TEST(PendingApproval, needsAttentionWhenTheWindowHasNoTitle) {
  PendingApproval approval = sampleApproval();
  approval.windowTitle.clear();
  EXPECT_EQ(approval.displayTitle(), "Finder needs attention");
}

TEST(PendingApproval, listsItsButtonLabelsInOrder) {
  EXPECT_EQ(sampleApproval().buttonLabels(), (std::vector<std::string>{"Cancel", "Empty Trash"}));
}

TEST(PendingApprovalMatch, isCertainForEqualIdsWhateverElseDiffers) {
  PendingApproval other = sampleApproval();
  other.processIdentifier = 9999;
  other.windowTitle = "Something else";
  other.buttons.clear();
  EXPECT_EQ(sampleApproval().matchScore(other), 1000.0);
}

TEST(PendingApprovalMatch, isFiveHundredForTheSameDialogInTheSamePlace) {
  EXPECT_EQ(sampleApproval().matchScore(seenAgain()), 500.0);
}

TEST(PendingApprovalMatch, isZeroForADifferentDialog) {
  const std::vector<Change> changes = {
      [](PendingApproval& other) { other.processIdentifier += 1; },
      [](PendingApproval& other) { other.bundleIdentifier = "com.example.other"; },
      [](PendingApproval& other) { other.bundleIdentifier.reset(); },
      [](PendingApproval& other) { other.windowTitle = "empty trash"; },
      [](PendingApproval& other) { other.messageLines.pop_back(); },
      [](PendingApproval& other) { std::swap(other.messageLines[0], other.messageLines[1]); },
      [](PendingApproval& other) { other.buttons.pop_back(); },
      [](PendingApproval& other) { other.buttons[0].label = "cancel"; },
  };
  for (std::size_t i = 0; i < changes.size(); ++i) {
    PendingApproval other = seenAgain();
    changes[i](other);
    EXPECT_EQ(sampleApproval().matchScore(other), 0.0) << "change " << i;
    EXPECT_EQ(other.matchScore(sampleApproval()), 0.0) << "change " << i;
  }
}

TEST(PendingApprovalMatch, takesTwoAbsentBundleIdentifiersAsEqual) {
  PendingApproval first = sampleApproval();
  PendingApproval second = seenAgain();
  first.bundleIdentifier.reset();
  second.bundleIdentifier.reset();
  EXPECT_EQ(first.matchScore(second), 500.0);
}

TEST(PendingApprovalMatch, ignoresOrderAndDuplicatesOfButtonLabels) {
  PendingApproval first = sampleApproval();
  PendingApproval second = seenAgain();
  first.buttons = {{.label = "OK", .role = {}}, {.label = "Cancel", .role = {}}};
  second.buttons = {{.label = "Cancel", .role = {}}, {.label = "OK", .role = {}}, {.label = "OK", .role = {}}};
  EXPECT_EQ(first.matchScore(second), 500.0);
}

TEST(PendingApprovalMatch, ignoresWhatDoesNotTellDialogsApart) {
  PendingApproval other = seenAgain();
  other.detectedAt += std::chrono::hours(1);
  other.reason = "another";
  other.appName = "Ordner";
  other.windowRole = "AXSheet";
  other.isFallbackDetection = false;
  EXPECT_EQ(sampleApproval().matchScore(other), 500.0);
}

TEST(PendingApprovalMatch, fallsWithTheDistanceOfTheCentres) {
  PendingApproval other = seenAgain();
  other.windowFrame.x += 30;
  other.windowFrame.y += 40;
  EXPECT_DOUBLE_EQ(sampleApproval().matchScore(other), 450.0);

  other = seenAgain();  // grown around its centre
  other.windowFrame = {110, 78, 440, 210};
  EXPECT_DOUBLE_EQ(sampleApproval().matchScore(other), 500.0);
}

TEST(PendingApprovalMatch, neverFallsBelowOne) {
  PendingApproval other = seenAgain();
  other.windowFrame.x += 600;
  EXPECT_EQ(sampleApproval().matchScore(other), 1.0);
}

TEST(PendingApprovalMatch, isOneWhenACentreLiesBeyondAllNumbers) {
  PendingApproval first = sampleApproval();
  PendingApproval second = seenAgain();
  first.windowFrame = {1.7e308, 0, 1.7e308, 0};
  second.windowFrame = {1.7e308, 0, 1.7e308, 0};
  ASSERT_TRUE(std::isinf(first.windowFrame.centerX()));
  EXPECT_EQ(first.matchScore(second), 1.0);
}

TEST(PendingApproval, treatsBothZerosAlike) {
  PendingApproval positive = sampleApproval();
  PendingApproval negative = sampleApproval();
  positive.windowFrame.x = 0.0;
  negative.windowFrame.x = -0.0;
  positive.buttons[0].y = 0.0;
  negative.buttons[0].y = -0.0;
  EXPECT_EQ(positive, negative);
  EXPECT_EQ(std::hash<PendingApproval>()(positive), std::hash<PendingApproval>()(negative));
}

TEST(PendingApproval, differsInEveryField) {
  const std::vector<Change> changes = {
      [](PendingApproval& other) { other.id = Uuid{}; },
      [](PendingApproval& other) { other.suppressionID = Uuid{}; },
      [](PendingApproval& other) { other.detectedAt += std::chrono::seconds(1); },
      [](PendingApproval& other) { other.appName += "!"; },
      [](PendingApproval& other) { other.bundleIdentifier.reset(); },
      [](PendingApproval& other) { other.processIdentifier = -1; },
      [](PendingApproval& other) { other.windowTitle.clear(); },
      [](PendingApproval& other) { other.windowRole = "AXSheet"; },
      [](PendingApproval& other) { other.windowFrame.height += 1; },
      [](PendingApproval& other) { other.messageLines.emplace_back(); },
      [](PendingApproval& other) { other.reason += "!"; },
      [](PendingApproval& other) { other.buttons.pop_back(); },
      [](PendingApproval& other) { other.recommendedButtonLabel.reset(); },
      [](PendingApproval& other) { other.requiresDirectAccess = false; },
      [](PendingApproval& other) { other.directAccessReason.reset(); },
      [](PendingApproval& other) { other.isFallbackDetection = false; },
  };
  const PendingApproval sample = sampleApproval();
  EXPECT_EQ(sample, sampleApproval());
  EXPECT_EQ(std::hash<PendingApproval>()(sample), std::hash<PendingApproval>()(sampleApproval()));
  for (std::size_t i = 0; i < changes.size(); ++i) {
    PendingApproval other = sample;
    changes[i](other);
    EXPECT_NE(other, sample) << "change " << i;
    EXPECT_NE(std::hash<PendingApproval>()(other), std::hash<PendingApproval>()(sample)) << "change " << i;
  }
}

}  // namespace
}  // namespace tallyfox
