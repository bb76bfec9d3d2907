#include "platform/macos/window/TextLabel.hpp"

#include <cmath>

#include "platform/macos/window/Localized.hpp"
#include "platform/macos/window/ThemeColors.hpp"

using namespace tallyfox;

@implementation TFTextLabel

- (instancetype)initWithLook:(mac_os::TextLook)look {
  self = [super initWithFrame:NSZeroRect];
  if (self != nil) {
    _role = look.role;
    self.editable = NO;
    self.selectable = NO;
    self.bezeled = NO;
    self.drawsBackground = NO;
    self.font = [NSFont systemFontOfSize:NSFont.systemFontSize * look.relativeSize weight:look.weight];
    self.cell.wraps = YES;
    self.cell.scrollable = NO;
    self.lineBreakMode = NSLineBreakByWordWrapping;
    const bool isMirrored = self.userInterfaceLayoutDirection == NSUserInterfaceLayoutDirectionRightToLeft;
    const NSTextAlignment leading = isMirrored ? NSTextAlignmentRight : NSTextAlignmentLeft;
    self.alignment = look.isCentred ? NSTextAlignmentCenter : leading;
    self.hidden = YES;
  }
  return self;
}

- (void)showText:(const std::string&)text {
  NSString* shown = mac_os::localized(text);
  if (![shown isEqualToString:self.stringValue]) self.stringValue = shown;
  self.hidden = shown.length == 0;
}

- (void)applyTheme:(const AppTheme&)theme {
  self.textColor = mac_os::nsColor(theme.textColor(self.role));
}

- (CGFloat)heightForWidth:(CGFloat)width {
  constexpr CGFloat unlimited = 1.0e5;
  const NSRect frame = [self frameForAlignmentRect:NSMakeRect(0, 0, width, unlimited)];
  return std::ceil([self.cell cellSizeForBounds:frame].height);
}

- (CGFloat)firstLineMiddle {
  constexpr CGFloat unlimited = 1.0e5;
  const NSRect oneLine = NSMakeRect(0, 0, unlimited, unlimited);
  return [self.cell cellSizeForBounds:oneLine].height / 2;
}

@end
