#pragma once

// Objective-C++.

#include <functional>

#include "base/Lifetime.hpp"
#include "base/Queue.hpp"
#include "platform/macos/window/StatusWindow.hpp"
#include "ui/StatusWindowPresenter.hpp"

namespace tallyfox::mac_os {

/// The status window's life, and with it the application's place in the Dock: it is there while the window is. A closed
/// window is gone with all its memory; the next one is built anew. Main thread.
class StatusWindowController : private StatusWindowView {
 public:
  struct Dependencies {
    const InterfaceActions& actions;
    SerialQueue& mainQueue;
  };
  explicit StatusWindowController(Dependencies dependencies);
  ~StatusWindowController() override;
  StatusWindowController(const StatusWindowController&) = delete;
  StatusWindowController& operator=(const StatusWindowController&) = delete;

  /// Brings the window before the owner, wherever it was.
  void show();
  /// Takes a snapshot and shows it; nothing while no window is open.
  void refresh();

 private:
  void apply(const StatusWindowModel& model) override;
  void ask(const ConfirmationModel& question, std::function<void()> onConfirmed) override;
  void openPauseMenu(bool isPaused, std::function<void(const PauseMenuChoice&)> onChoice) override;

  void open();
  void onClosed();

  Dependencies dependencies_;
  TFStatusWindow* window_ = nil;
  __weak NSView* pressed_ = nil;  ///< the button that asked for what is asked of the window
  StatusWindowPresenter presenter_;
  Lifetime lifetime_;
};

}  // namespace tallyfox::mac_os
