// The interface as the agent uses it: the menu, the window's coming and going, and the application's place in the Dock.
// Needs a window server.

#include "platform/macos/window/AppKitInterface.hpp"

#import <AppKit/AppKit.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "platform/macos/MacMainQueue.hpp"
#include "platform/macos/window/StatusWindow.hpp"
#include "window/GalleryStates.hpp"

namespace tallyfox::mac_os {
namespace {

class AppKitInterfaceTest : public testing::Test {
 protected:
  static void SetUpTestSuite() { (void)NSApplication.sharedApplication; }

  [[nodiscard]] InterfaceActions recordingActions() {
    const auto record = [this](const char* name) { return [this, name] { calls.emplace_back(name); }; };
    return {.snapshot =
                [this] {
                  ++snapshots;
                  return state.snapshot;
                },
            .context = [this] { return state.context; },
            .onEnableLoginItem = record("enableLoginItem"),
            .onUnpairPhone = record("unpairPhone"),
            .onCheckForUpdates = record("checkForUpdates"),
            .onPauseNotifications = [this](NotificationPauseOption) { calls.emplace_back("pause"); },
            .onResumeNotifications = record("resume"),
            .openAccessibilitySettings = record("openAccessibilitySettings"),
            .quit = record("quit")};
  }
  [[nodiscard]] static TFStatusWindow* openWindow() {
    for (NSWindow* window in NSApp.windows)
      if (window.visible && [window isKindOfClass:[TFStatusWindow class]]) return static_cast<TFStatusWindow*>(window);
    return nil;
  }
  [[nodiscard]] static NSMenu* menu() { return [NSApp.mainMenu itemAtIndex:0].submenu; }

  gallery::State state = gallery::pairedState();
  std::vector<std::string> calls;
  int snapshots = 0;
  MacMainQueue queue;
  AppKitInterface interface{{.version = "1.2.3"}, recordingActions(), queue};
};

TEST_F(AppKitInterfaceTest, hasOneMenuWithItsEntriesInOrder) {
  interface.configureMenus();
  ASSERT_EQ(NSApp.mainMenu.numberOfItems, 1);
  EXPECT_TRUE([menu().title isEqualToString:@"Tallyfox"]);
  NSArray<NSString*>* titles = [menu().itemArray valueForKey:@"title"];
  EXPECT_TRUE([titles isEqualToArray:(@[ @"About Tallyfox", @"Check for Updates...", @"", @"Quit Tallyfox" ])]);
  EXPECT_TRUE([menu() itemAtIndex:2].separatorItem);
  EXPECT_TRUE([[menu() itemAtIndex:3].keyEquivalent isEqualToString:@"q"]);
  EXPECT_EQ([menu() itemAtIndex:3].keyEquivalentModifierMask, NSEventModifierFlagCommand);
}

TEST_F(AppKitInterfaceTest, carriesOutWhatTheMenuIsAskedFor) {
  interface.configureMenus();
  [menu() update];
  EXPECT_FALSE([menu() itemAtIndex:1].enabled);
  interface.enableCheckForUpdates(true);
  [menu() update];
  EXPECT_TRUE([menu() itemAtIndex:1].enabled);
  [menu() performActionForItemAtIndex:1];
  [menu() performActionForItemAtIndex:3];
  EXPECT_EQ(calls, (std::vector<std::string>{"checkForUpdates", "quit"}));
}

TEST_F(AppKitInterfaceTest, takesItsMenuAlong) {
  {
    AppKitInterface other{{.version = "1.2.3"}, recordingActions(), queue};
    other.configureMenus();
    EXPECT_NE(NSApp.mainMenu, nil);
  }
  EXPECT_EQ(NSApp.mainMenu, nil);
}

TEST_F(AppKitInterfaceTest, isInTheDockWhileItsWindowIsOpen) {
  [NSApp setActivationPolicy:NSApplicationActivationPolicyAccessory];
  interface.showStatusWindow();
  TFStatusWindow* window = openWindow();
  ASSERT_NE(window, nil);
  EXPECT_EQ(window.level, NSNormalWindowLevel);
  EXPECT_EQ(NSApp.activationPolicy, NSApplicationActivationPolicyRegular);
  interface.showStatusWindow();
  EXPECT_EQ(openWindow(), window) << "one window, however often it is shown";
  [window close];
  EXPECT_EQ(openWindow(), nil);
  EXPECT_EQ(NSApp.activationPolicy, NSApplicationActivationPolicyAccessory);
}

TEST_F(AppKitInterfaceTest, asksForNoSnapshotWithoutAWindow) {
  interface.refreshStatusWindow();
  EXPECT_EQ(snapshots, 0);
  interface.showStatusWindow();
  EXPECT_EQ(snapshots, 1);
  interface.refreshStatusWindow();
  EXPECT_EQ(snapshots, 2);
  [openWindow() close];
  interface.refreshStatusWindow();
  EXPECT_EQ(snapshots, 2);
}

}  // namespace
}  // namespace tallyfox::mac_os
