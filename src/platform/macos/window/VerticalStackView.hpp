#pragma once

// Objective-C++.

#include "platform/macos/window/Arrangement.hpp"

/// Views below each other, each as wide as the stack allows. Hidden ones leave no gap.
@interface TFVerticalStackView : NSView <TFArranged>
- (instancetype)initWithSpacing:(CGFloat)spacing insets:(NSEdgeInsets)insets NS_DESIGNATED_INITIALIZER;
- (instancetype)initWithFrame:(NSRect)frame NS_UNAVAILABLE;
- (instancetype)initWithCoder:(NSCoder*)coder NS_UNAVAILABLE;
- (void)addArrangedView:(NSView<TFArranged>*)view;
@end
