#include "platform/linux/X11Connection.hpp"

#include <unistd.h>
#include <xcb/res.h>

#include <array>

#include "platform/linux/XcbReply.hpp"

namespace tallyfox::linux_os {
namespace {

/// An unusable name instead of none: none would make the library look for a display by itself.
constexpr const char* noDisplay = "none";

xcb_window_t rootOf(xcb_connection_t* connection, int screen) {
  if (xcb_connection_has_error(connection) != 0) return XCB_NONE;
  auto screens = xcb_setup_roots_iterator(xcb_get_setup(connection));
  for (; screens.rem > 1 && screen > 0; --screen)
    xcb_screen_next(&screens);
  return screens.data == nullptr ? static_cast<xcb_window_t>(XCB_NONE) : screens.data->root;
}

bool hasClientIDs(xcb_connection_t* connection) {
  const auto* extension = xcb_get_extension_data(connection, &xcb_res_id);
  if (extension == nullptr || extension->present == 0) return false;
  const auto version = owned(xcb_res_query_version_reply(connection, xcb_res_query_version(connection, 1, 2), nullptr));
  return version && (version->server_major > 1 || (version->server_major == 1 && version->server_minor >= 2));
}

std::string ownHostName() {
  std::array<char, 256> name{};
  return gethostname(name.data(), name.size() - 1) == 0 ? std::string(name.data()) : std::string();
}

}  // namespace

X11Connection::X11Connection(const std::optional<std::string>& display)
    : connection_(xcb_connect(display && !display->empty() ? display->c_str() : noDisplay, &screen_)),
      root_(rootOf(connection_.get(), screen_)),
      atoms_(connection_.get()),
      tellsClientProcesses_(hasClientIDs(connection_.get())),
      hostName_(ownHostName()) {}

}  // namespace tallyfox::linux_os
