#include "platform/macos/window/StatusItem.hpp"

#include <utility>

#include "platform/macos/window/CallOut.hpp"
#include "platform/macos/window/DrawnImages.hpp"
#include "platform/macos/window/Localized.hpp"
#include "ui/MenuBarIcon.hpp"

@interface TFClickTarget : NSObject
- (instancetype)initWithHandler:(std::function<void()>)handler;
- (void)showStatusWindow:(id)sender;
@end

@implementation TFClickTarget {
  std::function<void()> _handler;
}

- (instancetype)initWithHandler:(std::function<void()>)handler {
  self = [super init];
  if (self != nil) _handler = std::move(handler);
  return self;
}

- (void)showStatusWindow:(id)__unused sender {
  tallyfox::mac_os::callOut(_handler);
}

@end

namespace tallyfox::mac_os {

StatusItem::StatusItem(std::function<void()> onClick)
    : target_([[TFClickTarget alloc] initWithHandler:std::move(onClick)]),
      item_([NSStatusBar.systemStatusBar statusItemWithLength:menuBarItemLength(0)]) {
  NSStatusBarButton* button = item_.button;
  button.imagePosition = NSImageOnly;
  button.toolTip = localized(menuBarToolTip);
  button.target = target_;
  button.action = @selector(showStatusWindow:);
  draw();
}

StatusItem::~StatusItem() {
  [NSStatusBar.systemStatusBar removeStatusItem:item_];
}

void StatusItem::showPendingCount(std::int64_t count) {
  if (count == count_) return;
  const bool isSameDrawing = menuBarIcon(count) == menuBarIcon(count_);
  count_ = count;
  if (!isSameDrawing) draw();
}

void StatusItem::draw() {
  item_.length = menuBarItemLength(count_);
  item_.button.image = templateImage(menuBarIcon(count_));
  item_.button.accessibilityLabel = localized(menuBarLabel(count_));
}

}  // namespace tallyfox::mac_os
