#include "platform/linux/window/StatusWindowController.hpp"

#include <malloc.h>

#include "platform/linux/window/PauseMenu.hpp"
#include "platform/linux/window/WindowSummons.hpp"

namespace tallyfox::linux_os {
namespace {

/// What no event tells of (the login item, the end of a pause on the clock) shows this soon.
constexpr Seconds refreshPeriod(2);

}  // namespace

StatusWindowController::StatusWindowController(Dependencies dependencies, Appearance appearance)
    : dependencies_(dependencies), appearance_(appearance) {}

StatusWindowController::~StatusWindowController() {
  delete window_;
}

void StatusWindowController::show() {
  if (!window_) open();
  summon(*window_);
}

void StatusWindowController::open() {
  window_ =
      new StatusWindow({.onAction = [this](StatusWindowAction action, QWidget& origin) { perform(action, origin); },
                        .onClosed = [this] { onClosed(); }},
                       dependencies_.menu.entries());
  window_->setAppearance(appearance_);
  refresh();
  refreshTimer_ = dependencies_.mainQueue.every(refreshPeriod, [this] { refresh(); });
}

void StatusWindowController::onClosed() {
  refreshTimer_.reset();
  isCodeRequested_ = false;
  window_.clear();
  // The widgets go when control returns to the event loop; what they leave goes back to the system after that.
  dependencies_.mainQueue.post([] { ::malloc_trim(0); });
}

void StatusWindowController::refresh() {
  if (!window_) return;
  StatusWindowContext context = dependencies_.actions.context();
  context.isCodeRequested = isCodeRequested_;
  window_->apply(statusWindowModel(dependencies_.actions.snapshot(), context));
}

void StatusWindowController::setAppearance(Appearance appearance) {
  appearance_ = appearance;
  if (window_) window_->setAppearance(appearance);
}

void StatusWindowController::perform(StatusWindowAction action, QWidget& origin) {
  const InterfaceActions& actions = dependencies_.actions;
  switch (action) {
    case StatusWindowAction::openAccessibilitySettings:
      actions.openAccessibilitySettings();
      break;
    case StatusWindowAction::enableLoginItem:
      actions.onEnableLoginItem();
      break;
    case StatusWindowAction::unpairPhone:
      return window_->ask(unpairConfirmation(), lifetime_.guard([this] {
        dependencies_.actions.onUnpairPhone();
        refresh();
      }));
    case StatusWindowAction::togglePairingCode:
      isCodeRequested_ = !isCodeRequested_;
      break;
    case StatusWindowAction::checkForUpdates:
      actions.onCheckForUpdates();
      break;
    case StatusWindowAction::toggleNotificationPause:
      toggleNotificationPause();
      break;
    case StatusWindowAction::showNotificationPauseOptions: {
      auto* menu =
          new PauseMenu(origin, isPaused(), lifetime_.guard([this](const PauseMenuChoice& choice) { choose(choice); }));
      return menu->open();
    }
  }
  refresh();
}

bool StatusWindowController::isPaused() const {
  return isPauseInForce(dependencies_.actions.snapshot().notificationPause, dependencies_.actions.context().now);
}

void StatusWindowController::toggleNotificationPause() {
  choose({.pause = isPaused() ? std::nullopt : std::optional(NotificationPauseOption::twoHours)});
}

void StatusWindowController::choose(const PauseMenuChoice& choice) {
  if (choice.pause) {
    dependencies_.actions.onPauseNotifications(*choice.pause);
  } else {
    dependencies_.actions.onResumeNotifications();
  }
  refresh();
}

}  // namespace tallyfox::linux_os
