#pragma once

// Objective-C++.

#include "platform/macos/window/Arrangement.hpp"

/// Two views, one above the other or side by side in equal widths.
@interface TFColumnsView : NSView <TFArranged>
- (instancetype)initWithFirst:(NSView<TFArranged>*)first second:(NSView<TFArranged>*)second NS_DESIGNATED_INITIALIZER;
- (instancetype)initWithFrame:(NSRect)frame NS_UNAVAILABLE;
- (instancetype)initWithCoder:(NSCoder*)coder NS_UNAVAILABLE;
@property(nonatomic, getter=isSideBySide) BOOL sideBySide;
@end
