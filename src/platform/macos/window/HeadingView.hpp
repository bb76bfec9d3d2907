#pragma once

// Objective-C++.

#include <optional>

#include "platform/macos/window/PillView.hpp"
#include "platform/macos/window/TextLabel.hpp"

/// A title at the leading edge, which wraps, and a pill at the other.
@interface TFHeadingView : NSView <TFArranged>
- (instancetype)initWithTitle:(TFTextLabel*)title NS_DESIGNATED_INITIALIZER;
- (instancetype)initWithFrame:(NSRect)frame NS_UNAVAILABLE;
- (instancetype)initWithCoder:(NSCoder*)coder NS_UNAVAILABLE;
@property(nonatomic, readonly) TFTextLabel* title;
- (void)applyPill:(const std::optional<tallyfox::StatusPill>&)pill;
/// From the top of the heading, where it lies in this width, to the middle of the title's first line.
- (CGFloat)firstLineMiddleInWidth:(CGFloat)width;
@end
