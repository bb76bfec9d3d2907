#pragma once

// Objective-C++.

#import <AppKit/AppKit.h>

#include "ui/StatusTexts.hpp"

/// A short state in white on a rounded ground whose colour says whether all is well; the same in both appearances.
/// VoiceOver reads it as a label.
@interface TFPillView : NSView
- (void)apply:(const tallyfox::StatusPill&)pill;
/// As wide as its text wants; in less width the text is cut short.
- (NSSize)pillSize;
@end
