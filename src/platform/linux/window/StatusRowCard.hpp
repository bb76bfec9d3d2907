#pragma once

#include <optional>

#include "platform/linux/window/ActionButton.hpp"
#include "platform/linux/window/CardView.hpp"
#include "platform/linux/window/PillView.hpp"
#include "platform/linux/window/TextLabel.hpp"
#include "ui/StatusWindowModel.hpp"

namespace tallyfox::linux_os {

/// One row of the window: symbol, title, pill, detail and up to two buttons.
class StatusRowCard : public CardView {
 public:
  explicit StatusRowCard(ActionHandler onAction);

  /// Changes only what differs from what is shown; without a model the card is hidden.
  void apply(const std::optional<StatusRowModel>& model);

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  std::optional<StatusRowModel> model_;
  TextLabel* title_;
  TextLabel* detail_;
  PillView* pill_;
  ActionButton* button_;
  ActionButton* secondaryButton_;
};

}  // namespace tallyfox::linux_os
