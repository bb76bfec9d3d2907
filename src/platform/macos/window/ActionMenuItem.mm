#include "platform/macos/window/ActionMenuItem.hpp"

#include <utility>

#include "platform/macos/window/CallOut.hpp"

@implementation TFActionMenuItem {
  std::function<void()> _onChoice;
}

- (instancetype)initWithTitle:(NSString*)title
                keyEquivalent:(NSString*)keyEquivalent
                     onChoice:(std::function<void()>)onChoice {
  self = [super initWithTitle:title action:@selector(choose:) keyEquivalent:keyEquivalent];
  if (self != nil) {
    _onChoice = std::move(onChoice);
    self.target = self;  // not retained
  }
  return self;
}

- (void)choose:(id)__unused sender {
  tallyfox::mac_os::callOut(_onChoice);
}

@end
