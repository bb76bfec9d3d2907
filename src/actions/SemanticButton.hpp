#pragma once

#include <optional>
#include <string_view>

#include "platform/AXTypes.hpp"
#include "platform/SyntheticInput.hpp"

namespace tallyfox {

/// How a dialog itself names, presses and types the button with a cancelling or confirming label.
struct SemanticButton {
  AXAttribute windowAttribute = AXAttribute::defaultButton;  ///< the window's own name for the button
  std::string_view windowAction;                             ///< the window's action that stands for it
  KeyCode key = KeyCode::returnKey;                          ///< the key that presses it

  bool operator==(const SemanticButton&) const = default;
};

/// Absent for labels that neither cancel nor confirm; a label that does both cancels. Pure.
[[nodiscard]] std::optional<SemanticButton> semanticButton(std::string_view label);

}  // namespace tallyfox
