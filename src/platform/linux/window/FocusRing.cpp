#include "platform/linux/window/FocusRing.hpp"

#include "platform/linux/window/ThemePalette.hpp"

namespace tallyfox::linux_os {

void FocusRing::notice(const QFocusEvent& event) {
  switch (event.reason()) {
    case Qt::TabFocusReason:
    case Qt::BacktabFocusReason:
    case Qt::ShortcutFocusReason:
      isReachedByKeyboard_ = true;
      return;
    case Qt::MouseFocusReason:
      isReachedByKeyboard_ = false;
      return;
    default:  // a window or a menu gives back the focus that was
      return;
  }
}

void FocusRing::paint(QPainter& painter, const QWidget& widget, double cornerRadius) const {
  if (!isReachedByKeyboard_ || !widget.hasFocus()) return;
  constexpr double half = width / 2.0;
  painter.setPen(QPen(widget.palette().color(palette_role::focusRing), width));
  painter.setBrush(Qt::NoBrush);
  painter.drawRoundedRect(QRectF(widget.rect()).adjusted(half, half, -half, -half), cornerRadius + half,
                          cornerRadius + half);
}

}  // namespace tallyfox::linux_os
