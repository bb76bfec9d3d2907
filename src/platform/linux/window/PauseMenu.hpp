#pragma once

#include <QMenu>
#include <functional>

#include "ui/Menu.hpp"

namespace tallyfox::linux_os {

/// How long to pause, and "Resume Now" while alerts are paused. It deletes itself once closed.
class PauseMenu : public QMenu {
 public:
  PauseMenu(QWidget& button, bool isPaused, std::function<void(const PauseMenuChoice&)> onChoice);

  /// Just under the button, on whose leading edge it lies.
  void open();

 private:
  QWidget& button_;
};

}  // namespace tallyfox::linux_os
