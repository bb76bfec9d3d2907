#include "platform/macos/CGEventInput.hpp"

#import <AppKit/AppKit.h>

#include <cmath>
#include <optional>
#include <utility>

#include "platform/macos/CFRef.hpp"
#include "platform/macos/HeldInput.hpp"
#include "platform/macos/ProcessStatus.hpp"

namespace tallyfox::mac_os {
namespace {

constexpr CGEventFlags modifiers =
    kCGEventFlagMaskShift | kCGEventFlagMaskControl | kCGEventFlagMaskAlternate | kCGEventFlagMaskCommand;

/// Whose window a press of the mouse there would hit. Windows that let the mouse through do not count, which a list of
/// frames cannot tell.
std::optional<std::int32_t> processUnder(CGPoint point) {
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
    return ((NSNumber*)owner).intValue;
  }
}

/// What an event does to a key, or to the mouse's button.
struct Stroke {
  enum class Kind { move, press, release };
  Kind kind = Kind::move;
  int control = HeldInput::mouseButton;

  [[nodiscard]] bool isOfMouse() const { return control == HeldInput::mouseButton; }
};

class PostableEvent : public SyntheticEvent {
 public:
  PostableEvent(CFRef<CGEventRef> event, Stroke stroke, std::shared_ptr<HeldInput> held)
      : event_(std::move(event)), stroke_(stroke), held_(std::move(held)) {}

  void postToProcess(std::int32_t processIdentifier) override {
    const CFRef<CGEventRef> event = std::exchange(event_, {});
    if (!event || !isProcessRunning(processIdentifier)) return;
    if (!mayReach(processIdentifier, CGEventGetLocation(event.get()))) return;
    CGEventPostToPid(processIdentifier, event.get());
  }
  void postGlobally() override {
    const CFRef<CGEventRef> event = std::exchange(event_, {});
    if (event && mayGoOutGlobally()) CGEventPost(kCGHIDEventTap, event.get());
  }

 private:
  bool mayReach(std::int32_t processIdentifier, CGPoint point) {
    if (stroke_.kind == Stroke::Kind::release) return held_->release(stroke_.control, processIdentifier);
    if (stroke_.isOfMouse() && processUnder(point) != processIdentifier) return false;
    if (stroke_.kind == Stroke::Kind::press) held_->press(stroke_.control, processIdentifier);
    return true;
  }

  bool mayGoOutGlobally() {
    if (stroke_.kind == Stroke::Kind::release) return held_->release(stroke_.control, HeldInput::anyProcess);
    if ((CGEventSourceFlagsState(kCGEventSourceStateHIDSystemState) & modifiers) != 0) return false;
    if (stroke_.kind == Stroke::Kind::press) held_->press(stroke_.control, HeldInput::anyProcess);
    return true;
  }

  CFRef<CGEventRef> event_;  ///< none once posted
  Stroke stroke_;
  std::shared_ptr<HeldInput> held_;
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

Stroke strokeOf(MouseEventKind kind) {
  switch (kind) {
    case MouseEventKind::leftDown:
      return {.kind = Stroke::Kind::press};
    case MouseEventKind::leftUp:
      return {.kind = Stroke::Kind::release};
    case MouseEventKind::moved:
      break;
  }
  return {};
}

Stroke strokeOf(const KeyEvent& event) {
  return {.kind = event.isDown ? Stroke::Kind::press : Stroke::Kind::release, .control = static_cast<int>(event.key)};
}

std::unique_ptr<SyntheticEvent> made(CGEventRef created, Stroke stroke, const std::shared_ptr<HeldInput>& held) {
  auto event = CFRef<CGEventRef>::adopt(created);
  if (!event) return nullptr;
  // A new event has the modifiers that are held down at the moment.
  CGEventSetFlags(event.get(), CGEventFlags{});
  return std::make_unique<PostableEvent>(std::move(event), stroke, held);
}

}  // namespace

CGEventInput::CGEventInput() : held_(std::make_shared<HeldInput>()) {}

CGEventInput::~CGEventInput() = default;

std::unique_ptr<SyntheticEvent> CGEventInput::createKeyEvent(const KeyEvent& event) {
  const auto from = source();
  if (!from) return nullptr;
  return made(CGEventCreateKeyboardEvent(from.get(), static_cast<CGKeyCode>(event.key), event.isDown), strokeOf(event),
              held_);
}

std::unique_ptr<SyntheticEvent> CGEventInput::createMouseEvent(const MouseEvent& event) {
  const auto from = source();
  if (!from || !std::isfinite(event.position.x) || !std::isfinite(event.position.y)) return nullptr;
  const CGPoint point = CGPointMake(event.position.x, event.position.y);
  CGEventRef created = CGEventCreateMouseEvent(from.get(), typeOf(event.kind), point, kCGMouseButtonLeft);
  // A press that is no double one counts as the first.
  if (created != nullptr && event.kind != MouseEventKind::moved)
    CGEventSetIntegerValueField(created, kCGMouseEventClickState, 1);
  return made(created, strokeOf(event.kind), held_);
}

}  // namespace tallyfox::mac_os
