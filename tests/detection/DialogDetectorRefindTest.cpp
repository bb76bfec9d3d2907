// A button is found again only in a dialog that still says and offers the same, by its exact label, the best match
// first; its window is brought forward.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "detection/DetectorDesktop.hpp"

namespace tallyfox {
namespace {

using memory::accessPrompt;
using memory::buttonSpec;
using memory::ElementID;
using memory::ElementSpec;
using memory::spec;
using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

struct DialogDetectorRefindTest : testing::Test {
  memory::DetectorDesktop world;
  memory::MemoryDesktop& desktop = world.desktop;
  std::int32_t pid = desktop.launch("Notes", "org.notes");
  ElementID window = desktop.openWindow(pid, accessPrompt());
  PendingApproval recorded = world.published().at(0);

  [[nodiscard]] ElementID button(ElementID of, const std::string& label = "Allow") const {
    return desktop.find(of, "AXButton", label);
  }
  std::optional<ResolvedDialogButton> resolve(const std::string& label = "Allow") {
    return world.detector.resolveCurrentButton(recorded, label);
  }
  std::optional<AXUIElement> resolvedElement(const std::string& label = "Allow") {
    const auto resolved = resolve(label);
    return resolved ? std::optional(resolved->element) : std::nullopt;
  }
};

TEST_F(DialogDetectorRefindTest, findsTheButtonAndItsWindow) {
  const auto resolved = resolve();
  ASSERT_TRUE(resolved);
  EXPECT_EQ(resolved->element, desktop.element(button(window)));
  EXPECT_EQ(resolved->window, desktop.element(window));
  EXPECT_EQ(resolved->button, recorded.buttons.back());
}

TEST_F(DialogDetectorRefindTest, prefersTheSameIdentityToAnyLookAlike) {
  desktop.openWindow(pid, accessPrompt({401, 300, 420, 180}));
  EXPECT_EQ(resolvedElement(), desktop.element(button(window)));
}

TEST_F(DialogDetectorRefindTest, prefersTheNearerLookAlike) {
  desktop.setFrame(window, DialogFrame{420, 300, 420, 180});
  desktop.openWindow(pid, accessPrompt({450, 300, 420, 180}));
  EXPECT_EQ(resolvedElement(), desktop.element(button(window)));
  desktop.setFrame(window, DialogFrame{480, 300, 420, 180});
  EXPECT_NE(resolvedElement(), desktop.element(button(window)));
}

TEST_F(DialogDetectorRefindTest, takesTheFirstOfTwoFarLookAlikes) {
  desktop.setFrame(window, DialogFrame{1400, 300, 420, 180});
  // Nearer, yet as far as any beyond 499 points. The newest window comes first.
  const ElementID nearer = desktop.openWindow(pid, accessPrompt({1000, 300, 420, 180}));
  EXPECT_EQ(resolvedElement(), desktop.element(button(nearer)));
  desktop.raise(window);
  EXPECT_EQ(resolvedElement(), desktop.element(button(window)));
}

TEST_F(DialogDetectorRefindTest, findsNothingOnceTheTextChanged) {
  desktop.setValue(desktop.addChild(window, memory::textSpec("", DialogFrame{0, 0, 9, 9})), "3 seconds left");
  EXPECT_EQ(resolve(), std::nullopt);
  EXPECT_FALSE(world.detector.isPromptStillPresent(recorded));
}

TEST_F(DialogDetectorRefindTest, findsNothingInAnotherApplicationOrUnderAnotherTitle) {
  desktop.setTitle(window, "Other");
  EXPECT_FALSE(world.detector.isPromptStillPresent(recorded));
  desktop.closeWindow(window);
  desktop.openWindow(desktop.launch("Mimic", "org.mimic"), accessPrompt());
  EXPECT_FALSE(world.detector.isPromptStillPresent(recorded));
  EXPECT_EQ(resolve(), std::nullopt);
}

TEST_F(DialogDetectorRefindTest, findsAButtonByItsDescription) {
  desktop.setDescription(button(window), "Allow");
  for (const auto& title : {std::optional<std::string>(), std::optional<std::string>("")}) {
    desktop.setTitle(button(window), title);
    EXPECT_TRUE(resolve());
  }
}

TEST_F(DialogDetectorRefindTest, wantsTheExactLabel) {
  for (const char* label : {"allow", "Allow ", " Allow", "ALLOW", "", "Deny"}) {
    EXPECT_EQ(resolve(label), std::nullopt) << label;
  }
}

TEST_F(DialogDetectorRefindTest, neverReturnsAButtonWithoutASize) {
  const ElementID hidden = desktop.addChild(window, buttonSpec("Allow", {0, 0, 0, 20}));
  EXPECT_EQ(resolvedElement(), desktop.element(button(window)));
  desktop.setFrame(hidden, std::nullopt);
  EXPECT_EQ(resolvedElement(), desktop.element(button(window)));
}

TEST_F(DialogDetectorRefindTest, looksFurtherThanAScan) {
  // The dialog's own elements stay those of a scan; the button that is wanted lies behind them.
  ElementSpec wide = accessPrompt();
  wide.children.insert(wide.children.begin(), buttonSpec("Allow", {420, 320, 50, 20}));
  for (int i = 0; i < 78; ++i)
    wide.children.insert(wide.children.begin() + 2, spec("AXGroup"));
  desktop.closeWindow(window);
  const ElementID opened = desktop.openWindow(pid, wide);
  const auto before = world.published();
  ASSERT_EQ(before.size(), 1U);
  EXPECT_THAT(before[0].messageLines, IsEmpty());
  recorded = before[0];
  desktop.setEnabled(button(opened), true);
  EXPECT_TRUE(resolve());
}

TEST_F(DialogDetectorRefindTest, bringsTheWindowForward) {
  desktop.setMinimized(window, true);
  desktop.clearDeeds();
  ASSERT_TRUE(resolve());
  EXPECT_THAT(desktop.deeds(),
              ElementsAre("set " + std::to_string(window) + " AXMinimized", "raise " + std::to_string(window)));
}

TEST_F(DialogDetectorRefindTest, touchesNothingWithoutAMatch) {
  desktop.clearDeeds();
  EXPECT_EQ(resolve("Deny"), std::nullopt);
  EXPECT_TRUE(world.detector.isPromptStillPresent(recorded));
  EXPECT_THAT(desktop.deeds(), IsEmpty());
}

TEST_F(DialogDetectorRefindTest, namesTheSheetThatHoldsTheButton) {
  desktop.closeWindow(window);
  const ElementID document = desktop.openWindow(pid, spec(ax_role::window, "Letter", DialogFrame{0, 0, 900, 700}));
  ElementSpec sheet = accessPrompt();
  sheet.role = ax_role::sheet;
  const ElementID opened = desktop.addChild(document, sheet);
  recorded = world.published().at(0);
  const auto resolved = resolve();
  ASSERT_TRUE(resolved);
  EXPECT_EQ(resolved->window, desktop.element(opened));
}

TEST_F(DialogDetectorRefindTest, seesAPromptUntilItCloses) {
  EXPECT_TRUE(world.detector.isPromptStillPresent(recorded));
  desktop.closeWindow(window);
  EXPECT_FALSE(world.detector.isPromptStillPresent(recorded));
}

TEST_F(DialogDetectorRefindTest, findsNoSuppressedDialog) {
  world.suppressed.insert(recorded.suppressionID);
  EXPECT_EQ(resolve(), std::nullopt);
  EXPECT_FALSE(world.detector.isPromptStillPresent(recorded));
}

TEST_F(DialogDetectorRefindTest, leavesTheCandidateGateAlone) {
  const auto counts = world.detector.candidateGate().observationCounts();
  (void)resolve();
  (void)world.detector.isPromptStillPresent(recorded);
  EXPECT_EQ(world.detector.candidateGate().observationCounts(), counts);
}

TEST_F(DialogDetectorRefindTest, survivesAWindowWithABrokenFrame) {
  desktop.setFrame(window, DialogFrame{1e308, -1e308, 1e308, 1e308});
  EXPECT_EQ(resolve(), std::nullopt);
  EXPECT_FALSE(world.detector.isPromptStillPresent(recorded));
}

}  // namespace
}  // namespace tallyfox
