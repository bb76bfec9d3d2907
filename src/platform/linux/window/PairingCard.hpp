#pragma once

#include <optional>

#include "platform/linux/window/ActionButton.hpp"
#include "platform/linux/window/CardView.hpp"
#include "platform/linux/window/CodeView.hpp"
#include "platform/linux/window/TextLabel.hpp"
#include "ui/StatusWindowModel.hpp"

namespace tallyfox::linux_os {

/// The phone: how pairing stands, the code while it may be seen, and what can be done about it.
class PairingCard : public CardView {
 public:
  explicit PairingCard(const ActionHandler& onAction);

  /// Changes only what differs from what is shown.
  void apply(const PairingCardModel& model);

 private:
  std::optional<PairingCardModel> model_;
  TextLabel* title_;
  TextLabel* status_;
  TextLabel* detail_;
  TextLabel* problem_;
  CodeView* code_;
  TextLabel* caption_;
  ActionButton* openSettings_;
  ActionButton* codeToggle_;
  ActionButton* unpair_;
};

}  // namespace tallyfox::linux_os
