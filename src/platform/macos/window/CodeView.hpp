#pragma once

// Objective-C++.

#include <optional>
#include <string>

#include "model/GrayscaleImage.hpp"
#include "platform/macos/window/Arrangement.hpp"

/// The pairing code, black on white in every appearance. Each module covers a whole number of the screen's pixels, so
/// that nothing is smoothed and no scale blurs an edge. VoiceOver sees an image.
@interface TFCodeView : NSView <TFArranged>
/// Hidden without an image. `caption` describes it to VoiceOver.
- (void)apply:(const std::optional<tallyfox::GrayscaleImage>&)image caption:(const std::string&)caption;
@end
