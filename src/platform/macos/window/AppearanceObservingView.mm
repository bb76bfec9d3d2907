#include "platform/macos/window/AppearanceObservingView.hpp"

@implementation TFAppearanceObservingView

- (instancetype)initWithFrame:(NSRect)frame {
  self = [super initWithFrame:frame];
  if (self != nil) {
    // What the owner chooses under Accessibility changes no appearance by itself. The centre holds no observer
    // strongly.
    [NSWorkspace.sharedWorkspace.notificationCenter
        addObserver:self
           selector:@selector(displayOptionsDidChange:)
               name:NSWorkspaceAccessibilityDisplayOptionsDidChangeNotification
             object:nil];
  }
  return self;
}

- (void)dealloc {
  [NSWorkspace.sharedWorkspace.notificationCenter removeObserver:self];
}

- (void)viewDidChangeEffectiveAppearance {
  [super viewDidChangeEffectiveAppearance];
  if (self.onAppearanceChange != nil) self.onAppearanceChange();
}

- (void)displayOptionsDidChange:(NSNotification*)__unused notification {
  if (self.onAppearanceChange != nil) self.onAppearanceChange();
}

- (void)setBackgroundColor:(NSColor*)color {
  _backgroundColor = color;
  self.needsDisplay = YES;
}

- (void)drawRect:(NSRect)__unused dirtyRect {
  [self.backgroundColor setFill];
  NSRectFill(self.bounds);
}

@end
