#include "platform/linux/window/FlowLayout.hpp"

#include <QStyle>
#include <QWidget>
#include <algorithm>

namespace tallyfox::linux_os {

FlowLayout::FlowLayout(Gaps gaps) : gaps_(gaps) {
  setContentsMargins(0, 0, 0, 0);
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
    width += item->sizeHint().width() + (width > 0 ? gaps_.between : 0);
    height = std::max(height, item->sizeHint().height());
  }
  return height > 0 ? QSize(width - 2 * gaps_.overhang, height + gaps_.above) : QSize();
}

QSize FlowLayout::minimumSize() const {
  QSize size;
  for (const auto& item : items_)
    if (!item->isEmpty()) size = size.expandedTo(item->minimumSize());
  return size.isEmpty() ? size : size + QSize(-2 * gaps_.overhang, gaps_.above);
}

void FlowLayout::setGeometry(const QRect& area) {
  QLayout::setGeometry(area);
  arrange(area, true);
}

int FlowLayout::arrange(const QRect& area, bool isApplied) const {
  const Qt::LayoutDirection direction = parentWidget() != nullptr ? parentWidget()->layoutDirection() : Qt::LeftToRight;
  const QRect place = area.adjusted(-gaps_.overhang, gaps_.above, gaps_.overhang, 0);
  int x = 0;
  int y = 0;
  int lineHeight = 0;
  for (const auto& item : items_) {
    if (item->isEmpty()) continue;
    const QSize size(std::min(item->sizeHint().width(), place.width()), item->sizeHint().height());
    if (x > 0 && x + size.width() > place.width()) {
      x = 0;
      y += lineHeight + gaps_.between;
      lineHeight = 0;
    }
    if (isApplied) item->setGeometry(QStyle::visualRect(direction, place, {place.topLeft() + QPoint(x, y), size}));
    x += size.width() + gaps_.between;
    lineHeight = std::max(lineHeight, size.height());
  }
  return lineHeight > 0 ? gaps_.above + y + lineHeight : 0;
}

}  // namespace tallyfox::linux_os
