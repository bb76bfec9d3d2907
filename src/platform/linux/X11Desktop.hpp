#pragma once

#include <cstdint>
#include <expected>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "model/DialogFrame.hpp"
#include "platform/AXTypes.hpp"

namespace tallyfox::linux_os {

using XWindowID = std::uint32_t;

/// One top-level client window, as the X server and the window manager tell it.
struct XWindow {
  XWindowID id = 0;
  std::optional<std::int32_t> processIdentifier;  ///< of a process of this machine
  std::string title;                              ///< valid UTF-8; empty when it has none
  std::string className;                          ///< second part of WM_CLASS
  std::string instanceName;                       ///< first part of WM_CLASS
  std::string applicationID;                      ///< _GTK_APPLICATION_ID, else _KDE_NET_WM_DESKTOP_FILE; else empty
  DialogFrame clientFrame;                        ///< the client area in root coordinates, without the manager's frame
  DialogFrame visibleFrame;  ///< with the manager's frame; without invisible margins of the toolkit
  std::optional<XWindowID> transientFor;
  bool isDialogType = false;
  bool isModal = false;
  bool isMinimized = false;
  bool isOnCurrentDesktop = true;
  bool isMapped = false;
  std::int64_t layer = 0;
  double opacity = 1;
};

/// The X display: windows, stacking, focus. One private connection; callable from any thread, calls take turns. Every
/// call is answered by the X server alone, so no application can delay it. With the server gone every answer is empty.
class X11Desktop {
 public:
  /// Fails with a sentence when there is no display or it does not answer.
  [[nodiscard]] static std::expected<std::shared_ptr<X11Desktop>, std::string> open(
      const std::optional<std::string>& display);
  /// For a session without an X display: every answer is empty.
  [[nodiscard]] static std::shared_ptr<X11Desktop> withoutDisplay();
  ~X11Desktop();
  X11Desktop(const X11Desktop&) = delete;
  X11Desktop& operator=(const X11Desktop&) = delete;

  /// All managed windows, front to back, from one pipelined round of questions.
  [[nodiscard]] std::vector<XWindow> windowsFrontToBack();
  [[nodiscard]] std::optional<XWindow> activeWindow();
  /// The topmost mapped window at a point of the screen, menus and other unmanaged windows included. An unmanaged
  /// window comes without title and class, with its process when it tells it.
  [[nodiscard]] std::optional<XWindow> topWindowAt(AXPoint point);
  /// Asks the window manager to raise, un-minimise and focus the window. False when there is no such managed window or
  /// no manager; true says that it was asked, not that it has done so.
  bool activate(XWindowID window);
  /// As activate; also true when nothing had to be asked. A window that is no longer minimised is activated too.
  bool setMinimized(XWindowID window, bool minimized);
  /// The processes of this machine that hold a connection to the display, with windows or without, each once,
  /// ascending. Empty when the server cannot tell.
  [[nodiscard]] std::vector<std::int32_t> clientProcessIdentifiers();
  [[nodiscard]] bool isAlive() const;

 private:
  struct Connection;
  explicit X11Desktop(std::unique_ptr<Connection> connection);
  std::unique_ptr<Connection> connection_;
};

}  // namespace tallyfox::linux_os
