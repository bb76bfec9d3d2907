#pragma once

#include "platform/SyntheticInput.hpp"

namespace tallyfox::mac_os {

/// Keys and clicks by the window server. An event carries no modifier, whatever the owner holds down; a global one is
/// not posted at all while a modifier is held, since it could reach a shortcut instead of the button.
class CGEventInput : public SyntheticInput {
 public:
  std::unique_ptr<SyntheticEvent> createKeyEvent(const KeyEvent& event) override;
  std::unique_ptr<SyntheticEvent> createMouseEvent(const MouseEvent& event) override;
};

}  // namespace tallyfox::mac_os
