#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "platform/linux/X11Desktop.hpp"

namespace tallyfox::linux_os {

/// What of a managed window makes an event when it changes.
struct X11WindowState {
  std::int32_t processIdentifier = 0;  ///< 0 when unknown
  std::string title;
  bool isMinimized = false;
  bool operator==(const X11WindowState&) const = default;
};

/// What of the desktop makes an event when it changes.
struct X11DesktopState {
  std::map<XWindowID, X11WindowState> windows;
  std::optional<XWindowID> active;
  std::optional<std::uint32_t> currentDesktop;
  bool operator==(const X11DesktopState&) const = default;
};

enum class X11ChangeKind {
  windowClosed,
  windowOpened,
  titleChanged,
  windowMinimized,
  windowRestored,
  applicationHidden,  ///< the last of its windows was minimised
  applicationShown,   ///< one of its windows came back after all had been minimised
  applicationActivated,
  windowActivated,
  currentDesktopChanged,
};

/// One event, in the terms of the window manager.
struct X11Change {
  X11ChangeKind kind = X11ChangeKind::windowOpened;
  std::int32_t processIdentifier = 0;  ///< 0 when unknown, and for currentDesktopChanged
  bool operator==(const X11Change&) const = default;
};

/// What happened between two looks at the desktop, in the order of X11ChangeKind; windows by ascending number. A window
/// number that went over to another process is a window closed and one opened. An active window that is not (or not
/// yet) listed counts as none, and losing the focus to none is no event. Nor is a manager that begins to tell the
/// desktop.
[[nodiscard]] std::vector<X11Change> changesBetween(const X11DesktopState& before, const X11DesktopState& after);

}  // namespace tallyfox::linux_os
