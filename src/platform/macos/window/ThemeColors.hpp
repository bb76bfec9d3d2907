#pragma once

// Objective-C++.

#import <AppKit/AppKit.h>

#include "ui/AppTheme.hpp"

namespace tallyfox::mac_os {

[[nodiscard]] NSColor* nsColor(const Color& color);

/// The theme for what is drawn under this appearance, with more contrast where the owner has asked the system for it.
/// Main thread.
[[nodiscard]] AppTheme themeUnder(NSAppearance* appearance);

}  // namespace tallyfox::mac_os
