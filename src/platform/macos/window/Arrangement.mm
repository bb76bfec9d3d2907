#include "platform/macos/window/Arrangement.hpp"

namespace tallyfox::mac_os {

CGFloat heightOf(NSView<TFArranged>* view, CGFloat width) {
  return view.hidden ? 0 : [view heightForWidth:width];
}

void lay(NSView* view, NSRect place) {
  NSView* parent = view.superview;
  if (parent.userInterfaceLayoutDirection == NSUserInterfaceLayoutDirectionRightToLeft)
    place.origin.x = NSWidth(parent.bounds) - NSMaxX(place);
  const NSRect frame = [view frameForAlignmentRect:place];
  [view setFrameOrigin:frame.origin];
  [view setFrameSize:frame.size];
}

}  // namespace tallyfox::mac_os
