// What a look at the screen costs: few rounds whatever the trees hold, the same result with and without batching, and a
// program that hangs loses its own windows only.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "base/Limits.hpp"
#include "detection/DetectorDesktop.hpp"
#include "detection/ForwardingAccessibility.hpp"

namespace tallyfox {
namespace {

using memory::accessPrompt;
using memory::ElementID;
using memory::ElementSpec;
using memory::spec;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

struct DialogDetectorReadsTest : testing::Test {
  memory::DetectorDesktop world;
  memory::MemoryDesktop& desktop = world.desktop;
  ForwardingAccessibility forwarding{desktop.accessibility(), desktop.elements()};
  DialogDetector detector{world.dependencies(forwarding, forwarding)};

  /// Rounds and messages of one scan.
  memory::MemoryDesktop::Traffic scanTraffic() {
    desktop.resetTraffic();
    (void)detector.scan();
    return desktop.traffic();
  }
  void openDocumentWithSheet(std::int32_t pid) {
    const ElementID document = desktop.openWindow(pid, spec(ax_role::window, "Letter", DialogFrame{0, 0, 900, 700}));
    ElementSpec sheet = accessPrompt({200, 100, 420, 180});
    sheet.role = ax_role::sheet;
    desktop.addChild(document, sheet);
    for (int i = 0; i < 30; ++i)
      desktop.addChild(document, spec("AXGroup", "Group " + std::to_string(i)));
  }
};

TEST_F(DialogDetectorReadsTest, plansApplicationsWithTheirWindowsAndThenSheets) {
  const auto pid = desktop.launch("Notes", "org.notes");
  desktop.openWindow(pid, accessPrompt());
  (void)detector.scan();
  ASSERT_THAT(forwarding.plans, SizeIs(1));
  EXPECT_THAT(forwarding.plans[0].roots, ElementsAre(desktop.application(pid)));
  EXPECT_THAT(forwarding.plans[0].attributes,
              testing::IsSupersetOf({AXAttribute::windows, AXAttribute::mainWindow, AXAttribute::focusedWindow,
                                     AXAttribute::role, AXAttribute::value, AXAttribute::position}));
  EXPECT_EQ(forwarding.plans[0].descendantLimit, limits::contentDescendants);
  openDocumentWithSheet(pid);
  forwarding.plans.clear();
  (void)detector.scan();
  ASSERT_THAT(forwarding.plans, SizeIs(2));
  EXPECT_THAT(forwarding.plans[0].roots, SizeIs(1));
  EXPECT_THAT(forwarding.plans[1].roots, SizeIs(1));
}

TEST_F(DialogDetectorReadsTest, plansWiderToFindAButtonAgain) {
  desktop.openWindow(desktop.launch("Notes", "org.notes"), accessPrompt());
  const PendingApproval recorded = world.published().at(0);
  EXPECT_TRUE(detector.resolveCurrentButton(recorded, "Allow"));
  EXPECT_EQ(forwarding.plans.back().descendantLimit, limits::refindDescendants);
}

TEST_F(DialogDetectorReadsTest, costsTheSameRoundsForAnyNumberOfWindowsAndElements) {
  const auto pid = desktop.launch("Notes", "org.notes");
  desktop.openWindow(pid, accessPrompt());
  const auto small = scanTraffic();
  for (int window = 0; window < 20; ++window) {
    ElementSpec large = accessPrompt({window * 10.0, 0, 420, 180});
    for (int i = 0; i < 200; ++i)
      large.children.push_back(spec("AXGroup"));
    desktop.openWindow(pid, large);
  }
  const auto large = scanTraffic();
  EXPECT_EQ(large.rounds, small.rounds);
  EXPECT_LE(small.rounds, 12U);
  // Twenty-one windows with at most eighty descendants each, the application and the questions about the focus.
  EXPECT_LE(large.messages, 21U * (1 + 80) + 20U);
}

TEST_F(DialogDetectorReadsTest, readsNothingOutsideItsPlansButTheFocus) {
  openDocumentWithSheet(desktop.launch("Notes", "org.notes"));
  const auto batched = scanTraffic();
  forwarding.ignoresPlans = true;
  const auto unbatched = scanTraffic();
  EXPECT_LE(batched.rounds, 12U);
  EXPECT_GT(unbatched.rounds, 10 * batched.rounds);
}

TEST_F(DialogDetectorReadsTest, seesTheSameWithAndWithoutBatching) {
  for (int app = 0; app < 3; ++app) {
    const auto pid = desktop.launch("App " + std::to_string(app), "org.app" + std::to_string(app));
    openDocumentWithSheet(pid);
    ElementSpec deep = accessPrompt({app * 30.0, 0, 420, 180});
    for (int i = 0; i < 90; ++i)
      deep.children.insert(deep.children.begin(), spec("AXGroup"));
    desktop.openWindow(pid, deep);
    desktop.openWindow(pid, memory::messageBox("Quit?", {"You have unsaved work.", "Save?"}, {"Quit", "Cancel"}));
  }
  (void)detector.scan();
  const auto batched = detector.scan();
  forwarding.ignoresPlans = true;
  const auto unbatched = detector.scan();
  EXPECT_THAT(batched, SizeIs(9));
  EXPECT_EQ(batched, unbatched);
  for (const PendingApproval& approval : batched) {
    forwarding.ignoresPlans = false;
    const auto resolved = detector.resolveCurrentButton(approval, approval.buttons[0].label);
    forwarding.ignoresPlans = true;
    const auto again = detector.resolveCurrentButton(approval, approval.buttons[0].label);
    ASSERT_TRUE(resolved && again);
    EXPECT_EQ(resolved->button, again->button);
    EXPECT_EQ(resolved->element, again->element);
    EXPECT_EQ(resolved->window, again->window);
  }
}

TEST_F(DialogDetectorReadsTest, losesOnlyTheWindowsOfAnApplicationThatHangs) {
  const auto notes = desktop.launch("Notes", "org.notes");
  const auto stuck = desktop.launch("Stuck", "org.stuck");
  desktop.openWindow(notes, accessPrompt());
  desktop.openWindow(stuck, accessPrompt());
  (void)detector.scan();
  desktop.setFault(stuck, memory::Fault::hang);
  const Seconds before = world.time.clock().continuous();
  const auto approvals = detector.scan();
  ASSERT_THAT(approvals, SizeIs(1));
  EXPECT_EQ(approvals[0].appName, "Notes");
  // Its time-out once, although it has the focus.
  EXPECT_NEAR((world.time.clock().continuous() - before).count(), 0.2, 1e-6);
}

TEST_F(DialogDetectorReadsTest, givesEveryApplicationAShortTimeOut) {
  const auto notes = desktop.launch("Notes", "org.notes");
  const auto mail = desktop.launch("Mail", "org.mail");
  (void)detector.scan();
  for (const auto pid : {notes, mail}) {
    EXPECT_THAT(forwarding.timeouts, testing::Contains(testing::Pair(desktop.application(pid), Seconds{0.2})));
  }
}

TEST_F(DialogDetectorReadsTest, changesNothingOnTheDesktop) {
  openDocumentWithSheet(desktop.launch("Notes", "org.notes"));
  desktop.clearDeeds();
  (void)detector.scan();
  EXPECT_THAT(desktop.deeds(), IsEmpty());
}

TEST_F(DialogDetectorReadsTest, survivesAWindowThatGoesWhileItIsRead) {
  const auto pid = desktop.launch("Notes", "org.notes");
  const ElementID window = desktop.openWindow(pid, accessPrompt());
  forwarding.ignoresPlans = true;
  int reads = 0;
  forwarding.onRead = [&](const AXUIElement&, AXAttribute) {
    if (++reads == 25 && desktop.exists(window)) desktop.closeWindow(window);
  };
  EXPECT_THAT(detector.scan(), IsEmpty());
  EXPECT_FALSE(desktop.exists(window));
  EXPECT_THAT(detector.scan(), IsEmpty());
}

}  // namespace
}  // namespace tallyfox
