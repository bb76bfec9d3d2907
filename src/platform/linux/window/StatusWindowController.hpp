#pragma once

#include <QPointer>

#include "base/Queue.hpp"
#include "platform/linux/window/ApplicationActions.hpp"
#include "platform/linux/window/StatusWindow.hpp"
#include "ui/StatusWindowPresenter.hpp"

namespace tallyfox::linux_os {

/// The status window's life: a closed window is gone with all its memory; the next one is built anew.
class StatusWindowController : private StatusWindowView {
 public:
  struct Dependencies {
    const InterfaceActions& actions;
    const ApplicationActions& menu;
    SerialQueue& mainQueue;
  };
  StatusWindowController(Dependencies dependencies, Appearance appearance);
  ~StatusWindowController() override;
  StatusWindowController(const StatusWindowController&) = delete;
  StatusWindowController& operator=(const StatusWindowController&) = delete;

  /// Brings the window before the owner, wherever it was.
  void show();
  /// Takes a snapshot and shows it; nothing while no window is open.
  void refresh();
  void setAppearance(Appearance appearance);
  /// Null while closed.
  [[nodiscard]] StatusWindow* window() const { return window_; }

 private:
  void apply(const StatusWindowModel& model) override;
  void ask(const ConfirmationModel& question, std::function<void()> onConfirmed) override;
  void openPauseMenu(bool isPaused, std::function<void(const PauseMenuChoice&)> onChoice) override;

  void open();
  void onClosed();

  Dependencies dependencies_;
  Appearance appearance_;
  QPointer<StatusWindow> window_;
  QPointer<QWidget> pressed_;  ///< the button that asked for what is asked of the window
  StatusWindowPresenter presenter_;
};

}  // namespace tallyfox::linux_os
