#pragma once

#include <functional>

#include "base/Lifetime.hpp"
#include "base/Queue.hpp"
#include "ui/InterfaceActions.hpp"
#include "ui/Menu.hpp"
#include "ui/StatusWindowModel.hpp"

namespace tallyfox {

/// The status window as a toolkit draws it. Main thread.
class StatusWindowView {
 public:
  virtual ~StatusWindowView() = default;
  virtual void apply(const StatusWindowModel& model) = 0;
  /// Asks the owner, and calls `onConfirmed` where the answer is yes. It may call after the window has closed.
  virtual void ask(const ConfirmationModel& question, std::function<void()> onConfirmed) = 0;
  /// Lets the owner choose from pauseMenu(isPaused), below the button that was pressed. It may call after the window
  /// has closed.
  virtual void openPauseMenu(bool isPaused, std::function<void(const PauseMenuChoice&)> onChoice) = 0;
};

/// What every status window does, whatever draws it: it is refreshed while it is shown, and carries out what is pressed
/// in it. Main thread.
class StatusWindowPresenter {
 public:
  /// What no event tells of (the login item, the end of a pause on the clock) shows this soon.
  static constexpr Seconds refreshPeriod{2};

  struct Dependencies {
    const InterfaceActions& actions;
    SerialQueue& mainQueue;
    StatusWindowView& view;
  };
  explicit StatusWindowPresenter(Dependencies dependencies) : dependencies_(dependencies) {}

  /// The window exists now: shows it the present state, and from now on each later one.
  void open();
  /// The window is gone, and with it what its owner asked it to show.
  void close();
  /// Takes a snapshot and shows it; nothing while no window is open.
  void refresh();
  /// What a button of the window asks for.
  void perform(StatusWindowAction action);

 private:
  [[nodiscard]] bool isPaused() const;
  void choose(const PauseMenuChoice& choice);

  Dependencies dependencies_;
  ScheduledHandle refreshTimer_;  ///< while the window is open
  bool isCodeRequested_ = false;
  Lifetime lifetime_;
};

}  // namespace tallyfox
