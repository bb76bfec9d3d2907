#pragma once

// Objective-C++.

#import <AppKit/AppKit.h>

#include <functional>

/// A menu entry that carries its own action out.
@interface TFActionMenuItem : NSMenuItem
- (instancetype)initWithTitle:(NSString*)title
                keyEquivalent:(NSString*)keyEquivalent
                     onChoice:(std::function<void()>)onChoice NS_DESIGNATED_INITIALIZER;
- (instancetype)initWithTitle:(NSString*)title
                       action:(SEL)selector
                keyEquivalent:(NSString*)keyEquivalent NS_UNAVAILABLE;
- (instancetype)initWithCoder:(NSCoder*)coder NS_UNAVAILABLE;
@end
