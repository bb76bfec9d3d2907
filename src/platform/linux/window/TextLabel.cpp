#include "platform/linux/window/TextLabel.hpp"

#include <QPainter>
#include <QStyle>
#include <QTextLayout>
#include <algorithm>
#include <cmath>

#include "platform/linux/window/Localized.hpp"
#include "platform/linux/window/ThemePalette.hpp"

namespace tallyfox::linux_os {
namespace {

bool hasRightToLeftLetters(const QString& text) {
  return std::ranges::any_of(
      text, [](QChar letter) { return letter.direction() == QChar::DirR || letter.direction() == QChar::DirAL; });
}

/// English sentences read from left to right in every desktop; a sentence with other letters goes with the interface,
/// so that a phone's name does not turn it around.
Qt::LayoutDirection directionOf(const QString& text, const QWidget& widget) {
  return hasRightToLeftLetters(text) ? widget.layoutDirection() : Qt::LeftToRight;
}

/// Breaks the text into lines of this width and stacks them; their height.
double layOut(QTextLayout& layout, double width) {
  double height = 0;
  layout.beginLayout();
  for (QTextLine line = layout.createLine(); line.isValid(); line = layout.createLine()) {
    line.setLineWidth(width);
    line.setPosition({0, height});
    height += line.height();
  }
  layout.endLayout();
  return height;
}

QTextOption optionFor(const QLabel& label, Qt::Alignment alignment) {
  QTextOption option(QStyle::visualAlignment(label.layoutDirection(), alignment) | Qt::AlignAbsolute);
  option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
  option.setTextDirection(directionOf(label.text(), label));
  return option;
}

}  // namespace

TextLabel::TextLabel(Look look) : isCentred_(look.isCentred) {
  setTextFormat(Qt::PlainText);
  setWordWrap(true);
  setRole(look.role);
  QFont scaled = font();
  scaled.setPointSizeF(scaled.pointSizeF() * look.relativeSize);
  scaled.setWeight(look.weight);
  setFont(scaled);
  QSizePolicy policy(QSizePolicy::Preferred, QSizePolicy::Minimum);
  policy.setHeightForWidth(true);
  setSizePolicy(policy);
}

void TextLabel::showText(const std::string& text) {
  const QString shown = localized(text);
  if (shown != this->text()) {
    setText(shown);
    setAccessibleName(shown);
  }
  setVisible(!text.empty());
}

void TextLabel::setRole(TextRole role) {
  setForegroundRole(paletteRoleOf(role));
}

QSize TextLabel::sizeHint() const {
  const int width = fontMetrics().horizontalAdvance(text()) + 1;
  return {width, heightForWidth(width)};
}

QSize TextLabel::minimumSizeHint() const {
  constexpr int fewestLetters = 6;
  return {fontMetrics().averageCharWidth() * fewestLetters, fontMetrics().height()};
}

int TextLabel::heightForWidth(int width) const {
  QTextLayout layout(text(), font());
  layout.setTextOption(optionFor(*this, Qt::AlignLeft));
  return static_cast<int>(std::ceil(layOut(layout, std::max(width, 1))));
}

void TextLabel::paintEvent(QPaintEvent* /*event*/) {
  QPainter painter(this);
  painter.setPen(palette().color(foregroundRole()));
  QTextLayout layout(text(), font());
  layout.setTextOption(optionFor(*this, isCentred_ ? Qt::AlignHCenter : Qt::AlignLeft));
  const double textHeight = layOut(layout, width());
  layout.draw(&painter, {0, std::max((height() - textHeight) / 2, 0.0)});
}

}  // namespace tallyfox::linux_os
