#include "platform/macos/window/Menus.hpp"

namespace tallyfox::mac_os {

void openPauseMenu(NSView* button, bool isPaused, const std::function<void(const PauseMenuChoice&)>& onChoice) {
  NSMenu* menu = nsMenu(pauseMenu(isPaused), onChoice);
  menu.accessibilityLabel = localized("Pause Options");
  // The visible outline: a button's frame has a margin that is not seen.
  const NSRect outline = [button convertRect:[button alignmentRectForFrame:button.frame] fromView:button.superview];
  const bool isMirrored = button.userInterfaceLayoutDirection == NSUserInterfaceLayoutDirectionRightToLeft;
  // The menu's own leading corner comes to lie here.
  const CGFloat x = isMirrored ? NSMaxX(outline) : NSMinX(outline);
  const CGFloat y = button.flipped ? NSMaxY(outline) + pauseMenuOffset : NSMinY(outline) - pauseMenuOffset;
  [menu popUpMenuPositioningItem:nil atLocation:NSMakePoint(x, y) inView:button];
}

}  // namespace tallyfox::mac_os
