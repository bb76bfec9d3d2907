#include "platform/linux/X11InputGuard.hpp"

#include <utility>

#include "base/Limits.hpp"
#include "platform/linux/XcbReply.hpp"

namespace tallyfox::linux_os {
namespace {

/// Those that turn a key or a click into another command. Lock keys (Lock, Mod2) and the third level do not.
constexpr std::uint16_t meaningfulState = XCB_MOD_MASK_SHIFT | XCB_MOD_MASK_CONTROL | XCB_MOD_MASK_1 | XCB_MOD_MASK_4 |
                                          XCB_BUTTON_MASK_1 | XCB_BUTTON_MASK_2 | XCB_BUTTON_MASK_3;

}  // namespace

X11InputGuard::X11InputGuard(std::shared_ptr<X11Desktop> desktop, const X11Connection& connection)
    : desktop_(std::move(desktop)), connection_(connection), probe_(xcb_generate_id(connection.get())) {
  constexpr std::uint32_t leaveAlone = 1;
  xcb_create_window(connection.get(), XCB_COPY_FROM_PARENT, probe_, connection.root(), -1, -1, 1, 1, 0,
                    XCB_WINDOW_CLASS_INPUT_ONLY, XCB_COPY_FROM_PARENT, XCB_CW_OVERRIDE_REDIRECT, &leaveAlone);
}

bool X11InputGuard::keysReach(std::int32_t processIdentifier) const {
  const auto active = desktop_->activeWindow();
  return active && active->processIdentifier == processIdentifier && hasInputFocus(active->id) && areKeysFree();
}

bool X11InputGuard::mouseReaches(std::int32_t processIdentifier, AXPoint point) const {
  const auto top = desktop_->topWindowAt(point);
  return top && top->processIdentifier == processIdentifier && isMouseFree();
}

/// The focus may lie on the window itself or on one inside it, as toolkits do it.
bool X11InputGuard::hasInputFocus(XWindowID window) const {
  xcb_connection_t* const connection = connection_.get();
  const auto focus = owned(xcb_get_input_focus_reply(connection, xcb_get_input_focus(connection), nullptr));
  if (!focus || focus->focus <= XCB_INPUT_FOCUS_POINTER_ROOT) return false;
  xcb_window_t holder = focus->focus;
  for (int level = 0; level < limits::windowAncestors; ++level) {
    if (holder == window) return true;
    const auto tree = owned(xcb_query_tree_reply(connection, xcb_query_tree(connection, holder), nullptr));
    if (!tree || tree->parent == XCB_NONE || tree->parent == connection_.root()) return false;
    holder = tree->parent;
  }
  return false;
}

bool X11InputGuard::isAnyModifierOrButtonDown() const {
  const auto reply = owned(
      xcb_query_pointer_reply(connection_.get(), xcb_query_pointer(connection_.get(), connection_.root()), nullptr));
  return !reply || (reply->mask & meaningfulState) != 0;
}

// A grab on a window that is not mapped never succeeds, so asking disturbs nobody; the refusal tells whether another
// client (a menu, a screen locker) holds the device.

bool X11InputGuard::isKeyboardFree() const {
  const auto reply = owned(xcb_grab_keyboard_reply(
      connection_.get(),
      xcb_grab_keyboard(connection_.get(), 0, probe_, XCB_CURRENT_TIME, XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC),
      nullptr));
  return reply && reply->status == XCB_GRAB_STATUS_NOT_VIEWABLE;
}

bool X11InputGuard::isPointerFree() const {
  const auto reply =
      owned(xcb_grab_pointer_reply(connection_.get(),
                                   xcb_grab_pointer(connection_.get(), 0, probe_, 0, XCB_GRAB_MODE_ASYNC,
                                                    XCB_GRAB_MODE_ASYNC, XCB_NONE, XCB_NONE, XCB_CURRENT_TIME),
                                   nullptr));
  return reply && reply->status == XCB_GRAB_STATUS_NOT_VIEWABLE;
}

}  // namespace tallyfox::linux_os
