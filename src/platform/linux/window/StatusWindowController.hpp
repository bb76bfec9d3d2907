#pragma once

#include <QPointer>

#include "base/Lifetime.hpp"
#include "base/Queue.hpp"
#include "platform/linux/window/ApplicationActions.hpp"
#include "platform/linux/window/StatusWindow.hpp"
#include "ui/InterfaceActions.hpp"

namespace tallyfox::linux_os {

/// Opens the status window, keeps it up to date while it is shown, and carries out what is pressed in it. A closed
/// window is gone with all its memory; the next one is built anew.
class StatusWindowController {
 public:
  struct Dependencies {
    const InterfaceActions& actions;
    const ApplicationActions& menu;
    SerialQueue& mainQueue;
  };
  StatusWindowController(Dependencies dependencies, Appearance appearance);
  ~StatusWindowController();
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
  void open();
  void onClosed();
  void perform(StatusWindowAction action, QWidget& origin);
  [[nodiscard]] bool isPaused() const;
  void toggleNotificationPause();
  void choose(const PauseMenuChoice& choice);

  Dependencies dependencies_;
  Appearance appearance_;
  QPointer<StatusWindow> window_;
  ScheduledHandle refreshTimer_;
  bool isCodeRequested_ = false;
  Lifetime lifetime_;
};

}  // namespace tallyfox::linux_os
