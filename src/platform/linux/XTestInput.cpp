#include "platform/linux/XTestInput.hpp"

#include <xcb/xtest.h>

#include <cstdint>
#include <limits>
#include <map>
#include <utility>

#include "platform/linux/X11Connection.hpp"
#include "platform/linux/X11InputGuard.hpp"
#include "platform/linux/XcbReply.hpp"

namespace tallyfox::linux_os {
namespace {

constexpr std::uint8_t leftButton = 1;

xcb_keysym_t symbolOf(KeyCode key) {
  switch (key) {
    case KeyCode::returnKey:
      return 0xFF0D;
    case KeyCode::space:
      return 0x0020;
    case KeyCode::escape:
      return 0xFF1B;
  }
  return XCB_NO_SYMBOL;
}

bool isAddressable(AXPoint point) {
  constexpr double most = std::numeric_limits<std::int16_t>::max();
  return point.x >= 0 && point.x <= most && point.y >= 0 && point.y <= most;
}

}  // namespace

/// The test device of the server, and what this program holds down on it.
class XTestInput::Device {
 public:
  Device(std::shared_ptr<X11Desktop> desktop, const std::optional<std::string>& display)
      : connection_(display), guard_(std::move(desktop), connection_) {
    const auto* extension = xcb_get_extension_data(connection_.get(), &xcb_test_id);
    exists_ = extension != nullptr && extension->present != 0 && connection_.isAlive();
  }

  [[nodiscard]] const X11InputGuard& guard() const { return guard_; }
  [[nodiscard]] std::optional<std::uint8_t> keyNumber(KeyCode key) const;
  [[nodiscard]] std::optional<std::uint8_t> buttonNumber() const;
  [[nodiscard]] bool exists() const { return exists_ && connection_.isAlive(); }

  void press(KeyCode key, std::uint8_t number);
  void release(KeyCode key);
  void move(AXPoint point);
  void pressButton(std::uint8_t number, AXPoint point);
  void releaseButton();
  void releaseEverything();

 private:
  void fake(std::uint8_t type, std::uint8_t detail, AXPoint point = {});
  /// Returns when the server has carried out what was sent.
  void synchronize();

  X11Connection connection_;
  X11InputGuard guard_;
  bool exists_ = false;
  std::map<KeyCode, std::uint8_t> pressedKeys_;
  std::optional<std::uint8_t> pressedButton_;
};

std::optional<std::uint8_t> XTestInput::Device::keyNumber(KeyCode key) const {
  if (!exists()) return std::nullopt;
  const xcb_setup_t* const setup = xcb_get_setup(connection_.get());
  const int first = setup->min_keycode;
  const int count = setup->max_keycode - first + 1;
  const auto map = owned(xcb_get_keyboard_mapping_reply(
      connection_.get(),
      xcb_get_keyboard_mapping(connection_.get(), setup->min_keycode, static_cast<std::uint8_t>(count)), nullptr));
  if (!map || map->keysyms_per_keycode == 0) return std::nullopt;
  const xcb_keysym_t* const symbols = xcb_get_keyboard_mapping_keysyms(map.get());
  const int length = xcb_get_keyboard_mapping_keysyms_length(map.get());
  // The first column is the key alone, without Shift or another level.
  for (int i = 0; i * map->keysyms_per_keycode < length; ++i)
    if (symbols[i * map->keysyms_per_keycode] == symbolOf(key)) return static_cast<std::uint8_t>(first + i);
  return std::nullopt;
}

/// The physical button that acts as the left one; for left-handed owners that is not the first.
std::optional<std::uint8_t> XTestInput::Device::buttonNumber() const {
  if (!exists()) return std::nullopt;
  const auto map =
      owned(xcb_get_pointer_mapping_reply(connection_.get(), xcb_get_pointer_mapping(connection_.get()), nullptr));
  if (!map) return std::nullopt;
  const std::uint8_t* const buttons = xcb_get_pointer_mapping_map(map.get());
  for (int i = 0; i < xcb_get_pointer_mapping_map_length(map.get()); ++i)
    if (buttons[i] == leftButton) return static_cast<std::uint8_t>(i + 1);
  return std::nullopt;
}

void XTestInput::Device::press(KeyCode key, std::uint8_t number) {
  if (!pressedKeys_.emplace(key, number).second) return;
  fake(XCB_KEY_PRESS, number);
  synchronize();
}

void XTestInput::Device::release(KeyCode key) {
  const auto pressed = pressedKeys_.extract(key);
  if (pressed.empty()) return;
  fake(XCB_KEY_RELEASE, pressed.mapped());
  synchronize();
}

void XTestInput::Device::move(AXPoint point) {
  fake(XCB_MOTION_NOTIFY, 0, point);
  synchronize();
}

void XTestInput::Device::pressButton(std::uint8_t number, AXPoint point) {
  if (pressedButton_) return;
  pressedButton_ = number;
  fake(XCB_MOTION_NOTIFY, 0, point);
  fake(XCB_BUTTON_PRESS, number);
  synchronize();
}

void XTestInput::Device::releaseButton() {
  if (!pressedButton_) return;
  fake(XCB_BUTTON_RELEASE, *std::exchange(pressedButton_, std::nullopt));
  synchronize();
}

void XTestInput::Device::releaseEverything() {
  while (!pressedKeys_.empty())
    release(pressedKeys_.begin()->first);
  releaseButton();
}

void XTestInput::Device::fake(std::uint8_t type, std::uint8_t detail, AXPoint point) {
  xcb_test_fake_input(connection_.get(), type, detail, XCB_CURRENT_TIME,
                      type == XCB_MOTION_NOTIFY ? connection_.root() : static_cast<xcb_window_t>(XCB_NONE),
                      static_cast<std::int16_t>(point.x), static_cast<std::int16_t>(point.y), 0);
}

void XTestInput::Device::synchronize() {
  (void)owned(xcb_get_input_focus_reply(connection_.get(), xcb_get_input_focus(connection_.get()), nullptr));
}

namespace {

/// Posted at most once, and only while its device lives.
template <typename Device, typename Event>
class PostedOnce : public SyntheticEvent {
 public:
  PostedOnce(std::weak_ptr<Device> device, Event event, std::uint8_t number)
      : device_(std::move(device)), event_(event), number_(number) {}

