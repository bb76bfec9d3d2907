#pragma once

#include <xcb/xcb.h>

#include <array>
#include <cstddef>

namespace tallyfox::linux_os {

/// The names that this system uses on the X display.
enum class X11Atom : std::size_t {
  utf8String,
  netSupported,
  netClientList,
  netClientListStacking,
  netActiveWindow,
  netCurrentDesktop,
  netWmPid,
  netWmName,
  netWmWindowType,
  netWmState,
  netWmDesktop,
  netWmWindowOpacity,
  netFrameExtents,
  gtkFrameExtents,
  gtkApplicationID,
  kdeDesktopFile,
  wmState,
  wmChangeState,
  stateModal,
  stateHidden,
  stateShaded,
  stateAbove,
  typeDesktop,
  typeDock,
  typeToolbar,
  typeMenu,
  typeUtility,
  typeSplash,
  typeDialog,
  typeDropdownMenu,
  typePopupMenu,
  typeTooltip,
  typeNotification,
  typeCombo,
  typeDragAndDrop,
  typeNormal,
  count_,
};

/// Interned once per connection, in one round.
class X11Atoms {
 public:
  explicit X11Atoms(xcb_connection_t* connection);
  [[nodiscard]] xcb_atom_t operator[](X11Atom atom) const { return atoms_[static_cast<std::size_t>(atom)]; }

 private:
  std::array<xcb_atom_t, static_cast<std::size_t>(X11Atom::count_)> atoms_{};
};

}  // namespace tallyfox::linux_os
