#pragma once

// Objective-C++.

#include <optional>

#include "platform/macos/window/ActionButton.hpp"
#include "platform/macos/window/CardView.hpp"
#include "ui/StatusWindowModel.hpp"

/// One row of the window: symbol, title, pill, detail and up to two buttons.
@interface TFStatusRowCard : TFCardView
- (instancetype)initWithHandler:(const tallyfox::mac_os::ActionHandler&)handler;
/// Changes only what differs from what is shown; without a model the card is hidden.
- (void)apply:(const std::optional<tallyfox::StatusRowModel>&)model;
/// In the order in which the keyboard reaches them.
@property(nonatomic, readonly) NSArray<TFActionButton*>* buttons;
@end
