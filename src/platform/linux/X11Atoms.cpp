#include "platform/linux/X11Atoms.hpp"

#include <cstdint>
#include <string_view>

#include "platform/linux/XcbReply.hpp"

namespace tallyfox::linux_os {
namespace {

constexpr std::size_t count = static_cast<std::size_t>(X11Atom::count_);

/// In the order of X11Atom.
constexpr std::array<std::string_view, count> names = {
    "UTF8_STRING",
    "_NET_SUPPORTED",
    "_NET_CLIENT_LIST",
    "_NET_CLIENT_LIST_STACKING",
    "_NET_ACTIVE_WINDOW",
    "_NET_CURRENT_DESKTOP",
    "_NET_WM_PID",
    "_NET_WM_NAME",
    "_NET_WM_WINDOW_TYPE",
    "_NET_WM_STATE",
    "_NET_WM_DESKTOP",
    "_NET_WM_WINDOW_OPACITY",
    "_NET_FRAME_EXTENTS",
    "_GTK_FRAME_EXTENTS",
    "_GTK_APPLICATION_ID",
    "_KDE_NET_WM_DESKTOP_FILE",
    "WM_STATE",
    "WM_CHANGE_STATE",
    "_NET_WM_STATE_MODAL",
    "_NET_WM_STATE_HIDDEN",
    "_NET_WM_STATE_SHADED",
    "_NET_WM_STATE_ABOVE",
    "_NET_WM_WINDOW_TYPE_DESKTOP",
    "_NET_WM_WINDOW_TYPE_DOCK",
    "_NET_WM_WINDOW_TYPE_TOOLBAR",
    "_NET_WM_WINDOW_TYPE_MENU",
    "_NET_WM_WINDOW_TYPE_UTILITY",
    "_NET_WM_WINDOW_TYPE_SPLASH",
    "_NET_WM_WINDOW_TYPE_DIALOG",
    "_NET_WM_WINDOW_TYPE_DROPDOWN_MENU",
    "_NET_WM_WINDOW_TYPE_POPUP_MENU",
    "_NET_WM_WINDOW_TYPE_TOOLTIP",
    "_NET_WM_WINDOW_TYPE_NOTIFICATION",
    "_NET_WM_WINDOW_TYPE_COMBO",
    "_NET_WM_WINDOW_TYPE_DND",
    "_NET_WM_WINDOW_TYPE_NORMAL",
};
static_assert(names.back() == "_NET_WM_WINDOW_TYPE_NORMAL");

}  // namespace

X11Atoms::X11Atoms(xcb_connection_t* connection) {
  std::array<xcb_intern_atom_cookie_t, count> questions{};
  for (std::size_t i = 0; i < count; ++i)
    questions[i] = xcb_intern_atom(connection, 0, static_cast<std::uint16_t>(names[i].size()), names[i].data());
  for (std::size_t i = 0; i < count; ++i)
    if (const auto reply = owned(xcb_intern_atom_reply(connection, questions[i], nullptr))) atoms_[i] = reply->atom;
}

}  // namespace tallyfox::linux_os
