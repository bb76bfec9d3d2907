#include "platform/macos/window/PillView.hpp"

#include <cmath>

#include "platform/macos/window/Localized.hpp"
#include "platform/macos/window/ThemeColors.hpp"

using namespace tallyfox;

namespace {

constexpr CGFloat sidePadding = 10;
constexpr CGFloat verticalPadding = 3;
constexpr CGFloat relativeSize = 0.88;

NSAttributedString* pillText(const StatusPill& pill) {
  NSMutableParagraphStyle* style = [[NSMutableParagraphStyle alloc] init];
  style.alignment = NSTextAlignmentCenter;
  style.lineBreakMode = NSLineBreakByTruncatingTail;
  NSDictionary<NSAttributedStringKey, id>* attributes = @{
    NSFontAttributeName : [NSFont systemFontOfSize:NSFont.systemFontSize * relativeSize weight:NSFontWeightSemibold],
    NSForegroundColorAttributeName : mac_os::nsColor(pillTextColor),
    NSParagraphStyleAttributeName : style
  };
  return [[NSAttributedString alloc] initWithString:mac_os::localized(pill.text) attributes:attributes];
}

}  // namespace

@implementation TFPillView {
  StatusPill _pill;
  NSAttributedString* _text;
}

- (void)apply:(const StatusPill&)pill {
  if (_text != nil && pill == _pill) return;
  _pill = pill;
  _text = pillText(pill);
  self.accessibilityElement = YES;
  self.accessibilityRole = NSAccessibilityStaticTextRole;
  self.accessibilityValue = _text.string;
  self.needsDisplay = YES;
}

- (NSSize)pillSize {
  const NSSize text = _text.size;
  return NSMakeSize(std::ceil(text.width) + 2 * sidePadding, std::ceil(text.height) + 2 * verticalPadding);
}

- (BOOL)isFlipped {
  return YES;
}

- (void)drawRect:(NSRect)__unused dirtyRect {
  const NSRect bounds = self.bounds;
  const CGFloat radius = NSHeight(bounds) / 2;
  [mac_os::nsColor(pillColor(_pill.role)) setFill];
  [[NSBezierPath bezierPathWithRoundedRect:bounds xRadius:radius yRadius:radius] fill];
  [_text drawWithRect:NSInsetRect(bounds, sidePadding, verticalPadding)
              options:NSStringDrawingUsesLineFragmentOrigin | NSStringDrawingTruncatesLastVisibleLine
              context:nil];
}

@end
