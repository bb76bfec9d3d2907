// Which windows count as visible, what their signatures say, and which applications are worth a look, in which order.

#include "detection/VisibleWindowOwners.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>

#include "detection/DetectorDesktop.hpp"

namespace tallyfox {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

constexpr DialogFrame frame{100, 50, 400, 300};

WindowInfo visible() {
  return {7, "Notes", "Access", 0, frame, 1.0};
}

struct StubWindowList : WindowList {
  std::vector<WindowInfo> windows(bool includeAllSpaces) override { return includeAllSpaces ? all : onScreen; }
  std::vector<WindowInfo> onScreen;
  std::vector<WindowInfo> all;
};

struct VisibleWindowOwnersTest : testing::Test {
  memory::DetectorDesktop world;
  StubWindowList list;
  VisibleWindowOwners stubbed{world.desktop.applications(), list};
  VisibleWindowOwners owners{world.desktop.applications(), world.desktop.windowList()};
};

std::vector<std::int32_t> pids(const std::vector<RunningApplication>& applications) {
  std::vector<std::int32_t> made;
  for (const auto& application : applications)
    made.push_back(application.processIdentifier);
  return made;
}

TEST(VisibleWindowOwners, countsAWindowWithAllItsMembers) {
  EXPECT_TRUE(VisibleWindowOwners::isVisible(visible()));
  WindowInfo window = visible();
  window.alpha = std::nullopt;
  EXPECT_FALSE(VisibleWindowOwners::isVisible(window));
  window = visible();
  window.layer = std::nullopt;
  EXPECT_FALSE(VisibleWindowOwners::isVisible(window));
  window = visible();
  window.bounds = std::nullopt;
  EXPECT_FALSE(VisibleWindowOwners::isVisible(window));
}

TEST(VisibleWindowOwners, ignoresFaintLowAndSmallWindows) {
  struct Case {
    double alpha;
    std::int64_t layer;
    double width;
    double height;
    bool isVisible;
  };
  for (const Case& one : {Case{0, 0, 80, 40, false}, Case{0.01, 0, 80, 40, false}, Case{0.0101, 0, 80, 40, true},
                          Case{1, -1, 80, 40, false}, Case{1, 25, 80, 40, true}, Case{1, 0, 79.9, 400, false},
                          Case{1, 0, 800, 39.9, false}, Case{1, 0, -800, 400, false}, Case{1, 0, 40, 80, false}}) {
    WindowInfo window = visible();
    window.alpha = one.alpha;
    window.layer = one.layer;
    window.bounds = DialogFrame{0, 0, one.width, one.height};
    EXPECT_EQ(VisibleWindowOwners::isVisible(window), one.isVisible)
        << one.alpha << " " << one.layer << " " << one.width << "x" << one.height;
  }
}

TEST_F(VisibleWindowOwnersTest, survivesBoundsThatNoScreenHas) {
  const double nan = std::numeric_limits<double>::quiet_NaN();
  for (const DialogFrame& bounds : {DialogFrame{nan, 0, 400, 300}, DialogFrame{0, 1e300, 400, 300},
                                    DialogFrame{0, 0, std::numeric_limits<double>::infinity(), 300}}) {
    WindowInfo window = visible();
    window.bounds = bounds;
    list.onScreen = {window};
    EXPECT_THAT(stubbed.visibleWindowSignatures(), IsEmpty());
  }
}

TEST_F(VisibleWindowOwnersTest, writesOneSignatureAVisibleWindow) {
  WindowInfo nameless = visible();
  nameless.ownerName = nameless.name = std::nullopt;
  nameless.layer = 3;
  nameless.bounds = DialogFrame{-0.7, 10.9, 300.5, 200};
  WindowInfo ownerless = visible();
  ownerless.ownerProcessIdentifier = std::nullopt;
  list.onScreen = {visible(), nameless, ownerless, visible()};
  EXPECT_THAT(stubbed.visibleWindowSignatures(),
              UnorderedElementsAre("7|Notes|Access|0|100,50,400,300", "7|||3|0,10,300,200"));
}

TEST_F(VisibleWindowOwnersTest, changesTheSignatureWhenAWindowMovesByOnePoint) {
  list.onScreen = {visible()};
  const auto before = stubbed.visibleWindowSignatures();
  list.onScreen[0].bounds->x += 1;
  EXPECT_NE(stubbed.visibleWindowSignatures(), before);
}

TEST_F(VisibleWindowOwnersTest, changesTheSignatureWithEachOfItsParts) {
  const std::vector<void (*)(WindowInfo&)> changes = {
      [](WindowInfo& window) { window.ownerProcessIdentifier = 8; },
      [](WindowInfo& window) { window.ownerName = "Other"; },
      [](WindowInfo& window) { window.name = "Renamed"; },
      [](WindowInfo& window) { window.layer = 1; },
      [](WindowInfo& window) { window.bounds->y += 1; },
      [](WindowInfo& window) { window.bounds->width += 1; },
      [](WindowInfo& window) { window.bounds->height += 1; },
      [](WindowInfo& window) { window.alpha = 0; },
  };
  list.onScreen = {visible()};
  const auto before = stubbed.visibleWindowSignatures();
  for (std::size_t i = 0; i < changes.size(); ++i) {
    list.onScreen[0] = visible();
    changes[i](list.onScreen[0]);
    EXPECT_NE(stubbed.visibleWindowSignatures(), before) << "change " << i;
  }
  list.onScreen[0] = visible();
  list.onScreen[0].bounds->x += 0.5;
  list.onScreen[0].alpha = 0.5;
  EXPECT_EQ(stubbed.visibleWindowSignatures(), before) << "a part of a point and the alpha are no parts";
}

TEST_F(VisibleWindowOwnersTest, ignoresTheOrderOfWindowsInTheSignature) {
  WindowInfo other = visible();
  other.ownerProcessIdentifier = 8;
  list.onScreen = {visible(), other};
  const auto before = stubbed.visibleWindowSignatures();
  list.onScreen = {other, visible()};
  EXPECT_EQ(stubbed.visibleWindowSignatures(), before);
}

TEST_F(VisibleWindowOwnersTest, namesEachOwnerOnceInListOrder) {
  for (const std::int32_t owner : {9, 7, 9, 0, -4}) {
    list.onScreen.push_back(visible());
    list.onScreen.back().ownerProcessIdentifier = owner;
  }
  list.all = {visible()};
  EXPECT_THAT(stubbed.processIdentifiers(false), ElementsAre(9, 7));
  EXPECT_THAT(stubbed.processIdentifiers(true), ElementsAre(7));
}

TEST_F(VisibleWindowOwnersTest, scansVisibleOwnersThenRegularThenServices) {
  auto& desktop = world.desktop;
  const auto regular = desktop.launch("Regular", "org.regular");
  const auto minimized = desktop.launch("Minimised", "org.minimised");
  const auto background = desktop.launch("Background", "org.background", false);
  (void)desktop.launch("Silent", "org.silent", false);
  const auto service = desktop.launch("SecurityAgent", "com.apple.SecurityAgent", false);
  desktop.setMinimized(desktop.openWindow(minimized, memory::accessPrompt()), true);
  desktop.openWindow(background, memory::accessPrompt());
  EXPECT_THAT(pids(owners.promptScanApplications()), ElementsAre(background, minimized, regular, service));
}

TEST_F(VisibleWindowOwnersTest, neverScansTheAgentItself) {
  const auto own = world.desktop.applications().ownProcessIdentifier();
  world.desktop.openWindow(own, memory::accessPrompt());
  EXPECT_THAT(owners.promptScanApplications(), IsEmpty());
}

TEST_F(VisibleWindowOwnersTest, listsTheApplicationsWithWindowsOnScreen) {
  const auto shown = world.desktop.launch("Shown");
  const auto hidden = world.desktop.launch("Hidden");
  world.desktop.setMinimized(world.desktop.openWindow(hidden, memory::accessPrompt()), true);
  world.desktop.openWindow(shown, memory::accessPrompt());
  EXPECT_THAT(pids(owners.visibleRunningApplications()), ElementsAre(shown));
}

TEST(VisibleWindowOwners, knowsPromptServicesWithoutAName) {
  EXPECT_TRUE(VisibleWindowOwners::isKnownPromptService({1, "com.apple.securityagent", std::nullopt, false, false}));
  EXPECT_TRUE(VisibleWindowOwners::isKnownPromptService({1, std::nullopt, "loginwindow", false, false}));
  EXPECT_FALSE(VisibleWindowOwners::isKnownPromptService({1, std::nullopt, std::nullopt, false, true}));
}

}  // namespace
}  // namespace tallyfox
