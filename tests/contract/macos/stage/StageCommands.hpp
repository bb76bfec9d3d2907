#pragma once

// Objective-C++ only.
#import <AppKit/AppKit.h>

/// Carries out the commands that README.md lists. Main thread.
@interface StageCommands : NSObject
/// `answer` is called once for every command, on the main thread, with the line for it.
- (instancetype)initWithAnswer:(void (^)(NSString* line))answer;
- (void)perform:(NSString*)line;
/// Ends what the command "hang" began. Any thread.
- (void)wake;
@end
