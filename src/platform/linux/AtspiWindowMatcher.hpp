#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "platform/linux/AtspiReplies.hpp"
#include "platform/linux/X11Desktop.hpp"

namespace tallyfox::linux_os {

/// What tells one window of a process from its others on the accessibility side.
struct AtspiWindowTraits {
  std::string name;
  std::optional<AtspiExtents> extents;
  bool isDialog = false;
  bool isModal = false;
  bool isActive = false;
};

/// For each accessible window of a process the index of its X window among `screenWindows` (of the same process), each
/// used once; none where nothing speaks for a pair. Title, geometry (the client area, the area with the manager's
/// frame, or the size alone, since GTK 4 knows no position) and kind speak for a pair, and so does being the only ones
/// left. Of windows that look alike the older gets the older.
[[nodiscard]] std::vector<std::optional<std::size_t>> matchedWindows(const std::vector<AtspiWindowTraits>& windows,
                                                                     const std::vector<XWindow>& screenWindows,
                                                                     std::optional<XWindowID> activeWindow);

/// For each of these matches whether it is beyond doubt: exchanging its X window with any other would fit worse. Of two
/// windows that look alike in one place, and of any two that look alike in GTK 4, nobody can tell which is which.
[[nodiscard]] std::vector<bool> certainMatches(const std::vector<AtspiWindowTraits>& windows,
                                               const std::vector<XWindow>& screenWindows,
                                               std::optional<XWindowID> activeWindow,
                                               const std::vector<std::optional<std::size_t>>& matches);

}  // namespace tallyfox::linux_os
