#pragma once

#include <cstdint>
#include <expected>
#include <memory>
#include <vector>

#include "platform/AXTypes.hpp"

namespace tallyfox {

/// What a reader is about to read: `attributes` of each root and, when `descendantLimit` is positive, of the first that
/// many descendants of each root in the order of the bounded depth-first walk (children taken last first, the root
/// itself not counted). Of an application, with `windows` among the attributes, each window is a root instead.
struct AXReadPlan {
  std::vector<AXUIElement> roots;
  std::vector<AXAttribute> attributes;
  int descendantLimit = 0;
};

/// While a scope lives, its thread's reads of planned elements may be answered from one reading made when the scope was
/// opened. Scopes of one thread nest; each ends on the thread that opened it.
class AXReadScope {
 public:
  virtual ~AXReadScope() = default;
};

/// The roots of the accessibility world. Callable from any thread; a call blocks as AccessibilityElements' calls do.
class Accessibility {
 public:
  virtual ~Accessibility() = default;

  /// Whether this process may read and press. Never raises a prompt. Read anew at each call.
  [[nodiscard]] virtual bool isProcessTrusted() = 0;
  /// The element of an application; made without a message, so also for a process that is gone.
  [[nodiscard]] virtual AXUIElement applicationElement(std::int32_t processIdentifier) = 0;
  /// Answers the focused window and the focused element of whichever application has the focus.
  [[nodiscard]] virtual AXUIElement systemWideElement() = 0;
  /// The deepest element at a point of the screen (points, top-left origin), of whatever window is topmost there.
  [[nodiscard]] virtual std::expected<AXUIElement, AXError> elementAtPosition(AXPoint point) = 0;
  /// Announces what will be read, so that it can be fetched in few rounds. A hint: reads outside the plan, and all
  /// reads of a backend that ignores it, are answered just the same, one message each. An application that does not
  /// answer costs the scope its time-out once, whatever the number of its elements.
  [[nodiscard]] virtual std::unique_ptr<AXReadScope> willRead(const AXReadPlan& plan) = 0;
};

}  // namespace tallyfox
