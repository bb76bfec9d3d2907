#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
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
    name,
    wmClass,
    gtkApplication,
    kdeDesktopFile,
    transientFor,
    types,
    states,
    desktop,
    frameExtents,
    gtkFrameExtents,
    opacity,
    count,
  };
};

/// What the server answered about one window.
struct X11WindowAnswers {
  XWindowID id = 0;
  bool isViewable = false;
  bool isManaged = true;    ///< asks to be managed
  DialogFrame clientFrame;  ///< in root coordinates
  std::optional<std::int32_t> process;
  X11Property olderState;  ///< WM_STATE; only asked where the manager keeps no list of states
  std::array<X11Property, Asked::count> properties;
};

/// The window that the answers describe. `connection` gives the names only; nothing is asked.
[[nodiscard]] XWindow described(const X11WindowAnswers& answers, const X11Connection& connection,
                                std::optional<std::uint32_t> currentDesktop);

}  // namespace tallyfox::linux_os
