// Sources come application by application, its windows in list order, then from the system-wide focus; each window
// once, with the names of its owner.

#include "detection/WindowSources.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "detection/DetectorDesktop.hpp"
#include "detection/ForwardingAccessibility.hpp"

namespace tallyfox {
namespace {

using memory::ElementID;
using memory::spec;
using testing::ElementsAre;
using testing::IsEmpty;

/// Applications as the test says, the rest from the desktop.
struct StubApplications : Applications {
  std::vector<RunningApplication> runningApplications() override { return known; }
  std::optional<RunningApplication> application(std::int32_t pid) override {
    for (const auto& one : known) {
      if (one.processIdentifier == pid) return one;
    }
    return std::nullopt;
  }
  std::vector<RunningApplication> applicationsWithBundleIdentifier(const std::string&) override { return {}; }
  void terminate(std::int32_t) override {}
  std::int32_t ownProcessIdentifier() override { return 100; }
  std::unique_ptr<Subscription> observe(std::function<void(const WorkspaceEvent&)>) override { return nullptr; }
  std::vector<RunningApplication> known;
};

struct WindowSourcesTest : testing::Test {
  memory::DetectorDesktop world;
  memory::MemoryDesktop& desktop = world.desktop;
  StubApplications applications;
  ForwardingAccessibility forwarding{desktop.accessibility(), desktop.elements()};
  WindowSources sources{AXHelpers(forwarding, forwarding), applications, desktop.windowList()};
  std::int32_t pid = desktop.launch("Notes", "org.notes");
  DialogFrame frame{0, 0, 400, 300};

  ElementID open(const char* title) { return desktop.openWindow(pid, spec(ax_role::window, title, frame)); }
};

TEST_F(WindowSourcesTest, listsWindowsThenMainAndFocusedEachOnce) {
  applications.known = {{pid, "org.notes", "Notes", false, true}};
  const ElementID back = open("Back");
  const ElementID front = open("Front");
  const ElementID unlisted = open("Unlisted");
  desktop.setAttribute(back, AXAttribute::main, AXValue{true});
  desktop.focusWindow(unlisted);
  EXPECT_THAT(sources.gather({}, 0).sources,
              ElementsAre(WindowSource{desktop.element(unlisted), "Notes", "org.notes", pid},
                          WindowSource{desktop.element(front), "Notes", "org.notes", pid},
                          WindowSource{desktop.element(back), "Notes", "org.notes", pid}));
}

TEST_F(WindowSourcesTest, namesANamelessApplication) {
  applications.known = {{pid, std::nullopt, std::nullopt, false, true}};
  const ElementID window = open("Window");
  EXPECT_THAT(sources.gather({}, 0).sources,
              ElementsAre(WindowSource{desktop.element(window), "Unknown app", std::nullopt, pid}));
}

TEST_F(WindowSourcesTest, takesTheFocusOfAProcessThatIsNoApplication) {
  const ElementID window = open("Window");
  EXPECT_THAT(sources.gather({}, 0).sources,
              ElementsAre(WindowSource{desktop.element(window), "System prompt", std::nullopt, pid}));
}

TEST_F(WindowSourcesTest, takesTheWindowAroundTheFocusedElement) {
  const ElementID window = open("Window");
  const ElementID sheet = desktop.addChild(window, spec(ax_role::sheet));
  const ElementID field = desktop.addChild(sheet, spec("AXTextField"));
  desktop.focusElement(field);
  EXPECT_THAT(sources.gather({}, 0).sources,
              ElementsAre(WindowSource{desktop.element(window), "System prompt", std::nullopt, pid},
                          WindowSource{desktop.element(sheet), "System prompt", std::nullopt, pid}));
}

TEST_F(WindowSourcesTest, climbsTwentyAncestorsAtMost) {
  const ElementID window = open("Window");
  ElementID deepest = window;
  for (int i = 0; i < 19; ++i)
    deepest = desktop.addChild(deepest, spec("AXGroup"));
  desktop.focusElement(deepest);
  desktop.setAttribute(window, AXAttribute::role, AXValue{std::string("AXSheet")});
  EXPECT_EQ(sources.gather({}, 0).sources.size(), 1U);
  const auto nearest = AXHelpers(forwarding, forwarding).nearestWindow(desktop.element(deepest), 20);
  EXPECT_EQ(nearest, desktop.element(window));
  deepest = desktop.addChild(deepest, spec("AXGroup"));
  EXPECT_EQ(AXHelpers(forwarding, forwarding).nearestWindow(desktop.element(deepest), 20), std::nullopt);
}

TEST_F(WindowSourcesTest, leavesOutApplicationsThatTerminatedAndTheAgent) {
  open("Window");
  const auto own = desktop.applications().ownProcessIdentifier();
  desktop.openWindow(own, spec(ax_role::window, "Status", frame));
  applications.known = {{pid, "org.notes", "Notes", true, true}, {own, "com.tallyfox.agent", "Tallyfox", false, true}};
  EXPECT_THAT(sources.gather({}, 0).sources, IsEmpty());
}

TEST_F(WindowSourcesTest, leavesOutAFocusOfAnUnknownProcess) {
  open("Window");
  forwarding.knowsProcesses = false;
  EXPECT_THAT(sources.gather({}, 0).sources, IsEmpty());
}

}  // namespace
}  // namespace tallyfox
