// The status window's views: they show each word of the model and nothing else, have room for all of it, draw the code
// in whole pixels, and tell what is pressed. Needs a window server, but no window on the screen.

#include "platform/macos/window/StatusWindow.hpp"

#include <gtest/gtest.h>

#include <set>
#include <string>
#include <utility>
#include <vector>

#include "platform/macos/window/CodeView.hpp"
#include "platform/macos/window/PillView.hpp"
#include "platform/macos/window/TextLabel.hpp"
#include "window/GalleryStates.hpp"

namespace tallyfox::mac_os {
namespace {

std::string text(NSString* string) {
  return string != nil ? std::string(string.UTF8String) : std::string();
}

class StatusWindowTest : public testing::Test {
 protected:
  static void SetUpTestSuite() { (void)NSApplication.sharedApplication; }

  /// All that can be seen of one class.
  template <typename View>
  [[nodiscard]] std::vector<View*> shown(NSView* root = nil) const {
    std::vector<View*> found;
    NSView* start = root != nil ? root : window.contentView;
    for (NSView* view in start.subviews) {
      if (view.hidden) continue;
      if ([view isKindOfClass:[View class]]) found.push_back(static_cast<View*>(view));
      for (View* inner : shown<View>(view))
        found.push_back(inner);
    }
    return found;
  }
  [[nodiscard]] std::multiset<std::string> shownTexts() const {
    std::multiset<std::string> texts;
    for (TFTextLabel* label : shown<TFTextLabel>())
      texts.insert(text(label.stringValue));
    for (TFPillView* pill : shown<TFPillView>())
      texts.insert(text(pill.accessibilityValue));
    for (TFActionButton* button : shown<TFActionButton>())
      texts.insert(text(button.title));
    return texts;
  }
  [[nodiscard]] TFActionButton* button(const std::string& title) const {
    for (TFActionButton* candidate : shown<TFActionButton>())
      if (text(candidate.title) == title) return candidate;
    return nil;
  }

