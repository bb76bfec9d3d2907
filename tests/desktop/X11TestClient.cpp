#include "desktop/X11TestClient.hpp"

#include <fmt/format.h>
#include <xcb/xtest.h>

#include <algorithm>
#include <cstring>
#include <stdexcept>

#include "desktop/DesktopSession.hpp"
#include "platform/linux/XcbReply.hpp"

namespace tallyfox::testing {

using linux_os::owned;

X11TestClient::X11TestClient(const std::string& display) : connection_(xcb_connect(display.c_str(), nullptr)) {
  if (xcb_connection_has_error(connection_.get()) != 0) throw std::runtime_error("no X display " + display);
  screen_ = xcb_setup_roots_iterator(xcb_get_setup(connection_.get())).data;
}

xcb_window_t X11TestClient::create(const WindowOptions& options) {
  const xcb_window_t window = xcb_generate_id(connection_.get());
  const std::uint32_t motion = options.hearsMotion ? std::uint32_t{XCB_EVENT_MASK_POINTER_MOTION} : 0U;
  const std::uint32_t values[] = {options.isUnmanaged ? 1U : 0U,
                                  motion | XCB_EVENT_MASK_KEY_PRESS | XCB_EVENT_MASK_KEY_RELEASE |
                                      XCB_EVENT_MASK_BUTTON_PRESS | XCB_EVENT_MASK_BUTTON_RELEASE};
  xcb_create_window(connection_.get(), XCB_COPY_FROM_PARENT, window, root(), options.x, options.y, options.width,
                    options.height, 0,
                    options.takesOnlyInput ? XCB_WINDOW_CLASS_INPUT_ONLY : XCB_WINDOW_CLASS_INPUT_OUTPUT,
                    XCB_COPY_FROM_PARENT, XCB_CW_OVERRIDE_REDIRECT | XCB_CW_EVENT_MASK, values);
  // WM_NORMAL_HINTS with the flags for a position and size that the owner chose, so that the manager keeps to it.
  std::vector<std::uint32_t> hints(18, 0);
  hints[0] = 1U | 2U;
  setNumbers(window, "WM_NORMAL_HINTS", "WM_SIZE_HINTS", hints);
  if (!options.title.empty()) setTitle(window, options.title);
  return window;
}

void X11TestClient::show(xcb_window_t window) {
  const auto isShown = [&] {
    const auto reply = owned(xcb_get_window_attributes_reply(
        connection_.get(), xcb_get_window_attributes(connection_.get(), window), nullptr));
    return reply && reply->map_state == XCB_MAP_STATE_VIEWABLE;
  };
  // A window manager that just started may lose the first request.
  const bool success = DesktopSession::waitUntil([&] {
    xcb_map_window(connection_.get(), window);
    return DesktopSession::waitUntil(isShown, Seconds(0.5));
  });
  if (!success) throw std::runtime_error("a window was not shown");
}

xcb_window_t X11TestClient::open(const WindowOptions& options) {
  const xcb_window_t window = create(options);
  show(window);
  return window;
}

xcb_window_t X11TestClient::createChild(xcb_window_t parent) {
  const xcb_window_t window = xcb_generate_id(connection_.get());
  xcb_create_window(connection_.get(), XCB_COPY_FROM_PARENT, window, parent, 0, 0, 10, 10, 0,
                    XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT, 0, nullptr);
  synchronize();
  return window;
}

void X11TestClient::destroy(xcb_window_t window) {
  xcb_destroy_window(connection_.get(), window);
  synchronize();
}

void X11TestClient::move(xcb_window_t window, std::int16_t x, std::int16_t y) {
  const std::uint32_t values[] = {static_cast<std::uint32_t>(x), static_cast<std::uint32_t>(y)};
  xcb_configure_window(connection_.get(), window, XCB_CONFIG_WINDOW_X | XCB_CONFIG_WINDOW_Y, values);
  synchronize();
}

void X11TestClient::setTitle(xcb_window_t window, const std::string& title) {
  setProperty(window, "_NET_WM_NAME", "UTF8_STRING", 8, title);
}

void X11TestClient::setProperty(xcb_window_t window, const std::string& property, const std::string& type,
                                std::uint8_t format, const std::string& bytes) {
  xcb_change_property(connection_.get(), XCB_PROP_MODE_REPLACE, window, atom(property), atom(type), format,
                      static_cast<std::uint32_t>(bytes.size() / (format / 8U)), bytes.data());
  synchronize();
}

void X11TestClient::setNumbers(xcb_window_t window, const std::string& property, const std::string& type,
                               const std::vector<std::uint32_t>& numbers) {
  std::string bytes(numbers.size() * sizeof(std::uint32_t), '\0');
  if (!numbers.empty()) std::memcpy(bytes.data(), numbers.data(), bytes.size());
  setProperty(window, property, type, 32, bytes);
}

void X11TestClient::setAtom(xcb_window_t window, const std::string& property, const std::string& value) {
  setNumbers(window, property, "ATOM", {atom(value)});
}

void X11TestClient::removeProperty(xcb_window_t window, const std::string& property) {
  xcb_delete_property(connection_.get(), window, atom(property));
  synchronize();
}

void X11TestClient::tellWindowManager(xcb_window_t window, const std::string& message,
                                      const std::array<std::uint32_t, 5>& data) {
  xcb_client_message_event_t event{};
  event.response_type = XCB_CLIENT_MESSAGE;
  event.format = 32;
  event.window = window;
  event.type = atom(message);
  std::memcpy(event.data.data32, data.data(), sizeof(event.data.data32));
  xcb_send_event(connection_.get(), 0, root(),
                 XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY | XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT,
                 reinterpret_cast<const char*>(&event));
  synchronize();
}

void X11TestClient::awaitWindowManager() {
  const xcb_window_t probe = open({});
  const auto isListed = [&] {
    const auto listed = numbers(root(), "_NET_CLIENT_LIST");
    return std::ranges::find(listed, probe) != listed.end();
  };
  if (!DesktopSession::waitUntil(isListed)) throw std::runtime_error("no window manager");
  destroy(probe);
  if (!DesktopSession::waitUntil([&] { return !isListed(); }))
    throw std::runtime_error("the window manager keeps a window that is gone");
}

std::vector<std::uint32_t> X11TestClient::numbers(xcb_window_t window, const std::string& property) {
  const auto reply = owned(xcb_get_property_reply(
      connection_.get(), xcb_get_property(connection_.get(), 0, window, atom(property), XCB_ATOM_ANY, 0, 1024),
      nullptr));
  if (!reply || reply->format != 32) return {};
  const auto* const first = static_cast<const std::uint32_t*>(xcb_get_property_value(reply.get()));
  return {first, first + xcb_get_property_value_length(reply.get()) / 4};
}

std::vector<X11TestClient::InputEvent> X11TestClient::takeEvents() {
  std::vector<InputEvent> events;
  while (const auto event = owned(xcb_poll_for_event(connection_.get()))) {
    // All of these have one layout.
    const auto& input = reinterpret_cast<const xcb_button_press_event_t&>(*event);
    const auto type = static_cast<std::uint8_t>(event->response_type & 0x7F);
    if (type >= XCB_KEY_PRESS && type <= XCB_MOTION_NOTIFY)
      events.push_back({type, input.detail, input.root_x, input.root_y});
  }
  return events;
}

std::vector<std::string> X11TestClient::takeInput() {
  std::vector<std::string> input;
  for (const InputEvent& event : takeEvents()) {
    const std::string which = event.detail == 1 ? "" : fmt::format("{} ", event.detail);
    switch (event.type) {
      case XCB_KEY_PRESS:
        input.emplace_back("key press");
        break;
      case XCB_KEY_RELEASE:
        input.emplace_back("key release");
        break;
      case XCB_BUTTON_PRESS:
        input.push_back(fmt::format("{}button press {},{}", which, event.x, event.y));
        break;
      case XCB_BUTTON_RELEASE:
        input.push_back(fmt::format("{}button release {},{}", which, event.x, event.y));
        break;
      default:
        break;
    }
  }
  return input;
}

std::vector<std::string> X11TestClient::awaitInput(std::size_t count, Seconds atMost) {
  std::vector<std::string> input;
  (void)DesktopSession::waitUntil(
      [&] {
        for (std::string& entry : takeInput())
          input.push_back(std::move(entry));
        return input.size() >= count;
      },
      atMost);
  return input;
}

void X11TestClient::ownSelection(const std::string& selection, xcb_window_t window) {
  xcb_set_selection_owner(connection_.get(), window, atom(selection), XCB_CURRENT_TIME);
  synchronize();
}

void X11TestClient::grabKeyboard(xcb_window_t window) {
  const auto reply = owned(xcb_grab_keyboard_reply(
      connection_.get(),
      xcb_grab_keyboard(connection_.get(), 1, window, XCB_CURRENT_TIME, XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC),
      nullptr));
  if (!reply || reply->status != XCB_GRAB_STATUS_SUCCESS) throw std::runtime_error("the keyboard was not grabbed");
}

void X11TestClient::grabPointer(xcb_window_t window) {
  const auto reply =
      owned(xcb_grab_pointer_reply(connection_.get(),
                                   xcb_grab_pointer(connection_.get(), 1, window, 0, XCB_GRAB_MODE_ASYNC,
                                                    XCB_GRAB_MODE_ASYNC, XCB_NONE, XCB_NONE, XCB_CURRENT_TIME),
                                   nullptr));
  if (!reply || reply->status != XCB_GRAB_STATUS_SUCCESS) throw std::runtime_error("the pointer was not grabbed");
}

void X11TestClient::releaseGrabs() {
  xcb_ungrab_keyboard(connection_.get(), XCB_CURRENT_TIME);
  xcb_ungrab_pointer(connection_.get(), XCB_CURRENT_TIME);
  synchronize();
}

void X11TestClient::focus(xcb_window_t window) {
  xcb_set_input_focus(connection_.get(), XCB_INPUT_FOCUS_POINTER_ROOT, window, XCB_CURRENT_TIME);
  synchronize();
}

void X11TestClient::swapPointerButtons() {
  const auto now =
      owned(xcb_get_pointer_mapping_reply(connection_.get(), xcb_get_pointer_mapping(connection_.get()), nullptr));
  if (!now || xcb_get_pointer_mapping_map_length(now.get()) < 3) throw std::runtime_error("no third button");
  std::vector<std::uint8_t> map(xcb_get_pointer_mapping_map(now.get()),
                                xcb_get_pointer_mapping_map(now.get()) + xcb_get_pointer_mapping_map_length(now.get()));
  std::swap(map[0], map[2]);
  const auto reply = owned(xcb_set_pointer_mapping_reply(
      connection_.get(), xcb_set_pointer_mapping(connection_.get(), static_cast<std::uint8_t>(map.size()), map.data()),
      nullptr));
  if (!reply || reply->status != XCB_MAPPING_STATUS_SUCCESS) throw std::runtime_error("the buttons were not swapped");
}

void X11TestClient::fakeKey(std::uint32_t symbol, bool isDown) {
  xcb_test_fake_input(connection_.get(), isDown ? XCB_KEY_PRESS : XCB_KEY_RELEASE, keyNumber(symbol), XCB_CURRENT_TIME,
                      XCB_NONE, 0, 0, 0);
  synchronize();
}

bool X11TestClient::isKeyDown(std::uint32_t symbol) {
  const auto reply = owned(xcb_query_keymap_reply(connection_.get(), xcb_query_keymap(connection_.get()), nullptr));
  const std::uint8_t number = keyNumber(symbol);
  return reply && (reply->keys[number / 8] >> (number % 8) & 1) != 0;
}

void X11TestClient::unmapKey(std::uint32_t symbol) {
  const xcb_keysym_t nothing = XCB_NO_SYMBOL;
  xcb_change_keyboard_mapping(connection_.get(), 1, keyNumber(symbol), 1, &nothing);
  synchronize();
}

void X11TestClient::synchronize() {
  (void)owned(xcb_get_input_focus_reply(connection_.get(), xcb_get_input_focus(connection_.get()), nullptr));
}

xcb_atom_t X11TestClient::atom(const std::string& name) {
  const auto reply = owned(xcb_intern_atom_reply(
      connection_.get(), xcb_intern_atom(connection_.get(), 0, static_cast<std::uint16_t>(name.size()), name.c_str()),
      nullptr));
  return reply ? reply->atom : static_cast<xcb_atom_t>(XCB_NONE);
}

std::uint8_t X11TestClient::keyNumber(std::uint32_t symbol) {
  const xcb_setup_t* const setup = xcb_get_setup(connection_.get());
  const auto count = static_cast<std::uint8_t>(setup->max_keycode - setup->min_keycode + 1);
  const auto map = owned(xcb_get_keyboard_mapping_reply(
      connection_.get(), xcb_get_keyboard_mapping(connection_.get(), setup->min_keycode, count), nullptr));
  if (map)
    for (int i = 0; i < count; ++i)
      if (xcb_get_keyboard_mapping_keysyms(map.get())[i * map->keysyms_per_keycode] == symbol)
        return static_cast<std::uint8_t>(setup->min_keycode + i);
  throw std::runtime_error("no key for a symbol");
}

}  // namespace tallyfox::testing
