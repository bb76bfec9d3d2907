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
  /// Nobody holds the keyboard and no modifier is down: keys are what they say, for the window with the focus.
  [[nodiscard]] bool areKeysFree() const { return isKeyboardFree() && !isAnyModifierOrButtonDown(); }
  /// Nobody holds the pointer and no modifier or button is down: a click is a plain one, for the window below it.
  [[nodiscard]] bool isMouseFree() const { return isPointerFree() && !isAnyModifierOrButtonDown(); }

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
