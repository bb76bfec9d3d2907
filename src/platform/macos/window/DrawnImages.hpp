#pragma once

// Objective-C++.

#import <AppKit/AppKit.h>

#include "ui/ApplicationIcon.hpp"
#include "ui/MenuBarIcon.hpp"

namespace tallyfox::mac_os {

/// The drawing as a template image, which its surroundings colour; drawn anew for each resolution.
[[nodiscard]] NSImage* templateImage(const TemplateImage& image);

/// The application's icon, for where no bundle brings one.
[[nodiscard]] NSImage* applicationIconImage();

}  // namespace tallyfox::mac_os
