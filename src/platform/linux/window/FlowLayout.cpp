#include "platform/linux/window/FlowLayout.hpp"

#include <QStyle>
#include <QWidget>
#include <algorithm>

#include "ui/FlowArrangement.hpp"

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
  std::vector<QLayoutItem*> shown;
  std::vector<FlowSize> sizes;
  for (const auto& item : items_) {
    if (item->isEmpty()) continue;
    shown.push_back(item.get());
    const QSize size = item->sizeHint();
    sizes.push_back({.width = static_cast<double>(size.width()), .height = static_cast<double>(size.height())});
  }
  if (shown.empty()) return 0;
  const auto places = flowArrangement(sizes, place.width(), gaps_.between);
  for (std::size_t i = 0; isApplied && i < shown.size(); ++i) {
    const QRect inside = QRectF(places[i].x, places[i].y, places[i].width, places[i].height).toRect();
    shown[i]->setGeometry(QStyle::visualRect(direction, place, inside.translated(place.topLeft())));
  }
  return gaps_.above + static_cast<int>(flowHeight(places));
}

}  // namespace tallyfox::linux_os
