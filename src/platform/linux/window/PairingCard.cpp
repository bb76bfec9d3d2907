#include "platform/linux/window/PairingCard.hpp"

#include <QBoxLayout>

#include "platform/linux/window/FlowLayout.hpp"
#include "ui/StatusWindowLayout.hpp"

namespace tallyfox::linux_os {
namespace {

constexpr int padding = static_cast<int>(status_window_layout::cardPadding);
constexpr int textSpacing = 4;
constexpr double statusSize = 1.2;
constexpr double captionSize = 0.92;

}  // namespace

PairingCard::PairingCard(const ActionHandler& onAction)
    : title_(new TextLabel({.weight = QFont::DemiBold})),
      status_(new TextLabel({.relativeSize = statusSize, .weight = QFont::DemiBold})),
      detail_(new TextLabel({.role = TextRole::secondary})),
      problem_(new TextLabel({.role = TextRole::warning})),
      code_(new CodeView),
      caption_(new TextLabel({.role = TextRole::secondary, .relativeSize = captionSize, .isCentred = true})),
      openSettings_(new ActionButton(onAction)),
      codeToggle_(new ActionButton(onAction)),
      unpair_(new ActionButton(onAction)) {
  auto* buttons = new FlowLayout({.between = textSpacing, .above = textSpacing, .overhang = FocusRing::width});
  for (ActionButton* button : {openSettings_, codeToggle_, unpair_})
    buttons->addWidget(button);
  auto* column = new QVBoxLayout(this);
  column->setContentsMargins(padding, padding, padding, padding);
  column->setSpacing(textSpacing);
  for (TextLabel* text : {title_, status_, detail_, problem_})
    column->addWidget(text);
  column->addWidget(code_, 0, Qt::AlignHCenter);
  column->addWidget(caption_);
  column->addLayout(buttons);
}

void PairingCard::apply(const PairingCardModel& model) {
  if (model == model_) return;
  model_ = model;
  setTitle(model.title);
  title_->showText(model.title);
  status_->showText(model.status);
  status_->setRole(model.statusRole);
  detail_->showText(model.detail);
  problem_->showText(model.problem.value_or(""));
  code_->apply(model.code, model.caption);
  caption_->showText(model.caption);
  openSettings_->apply(model.openSettings, model.title);
  codeToggle_->apply(model.codeToggle, model.title);
  unpair_->apply(model.unpair, model.title);
}

}  // namespace tallyfox::linux_os
