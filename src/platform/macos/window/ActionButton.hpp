#pragma once

// Objective-C++.

#import <AppKit/AppKit.h>

#include <functional>
#include <optional>
#include <string>

#include "ui/StatusWindowModel.hpp"

namespace tallyfox::mac_os {

/// What a button tells when it is pressed, and which one it was.
using ActionHandler = std::function<void(StatusWindowAction action, NSView* origin)>;

}  // namespace tallyfox::mac_os

/// A button of the status window.
@interface TFActionButton : NSButton
- (instancetype)initWithHandler:(tallyfox::mac_os::ActionHandler)handler;
/// Without a model the button is hidden. `subject` tells VoiceOver what the button is about.
- (void)apply:(const std::optional<tallyfox::ButtonModel>&)model subject:(const std::string&)subject;
@end
