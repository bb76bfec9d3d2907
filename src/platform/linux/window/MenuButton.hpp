#pragma once

#include <QToolButton>

#include "platform/linux/window/FocusRing.hpp"

namespace tallyfox::linux_os {

/// Opens the application menu from the window, for desktops without a tray. It takes the menu's entries over; the menu
/// is the button's own.
class MenuButton : public QToolButton {
 public:
  explicit MenuButton(const QList<QAction*>& entries);

  [[nodiscard]] QSize sizeHint() const override;

 protected:
  void paintEvent(QPaintEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  void focusInEvent(QFocusEvent* event) override;
  void changeEvent(QEvent* event) override;

 private:
  FocusRing ring_;
};

}  // namespace tallyfox::linux_os
