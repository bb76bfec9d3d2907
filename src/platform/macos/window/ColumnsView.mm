#include "platform/macos/window/ColumnsView.hpp"

#include <algorithm>
#include <cmath>

#include "ui/StatusWindowLayout.hpp"

using tallyfox::mac_os::heightOf;
using tallyfox::mac_os::lay;

namespace {

constexpr CGFloat spacing = tallyfox::status_window_layout::spacing;

}  // namespace

@implementation TFColumnsView {
  NSView<TFArranged>* _first;
  NSView<TFArranged>* _second;
}

- (instancetype)initWithFirst:(NSView<TFArranged>*)first second:(NSView<TFArranged>*)second {
  self = [super initWithFrame:NSZeroRect];
  if (self != nil) {
    _first = first;
    _second = second;
    self.autoresizesSubviews = NO;
    [self addSubview:first];
    [self addSubview:second];
  }
  return self;
}

- (BOOL)isFlipped {
  return YES;
}

- (CGFloat)columnWidthInWidth:(CGFloat)width {
  return _sideBySide ? std::floor((width - spacing) / 2) : width;
}

- (CGFloat)heightForWidth:(CGFloat)width {
  const CGFloat column = [self columnWidthInWidth:width];
  const CGFloat first = heightOf(_first, column);
  const CGFloat second = heightOf(_second, column);
  return _sideBySide ? std::max(first, second) : first + spacing + second;
}

- (void)setFrameSize:(NSSize)size {
  [super setFrameSize:size];
  const CGFloat column = [self columnWidthInWidth:size.width];
  const CGFloat first = heightOf(_first, column);
  const NSPoint second = _sideBySide ? NSMakePoint(size.width - column, 0) : NSMakePoint(0, first + spacing);
  lay(_first, NSMakeRect(0, 0, column, first));
  lay(_second, NSMakeRect(second.x, second.y, column, heightOf(_second, column)));
}

@end
