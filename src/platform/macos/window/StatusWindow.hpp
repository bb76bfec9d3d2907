#pragma once

// Objective-C++.

#import <AppKit/AppKit.h>

#include <functional>

#include "platform/macos/window/ActionButton.hpp"
#include "ui/StatusWindowModel.hpp"

namespace tallyfox::mac_os {

struct StatusWindowCallbacks {
  ActionHandler onAction;
  std::function<void()> onClosed;  ///< the window must outlive the call, and is of no more use after it
};

}  // namespace tallyfox::mac_os

/// The status window: shows a model and tells what is pressed. It knows nothing but its views.
@interface TFStatusWindow : NSWindow
- (instancetype)initWithCallbacks:(tallyfox::mac_os::StatusWindowCallbacks)callbacks NS_DESIGNATED_INITIALIZER;
- (instancetype)initWithContentRect:(NSRect)contentRect
                          styleMask:(NSWindowStyleMask)style
                            backing:(NSBackingStoreType)backing
                              defer:(BOOL)flag NS_UNAVAILABLE;
/// Changes only what differs from what is shown, and the window's size with it where the content needs another.
- (void)apply:(const tallyfox::StatusWindowModel&)model;
/// Asks once: while a question is open, asking again changes nothing.
- (void)ask:(const tallyfox::ConfirmationModel&)question onConfirmed:(std::function<void()>)onConfirmed;
@end
