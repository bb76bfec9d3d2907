#pragma once

// Objective-C++.

#include "platform/macos/window/ActionButton.hpp"
#include "platform/macos/window/VerticalStackView.hpp"
#include "ui/StatusWindowLayout.hpp"
#include "ui/StatusWindowModel.hpp"

/// All that the status window shows, as the one stack that its scroll view scrolls.
@interface TFStatusContentView : TFVerticalStackView
- (instancetype)initWithHandler:(const tallyfox::mac_os::ActionHandler&)handler;
/// Whether the pairing card stands above the rows or beside them.
@property(nonatomic) tallyfox::StatusWindowLayout kind;
/// Changes only what differs from what is shown. Places stay until the size is set again.
- (void)apply:(const tallyfox::StatusWindowModel&)model theme:(const tallyfox::AppTheme&)theme;
- (void)applyTheme:(const tallyfox::AppTheme&)theme;
/// From top to bottom, hidden ones too.
@property(nonatomic, readonly) NSArray<TFActionButton*>* buttons;
@end