  void postToProcess(std::int32_t processIdentifier) override {
    if (const auto device = taken())
      if (isRelease(event_) || reaches(*device, processIdentifier, event_)) deliver(*device, event_);
  }
  void postGlobally() override {
    if (const auto device = taken())
      if (isRelease(event_) || isFree(*device, event_)) deliver(*device, event_);
  }

 private:
  [[nodiscard]] std::shared_ptr<Device> taken() { return std::exchange(device_, {}).lock(); }

  static bool isRelease(const KeyEvent& event) { return !event.isDown; }
  static bool isRelease(const MouseEvent& event) { return event.kind == MouseEventKind::leftUp; }
  static bool reaches(const Device& device, std::int32_t process, const KeyEvent&) {
    return device.guard().keysReach(process);
  }
  static bool reaches(const Device& device, std::int32_t process, const MouseEvent& event) {
    return device.guard().mouseReaches(process, event.position);
  }

  static bool isFree(const Device& device, const KeyEvent&) { return device.guard().areKeysFree(); }
  static bool isFree(const Device& device, const MouseEvent&) { return device.guard().isMouseFree(); }

  void deliver(Device& device, const KeyEvent& event) {
    event.isDown ? device.press(event.key, number_) : device.release(event.key);
  }
  void deliver(Device& device, const MouseEvent& event) {
    switch (event.kind) {
      case MouseEventKind::moved:
        return device.move(event.position);
      case MouseEventKind::leftDown:
        return device.pressButton(number_, event.position);
      case MouseEventKind::leftUp:
        return device.releaseButton();
    }
  }

  std::weak_ptr<Device> device_;
  Event event_;
  std::uint8_t number_;
};

}  // namespace

XTestInput::XTestInput(std::shared_ptr<X11Desktop> desktop, const std::optional<std::string>& display)
    : device_(std::make_shared<Device>(std::move(desktop), display)) {}

XTestInput::~XTestInput() {
  device_->releaseEverything();
}

std::unique_ptr<SyntheticEvent> XTestInput::createKeyEvent(const KeyEvent& event) {
  const auto number = device_->keyNumber(event.key);
  if (!number) return nullptr;
  return std::make_unique<PostedOnce<Device, KeyEvent>>(device_, event, *number);
}

std::unique_ptr<SyntheticEvent> XTestInput::createMouseEvent(const MouseEvent& event) {
  const auto number = device_->buttonNumber();
  if (!number || !isAddressable(event.position)) return nullptr;
  return std::make_unique<PostedOnce<Device, MouseEvent>>(device_, event, *number);
}

}  // namespace tallyfox::linux_os
