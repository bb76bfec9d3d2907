#pragma once

// Objective-C++ only.
#import <AppKit/AppKit.h>

/// Notes every key and click that the application gets, wherever it then goes. Main thread.
@interface StageInput : NSObject
/// Such as "key 49 down" and "mouse leftDown 120,80", in points of the screen from its upper left corner.
@property(nonatomic, readonly) NSArray<NSString*>* entries;
@end
