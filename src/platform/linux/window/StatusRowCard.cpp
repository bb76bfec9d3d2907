#include "platform/linux/window/StatusRowCard.hpp"

#include <QBoxLayout>
#include <QPainter>
#include <QStyle>

#include "platform/linux/window/FlowLayout.hpp"
#include "platform/linux/window/StatusSymbols.hpp"
#include "platform/linux/window/TemplateImagePainter.hpp"
#include "platform/linux/window/ThemePalette.hpp"
#include "ui/StatusWindowLayout.hpp"

namespace tallyfox::linux_os {
namespace {

constexpr int padding = static_cast<int>(status_window_layout::cardPadding);
constexpr int symbolRoom = static_cast<int>(symbolSide) + 10;
constexpr int textSpacing = 4;

}  // namespace

StatusRowCard::StatusRowCard(ActionHandler onAction)
    : title_(new TextLabel({.weight = QFont::DemiBold})),
      detail_(new TextLabel({.role = TextRole::secondary})),
      pill_(new PillView),
      button_(new ActionButton(onAction)),
      secondaryButton_(new ActionButton(std::move(onAction))) {
  auto* heading = new QHBoxLayout;
  heading->setSpacing(padding);
  heading->addWidget(title_, 1);
  heading->addWidget(pill_, 0, Qt::AlignTop);
  auto* buttons = new FlowLayout({.between = textSpacing, .above = textSpacing, .overhang = FocusRing::width});
  buttons->addWidget(button_);
  buttons->addWidget(secondaryButton_);
  auto* texts = new QVBoxLayout;
  texts->setSpacing(textSpacing);
  texts->addLayout(heading);
  texts->addWidget(detail_);
  texts->addLayout(buttons);
  // In a layout of its own, so that the room for the symbol lies at the leading edge in either direction.
  auto* row = new QHBoxLayout(this);
  row->setContentsMargins(padding, padding, padding, padding);
  row->setSpacing(0);
  row->addSpacing(symbolRoom);
  row->addLayout(texts);
  hide();
}

void StatusRowCard::apply(const std::optional<StatusRowModel>& model) {
  if (model == model_) return;
  const bool isSymbolNew = model && (!model_ || model_->symbol != model->symbol);
  model_ = model;
  if (model) {
    setTitle(model->title);
    title_->showText(model->title);
    detail_->showText(model->detail);
    pill_->setVisible(model->pill.has_value());
    if (model->pill) pill_->apply(*model->pill);
    button_->apply(model->button, model->title);
    secondaryButton_->apply(model->secondaryButton, model->title);
    if (isSymbolNew) update();
  }
  setVisible(model.has_value());
}

void StatusRowCard::paintEvent(QPaintEvent* event) {
  CardView::paintEvent(event);
  if (!model_) return;
  const int side = static_cast<int>(symbolSide);
  // Beside the title's first line, which a taller pill may have pushed down.
  const int titleTop = title_->y() + (title_->height() - title_->heightForWidth(title_->width())) / 2;
  const int top = titleTop + (title_->fontMetrics().height() - side) / 2;
  const QRect place = QStyle::visualRect(layoutDirection(), rect(), {padding, top, side, side});
  QPainter painter(this);
  painter.translate(place.topLeft());
  drawTemplateImage(painter, statusSymbol(model_->symbol), palette().color(palette_role::secondaryText));
}

}  // namespace tallyfox::linux_os
