#pragma once

// Objective-C++.

#include <string>

#include "platform/macos/window/VerticalStackView.hpp"
#include "ui/AppTheme.hpp"

/// A rounded surface that holds what belongs together, one below the other. VoiceOver sees a group named as its title.
@interface TFCardView : NSView <TFArranged>
/// `leadingRoom` is kept free before the content, for what a card draws there.
- (instancetype)initWithLeadingRoom:(CGFloat)leadingRoom NS_DESIGNATED_INITIALIZER;
- (instancetype)initWithFrame:(NSRect)frame NS_UNAVAILABLE;
- (instancetype)initWithCoder:(NSCoder*)coder NS_UNAVAILABLE;
@property(nonatomic, readonly) TFVerticalStackView* content;
- (void)setTitle:(const std::string&)title;
- (void)applyTheme:(const tallyfox::AppTheme&)theme;
@end
