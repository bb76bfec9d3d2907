#pragma once

// Objective-C++.

#import <AppKit/AppKit.h>

#include <functional>

#include "ui/StatusWindowModel.hpp"

namespace tallyfox::mac_os {

/// Asks, on a sheet of the window, before something that cannot be taken back. Return and Escape both mean no.
void askOnSheet(NSWindow* window, const ConfirmationModel& question, std::function<void()> onConfirmed);

}  // namespace tallyfox::mac_os
