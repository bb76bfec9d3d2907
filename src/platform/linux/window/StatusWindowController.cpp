#include "platform/linux/window/StatusWindowController.hpp"

#include <malloc.h>

#include <utility>

#include "platform/linux/window/PauseMenu.hpp"
#include "platform/linux/window/WindowSummons.hpp"

namespace tallyfox::linux_os {

StatusWindowController::StatusWindowController(Dependencies dependencies, Appearance appearance)
    : dependencies_(dependencies),
      appearance_(appearance),
      presenter_({.actions = dependencies.actions, .mainQueue = dependencies.mainQueue, .view = *this}) {}

StatusWindowController::~StatusWindowController() {
  delete window_;
}

void StatusWindowController::show() {
  if (!window_) open();
  summon(*window_);
}

void StatusWindowController::open() {
  window_ = new StatusWindow({.onAction =
                                  [this](StatusWindowAction action, QWidget& origin) {
                                    pressed_ = &origin;
                                    presenter_.perform(action);
                                  },
                              .onClosed = [this] { onClosed(); }},
                             dependencies_.menu.entries());
  window_->setAppearance(appearance_);
  presenter_.open();
}

void StatusWindowController::onClosed() {
  presenter_.close();
  window_.clear();
  // The widgets go when control returns to the event loop; what they leave goes back to the system after that.
  dependencies_.mainQueue.post([] { ::malloc_trim(0); });
}

void StatusWindowController::refresh() {
  presenter_.refresh();
}

void StatusWindowController::apply(const StatusWindowModel& model) {
  window_->apply(model);
}

void StatusWindowController::ask(const ConfirmationModel& question, std::function<void()> onConfirmed) {
  window_->ask(question, std::move(onConfirmed));
}

void StatusWindowController::openPauseMenu(bool isPaused, std::function<void(const PauseMenuChoice&)> onChoice) {
  auto* menu = new PauseMenu(*pressed_, isPaused, std::move(onChoice));
  menu->open();
}

void StatusWindowController::setAppearance(Appearance appearance) {
  appearance_ = appearance;
  if (window_) window_->setAppearance(appearance);
}

}  // namespace tallyfox::linux_os
