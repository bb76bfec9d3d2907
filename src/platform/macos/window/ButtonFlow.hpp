#pragma once

// Objective-C++.

#include "platform/macos/window/ActionButton.hpp"
#include "platform/macos/window/Arrangement.hpp"

/// Buttons beside each other, and below each other where there is no room, a little apart from what is above them.
@interface TFButtonFlow : NSView <TFArranged>
- (instancetype)initWithButtons:(NSArray<TFActionButton*>*)buttons NS_DESIGNATED_INITIALIZER;
- (instancetype)initWithFrame:(NSRect)frame NS_UNAVAILABLE;
- (instancetype)initWithCoder:(NSCoder*)coder NS_UNAVAILABLE;
@end
