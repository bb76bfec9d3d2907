#pragma once

#include <cstdint>
#include <memory>
#include <optional>

#include "platform/AXTypes.hpp"

namespace tallyfox {

/// Keys by their virtual key codes.
enum class KeyCode : std::uint16_t { returnKey = 36, space = 49, escape = 53 };

enum class MouseEventKind { moved, leftDown, leftUp };

struct KeyEvent {
  KeyCode key = KeyCode::space;
  bool isDown = false;
  bool operator==(const KeyEvent&) const = default;
};

struct MouseEvent {
  MouseEventKind kind = MouseEventKind::moved;
  AXPoint position;
  bool operator==(const MouseEvent&) const = default;
};

/// An event that was created and can be posted once; posting it again does nothing.
class SyntheticEvent {
 public:
  virtual ~SyntheticEvent() = default;
  /// Delivers the event to one process and never to another; does nothing when the system cannot direct it there: for
  /// the mouse, when that process does not own the topmost window at the point; for keys (Linux), when it does not own
  /// the focused window.
  virtual void postToProcess(std::int32_t processIdentifier) = 0;
  /// Delivers the event as if the hardware had made it; a backend that sees that it would go astray (Linux: another
  /// program holds the device, or the owner a modifier) delivers none.
  virtual void postGlobally() = 0;
};

/// Makes key and left-button mouse events. Main thread only. Gives nothing where the system has no synthetic input.
class SyntheticInput {
 public:
  virtual ~SyntheticInput() = default;
  [[nodiscard]] virtual std::unique_ptr<SyntheticEvent> createKeyEvent(const KeyEvent& event) = 0;
  [[nodiscard]] virtual std::unique_ptr<SyntheticEvent> createMouseEvent(const MouseEvent& event) = 0;
};

}  // namespace tallyfox
