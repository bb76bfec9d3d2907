#include "actions/SemanticButton.hpp"

#include <string>

#include "detection/DialogButtonSemantics.hpp"

namespace tallyfox {

std::optional<SemanticButton> semanticButton(std::string_view label) {
  const std::string normalized = DialogButtonSemantics::normalized(label);
  if (DialogButtonSemantics::cancelActionLabels().contains(normalized)) {
    return SemanticButton{AXAttribute::cancelButton, ax_action::cancel, KeyCode::escape};
  }
  if (DialogButtonSemantics::confirmActionLabels().contains(normalized)) {
    return SemanticButton{AXAttribute::defaultButton, ax_action::confirm, KeyCode::returnKey};
  }
  return std::nullopt;
}

}  // namespace tallyfox
