#pragma once

#include <cstdint>
#include <memory>

#include "platform/AXTypes.hpp"
#include "platform/linux/X11Connection.hpp"
#include "platform/linux/X11Desktop.hpp"

namespace tallyfox::linux_os {

/// Says whether input made now would reach one process, since X has no way to direct it there: input goes wherever the
/// focus, the pointer, a grab or a held modifier leads it. Only looks; in doubt the answer is no.
class X11InputGuard {
 public:
  X11InputGuard(std::shared_ptr<X11Desktop> desktop, const X11Connection& connection);

  /// The active window is of that process and has the input focus, nobody holds the keyboard, and no modifier is down.
  [[nodiscard]] bool keysReach(std::int32_t processIdentifier) const;
  /// The topmost window at the point is of that process, nobody holds the pointer, and no modifier or button is down.
  [[nodiscard]] bool mouseReaches(std::int32_t processIdentifier, AXPoint point) const;

 private:
  [[nodiscard]] bool hasInputFocus(XWindowID window) const;
  [[nodiscard]] bool isAnyModifierOrButtonDown() const;
  [[nodiscard]] bool isKeyboardFree() const;
  [[nodiscard]] bool isPointerFree() const;

  std::shared_ptr<X11Desktop> desktop_;
  const X11Connection& connection_;
  xcb_window_t probe_;
};

}  // namespace tallyfox::linux_os
