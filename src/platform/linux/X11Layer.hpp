#pragma once

#include <cstdint>

namespace tallyfox::linux_os {

/// What a window is for, as its owner says (_NET_WM_WINDOW_TYPE).
enum class X11WindowType {
  normal,
  dialog,
  utility,
  toolbar,
  splash,
  desktop,
  dock,
  notification,
  tooltip,
  menu,
  dragIcon
};

/// Where a window lies in the window list's order of layers.
struct X11LayerTraits {
  X11WindowType type = X11WindowType::normal;
  bool isAbove = false;   ///< kept above the other windows
  bool isManaged = true;  ///< false for windows that the window manager leaves alone
};

/// The desktop -1; ordinary windows 0; windows kept above 3; panels 20; what floats over everything (notifications,
/// tooltips, menus, drag icons, unmanaged windows) 25. What the owner says it is decides before its state does.
[[nodiscard]] std::int64_t windowLayer(const X11LayerTraits& traits);
/// Whether a task list shows windows of this layer: those of programs that people work with.
[[nodiscard]] constexpr bool isInTaskList(std::int64_t layer) {
  return layer >= 0 && layer < 20;
}

}  // namespace tallyfox::linux_os
