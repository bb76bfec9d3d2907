#pragma once

// Objective-C++.

#import <AppKit/AppKit.h>

/// Tells when what it is drawn under turns light or dark, or its contrast changes. Filled with one colour.
@interface TFAppearanceObservingView : NSView
/// Called on the main thread, while AppKit is still changing the appearance.
@property(nonatomic, copy) void (^onAppearanceChange)(void);
@property(nonatomic) NSColor* backgroundColor;
@end
