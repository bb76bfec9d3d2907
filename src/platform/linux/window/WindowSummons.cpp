#include "platform/linux/window/WindowSummons.hpp"

#include <xcb/xcb.h>

#include <QGuiApplication>
#include <array>
#include <string_view>

#include "platform/linux/XcbReply.hpp"

namespace tallyfox::linux_os {
namespace {

xcb_atom_t atomNamed(xcb_connection_t* connection, std::string_view name) {
  const auto cookie = xcb_intern_atom(connection, 0, static_cast<std::uint16_t>(name.size()), name.data());
  const auto reply = owned(xcb_intern_atom_reply(connection, cookie, nullptr));
  return reply ? reply->atom : static_cast<xcb_atom_t>(XCB_ATOM_NONE);
}

xcb_window_t rootOf(xcb_connection_t* connection, xcb_window_t window) {
  const auto reply = owned(xcb_get_geometry_reply(connection, xcb_get_geometry(connection, window), nullptr));
  return reply ? reply->root : static_cast<xcb_window_t>(XCB_WINDOW_NONE);
}

std::uint32_t presentWorkspace(xcb_connection_t* connection, xcb_window_t root) {
  const auto cookie =
      xcb_get_property(connection, 0, root, atomNamed(connection, "_NET_CURRENT_DESKTOP"), XCB_ATOM_CARDINAL, 0, 1);
  const auto reply = owned(xcb_get_property_reply(connection, cookie, nullptr));
  if (!reply || xcb_get_property_value_length(reply.get()) < 4) return 0;
  return *static_cast<const std::uint32_t*>(xcb_get_property_value(reply.get()));
}

/// A request to the window manager, in its own protocol.
void request(xcb_connection_t* connection, xcb_window_t root, xcb_window_t window, std::string_view message,
             std::array<std::uint32_t, 2> data) {
  xcb_client_message_event_t event{};
  event.response_type = XCB_CLIENT_MESSAGE;
  event.format = 32;
  event.window = window;
  event.type = atomNamed(connection, message);
  event.data.data32[0] = data[0];
  event.data.data32[1] = data[1];
  xcb_send_event(connection, 0, root, XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY,
                 reinterpret_cast<const char*>(&event));
}

}  // namespace

void summon(QWidget& window) {
  if (window.isMinimized()) window.setWindowState(window.windowState() & ~Qt::WindowMinimized);
  window.show();
  window.raise();
  window.activateWindow();
  const auto* x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
  xcb_connection_t* connection = x11 != nullptr ? x11->connection() : nullptr;
  if (connection == nullptr) return;
  // The toolkit asks as a program would, whom window managers may keep in the background; the owner may not be.
  constexpr std::uint32_t fromOwner = 2;
  const auto handle = static_cast<xcb_window_t>(window.winId());
  const xcb_window_t root = rootOf(connection, handle);
  request(connection, root, handle, "_NET_WM_DESKTOP", {presentWorkspace(connection, root), fromOwner});
  request(connection, root, handle, "_NET_ACTIVE_WINDOW", {fromOwner, XCB_CURRENT_TIME});
  xcb_flush(connection);
}

}  // namespace tallyfox::linux_os
