#pragma once

#include "platform/WindowList.hpp"

namespace tallyfox::mac_os {

/// The window server's list, without the desktop itself. Names of foreign windows are absent unless the owner lets this
/// program record the screen.
class MacWindowList : public WindowList {
 public:
  std::vector<WindowInfo> windows(bool includeAllSpaces) override;
};

}  // namespace tallyfox::mac_os
