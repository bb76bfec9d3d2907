#pragma once

#include <QFocusEvent>
#include <QPainter>
#include <QWidget>

namespace tallyfox::linux_os {

/// The ring around the control that has the keyboard, shown to whoever moves by keyboard.
class FocusRing {
 public:
  static constexpr int width = 2;  ///< of the ring, and kept free around a control for it

  void notice(const QFocusEvent& event);
  /// Along the edge of a widget whose own outline has this corner radius, where it has the focus.
  void paint(QPainter& painter, const QWidget& widget, double cornerRadius) const;

 private:
  bool isReachedByKeyboard_ = false;
};

}  // namespace tallyfox::linux_os
