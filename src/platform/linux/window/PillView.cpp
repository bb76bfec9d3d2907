#include "platform/linux/window/PillView.hpp"

#include <QPainter>

#include "platform/linux/window/Localized.hpp"
#include "platform/linux/window/TemplateImagePainter.hpp"
#include "ui/AppTheme.hpp"

namespace tallyfox::linux_os {
namespace {

constexpr int sidePadding = 10;
constexpr int verticalPadding = 3;
constexpr double relativeSize = 0.88;

}  // namespace

PillView::PillView() {
  setTextFormat(Qt::PlainText);
  setSizePolicy(QSizePolicy::Maximum, QSizePolicy::Fixed);
  QFont small = font();
  small.setPointSizeF(small.pointSizeF() * relativeSize);
  small.setWeight(QFont::DemiBold);
  setFont(small);
}

void PillView::apply(const StatusPill& pill) {
  const QString shown = localized(pill.text);
  if (shown != text()) {
    setText(shown);
    setAccessibleName(shown);
  }
  if (role_ == pill.role) return;
  role_ = pill.role;
  update();
}

QSize PillView::sizeHint() const {
  const QFontMetrics metrics = fontMetrics();
  return {metrics.horizontalAdvance(text()) + 2 * sidePadding + 1, metrics.height() + 2 * verticalPadding};
}

QSize PillView::minimumSizeHint() const {
  return {4 * sidePadding, sizeHint().height()};
}

void PillView::paintEvent(QPaintEvent* /*event*/) {
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setPen(Qt::NoPen);
  painter.setBrush(qtColor(pillColor(role_)));
  const double radius = height() / 2.0;
  painter.drawRoundedRect(rect(), radius, radius);
  painter.setPen(qtColor(pillTextColor));
  const QRect inside = rect().adjusted(sidePadding, 0, -sidePadding, 0);
  painter.drawText(inside, Qt::AlignCenter | Qt::TextSingleLine,
                   fontMetrics().elidedText(text(), Qt::ElideRight, inside.width() + 1));
}

}  // namespace tallyfox::linux_os
