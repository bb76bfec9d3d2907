#pragma once

#include <memory>
#include <optional>
#include <string>

#include "platform/SyntheticInput.hpp"
#include "platform/linux/X11Desktop.hpp"

namespace tallyfox::linux_os {

/// Keys and the left button through the X server's XTEST extension. Nothing is made without that extension, for a key
/// that the present keyboard map lacks, or for a point beyond what X can address.
///
/// Nothing goes down, also not globally, while another program holds the device or the owner holds a modifier or a
/// button: it would reach somebody else or mean something else.
///
/// What goes down comes up: an up event is always delivered, wherever the focus or pointer has gone meanwhile, when its
/// down event was, and is dropped when it was not; the destructor releases what is still pressed. A button event moves
/// the pointer to its place first.
class XTestInput : public SyntheticInput {
 public:
  XTestInput(std::shared_ptr<X11Desktop> desktop, const std::optional<std::string>& display);
  ~XTestInput() override;

  std::unique_ptr<SyntheticEvent> createKeyEvent(const KeyEvent& event) override;
  std::unique_ptr<SyntheticEvent> createMouseEvent(const MouseEvent& event) override;

 private:
  class Device;
  std::shared_ptr<Device> device_;
};

}  // namespace tallyfox::linux_os
