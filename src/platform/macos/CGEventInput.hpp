#pragma once

#include <memory>

#include "platform/SyntheticInput.hpp"

namespace tallyfox::mac_os {

class HeldInput;

/// Keys and clicks by the window server. An event carries no modifier, whatever the owner holds down; a global one is
/// not posted at all while a modifier is held, since it could reach a shortcut instead of the button. A release goes
/// where its press went, whatever has happened since, and nowhere without one.
class CGEventInput : public SyntheticInput {
 public:
  CGEventInput();
  ~CGEventInput() override;
  std::unique_ptr<SyntheticEvent> createKeyEvent(const KeyEvent& event) override;
  std::unique_ptr<SyntheticEvent> createMouseEvent(const MouseEvent& event) override;

 private:
  std::shared_ptr<HeldInput> held_;
};

}  // namespace tallyfox::mac_os
