#pragma once

// Objective-C++.

#import <AppKit/AppKit.h>

/// A view whose height follows from its width. Whoever holds such views gives them their places each time its own size
/// is set, so that the whole window is laid out by one call and its height in any width is known beforehand.
@protocol TFArranged <NSObject>
/// The height that it needs in this width, whatever its present size; 0 takes no room, and no spacing either.
- (CGFloat)heightForWidth:(CGFloat)width;
@end

namespace tallyfox::mac_os {

/// 0 for a hidden view.
[[nodiscard]] CGFloat heightOf(NSView<TFArranged>* view, CGFloat width);

/// Lays the view's visible outline into `place`, in its superview from the top and leading edges, and lets it arrange
/// what it holds also where its size stays. The superview is flipped.
void lay(NSView* view, NSRect place);

}  // namespace tallyfox::mac_os
