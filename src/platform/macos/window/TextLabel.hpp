#pragma once

// Objective-C++.

#include <string>

#include "platform/macos/window/Arrangement.hpp"
#include "ui/AppTheme.hpp"

namespace tallyfox::mac_os {

struct TextLook {
  TextRole role = TextRole::primary;
  CGFloat relativeSize = 1;  ///< to the system's own
  NSFontWeight weight = NSFontWeightRegular;
  bool isCentred = false;  ///< else at the leading edge
};

}  // namespace tallyfox::mac_os

/// Plain text that wraps rather than widen what it stands in. VoiceOver reads it as a label.
@interface TFTextLabel : NSTextField <TFArranged>
- (instancetype)initWithLook:(tallyfox::mac_os::TextLook)look;
@property(nonatomic) tallyfox::TextRole role;  ///< seen from the next applyTheme: on
/// Touches nothing where the text is shown already. An empty text hides the label.
- (void)showText:(const std::string&)text;
- (void)applyTheme:(const tallyfox::AppTheme&)theme;
/// From the top of a label as high as its text to the middle of its first line.
- (CGFloat)firstLineMiddle;
@end
