#pragma once

#include <xcb/xcb.h>

#include <array>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "base/Date.hpp"

namespace tallyfox::testing {

/// A bare X program: windows with whatever properties a test wants, and what input arrives at them. It is part of the
/// test's own process.
class X11TestClient {
 public:
  struct WindowOptions {
    std::int16_t x = 0;
    std::int16_t y = 0;
    std::uint16_t width = 300;
    std::uint16_t height = 200;
    bool isUnmanaged = false;  ///< override-redirect
    bool takesOnlyInput = false;
    bool hearsMotion = false;
    std::string title = {};
  };

  /// For real programs in tests of windows alone: they start without waiting for an accessibility bus.
  static inline const std::vector<std::string> withoutAccessibility = {"NO_AT_BRIDGE=1"};
  /// What a real program may need to come up on a busy machine.
  static constexpr Seconds startTime{25};

  explicit X11TestClient(const std::string& display);

  /// Made, but not yet shown, so that properties can be set first.
  [[nodiscard]] xcb_window_t create(const WindowOptions& options);
  /// Shows it and waits until it is viewable.
  void show(xcb_window_t window);
  [[nodiscard]] xcb_window_t open(const WindowOptions& options);
  [[nodiscard]] xcb_window_t createChild(xcb_window_t parent);
  void destroy(xcb_window_t window);
  void move(xcb_window_t window, std::int16_t x, std::int16_t y);

  void setTitle(xcb_window_t window, const std::string& title);
  void setProperty(xcb_window_t window, const std::string& property, const std::string& type, std::uint8_t format,
                   const std::string& bytes);
  void setNumbers(xcb_window_t window, const std::string& property, const std::string& type,
                  const std::vector<std::uint32_t>& numbers);
  void setAtom(xcb_window_t window, const std::string& property, const std::string& value);
  void removeProperty(xcb_window_t window, const std::string& property);
  void tellWindowManager(xcb_window_t window, const std::string& message, const std::array<std::uint32_t, 5>& data);

  struct InputEvent {
    std::uint8_t type = 0;  ///< XCB_KEY_PRESS, XCB_KEY_RELEASE, XCB_BUTTON_PRESS, XCB_BUTTON_RELEASE, XCB_MOTION_NOTIFY
    std::uint8_t detail = 0;  ///< the number of the key or the logical one of the button
    std::int16_t x = 0;       ///< on the screen
    std::int16_t y = 0;
  };
  /// What came since the last call, in order.
  [[nodiscard]] std::vector<InputEvent> takeEvents();
  /// The same but for motion in words: "key press", "key release", "button press 12,7", "button release ..." (the
  /// logical number in front for all but the left button).
  [[nodiscard]] std::vector<std::string> takeInput();
  /// What came until `count` entries were there, or the time was up.
  [[nodiscard]] std::vector<std::string> awaitInput(std::size_t count, Seconds atMost = Seconds(5));

  /// As a tray or a clipboard does.
  void ownSelection(const std::string& selection, xcb_window_t window);
  void grabKeyboard(xcb_window_t window);
  void grabPointer(xcb_window_t window);
  void releaseGrabs();
  void focus(xcb_window_t window);
  /// The third button acts as the first and the other way round.
  void swapPointerButtons();
  /// Through XTEST; `symbol` as X numbers it.
  void fakeKey(std::uint32_t symbol, bool isDown);
  [[nodiscard]] bool isKeyDown(std::uint32_t symbol);
  [[nodiscard]] std::uint8_t keyNumber(std::uint32_t symbol);
  /// Takes a key off the keyboard map.
  void unmapKey(std::uint32_t symbol);

  /// Returns when a window manager has taken on a window and let go of it again.
  void awaitWindowManager();
  [[nodiscard]] xcb_window_t root() const { return screen_->root; }
  void synchronize();

 private:
  [[nodiscard]] std::vector<std::uint32_t> numbers(xcb_window_t window, const std::string& property);
  [[nodiscard]] xcb_atom_t atom(const std::string& name);

  struct Disconnect {
    void operator()(xcb_connection_t* connection) const { xcb_disconnect(connection); }
  };
  std::unique_ptr<xcb_connection_t, Disconnect> connection_;
  xcb_screen_t* screen_ = nullptr;
};

}  // namespace tallyfox::testing
