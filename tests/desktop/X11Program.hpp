#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "desktop/DesktopSession.hpp"
#include "desktop/X11TestClient.hpp"

namespace tallyfox::testing {

/// An application whose windows a test controls: a process that only sleeps, and windows that name it as their owner.
class X11Program {
 public:
  explicit X11Program(const DesktopSession& session)
      : process_(session.start({"sleep", "600"})), client_(session.display()) {}

  [[nodiscard]] std::int32_t pid() const { return process_->pid(); }
  [[nodiscard]] DesktopProcess& process() { return *process_; }
  [[nodiscard]] X11TestClient& client() { return client_; }

  /// Not yet shown. Its class is "Contract", which is the application's name.
  [[nodiscard]] xcb_window_t create(const X11TestClient::WindowOptions& options) {
    using namespace std::string_literals;
    const xcb_window_t window = client_.create(options);
    client_.setNumbers(window, "_NET_WM_PID", "CARDINAL", {static_cast<std::uint32_t>(pid())});
    client_.setProperty(window, "WM_CLASS", "STRING", 8, "contract-unlisted\0Contract\0"s);
    windows_.push_back(window);
    return window;
  }
  xcb_window_t open(const X11TestClient::WindowOptions& options) {
    const xcb_window_t window = create(options);
    client_.show(window);
    return window;
  }
  /// In the order made.
  [[nodiscard]] const std::vector<xcb_window_t>& windows() const { return windows_; }

 private:
  std::unique_ptr<DesktopProcess> process_;
  X11TestClient client_;
  std::vector<xcb_window_t> windows_;
};

}  // namespace tallyfox::testing
