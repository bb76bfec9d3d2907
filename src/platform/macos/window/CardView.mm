#include "platform/macos/window/CardView.hpp"

#include "platform/macos/window/Localized.hpp"
#include "platform/macos/window/ThemeColors.hpp"
#include "ui/StatusWindowLayout.hpp"

using namespace tallyfox;

namespace {

constexpr CGFloat padding = status_window_layout::cardPadding;
constexpr CGFloat radius = status_window_layout::cardCornerRadius;
constexpr CGFloat textSpacing = 4;

}  // namespace

@implementation TFCardView {
  CGFloat _leadingRoom;
  NSColor* _ground;
  NSColor* _border;
}

- (instancetype)initWithLeadingRoom:(CGFloat)leadingRoom {
  self = [super initWithFrame:NSZeroRect];
  if (self != nil) {
    _leadingRoom = leadingRoom;
    _content = [[TFVerticalStackView alloc] initWithSpacing:textSpacing insets:NSEdgeInsetsZero];
    self.autoresizesSubviews = NO;
    self.accessibilityElement = YES;
    self.accessibilityRole = NSAccessibilityGroupRole;
    [self addSubview:_content];
  }
  return self;
}

- (void)setTitle:(const std::string&)title {
  self.accessibilityLabel = mac_os::localized(title);
}

- (void)applyTheme:(const AppTheme&)theme {
  _ground = mac_os::nsColor(theme.cardBackground);
  _border = mac_os::nsColor(theme.cardBorder);
  self.needsDisplay = YES;
}

- (BOOL)isFlipped {
  return YES;
}

- (CGFloat)heightForWidth:(CGFloat)width {
  return [_content heightForWidth:width - _leadingRoom - 2 * padding] + 2 * padding;
}

- (void)setFrameSize:(NSSize)size {
  [super setFrameSize:size];
  mac_os::lay(_content, NSMakeRect(padding + _leadingRoom, padding, size.width - _leadingRoom - 2 * padding,
                                   size.height - 2 * padding));
}

- (void)drawRect:(NSRect)__unused dirtyRect {
  NSBezierPath* outline = [NSBezierPath bezierPathWithRoundedRect:NSInsetRect(self.bounds, 0.5, 0.5)
                                                          xRadius:radius
                                                          yRadius:radius];
  [_ground setFill];
  [outline fill];
  [_border setStroke];
  [outline stroke];
}

@end
