#pragma once

// Objective-C++ only.
#import <AppKit/AppKit.h>

/// What is told of a window's contents.
using StageNote = void (^)(NSString* entry);

/// A target for controls that runs a block; keep it as long as the control.
@interface StageAction : NSObject
+ (instancetype)actionWithBlock:(void (^)(void))block;
- (void)perform:(id)sender;
@end

namespace tallyfox::stage {

/// Points from the upper left corner of the first screen, as the accessibility interface counts them.
[[nodiscard]] NSRect frameFromTopLeft(double x, double y, double width, double height);

[[nodiscard]] NSWindow* plainWindow(NSString* title, NSRect frame, NSInteger level, double alpha);

/// The windows below keep their controls' targets themselves. Each button notes "pressed LABEL".
[[nodiscard]] NSPanel* dialogPanel(StageNote note);
[[nodiscard]] NSWindow* controlsWindow(StageNote note);
[[nodiscard]] NSPanel* sheetPanel(StageNote note);

/// Runs the alert until a button is pressed; `isUp` is called once it waits.
void runAlert(StageNote note, void (^isUp)(void));

}  // namespace tallyfox::stage
