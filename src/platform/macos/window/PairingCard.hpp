#pragma once

// Objective-C++.

#include "platform/macos/window/ActionButton.hpp"
#include "platform/macos/window/CardView.hpp"
#include "ui/StatusWindowModel.hpp"

/// The phone: how pairing stands, the code while it may be seen, and what can be done about it.
@interface TFPairingCard : TFCardView
- (instancetype)initWithHandler:(const tallyfox::mac_os::ActionHandler&)handler;
/// Changes only what differs from what is shown.
- (void)apply:(const tallyfox::PairingCardModel&)model theme:(const tallyfox::AppTheme&)theme;
/// In the order in which the keyboard reaches them.
@property(nonatomic, readonly) NSArray<TFActionButton*>* buttons;
@end
