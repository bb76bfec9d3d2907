#pragma once

#include <string>
#include <vector>

#include "platform/Environment.hpp"

namespace tallyfox::linux_os {

/// What the desktop calls itself, by $XDG_CURRENT_DESKTOP: the most particular name first. Empty without a desktop that
/// tells.
[[nodiscard]] std::vector<std::string> currentDesktopNames(Environment& environment);

}  // namespace tallyfox::linux_os
