#include "platform/linux/window/ActionButton.hpp"

#include <QKeyEvent>
#include <QPainter>

#include "platform/linux/window/Localized.hpp"
#include "platform/linux/window/ThemePalette.hpp"

namespace tallyfox::linux_os {
namespace {

constexpr int sidePadding = 14;
constexpr int verticalPadding = 6;
constexpr double cornerRadius = 6;

}  // namespace

ActionButton::ActionButton(ActionHandler onAction) : onAction_(std::move(onAction)) {
  setSizePolicy(QSizePolicy::Maximum, QSizePolicy::Fixed);
  setFocusPolicy(Qt::StrongFocus);
  setAttribute(Qt::WA_Hover);
  connect(this, &QPushButton::clicked, this, [this] {
    if (model_) onAction_(model_->action, *this);
  });
  hide();
}

void ActionButton::apply(const std::optional<ButtonModel>& model, const std::string& subject) {
  if (const QString description = localized(subject); description != accessibleDescription())
    setAccessibleDescription(description);
  if (model == model_) return;
  model_ = model;
  if (model) {
    const QString title = localized(model->title);
    setText(title);
    setAccessibleName(title);
    setEnabled(model->isEnabled);
  }
  setVisible(model.has_value());
}

QSize ActionButton::sizeHint() const {
  const QFontMetrics metrics = fontMetrics();
  return {metrics.horizontalAdvance(text()) + 2 * (sidePadding + FocusRing::width),
          metrics.height() + 2 * (verticalPadding + FocusRing::width)};
}

QSize ActionButton::minimumSizeHint() const {
  return {4 * sidePadding, sizeHint().height()};
}

void ActionButton::paintEvent(QPaintEvent* /*event*/) {
  const QPalette colors = palette();
  QColor ground = colors.color(QPalette::Button);
  if (isDown()) {
    ground = colors.color(palette_role::buttonBorder);
  } else if (underMouse() && isEnabled()) {
    ground = colors.color(palette_role::cardBorder);
  }
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);
  constexpr double inset = FocusRing::width + 0.5;
  painter.setPen(QPen(colors.color(isEnabled() ? palette_role::buttonBorder : palette_role::cardBorder), 1));
  painter.setBrush(ground);
  painter.drawRoundedRect(QRectF(rect()).adjusted(inset, inset, -inset, -inset), cornerRadius, cornerRadius);
  ring_.paint(painter, *this, cornerRadius);
  painter.setPen(colors.color(isEnabled() ? QPalette::Active : QPalette::Disabled, QPalette::ButtonText));
  const QRect inside = rect().adjusted(sidePadding, 0, -sidePadding, 0);
  painter.drawText(inside, Qt::AlignCenter | Qt::TextSingleLine | Qt::TextHideMnemonic,
                   fontMetrics().elidedText(text(), Qt::ElideRight, inside.width() + 1, Qt::TextHideMnemonic));
}

void ActionButton::keyPressEvent(QKeyEvent* event) {
  if (event->key() != Qt::Key_Return && event->key() != Qt::Key_Enter) return QPushButton::keyPressEvent(event);
  if (!event->isAutoRepeat()) click();
}

void ActionButton::focusInEvent(QFocusEvent* event) {
  ring_.notice(*event);
  QPushButton::focusInEvent(event);
}

}  // namespace tallyfox::linux_os
