#include "ui/StatusWindowPresenter.hpp"

#include <optional>
#include <utility>

namespace tallyfox {

void StatusWindowPresenter::open() {
  refreshTimer_ = dependencies_.mainQueue.every(refreshPeriod, [this] { refresh(); });
  refresh();
}

void StatusWindowPresenter::close() {
  refreshTimer_.reset();
  isCodeRequested_ = false;
}

void StatusWindowPresenter::refresh() {
  if (!refreshTimer_) return;
  StatusWindowContext context = dependencies_.actions.context();
  context.isCodeRequested = isCodeRequested_;
  dependencies_.view.apply(statusWindowModel(dependencies_.actions.snapshot(), context));
}

void StatusWindowPresenter::perform(StatusWindowAction action) {
  const InterfaceActions& actions = dependencies_.actions;
  switch (action) {
    case StatusWindowAction::openAccessibilitySettings:
      actions.openAccessibilitySettings();
      break;
    case StatusWindowAction::enableLoginItem:
      actions.onEnableLoginItem();
      break;
    case StatusWindowAction::unpairPhone:
      return dependencies_.view.ask(unpairConfirmation(), lifetime_.guard([this] {
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
      return choose({.pause = isPaused() ? std::nullopt : std::optional(NotificationPauseOption::twoHours)});
    case StatusWindowAction::showNotificationPauseOptions:
      return dependencies_.view.openPauseMenu(
          isPaused(), lifetime_.guard([this](const PauseMenuChoice& choice) { choose(choice); }));
  }
  refresh();
}

bool StatusWindowPresenter::isPaused() const {
  return isPauseInForce(dependencies_.actions.snapshot().notificationPause, dependencies_.actions.context().now);
}

void StatusWindowPresenter::choose(const PauseMenuChoice& choice) {
  if (choice.pause) {
    dependencies_.actions.onPauseNotifications(*choice.pause);
  } else {
    dependencies_.actions.onResumeNotifications();
  }
  refresh();
}

}  // namespace tallyfox
