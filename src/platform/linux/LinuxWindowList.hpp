#pragma once

#include <memory>
#include <utility>

#include "platform/WindowList.hpp"
#include "platform/linux/X11Desktop.hpp"

namespace tallyfox::linux_os {

/// The managed windows of the X display. The bounds are what can be seen: with the manager's frame, without the
/// toolkit's invisible margins. On screen are those that are mapped, not minimised, and on the current desktop.
class LinuxWindowList : public WindowList {
 public:
  explicit LinuxWindowList(std::shared_ptr<X11Desktop> desktop) : desktop_(std::move(desktop)) {}
  std::vector<WindowInfo> windows(bool includeAllSpaces) override;

 private:
  std::shared_ptr<X11Desktop> desktop_;
};

}  // namespace tallyfox::linux_os
