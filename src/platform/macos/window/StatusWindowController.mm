#include "platform/macos/window/StatusWindowController.hpp"

#include <utility>

#include "platform/macos/window/Menus.hpp"

namespace tallyfox::mac_os {

StatusWindowController::StatusWindowController(Dependencies dependencies)
    : dependencies_(dependencies),
      presenter_({.actions = dependencies.actions, .mainQueue = dependencies.mainQueue, .view = *this}) {}

StatusWindowController::~StatusWindowController() {
  // It tells nobody any more.
  lifetime_ = {};
  [window_ close];
}

void StatusWindowController::show() {
  if (window_ == nil) open();
  // Only a regular application can come to the front with a Dock icon and a menu bar of its own.
  [NSApp setActivationPolicy:NSApplicationActivationPolicyRegular];
  if (window_.miniaturized) [window_ deminiaturize:nil];
  window_.level = NSNormalWindowLevel;
  [window_ makeKeyAndOrderFront:nil];
  [NSApp activateIgnoringOtherApps:YES];
}

void StatusWindowController::open() {
  window_ = [[TFStatusWindow alloc]
      initWithCallbacks:{.onAction = lifetime_.guard([this](StatusWindowAction action, NSView* origin) {
                           pressed_ = origin;
                           presenter_.perform(action);
                         }),
                         .onClosed = lifetime_.guard([this] { onClosed(); })}];
  presenter_.open();
}

void StatusWindowController::onClosed() {
  presenter_.close();
  [NSApp setActivationPolicy:NSApplicationActivationPolicyAccessory];
  // AppKit is still closing it.
  dependencies_.mainQueue.post([closed = std::exchange(window_, nil)] { (void)closed; });
}

void StatusWindowController::refresh() {
  presenter_.refresh();
}

void StatusWindowController::apply(const StatusWindowModel& model) {
  [window_ apply:model];
}

void StatusWindowController::ask(const ConfirmationModel& question, std::function<void()> onConfirmed) {
  [window_ ask:question onConfirmed:std::move(onConfirmed)];
}

void StatusWindowController::openPauseMenu(bool isPaused, std::function<void(const PauseMenuChoice&)> onChoice) {
  NSView* button = pressed_;
  if (button != nil) mac_os::openPauseMenu(button, isPaused, onChoice);
}

}  // namespace tallyfox::mac_os
