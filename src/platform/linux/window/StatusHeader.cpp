#include "platform/linux/window/StatusHeader.hpp"

#include <QBoxLayout>

#include "platform/linux/window/MenuButton.hpp"
#include "ui/StatusWindowLayout.hpp"

namespace tallyfox::linux_os {
namespace {

constexpr double headlineSize = 1.7;
constexpr int textSpacing = 2;

}  // namespace

StatusHeader::StatusHeader(const QList<QAction*>& menuEntries)
    : title_(new TextLabel({.role = TextRole::secondary, .weight = QFont::DemiBold})),
      headline_(new TextLabel({.relativeSize = headlineSize, .weight = QFont::Bold})),
      detail_(new TextLabel({.role = TextRole::secondary})),
      pill_(new PillView) {
  auto* top = new QHBoxLayout;
  top->addWidget(title_, 1);
  top->addWidget(new MenuButton(menuEntries));
  auto* state = new QHBoxLayout;
  state->setSpacing(static_cast<int>(status_window_layout::spacing));
  state->addWidget(headline_, 1);
  state->addWidget(pill_, 0, Qt::AlignVCenter);
  auto* column = new QVBoxLayout(this);
  column->setContentsMargins(0, 0, 0, static_cast<int>(status_window_layout::spacing) / 2);
  column->setSpacing(textSpacing);
  column->addLayout(top);
  column->addLayout(state);
  column->addWidget(detail_);
}

void StatusHeader::apply(const StatusWindowModel& model) {
  title_->showText(model.title);
  headline_->showText(model.headline);
  detail_->showText(model.detail);
  pill_->apply(model.pill);
}

}  // namespace tallyfox::linux_os
