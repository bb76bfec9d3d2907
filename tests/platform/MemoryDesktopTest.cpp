// Shows that the desktop in memory behaves as a real one: what it holds, who has the focus, what lies on top, and what
// it tells of itself.

#include "MemoryDesktopFixture.hpp"

namespace tallyfox::memory {
namespace {

using Strings = std::vector<std::string>;

class MemoryDesktopTest : public MemoryDesktopFixture {
 protected:
  std::unique_ptr<Subscription> listen(std::int32_t process) {
    const Strings all = {"AXWindowCreated",        "AXSheetCreated",         "AXMainWindowChanged",
                         "AXFocusedWindowChanged", "AXApplicationActivated", "AXTitleChanged",
                         "AXWindowMiniaturized",   "AXWindowDeminiaturized", "AXUIElementDestroyed"};
    auto subscription = desktop.observers().observe(process, all, [this](const std::string& name) {
      EXPECT_TRUE(mainQueue->isCurrent());
      told.push_back(name);
    });
    EXPECT_TRUE(subscription);
    return subscription ? std::move(*subscription) : nullptr;
  }
  Strings heard() {
    time.runDue();
    return std::exchange(told, {});
  }

  Strings told;
};

TEST_F(MemoryDesktopTest, buildsAMessageBoxWithButtonsInsideItsFrameLeftToRight) {
  const ElementSpec spec = messageBox("Title", {"Line"}, {"Never", "Cancel", "Go"}, {100, 100, 300, 150});
  double right = 100;
  for (const ElementSpec& child : spec.children) {
    ASSERT_TRUE(child.frame);
    EXPECT_GE(child.frame->x, 100);
    EXPECT_LE(child.frame->x + child.frame->width, 400);
    EXPECT_GE(child.frame->y, 100);
    EXPECT_LE(child.frame->y + child.frame->height, 250);
    if (child.role != "AXButton") continue;
    EXPECT_GT(child.frame->width, 0);
    EXPECT_GE(child.frame->x, right);
    right = child.frame->x + child.frame->width;
  }
  EXPECT_TRUE(spec.children[2].isCancelButton);
  EXPECT_TRUE(spec.children[3].isDefaultButton);
}

TEST_F(MemoryDesktopTest, answersOnlyTheAttributesThatWereGiven) {
  EXPECT_EQ(read(box, AXAttribute::role), AXValue(std::string("AXWindow")));
  EXPECT_EQ(read(box, AXAttribute::subrole), AXValue(std::string("AXDialog")));
  EXPECT_EQ(read(box, AXAttribute::modal), AXValue(true));
  EXPECT_EQ(read(box, AXAttribute::position), AXValue(AXPoint{400, 300}));
  EXPECT_EQ(read(box, AXAttribute::size), AXValue(AXSize{420, 180}));
  EXPECT_EQ(read(save, AXAttribute::title), AXValue(std::string("Save")));
  EXPECT_EQ(read(save, AXAttribute::description), std::unexpected(AXError::unsupported));
  EXPECT_EQ(read(save, AXAttribute::modal), std::unexpected(AXError::unsupported));
}

TEST_F(MemoryDesktopTest, knowsTheDefaultAndTheCancelButtonOfAWindowAndOfItsSheet) {
  EXPECT_EQ(read(box, AXAttribute::defaultButton), handle(save));
  EXPECT_EQ(read(box, AXAttribute::cancelButton), handle(cancel));
  ElementSpec spec = messageBox("Sure?", {}, {"Yes"});
  spec.role = "AXSheet";
  const ElementID sheet = desktop.addChild(box, spec);
  EXPECT_EQ(read(sheet, AXAttribute::defaultButton), handle(button(sheet, "Yes")));
  EXPECT_EQ(read(sheet, AXAttribute::cancelButton), std::unexpected(AXError::noValue));
  EXPECT_EQ(read(box, AXAttribute::defaultButton), handle(save));
}

TEST_F(MemoryDesktopTest, linksChildrenAndParentsUpToTheApplication) {
  const auto children = read(box, AXAttribute::children);
  ASSERT_TRUE(children);
  EXPECT_EQ(std::get<std::vector<AXUIElement>>(*children).size(), 4U);
  EXPECT_EQ(read(save, AXAttribute::parent), handle(box));
  EXPECT_EQ(read(box, AXAttribute::parent), AXValue(desktop.application(pid)));
  EXPECT_EQ(read(desktop.application(pid), AXAttribute::parent), std::unexpected(AXError::unsupported));
}

TEST_F(MemoryDesktopTest, playsAValueOfTheWrongTypeAndAnAttributeTakenAway) {
  desktop.setAttribute(save, AXAttribute::title, 7.0);
  EXPECT_EQ(read(save, AXAttribute::title), AXValue(7.0));
  desktop.setTitle(save, std::nullopt);
  EXPECT_EQ(read(save, AXAttribute::title), std::unexpected(AXError::unsupported));
  desktop.setAttribute(box, AXAttribute::children, std::nullopt);
  EXPECT_EQ(read(box, AXAttribute::children), std::unexpected(AXError::unsupported));
}

TEST_F(MemoryDesktopTest, findsElementsByRoleAndTitleOrDescription) {
  desktop.setTitle(save, std::nullopt);
  desktop.setDescription(save, "Keep");
  EXPECT_EQ(desktop.find(box, "AXButton", "Keep"), save);
  EXPECT_EQ(desktop.find(box, "AXButton", "Save"), 0U);
  EXPECT_EQ(desktop.find(0, "AXButton", "Keep"), 0U);
}

TEST_F(MemoryDesktopTest, movesWhatIsInAWindowAlongWithIt) {
  const auto before = std::get<AXPoint>(*read(save, AXAttribute::position));
  desktop.setFrame(box, DialogFrame{410, 290, 420, 180});
  EXPECT_EQ(read(save, AXAttribute::position), AXValue(AXPoint{before.x + 10, before.y - 10}));
  desktop.setFrame(box, std::nullopt);
  EXPECT_EQ(read(box, AXAttribute::position), std::unexpected(AXError::unsupported));
  EXPECT_EQ(read(box, AXAttribute::size), std::unexpected(AXError::unsupported));
}

TEST_F(MemoryDesktopTest, listsWindowsFrontToBackByLayer) {
  const std::int32_t other = desktop.launch("Panel");
  const ElementID panel = desktop.openWindow(other, messageBox("Panel", {}, {"OK"}, {0, 0, 200, 100}));
  const ElementID front = desktop.openWindow(pid, messageBox("Front", {}, {"OK"}));
  desktop.setWindowLayer(panel, 3);
  desktop.setWindowAlpha(front, 0.5);
  const std::vector<WindowInfo> windows = desktop.windowList().windows(false);
  ASSERT_EQ(windows.size(), 3U);
  EXPECT_EQ(windows[0], (WindowInfo{other, "Panel", "Panel", 3, DialogFrame{0, 0, 200, 100}, 1.0}));
  EXPECT_EQ(windows[1], (WindowInfo{pid, "Editor", "Front", 0, DialogFrame{400, 300, 420, 180}, 0.5}));
  EXPECT_EQ(windows[2].name, "Save?");
}

TEST_F(MemoryDesktopTest, leavesMinimisedAndFramelessWindowsOutOfTheList) {
  desktop.setMinimized(box, true);
  ElementSpec spec = messageBox("Unplaced", {}, {"OK"});
  spec.frame = std::nullopt;
  desktop.openWindow(pid, spec);
  EXPECT_TRUE(desktop.windowList().windows(false).empty());
  EXPECT_EQ(desktop.windowList().windows(true).size(), 1U);
  EXPECT_EQ(std::get<std::vector<AXUIElement>>(*read(desktop.application(pid), AXAttribute::windows)).size(), 2U);
}

TEST_F(MemoryDesktopTest, givesANewWindowTheFocusAndTheFront) {
  const ElementID second = desktop.openWindow(pid, messageBox("Second", {}, {"OK"}));
  EXPECT_EQ(read(desktop.application(pid), AXAttribute::windows), handles({second, box}));
  EXPECT_EQ(read(desktop.application(pid), AXAttribute::mainWindow), handle(second));
  EXPECT_EQ(read(desktop.application(pid), AXAttribute::focusedWindow), handle(second));
  EXPECT_EQ(read(desktop.application(pid), AXAttribute::frontmost), AXValue(true));
  EXPECT_EQ(focusedWindow(), handle(second));
  EXPECT_EQ(read(second, AXAttribute::focused), AXValue(true));
  EXPECT_EQ(read(box, AXAttribute::main), AXValue(false));
}

TEST_F(MemoryDesktopTest, givesTheFocusOfAClosedWindowToTheNextOfItsApplicationThenToAnyOther) {
  const ElementID second = desktop.openWindow(pid, messageBox("Second", {}, {"OK"}));
  const std::int32_t other = desktop.launch("Other");
  const ElementID foreign = desktop.openWindow(other, messageBox("Foreign", {}, {"OK"}));
  desktop.focusWindow(second);
  desktop.closeWindow(second);
  EXPECT_EQ(focusedWindow(), handle(box));
  desktop.closeWindow(box);
  EXPECT_EQ(focusedWindow(), handle(foreign));
  desktop.quit(other);
  EXPECT_EQ(focusedWindow(), std::unexpected(AXError::noValue));
}

TEST_F(MemoryDesktopTest, keepsTheFocusWhenAnotherWindowCloses) {
  const ElementID second = desktop.openWindow(pid, messageBox("Second", {}, {"OK"}));
  desktop.closeWindow(box);
  EXPECT_EQ(focusedWindow(), handle(second));
}

TEST_F(MemoryDesktopTest, forgetsTheElementsOfAClosedWindow) {
  const AXUIElement button = desktop.element(save);
  desktop.closeWindow(box);
  EXPECT_FALSE(desktop.exists(save));
  EXPECT_EQ(read(button, AXAttribute::role), std::unexpected(AXError::invalidElement));
  EXPECT_EQ(desktop.elements().copyActionNames(button), std::unexpected(AXError::invalidElement));
  EXPECT_EQ(desktop.elements().processIdentifier(button), pid);
  EXPECT_EQ(button, desktop.element(save));
}

TEST_F(MemoryDesktopTest, answersTheFocusedElementOrElseTheWindow) {
  const AXUIElement systemWide = desktop.accessibility().systemWideElement();
  EXPECT_EQ(read(systemWide, AXAttribute::focusedUIElement), handle(box));
  desktop.focusElement(save);
  EXPECT_EQ(read(systemWide, AXAttribute::focusedUIElement), handle(save));
  desktop.removeElement(save);
  EXPECT_EQ(read(systemWide, AXAttribute::focusedUIElement), handle(box));
}

TEST_F(MemoryDesktopTest, changesFocusStackingAndStateBySettingAttributes) {
  const std::int32_t other = desktop.launch("Other");
  desktop.openWindow(other, messageBox("Cover", {}, {"OK"}));
  desktop.setMinimized(box, true);
  EXPECT_TRUE(set(box, AXAttribute::minimized, false));
  EXPECT_TRUE(set(desktop.application(pid), AXAttribute::frontmost, true));
  EXPECT_TRUE(set(desktop.application(pid), AXAttribute::focusedWindow, handle(box)));
  EXPECT_TRUE(set(box, AXAttribute::main, true));
  EXPECT_TRUE(set(box, AXAttribute::focused, true));
  EXPECT_TRUE(set(desktop.application(pid), AXAttribute::focusedUIElement, handle(save)));
  EXPECT_EQ(focusedWindow(), handle(box));
  EXPECT_EQ(read(save, AXAttribute::focused), AXValue(true));
  EXPECT_EQ(desktop.windowList().windows(false).front().name, "Save?");
  EXPECT_EQ(desktop.deeds().front(), "set " + std::to_string(box) + " AXMinimized");
  EXPECT_EQ(desktop.deeds()[1], "set pid " + std::to_string(pid) + " AXFrontmost");
}

TEST_F(MemoryDesktopTest, refusesToSetWhatCannotBeSet) {
  EXPECT_EQ(set(save, AXAttribute::title, std::string("Other")), std::unexpected(AXError::unsupported));
  EXPECT_EQ(set(save, AXAttribute::minimized, true), std::unexpected(AXError::unsupported));
  EXPECT_EQ(set(box, AXAttribute::minimized, std::string("yes")), std::unexpected(AXError::unsupported));
  EXPECT_EQ(set(desktop.accessibility().systemWideElement(), AXAttribute::focused, true),
            std::unexpected(AXError::unsupported));
  EXPECT_EQ(set(desktop.application(9999), AXAttribute::frontmost, true), std::unexpected(AXError::invalidElement));
}

TEST_F(MemoryDesktopTest, raisesAWindowWithoutGivingItTheFocus) {
  const ElementID second = desktop.openWindow(pid, messageBox("Second", {}, {"OK"}));
  EXPECT_TRUE(perform(box, "AXRaise"));
  EXPECT_EQ(read(desktop.application(pid), AXAttribute::windows), handles({box, second}));
  EXPECT_EQ(focusedWindow(), handle(second));
  EXPECT_EQ(desktop.deeds(), DeedLog{"raise " + std::to_string(box)});
}

TEST_F(MemoryDesktopTest, hitsTheDeepestElementOfTheTopmostWindow) {
  const auto at = [this](double x, double y) { return desktop.accessibility().elementAtPosition({x, y}); };
  const AXPoint corner = std::get<AXPoint>(*read(save, AXAttribute::position));
  EXPECT_EQ(at(corner.x + 1, corner.y + 1), desktop.element(save));
  EXPECT_EQ(at(401, 301), desktop.element(box));
  EXPECT_EQ(at(5, 5), std::unexpected(AXError::noValue));
  const ElementID cover = desktop.openWindow(pid, messageBox("Cover", {}, {}, {390, 290, 500, 300}));
  EXPECT_EQ(at(corner.x + 1, corner.y + 1), desktop.element(cover));
  desktop.setMinimized(cover, true);
  EXPECT_EQ(at(corner.x + 1, corner.y + 1), desktop.element(save));
  desktop.setWindowLayer(box, -1);
  desktop.setMinimized(cover, false);
  desktop.raise(box);
  EXPECT_EQ(at(corner.x + 1, corner.y + 1), desktop.element(cover));
}

TEST_F(MemoryDesktopTest, hitsTheChildOfAGroupThatHasNoFrame) {
  ElementSpec icon{.role = "AXImage", .frame = DialogFrame{402, 302, 10, 10}};
  const ElementID group = desktop.addChild(box, ElementSpec{.role = "AXGroup", .children = {icon}});
  const auto hit = desktop.accessibility().elementAtPosition({403, 303});
  ASSERT_TRUE(hit);
  EXPECT_EQ(read(*hit, AXAttribute::parent), handle(group));
}

TEST_F(MemoryDesktopTest, tellsOfWindowsSheetsTitlesAndFocusAsTasksOfTheMainQueue) {
  static_cast<void>(heard());
  const auto subscription = listen(pid);
  const ElementID second = desktop.openWindow(pid, messageBox("Second", {}, {"OK"}));
  EXPECT_TRUE(told.empty());
  EXPECT_EQ(heard(), (Strings{"AXWindowCreated", "AXFocusedWindowChanged", "AXMainWindowChanged"}));
  desktop.setTitle(second, "Renamed");
  desktop.setTitle(second, "Renamed");
  desktop.setTitle(button(second, "OK"), "Fine");
  EXPECT_EQ(heard(), Strings{"AXTitleChanged"});
  desktop.addChild(second, ElementSpec{.role = "AXSheet"});
  EXPECT_EQ(heard(), Strings{"AXSheetCreated"});
  desktop.setMinimized(box, true);
  desktop.setMinimized(box, false);
  EXPECT_EQ(heard(), (Strings{"AXWindowMiniaturized", "AXWindowDeminiaturized"}));
  desktop.closeWindow(second);
  EXPECT_EQ(heard(), (Strings{"AXUIElementDestroyed", "AXFocusedWindowChanged", "AXMainWindowChanged"}));
}

TEST_F(MemoryDesktopTest, tellsOfActivationToObserversAndTheWorkspace) {
  const std::int32_t other = desktop.launch("Other");
  std::vector<WorkspaceEvent> events;
  time.runDue();
  const auto subscription = listen(other);
  const auto workspace = desktop.applications().observe([&](const WorkspaceEvent& event) { events.push_back(event); });
  desktop.openWindow(other, messageBox("Other", {}, {"OK"}));
  EXPECT_EQ(heard().back(), "AXApplicationActivated");
  desktop.quit(other);
  desktop.postWorkspaceEvent({WorkspaceEventKind::activeSpaceChanged, 0});
  time.runDue();
  EXPECT_EQ(events, (std::vector<WorkspaceEvent>{{WorkspaceEventKind::activated, other},
                                                 {WorkspaceEventKind::terminated, other},
                                                 {WorkspaceEventKind::activated, pid},
                                                 {WorkspaceEventKind::activeSpaceChanged, 0}}));
}

TEST_F(MemoryDesktopTest, tellsNobodyWhoHasLeftOrAskedForOtherNames) {
  time.runDue();
  auto left = listen(pid);
  int titles = 0;
  const auto other = desktop.observers().observe(pid, {"AXTitleChanged"}, [&](const std::string&) { ++titles; });
  desktop.closeWindow(box);
  left.reset();
  EXPECT_TRUE(heard().empty());
  EXPECT_EQ(titles, 0);
}

TEST_F(MemoryDesktopTest, letsAnObserverLeaveInItsOwnCallback) {
  time.runDue();
  std::unique_ptr<Subscription> own;
  int calls = 0;
  auto subscription = desktop.observers().observe(pid, {"AXTitleChanged"}, [&](const std::string&) {
    ++calls;
    own.reset();
  });
  own = std::move(*subscription);
  desktop.setTitle(box, "One");
  desktop.setTitle(box, "Two");
  time.runDue();
  EXPECT_EQ(calls, 1);
}

TEST_F(MemoryDesktopTest, playsANotificationOnDemandAndKeepsAHangingApplicationQuiet) {
  time.runDue();
  const auto subscription = listen(pid);
  desktop.postNotification(pid, "AXSheetCreated");
  EXPECT_EQ(heard(), Strings{"AXSheetCreated"});
  desktop.setFault(pid, Fault::hang);
  desktop.setTitle(box, "Unheard");
  EXPECT_TRUE(heard().empty());
}

TEST_F(MemoryDesktopTest, refusesToObserveAProcessThatIsGone) {
  desktop.quit(pid);
  EXPECT_EQ(desktop.observers().observe(pid, {"AXTitleChanged"}, [](const std::string&) {}).error(),
            AXError::invalidElement);
}

TEST_F(MemoryDesktopTest, listsRunningApplicationsWithTheAgentItself) {
  const std::int32_t background = desktop.launch("Service", std::nullopt, false);
  Applications& applications = desktop.applications();
  const std::vector<RunningApplication> running = applications.runningApplications();
  ASSERT_EQ(running.size(), 3U);
  EXPECT_EQ(running[0].processIdentifier, applications.ownProcessIdentifier());
  EXPECT_EQ(running[1], (RunningApplication{pid, "com.example.editor", "Editor", false, true}));
  EXPECT_EQ(running[2], (RunningApplication{background, std::nullopt, "Service", false, false}));
  EXPECT_EQ(applications.application(9999), std::nullopt);
  EXPECT_EQ(applications.applicationsWithBundleIdentifier("com.example.editor"),
            std::vector<RunningApplication>{running[1]});
}

TEST_F(MemoryDesktopTest, terminatesAnApplicationInItsOwnTimeUnlessItHangs) {
  const std::int32_t hanging = desktop.launch("Hanging");
  desktop.setFault(hanging, Fault::hang);
  desktop.applications().terminate(pid);
  desktop.applications().terminate(hanging);
  EXPECT_TRUE(desktop.applications().application(pid));
  time.runDue();
  EXPECT_FALSE(desktop.applications().application(pid));
  EXPECT_FALSE(desktop.exists(box));
  EXPECT_TRUE(desktop.applications().application(hanging));
}

}  // namespace
}  // namespace tallyfox::memory
