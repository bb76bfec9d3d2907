#include "platform/macos/CGEventInput.hpp"

#import <AppKit/AppKit.h>

#include <cmath>
#include <optional>
#include <utility>

#include "platform/macos/CFRef.hpp"
#include "platform/macos/ProcessStatus.hpp"

namespace tallyfox::mac_os {
namespace {

constexpr CGEventFlags modifiers =
    kCGEventFlagMaskShift | kCGEventFlagMaskControl | kCGEventFlagMaskAlternate | kCGEventFlagMaskCommand;

struct WindowUnderPoint {
  NSInteger number = 0;
  std::int32_t processIdentifier = 0;
};

/// The window that a press of the mouse there would hit. Windows that let the mouse through do not count, which a list
/// of frames cannot tell.
std::optional<WindowUnderPoint> windowUnder(CGPoint point) {
  @autoreleasepool {
    // AppKit counts from the lower left corner of the first screen, events from its upper left one.
    const CGFloat height = CGDisplayBounds(CGMainDisplayID()).size.height;
    const NSInteger number = [NSWindow windowNumberAtPoint:NSMakePoint(point.x, height - point.y)
                               belowWindowWithWindowNumber:0];
    if (number <= 0) return std::nullopt;
    const auto list = CFRef<CFArrayRef>::adopt(
        CGWindowListCopyWindowInfo(kCGWindowListOptionIncludingWindow, static_cast<CGWindowID>(number)));
    if (!list || CFArrayGetCount(list.get()) != 1) return std::nullopt;
    NSDictionary* description = ((__bridge NSArray*)list.get()).firstObject;
    if (![description isKindOfClass:NSDictionary.class]) return std::nullopt;
    id owner = description[(__bridge NSString*)kCGWindowOwnerPID];
    if (![owner isKindOfClass:NSNumber.class]) return std::nullopt;
    return WindowUnderPoint{.number = number, .processIdentifier = ((NSNumber*)owner).intValue};
  }
}

class PostableEvent : public SyntheticEvent {
 public:
  PostableEvent(CFRef<CGEventRef> event, bool isMouse) : event_(std::move(event)), isMouse_(isMouse) {}

  void postToProcess(std::int32_t processIdentifier) override {
    const CFRef<CGEventRef> event = std::exchange(event_, {});
    if (!event || !isProcessRunning(processIdentifier)) return;
    if (isMouse_ && !aim(event.get(), processIdentifier)) return;
    CGEventPostToPid(processIdentifier, event.get());
  }
  void postGlobally() override {
    const CFRef<CGEventRef> event = std::exchange(event_, {});
    if (!event) return;
    if ((CGEventSourceFlagsState(kCGEventSourceStateHIDSystemState) & modifiers) != 0) return;
    CGEventPost(kCGHIDEventTap, event.get());
  }

 private:
  /// An event that does not pass through the window server has no window unless it is told, and reaches no view.
  static bool aim(CGEventRef event, std::int32_t processIdentifier) {
    const auto window = windowUnder(CGEventGetLocation(event));
    if (!window || window->processIdentifier != processIdentifier) return false;
    CGEventSetIntegerValueField(event, kCGMouseEventWindowUnderMousePointer, window->number);
    CGEventSetIntegerValueField(event, kCGMouseEventWindowUnderMousePointerThatCanHandleThisEvent, window->number);
    return true;
  }

  CFRef<CGEventRef> event_;  ///< none once posted
  bool isMouse_;
};

CFRef<CGEventSourceRef> source() {
  return CFRef<CGEventSourceRef>::adopt(CGEventSourceCreate(kCGEventSourceStateHIDSystemState));
}

CGEventType typeOf(MouseEventKind kind) {
  switch (kind) {
    case MouseEventKind::leftDown:
      return kCGEventLeftMouseDown;
    case MouseEventKind::leftUp:
      return kCGEventLeftMouseUp;
    case MouseEventKind::moved:
      break;
  }
  return kCGEventMouseMoved;
}

std::unique_ptr<SyntheticEvent> made(CGEventRef created, bool isMouse) {
  auto event = CFRef<CGEventRef>::adopt(created);
  if (!event) return nullptr;
  // A new event has the modifiers that are held down at the moment.
  CGEventSetFlags(event.get(), CGEventFlags{});
  return std::make_unique<PostableEvent>(std::move(event), isMouse);
}

}  // namespace

std::unique_ptr<SyntheticEvent> CGEventInput::createKeyEvent(const KeyEvent& event) {
  const auto from = source();
  if (!from) return nullptr;
  return made(CGEventCreateKeyboardEvent(from.get(), static_cast<CGKeyCode>(event.key), event.isDown), false);
}

std::unique_ptr<SyntheticEvent> CGEventInput::createMouseEvent(const MouseEvent& event) {
  const auto from = source();
  if (!from || !std::isfinite(event.position.x) || !std::isfinite(event.position.y)) return nullptr;
  const CGPoint point = CGPointMake(event.position.x, event.position.y);
  CGEventRef created = CGEventCreateMouseEvent(from.get(), typeOf(event.kind), point, kCGMouseButtonLeft);
  // A press that is no double one counts as the first.
  if (created != nullptr && event.kind != MouseEventKind::moved)
    CGEventSetIntegerValueField(created, kCGMouseEventClickState, 1);
  return made(created, true);
}

}  // namespace tallyfox::mac_os