  std::vector<StatusWindowAction> pressed;
  int closed = 0;
  TFStatusWindow* window = [[TFStatusWindow alloc]
      initWithCallbacks:{.onAction = [this](StatusWindowAction action, NSView*) { pressed.push_back(action); },
                         .onClosed = [this] { ++closed; }}];
};

void addTexts(const std::optional<StatusRowModel>& row, std::multiset<std::string>& texts) {
  if (!row) return;
  texts.insert({row->title, row->detail});
  if (row->pill) texts.insert(row->pill->text);
  for (const auto& button : {row->button, row->secondaryButton})
    if (button) texts.insert(button->title);
}

std::multiset<std::string> textsOf(const StatusWindowModel& model) {
  std::multiset<std::string> texts = {model.title, model.headline, model.detail, model.pill.text};
  texts.insert({model.pairing.title, model.pairing.status, model.pairing.detail, model.pairing.problem.value_or(""),
                model.pairing.caption});
  for (const auto& button : {model.pairing.openSettings, model.pairing.codeToggle, model.pairing.unpair})
    if (button) texts.insert(button->title);
  for (const auto& row : {model.update, model.installLocation})
    addTexts(row, texts);
  for (const auto& row : {model.accessibility, model.loginItem, model.notificationPause})
    addTexts(row, texts);
  texts.erase("");
  return texts;
}

TEST_F(StatusWindowTest, showsEachWordOfEveryStateAndNoOther) {
  for (const std::string_view name : gallery::stateNames) {
    const StatusWindowModel model = gallery::stateNamed(name)->model();
    [window apply:model];
    EXPECT_EQ(shownTexts(), textsOf(model)) << name;
    EXPECT_EQ(text(window.title), model.title);
    EXPECT_EQ(shown<TFCodeView>().size(), model.pairing.code ? 1U : 0U) << name;
  }
}

TEST_F(StatusWindowTest, hasRoomForAllThatItShows) {
  for (const std::string_view name : gallery::stateNames) {
    [window apply:gallery::stateNamed(name)->model()];
    for (TFTextLabel* label : shown<TFTextLabel>()) {
      const NSRect outline = [label alignmentRectForFrame:label.frame];
      EXPECT_GE(NSHeight(outline) + 0.5, [label heightForWidth:NSWidth(outline)]) << name << text(label.stringValue);
    }
    for (TFActionButton* each : shown<TFActionButton>())
      EXPECT_GE(NSWidth([each alignmentRectForFrame:each.frame]) + 0.5, each.intrinsicContentSize.width)
          << name << text(each.title);
    for (NSView<TFArranged>* view : shown<NSView<TFArranged>>()) {
      if (![view conformsToProtocol:@protocol(TFArranged)] || [view heightForWidth:NSWidth(view.frame)] <= 0) continue;
      const NSRect outline = [view alignmentRectForFrame:view.frame];
      EXPECT_TRUE(NSContainsRect(NSInsetRect(view.superview.bounds, -1, -1), outline)) << name;
    }
  }
}

TEST_F(StatusWindowTest, laysItsCardsBelowEachOtherInTheOrderOfTheModel) {
  [window apply:gallery::stateNamed("update-available")->model()];
  CGFloat last = -1;
  for (const char* title : {"Tallyfox", "Update Available", "iPhone Pairing", "Accessibility", "Login Item", "Active"})
    for (TFTextLabel* label : shown<TFTextLabel>()) {
      if (text(label.stringValue) != title) continue;
      const CGFloat top = NSMinY([label convertRect:label.bounds toView:shown<NSScrollView>().front().documentView]);
      EXPECT_GT(top, last) << title;
      last = top;
    }
}

TEST_F(StatusWindowTest, tellsWhatIsPressed) {
  [window apply:gallery::stateNamed("paired")->model()];
  for (const char* title : {"Pair Another iPhone", "Unpair iPhone", "Pause for 2 Hours", "More Options"}) {
    TFActionButton* pressedButton = button(title);
    ASSERT_NE(pressedButton, nil) << title;
    [pressedButton performClick:nil];
  }
  using enum StatusWindowAction;
  EXPECT_EQ(pressed,
            (std::vector{togglePairingCode, unpairPhone, toggleNotificationPause, showNotificationPauseOptions}));
}

TEST_F(StatusWindowTest, drawsTheCodeInBlackAndWhiteAlone) {
  [window apply:gallery::stateNamed("ready-to-scan")->model()];
  ASSERT_EQ(shown<TFCodeView>().size(), 1U);
  TFCodeView* code = shown<TFCodeView>().front();
  EXPECT_EQ(text(code.accessibilityLabel), "Pairing code");
  NSBitmapImageRep* picture = [code bitmapImageRepForCachingDisplayInRect:code.bounds];
  [code cacheDisplayInRect:code.bounds toBitmapImageRep:picture];
  // Along the middle, inside the white ground.
  std::set<std::string> colors;
  constexpr CGFloat inside = 200;
  const CGFloat scale = static_cast<CGFloat>(picture.pixelsWide) / NSWidth(code.bounds);
  const auto margin = static_cast<NSInteger>((NSWidth(code.bounds) - inside) / 2 * scale);
  for (NSInteger x = margin; x < picture.pixelsWide - margin; ++x) {
    NSColor* color = [[picture colorAtX:x y:picture.pixelsHigh / 2] colorUsingColorSpace:NSColorSpace.sRGBColorSpace];
    const bool isBlack = color.brightnessComponent < 0.02;
    const bool isWhite = color.brightnessComponent > 0.98;
    colors.insert(isBlack ? "black" : (isWhite ? "white" : text(color.description)));
  }
  EXPECT_EQ(colors, (std::set<std::string>{"black", "white"}));
}

TEST_F(StatusWindowTest, reachesEachButtonByTheKeyboardFromTopToBottom) {
  [window apply:gallery::stateNamed("paired")->model()];
  std::set<NSView*> reached;
  NSView* view = window.initialFirstResponder.nextKeyView;
  while (view != nil && view != window.initialFirstResponder && reached.insert(view).second)
    view = view.nextKeyView;
  for (TFActionButton* each : shown<TFActionButton>())
    EXPECT_TRUE(reached.contains(each)) << text(each.title);
}

TEST_F(StatusWindowTest, closesByCommandW) {
  [window apply:gallery::stateNamed("paired")->model()];
  [window orderFront:nil];
  NSEvent* event = [NSEvent keyEventWithType:NSEventTypeKeyDown
                                    location:NSZeroPoint
                               modifierFlags:NSEventModifierFlagCommand
                                   timestamp:0
                                windowNumber:window.windowNumber
                                     context:nil
                                  characters:@"w"
                 charactersIgnoringModifiers:@"w"
                                   isARepeat:NO
                                     keyCode:13];
  EXPECT_TRUE([window performKeyEquivalent:event]);
  EXPECT_EQ(closed, 1);
  EXPECT_FALSE(window.visible);
}

}  // namespace
}  // namespace tallyfox::mac_os
