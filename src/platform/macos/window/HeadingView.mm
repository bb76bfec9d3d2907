#include "platform/macos/window/HeadingView.hpp"

#include <algorithm>
#include <cmath>

using tallyfox::mac_os::lay;

namespace {

constexpr CGFloat gap = 12;

struct Parts {
  NSRect title;
  NSRect pill;
  CGFloat height;
};

}  // namespace

@implementation TFHeadingView {
  TFPillView* _pill;
}

- (instancetype)initWithTitle:(TFTextLabel*)title {
  self = [super initWithFrame:NSZeroRect];
  if (self != nil) {
    _title = title;
    _pill = [[TFPillView alloc] initWithFrame:NSZeroRect];
    _pill.hidden = YES;
    self.autoresizesSubviews = NO;
    [self addSubview:_title];
    [self addSubview:_pill];
  }
  return self;
}

- (void)applyPill:(const std::optional<tallyfox::StatusPill>&)pill {
  if (pill) [_pill apply:*pill];
  _pill.hidden = !pill.has_value();
}

- (BOOL)isFlipped {
  return YES;
}

- (Parts)partsInWidth:(CGFloat)width {
  Parts parts{};
  // However long the pill, the title keeps half of the line.
  NSSize pill = NSZeroSize;
  if (!_pill.hidden) {
    pill = _pill.pillSize;
    pill.width = std::min(pill.width, std::floor(width / 2));
  }
  const CGFloat titleWidth = std::max<CGFloat>(width - pill.width - (_pill.hidden ? 0 : gap), 1);
  const CGFloat titleHeight = [_title heightForWidth:titleWidth];
  parts.height = std::max(titleHeight, pill.height);
  parts.title = NSMakeRect(0, std::floor((parts.height - titleHeight) / 2), titleWidth, titleHeight);
  const CGFloat pillTop =
      std::max<CGFloat>(std::floor(NSMinY(parts.title) + _title.firstLineMiddle - pill.height / 2), 0);
  parts.pill = NSMakeRect(width - pill.width, pillTop, pill.width, pill.height);
  return parts;
}

- (CGFloat)heightForWidth:(CGFloat)width {
  return [self partsInWidth:width].height;
}

- (CGFloat)firstLineMiddleInWidth:(CGFloat)width {
  return NSMinY([self partsInWidth:width].title) + _title.firstLineMiddle;
}

- (void)setFrameSize:(NSSize)size {
  [super setFrameSize:size];
  const Parts parts = [self partsInWidth:size.width];
  lay(_title, parts.title);
  lay(_pill, parts.pill);
}

@end
