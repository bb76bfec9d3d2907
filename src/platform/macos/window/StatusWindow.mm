#include "platform/macos/window/StatusWindow.hpp"

#include <algorithm>
#include <cmath>
#include <optional>
#include <utility>

#include "platform/macos/window/AppearanceObservingView.hpp"
#include "platform/macos/window/CallOut.hpp"
#include "platform/macos/window/Confirmation.hpp"
#include "platform/macos/window/Localized.hpp"
#include "platform/macos/window/StatusContentView.hpp"
#include "platform/macos/window/ThemeColors.hpp"
#include "ui/StatusWindowLayout.hpp"

using namespace tallyfox;

namespace {

namespace sizes = status_window_layout;

constexpr NSSize leastContentSize = {280, 160};
constexpr NSWindowStyleMask style =
    NSWindowStyleMaskTitled | NSWindowStyleMaskClosable | NSWindowStyleMaskMiniaturizable | NSWindowStyleMaskResizable;
constexpr CGFloat lineScroll = 24;

/// A rectangle of the screen, whose y axis points upwards, from the top left.
drawing::Rectangle fromTop(NSRect rectangle) {
  return {.x = NSMinX(rectangle), .y = -NSMaxY(rectangle), .width = NSWidth(rectangle), .height = NSHeight(rectangle)};
}

}  // namespace

@implementation TFStatusWindow {
  mac_os::StatusWindowCallbacks _callbacks;
  std::optional<StatusWindowModel> _model;
  std::optional<StatusWindowFit> _fit;
  TFAppearanceObservingView* _ground;
  NSScrollView* _scroll;
  TFStatusContentView* _content;
  BOOL _isAppearanceUpdateScheduled;
}

- (instancetype)initWithCallbacks:(mac_os::StatusWindowCallbacks)callbacks {
  const NSRect room = NSMakeRect(0, 0, sizes::compactWidth, leastContentSize.height);
  self = [super initWithContentRect:room styleMask:style backing:NSBackingStoreBuffered defer:YES];
  if (self != nil) {
    _callbacks = std::move(callbacks);
    self.releasedWhenClosed = NO;
    self.restorable = NO;
    self.tabbingMode = NSWindowTabbingModeDisallowed;
    self.autorecalculatesKeyViewLoop = NO;
    self.contentMinSize = leastContentSize;
    self.collectionBehavior = NSWindowCollectionBehaviorMoveToActiveSpace | NSWindowCollectionBehaviorFullScreenNone;
    [self buildContentInRoom:room];
    [self linkKeyViews];
    [self observe:NSApplicationDidChangeScreenParametersNotification of:nil by:@selector(screenParametersDidChange:)];
    // As an observer, not as its own delegate: windows pass questions on to their delegate, and this one would ask
    // itself without end.
    [self observe:NSWindowDidChangeScreenNotification of:self by:@selector(windowDidChangeScreen:)];
    [self observe:NSWindowDidChangeBackingPropertiesNotification
               of:self
               by:@selector(windowDidChangeBackingProperties:)];
    [self observe:NSWindowDidResizeNotification of:self by:@selector(windowDidResize:)];
    [self observe:NSWindowWillCloseNotification of:self by:@selector(windowWillClose:)];
    [self updateAppearance];
  }
  return self;
}

- (void)observe:(NSNotificationName)name of:(id)object by:(SEL)selector {
  [NSNotificationCenter.defaultCenter addObserver:self selector:selector name:name object:object];
}

- (void)dealloc {
  [NSNotificationCenter.defaultCenter removeObserver:self];
}

- (void)buildContentInRoom:(NSRect)room {
  _content = [[TFStatusContentView alloc] initWithHandler:_callbacks.onAction];
  _scroll = [[NSScrollView alloc] initWithFrame:room];
  _scroll.autoresizingMask = NSViewWidthSizable | NSViewHeightSizable;
  _scroll.drawsBackground = NO;
  _scroll.borderType = NSNoBorder;
  _scroll.hasVerticalScroller = YES;
  _scroll.autohidesScrollers = YES;
  _scroll.horizontalScrollElasticity = NSScrollElasticityNone;
  _scroll.documentView = _content;
  _ground = [[TFAppearanceObservingView alloc] initWithFrame:room];
  __weak TFStatusWindow* window = self;
  _ground.onAppearanceChange = ^{
    [window scheduleAppearanceUpdate];
  };
  [_ground addSubview:_scroll];
  self.contentView = _ground;
}

/// Tab goes from top to bottom; what is hidden is left out by AppKit.
- (void)linkKeyViews {
  NSView* previous = _ground;
  for (TFActionButton* button in _content.buttons) {
    previous.nextKeyView = button;
    previous = button;
  }
  previous.nextKeyView = _ground;
  self.initialFirstResponder = _ground;
}

- (void)apply:(const StatusWindowModel&)model {
  if (model == _model) return;
  _model = model;
  self.title = mac_os::localized(model.title);
  [_content apply:model theme:mac_os::themeUnder(self.effectiveAppearance)];
  [self layOutContent];
  [self fitToScreen];
}

- (void)ask:(const ConfirmationModel&)question onConfirmed:(std::function<void()>)onConfirmed {
  if (self.attachedSheet == nil) mac_os::askOnSheet(self, question, std::move(onConfirmed));
}

// Appearance.

/// AppKit is in the middle of the change when it tells of it, and tells of it more than once.
- (void)scheduleAppearanceUpdate {
  if (_isAppearanceUpdateScheduled) return;
  _isAppearanceUpdateScheduled = YES;
  __weak TFStatusWindow* window = self;
  dispatch_async(dispatch_get_main_queue(), ^{
    [window updateAppearance];
  });
}

