#include "platform/linux/window/CardView.hpp"

#include <QPainter>

#include "platform/linux/window/Localized.hpp"
#include "platform/linux/window/ThemePalette.hpp"
#include "ui/StatusWindowLayout.hpp"

namespace tallyfox::linux_os {

CardView::CardView() {
  setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Minimum);
}

void CardView::setTitle(const std::string& title) {
  const QString name = localized(title);
  if (name != accessibleName()) setAccessibleName(name);
}

void CardView::paintEvent(QPaintEvent* /*event*/) {
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setPen(QPen(palette().color(palette_role::cardBorder), 1));
  painter.setBrush(palette().color(palette_role::card));
  painter.drawRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), status_window_layout::cardCornerRadius,
                          status_window_layout::cardCornerRadius);
}

}  // namespace tallyfox::linux_os
