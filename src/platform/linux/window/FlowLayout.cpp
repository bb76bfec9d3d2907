#include "platform/linux/window/FlowLayout.hpp"

#include <QStyle>
#include <QWidget>
#include <algorithm>

namespace tallyfox::linux_os {

FlowLayout::FlowLayout(int spacing) {
  setContentsMargins(0, 0, 0, 0);
  setSpacing(spacing);
}

FlowLayout::~FlowLayout() = default;

void FlowLayout::addItem(QLayoutItem* item) {
  items_.emplace_back(item);
}

int FlowLayout::count() const {
  return static_cast<int>(items_.size());
}

QLayoutItem* FlowLayout::itemAt(int index) const {
  return index >= 0 && index < count() ? items_[static_cast<std::size_t>(index)].get() : nullptr;
}

QLayoutItem* FlowLayout::takeAt(int index) {
  if (index < 0 || index >= count()) return nullptr;
  const auto at = items_.begin() + index;
  QLayoutItem* item = at->release();
  items_.erase(at);
  return item;
}

Qt::Orientations FlowLayout::expandingDirections() const {
  return {};
}

bool FlowLayout::hasHeightForWidth() const {
  return true;
}

int FlowLayout::heightForWidth(int width) const {
  return arrange({0, 0, width, 0}, false);
}

QSize FlowLayout::sizeHint() const {
  int width = 0;
  int height = 0;
  for (const auto& item : items_) {
    if (item->isEmpty()) continue;
    width += item->sizeHint().width() + (width > 0 ? spacing() : 0);
    height = std::max(height, item->sizeHint().height());
  }
  return {width, height};
}

QSize FlowLayout::minimumSize() const {
  QSize size;
  for (const auto& item : items_)
    if (!item->isEmpty()) size = size.expandedTo(item->minimumSize());
  return size;
}

void FlowLayout::setGeometry(const QRect& area) {
  QLayout::setGeometry(area);
  arrange(area, true);
}

int FlowLayout::arrange(const QRect& area, bool isApplied) const {
  const Qt::LayoutDirection direction = parentWidget() != nullptr ? parentWidget()->layoutDirection() : Qt::LeftToRight;
  int x = 0;
  int y = 0;
  int lineHeight = 0;
  for (const auto& item : items_) {
    if (item->isEmpty()) continue;
    const QSize size(std::min(item->sizeHint().width(), area.width()), item->sizeHint().height());
    if (x > 0 && x + size.width() > area.width()) {
      x = 0;
      y += lineHeight + spacing();
      lineHeight = 0;
    }
    if (isApplied) item->setGeometry(QStyle::visualRect(direction, area, {area.topLeft() + QPoint(x, y), size}));
    x += size.width() + spacing();
    lineHeight = std::max(lineHeight, size.height());
  }
  return y + lineHeight;
}

}  // namespace tallyfox::linux_os
