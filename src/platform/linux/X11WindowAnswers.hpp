#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>

#include "platform/linux/X11Connection.hpp"
#include "platform/linux/X11Desktop.hpp"
#include "platform/linux/X11Property.hpp"

namespace tallyfox::linux_os {

/// The properties that are asked of every window, in the order of the questions.
struct Asked {
  enum Index : std::size_t {
    pid,
    machine,
    netName,
    name,
    wmClass,
    gtkApplication,
    kdeDesktopFile,
    transientFor,
    types,
    states,
    wmState,
    desktop,
    frameExtents,
    gtkFrameExtents,
    opacity,
    count,
  };
};

/// _NET_WM_WINDOW_OPACITY of a window that hides everything behind it.
inline constexpr std::uint32_t fullOpacity = std::numeric_limits<std::uint32_t>::max();

/// What the server answered about one window.
struct X11WindowAnswers {
  XWindowID id = 0;
  bool isViewable = false;
  bool isManaged = true;    ///< asks to be managed
  DialogFrame clientFrame;  ///< in root coordinates
  XWindowID parent = 0;     ///< the outermost ancestor reached so far
  XWindowID topLevel = 0;   ///< 0 until the child of the root is reached
  std::optional<std::int32_t> process;
  std::uint32_t frameOpacity = fullOpacity;  ///< the least of all frames
  std::array<X11Property, Asked::count> properties;
};

/// The window that the answers describe. `connection` gives the names only; nothing is asked.
[[nodiscard]] XWindow described(const X11WindowAnswers& answers, const X11Connection& connection,
                                std::optional<std::uint32_t> currentDesktop);

}  // namespace tallyfox::linux_os
