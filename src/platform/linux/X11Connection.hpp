#pragma once

#include <xcb/xcb.h>

#include <memory>
#include <optional>
#include <string>

#include "platform/linux/X11Atoms.hpp"

namespace tallyfox::linux_os {

/// One connection to the X server, used by one thread at a time. Without a server it is a connection on which every
/// question fails.
class X11Connection {
 public:
  explicit X11Connection(const std::optional<std::string>& display);

  [[nodiscard]] xcb_connection_t* get() const { return connection_.get(); }
  [[nodiscard]] bool isAlive() const { return connection_ && xcb_connection_has_error(connection_.get()) == 0; }
  [[nodiscard]] xcb_window_t root() const { return root_; }
  /// The number of the screen that `root` is of.
  [[nodiscard]] int screen() const { return screen_; }
  [[nodiscard]] xcb_atom_t atom(X11Atom atom) const { return atoms_[atom]; }
  /// Whether the server can tell which process a client is.
  [[nodiscard]] bool tellsClientProcesses() const { return tellsClientProcesses_; }
  [[nodiscard]] const std::string& hostName() const { return hostName_; }

 private:
  struct Disconnect {
    void operator()(xcb_connection_t* connection) const { xcb_disconnect(connection); }
  };
  int screen_ = 0;
  std::unique_ptr<xcb_connection_t, Disconnect> connection_;
  xcb_window_t root_ = XCB_NONE;
  X11Atoms atoms_;
  bool tellsClientProcesses_ = false;
  std::string hostName_;
};

}  // namespace tallyfox::linux_os
