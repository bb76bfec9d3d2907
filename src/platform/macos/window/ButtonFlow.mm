#include "platform/macos/window/ButtonFlow.hpp"

#include <cstddef>
#include <vector>

#include "ui/FlowArrangement.hpp"

using namespace tallyfox;

namespace {

constexpr CGFloat between = 8;
constexpr CGFloat above = 4;

}  // namespace

@implementation TFButtonFlow {
  NSArray<TFActionButton*>* _buttons;
}

- (instancetype)initWithButtons:(NSArray<TFActionButton*>*)buttons {
  self = [super initWithFrame:NSZeroRect];
  if (self != nil) {
    _buttons = buttons;
    self.autoresizesSubviews = NO;
    for (TFActionButton* button in buttons)
      [self addSubview:button];
  }
  return self;
}

- (BOOL)isFlipped {
  return YES;
}

- (NSArray<TFActionButton*>*)shownButtons {
  return [_buttons filteredArrayUsingPredicate:[NSPredicate predicateWithBlock:^BOOL(TFActionButton* button,
                                                                                     NSDictionary* __unused bindings) {
                     return !button.hidden;
                   }]];
}

- (std::vector<drawing::Rectangle>)placesInWidth:(CGFloat)width {
  std::vector<FlowSize> sizes;
  for (TFActionButton* button in self.shownButtons) {
    const NSSize size = button.intrinsicContentSize;
    sizes.push_back({.width = size.width, .height = size.height});
  }
  return flowArrangement(sizes, width, between);
}

- (CGFloat)heightForWidth:(CGFloat)width {
  const CGFloat height = flowHeight([self placesInWidth:width]);
  return height > 0 ? above + height : 0;
}

- (void)setFrameSize:(NSSize)size {
  [super setFrameSize:size];
  const std::vector<drawing::Rectangle> places = [self placesInWidth:size.width];
  std::size_t next = 0;
  for (TFActionButton* button in self.shownButtons) {
    const drawing::Rectangle& place = places[next++];
    mac_os::lay(button, NSMakeRect(place.x, above + place.y, place.width, place.height));
  }
}

@end