- (void)updateAppearance {
  _isAppearanceUpdateScheduled = NO;
  const AppTheme theme = mac_os::themeUnder(self.effectiveAppearance);
  _ground.backgroundColor = mac_os::nsColor(theme.windowBackground);
  self.backgroundColor = _ground.backgroundColor;
  [_content applyTheme:theme];
}

// Size and place.

/// Gives the content the width that is there, and the height that it needs in it, or more where there is more.
- (void)layOutContent {
  // A scroller that appears takes width away; then once more.
  for (int round = 0; round < 2; ++round) {
    const NSSize room = _scroll.contentSize;
    [_content setFrameSize:NSMakeSize(room.width, std::max([_content heightForWidth:room.width], room.height))];
    [_scroll tile];
    if (_scroll.contentSize.width == room.width) return;
  }
}

- (CGFloat)contentHeightOfKind:(StatusWindowLayout)kind {
  const StatusWindowLayout present = _content.kind;
  _content.kind = kind;
  const bool isWide = kind == StatusWindowLayout::wide;
  const CGFloat height = [_content heightForWidth:isWide ? sizes::wideWidth : sizes::compactWidth];
  _content.kind = present;
  return height;
}

- (void)fitToScreen {
  NSScreen* screen = self.screen != nil ? self.screen : NSScreen.mainScreen;
  if (screen == nil) return;
  const NSSize visible = [self contentRectForFrameRect:screen.visibleFrame].size;
  const StatusWindowFit fit = statusWindowFit({.width = visible.width, .height = visible.height},
                                              [self contentHeightOfKind:StatusWindowLayout::compact],
                                              [self contentHeightOfKind:StatusWindowLayout::wide]);
  // The owner's own size stays until the content wants another.
  if (fit == _fit) return;
  const bool isFirst = !_fit.has_value();
  _fit = fit;
  _content.kind = fit.layout;
  // A code's height may end in half a point, for which nothing should have to be scrolled.
  const NSSize size = NSMakeSize(std::floor(fit.size.width), std::ceil(fit.size.height));
  NSRect frame = [self frameRectForContentRect:NSMakeRect(0, 0, size.width, size.height)];
  frame.origin = NSMakePoint(NSMinX(self.frame), NSMaxY(self.frame) - NSHeight(frame));
  [self setFrame:frame display:YES];
  [self layOutContent];
  if (isFirst) [self center];
  [self keepOnScreen:screen];
}

/// A window that grows would reach below its screen.
- (void)keepOnScreen:(NSScreen*)screen {
  const drawing::Point place = keptOnScreen(fromTop(self.frame), fromTop(screen.visibleFrame));
  const NSPoint topLeft = NSMakePoint(place.x, -place.y);
  if (!NSEqualPoints(topLeft, NSMakePoint(NSMinX(self.frame), NSMaxY(self.frame)))) [self setFrameTopLeftPoint:topLeft];
}

- (void)screenParametersDidChange:(NSNotification*)__unused notification {
  [self fitToScreen];
}

- (void)windowDidChangeScreen:(NSNotification*)__unused notification {
  [self fitToScreen];
}

- (void)windowDidChangeBackingProperties:(NSNotification*)__unused notification {
  // The code may have another size on the other screen's pixels.
  [self layOutContent];
  [self fitToScreen];
}

- (void)windowDidResize:(NSNotification*)__unused notification {
  [self layOutContent];
}

- (void)windowWillClose:(NSNotification*)__unused notification {
  mac_os::callOut(_callbacks.onClosed);
}

// Keys.

- (BOOL)performKeyEquivalent:(NSEvent*)event {
  constexpr NSEventModifierFlags modifiers =
      NSEventModifierFlagCommand | NSEventModifierFlagShift | NSEventModifierFlagOption | NSEventModifierFlagControl;
  // The main menu has no entry for it.
  const bool isCommand = (event.modifierFlags & modifiers) == NSEventModifierFlagCommand;
  // With the command key held, layouts without Latin letters have them too.
  const bool isW = [event.characters.lowercaseString isEqualToString:@"w"] ||
                   [event.charactersIgnoringModifiers.lowercaseString isEqualToString:@"w"];
  if (isCommand && isW && self.attachedSheet == nil) {
    [self performClose:nil];
    return YES;
  }
  return [super performKeyEquivalent:event];
}

- (void)cancelOperation:(id)__unused sender {
  [self performClose:nil];
}

- (void)keyDown:(NSEvent*)event {
  NSString* keys = event.charactersIgnoringModifiers;
  const CGFloat page = std::max<CGFloat>(NSHeight(_scroll.documentVisibleRect) - lineScroll, lineScroll);
  switch (keys.length == 1 ? [keys characterAtIndex:0] : 0) {
    case NSDownArrowFunctionKey:
      return [self scrollBy:lineScroll];
    case NSUpArrowFunctionKey:
      return [self scrollBy:-lineScroll];
    case NSPageDownFunctionKey:
      return [self scrollBy:page];
    case NSPageUpFunctionKey:
      return [self scrollBy:-page];
    case NSEndFunctionKey:
      return [self scrollBy:NSHeight(_content.frame)];
    case NSHomeFunctionKey:
      return [self scrollBy:-NSHeight(_content.frame)];
    default:
      [super keyDown:event];
  }
}

- (void)scrollBy:(CGFloat)distance {
  NSClipView* clip = _scroll.contentView;
  const CGFloat most = std::max<CGFloat>(NSHeight(_content.frame) - NSHeight(clip.bounds), 0);
  [clip scrollToPoint:NSMakePoint(0, std::clamp<CGFloat>(NSMinY(clip.bounds) + distance, 0, most))];
  [_scroll reflectScrolledClipView:clip];
}

@end
