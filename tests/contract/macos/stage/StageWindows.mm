#import "contract/macos/stage/StageWindows.hpp"

#import <objc/runtime.h>

@implementation StageAction {
  void (^_block)(void);
}

+ (instancetype)actionWithBlock:(void (^)(void))block {
  StageAction* const action = [[self alloc] init];
  action->_block = [block copy];
  return action;
}

- (void)perform:(id)__unused sender {
  _block();
}

@end

namespace tallyfox::stage {
namespace {

/// The controls hold their targets weakly.
void attach(NSControl* control, void (^block)(void)) {
  static char key;
  StageAction* const action = [StageAction actionWithBlock:block];
  control.target = action;
  control.action = @selector(perform:);
  objc_setAssociatedObject(control, &key, action, OBJC_ASSOCIATION_RETAIN_NONATOMIC);
}

NSButton* button(NSString* title, NSPoint corner, StageNote note, void (^then)(void)) {
  NSButton* const made = [NSButton buttonWithTitle:title target:nil action:nil];
  made.frame = NSMakeRect(corner.x, corner.y, 100, 32);
  attach(made, ^{
    note([@"pressed " stringByAppendingString:title]);
    if (then != nil) then();
  });
  return made;
}

NSTextField* label(NSString* text, NSRect frame) {
  NSTextField* const made = [NSTextField labelWithString:text];
  made.frame = frame;
  return made;
}

void configure(NSWindow* window, NSString* title) {
  window.title = title;
  window.releasedWhenClosed = NO;
  window.animationBehavior = NSWindowAnimationBehaviorNone;
  window.acceptsMouseMovedEvents = YES;
}

NSPanel* panel(NSString* title, NSSize size) {
  NSPanel* const made = [[NSPanel alloc] initWithContentRect:NSMakeRect(300, 300, size.width, size.height)
                                                   styleMask:NSWindowStyleMaskTitled
                                                     backing:NSBackingStoreBuffered
                                                       defer:NO];
  configure(made, title);
  made.hidesOnDeactivate = NO;
  return made;
}

/// Groups of one child each, the button innermost.
NSView* nest(int depth, NSView* innermost) {
  NSView* inside = innermost;
  for (int level = 0; level < depth; ++level) {
    NSView* const group = [[NSView alloc] initWithFrame:NSMakeRect(0, 0, 120, 40)];
    group.accessibilityElement = YES;
    group.accessibilityRole = NSAccessibilityGroupRole;
    [group addSubview:inside];
    inside = group;
  }
  return inside;
}

}  // namespace

NSRect frameFromTopLeft(double x, double y, double width, double height) {
  const CGFloat screenHeight = NSMaxY(NSScreen.screens.firstObject.frame);
  return NSMakeRect(x, screenHeight - y - height, width, height);
}

NSWindow* plainWindow(NSString* title, NSRect frame, NSInteger level, double alpha) {
  const NSWindowStyleMask style = NSWindowStyleMaskTitled | NSWindowStyleMaskClosable |
                                  NSWindowStyleMaskMiniaturizable | NSWindowStyleMaskResizable;
  NSWindow* const window = [[NSWindow alloc] initWithContentRect:[NSWindow contentRectForFrameRect:frame
                                                                                         styleMask:style]
                                                       styleMask:style
                                                         backing:NSBackingStoreBuffered
                                                           defer:NO];
  configure(window, title);
  window.level = level;
  window.alphaValue = alpha;
  window.collectionBehavior = NSWindowCollectionBehaviorFullScreenPrimary;
  // So that the pointer's moves come also while another program is active.
  NSTrackingArea* const area =
      [[NSTrackingArea alloc] initWithRect:NSZeroRect
                                   options:NSTrackingMouseMoved | NSTrackingActiveAlways | NSTrackingInVisibleRect
                                     owner:window.contentView
                                  userInfo:nil];
  [window.contentView addTrackingArea:area];
  return window;
}

NSPanel* dialogPanel(StageNote note) {
  NSPanel* const dialog = panel(@"Contract dialog", NSMakeSize(420, 130));
  dialog.accessibilitySubrole = NSAccessibilityDialogSubrole;
  __weak NSPanel* const shown = dialog;
  void (^const end)(void) = ^{
    [NSApp stopModal];
    [shown close];
  };
  NSView* const content = dialog.contentView;
  [content addSubview:label(@"Proceed with the contract?", NSMakeRect(20, 80, 380, 24))];
  NSButton* const cancel = button(@"Cancel", NSMakePoint(190, 20), note, end);
  cancel.keyEquivalent = @"\033";
  [content addSubview:cancel];
  NSButton* const accept = button(@"OK", NSMakePoint(300, 20), note, end);
  [content addSubview:accept];
  dialog.defaultButtonCell = accept.cell;
  return dialog;
}

NSWindow* controlsWindow(StageNote note) {
  NSPanel* const window = panel(@"Controls", NSMakeSize(420, 240));
  NSView* const content = window.contentView;
  NSButton* const never = button(@"Never", NSMakePoint(20, 180), note, nil);
  never.enabled = NO;
  [content addSubview:never];
  [content addSubview:button(@"Count", NSMakePoint(140, 180), note, nil)];
  NSTextField* const field = [NSTextField textFieldWithString:@"Typed"];
  field.frame = NSMakeRect(20, 120, 300, 24);
  __weak NSTextField* const typedInto = field;
  attach(field, ^{
    note([@"typed " stringByAppendingString:typedInto.stringValue]);
  });
  [content addSubview:field];
  constexpr int depth = 60;
  [content addSubview:nest(depth, button(@"Bottom", NSZeroPoint, note, nil))];
  return window;
}

NSPanel* sheetPanel(StageNote note) {
  NSPanel* const sheet = panel(@"", NSMakeSize(320, 120));
  __weak NSPanel* const shown = sheet;
  [sheet.contentView addSubview:label(@"Save the contract?", NSMakeRect(20, 70, 280, 24))];
  NSButton* const save = button(@"Save", NSMakePoint(200, 20), note, ^{
    [shown.sheetParent endSheet:shown];
  });
  [sheet.contentView addSubview:save];
  sheet.defaultButtonCell = save.cell;
  return sheet;
}

void runAlert(StageNote note, void (^isUp)(void)) {
  NSAlert* const alert = [[NSAlert alloc] init];
  alert.messageText = @"Proceed with the contract?";
  alert.window.title = @"Contract dialog";
  alert.window.animationBehavior = NSWindowAnimationBehaviorNone;
  [alert addButtonWithTitle:@"OK"];
  [alert addButtonWithTitle:@"Cancel"];
  CFRunLoopPerformBlock(CFRunLoopGetMain(), (__bridge CFStringRef)NSModalPanelRunLoopMode, isUp);
  const NSModalResponse response = [alert runModal];
  note(response == NSAlertFirstButtonReturn ? @"pressed OK" : @"pressed Cancel");
}

}  // namespace tallyfox::stage
