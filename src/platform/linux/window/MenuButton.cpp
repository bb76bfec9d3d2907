#include "platform/linux/window/MenuButton.hpp"

#include <QKeyEvent>
#include <QMenu>

#include "platform/linux/window/Localized.hpp"
#include "platform/linux/window/ThemePalette.hpp"

namespace tallyfox::linux_os {
namespace {

constexpr int side = 32;
constexpr double cornerRadius = 6;

}  // namespace

MenuButton::MenuButton(const QList<QAction*>& entries) {
  auto* menu = new QMenu(this);
  menu->addActions(entries);
  setMenu(menu);
  setPopupMode(QToolButton::InstantPopup);
  setFocusPolicy(Qt::StrongFocus);
  setAttribute(Qt::WA_Hover);
  setAccessibleName(localized("Tallyfox Menu"));
  setAccessibleDescription(localized("About, updates and quitting"));
}

QSize MenuButton::sizeHint() const {
  return {side, side};
}

void MenuButton::paintEvent(QPaintEvent* /*event*/) {
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);
  if (underMouse() || isDown()) {
    constexpr double inset = FocusRing::width;
    painter.setPen(Qt::NoPen);
    painter.setBrush(palette().color(palette_role::cardBorder));
    painter.drawRoundedRect(QRectF(rect()).adjusted(inset, inset, -inset, -inset), cornerRadius, cornerRadius);
  }
  ring_.paint(painter, *this, cornerRadius);
  painter.setPen(QPen(palette().color(palette_role::secondaryText), 1.6, Qt::SolidLine, Qt::RoundCap));
  const QPointF centre = QRectF(rect()).center();
  for (const double y : {-4.5, 0.0, 4.5})
    painter.drawLine(centre + QPointF(-6, y), centre + QPointF(6, y));
}

void MenuButton::keyPressEvent(QKeyEvent* event) {
  const bool opens = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter || event->key() == Qt::Key_Down;
  if (!opens) return QToolButton::keyPressEvent(event);
  showMenu();
}

void MenuButton::focusInEvent(QFocusEvent* event) {
  ring_.notice(*event);
  QToolButton::focusInEvent(event);
}

void MenuButton::changeEvent(QEvent* event) {
  // A menu is a window of its own, which no palette is handed down to.
  if (event->type() == QEvent::PaletteChange && menu() != nullptr) menu()->setPalette(palette());
  QToolButton::changeEvent(event);
}

}  // namespace tallyfox::linux_os
