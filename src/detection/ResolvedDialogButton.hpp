#pragma once

#include "model/DialogButton.hpp"
#include "platform/AXTypes.hpp"

namespace tallyfox {

/// A button found again on the screen.
struct ResolvedDialogButton {
  DialogButton button;  ///< its label and current frame
  AXUIElement element;
  AXUIElement window;  ///< the window or sheet that holds it
};

}  // namespace tallyfox
