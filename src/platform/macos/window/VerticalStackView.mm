#include "platform/macos/window/VerticalStackView.hpp"

using tallyfox::mac_os::heightOf;
using tallyfox::mac_os::lay;

@implementation TFVerticalStackView {
  CGFloat _spacing;
  NSEdgeInsets _insets;
  NSMutableArray<NSView<TFArranged>*>* _arrangedViews;
}

- (instancetype)initWithSpacing:(CGFloat)spacing insets:(NSEdgeInsets)insets {
  self = [super initWithFrame:NSZeroRect];
  if (self != nil) {
    _spacing = spacing;
    _insets = insets;
    _arrangedViews = [NSMutableArray array];
    self.autoresizesSubviews = NO;
  }
  return self;
}

- (void)addArrangedView:(NSView<TFArranged>*)view {
  [_arrangedViews addObject:view];
  [self addSubview:view];
}

- (BOOL)isFlipped {
  return YES;
}

- (CGFloat)heightForWidth:(CGFloat)width {
  const CGFloat inside = width - _insets.left - _insets.right;
  CGFloat height = 0;
  for (NSView<TFArranged>* view in _arrangedViews) {
    const CGFloat own = heightOf(view, inside);
    if (own > 0) height += own + (height > 0 ? _spacing : 0);
  }
  return _insets.top + height + _insets.bottom;
}

- (void)setFrameSize:(NSSize)size {
  [super setFrameSize:size];
  const CGFloat inside = size.width - _insets.left - _insets.right;
  CGFloat y = _insets.top;
  for (NSView<TFArranged>* view in _arrangedViews) {
    const CGFloat own = heightOf(view, inside);
    if (own <= 0) continue;
    lay(view, NSMakeRect(_insets.left, y, inside, own));
    y += own + _spacing;
  }
}

@end
