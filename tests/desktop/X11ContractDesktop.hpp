#pragma once

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <optional>
#include <thread>

#include "desktop/X11EventLoop.hpp"
#include "desktop/X11TestClient.hpp"
#include "platform/linux/X11Desktop.hpp"
#include "platform/linux/X11EventSource.hpp"

namespace tallyfox::testing {

/// A real desktop as the contracts' backends need it: what everything of them stands on, and getting a window to where
/// a contract wants it, however long its manager takes.
class X11ContractDesktop {
 public:
  explicit X11ContractDesktop(DesktopSession::Options options = {.windowManager = true, .accessibility = false})
      : session_(std::make_unique<DesktopSession>(options)) {
    X11TestClient(session_->display()).awaitWindowManager();
  }

  bool waitUntil(const std::function<bool()>& condition) {
    return DesktopSession::waitUntil(condition, X11TestClient::startTime);
  }
  void onAnotherThread(const std::function<void()>& work) { std::thread(work).join(); }

 protected:
  [[nodiscard]] std::optional<linux_os::XWindow> listed(linux_os::XWindowID id) {
    for (const linux_os::XWindow& window : desktop_->windowsFrontToBack())
      if (window.id == id) return window;
    return std::nullopt;
  }
  /// The first one that is mapped.
  [[nodiscard]] std::optional<linux_os::XWindow> windowOf(std::int32_t pid) {
    for (const linux_os::XWindow& window : desktop_->windowsFrontToBack())
      if (window.processIdentifier == pid && window.isMapped) return window;
    return std::nullopt;
  }
  [[nodiscard]] bool isActive(linux_os::XWindowID id) {
    const auto active = desktop_->activeWindow();
    return active && active->id == id;
  }
  void activate(linux_os::XWindowID id) {
    EXPECT_TRUE(waitUntil([&] { return isActive(id) || (desktop_->activate(id) && isActive(id)); }));
  }
  void setMinimized(linux_os::XWindowID id, bool isMinimized) {
    EXPECT_TRUE(waitUntil([&] {
      const auto window = listed(id);
      if (window && window->isMinimized == isMinimized) return true;
      (void)desktop_->setMinimized(id, isMinimized);
      return false;
    }));
  }

  std::unique_ptr<DesktopSession> session_;
  std::shared_ptr<linux_os::X11Desktop> desktop_ = linux_os::X11Desktop::open(session_->display()).value();
};

/// With a main queue and the source of events on it.
class X11EventfulDesktop : public X11ContractDesktop {
 public:
  explicit X11EventfulDesktop(DesktopSession::Options options = {.windowManager = true, .accessibility = false})
      : X11ContractDesktop(options) {
    loop_.sync(
        [this] { source_ = std::make_unique<linux_os::X11EventSource>(session_->display(), loop_, loop_.queue()); });
  }
  ~X11EventfulDesktop() {
    loop_.sync([this] { source_.reset(); });
  }

  SerialQueue& mainQueue() { return loop_.queue(); }
  void onMain(const std::function<void()>& work) { loop_.sync(work); }

 protected:
  /// Waits until a window of this process has the focus, and until all that came of it was told.
  void settle(std::int32_t pid) {
    EXPECT_TRUE(waitUntil([&] {
      const auto window = windowOf(pid);
      if (!window) return false;
      if (!isActive(window->id)) (void)desktop_->activate(window->id);
      bool isKnown = false;
      loop_.sync([&] {
        const auto& state = source_->state();
        isKnown = state.active == window->id && state.windows.contains(window->id);
      });
      return isKnown;
    }));
  }

  X11EventLoop loop_;
  std::unique_ptr<linux_os::X11EventSource> source_;
};

}  // namespace tallyfox::testing
