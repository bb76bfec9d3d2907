#pragma once

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "base/Console.hpp"
#include "desktop/DesktopSession.hpp"
#include "detection/AXHelpers.hpp"
#include "platform/linux/LinuxAccessibility.hpp"
#include "platform/linux/X11Desktop.hpp"

namespace tallyfox::testing {

class RecordingConsole final : public Console {
 public:
  void printLine(std::string_view line) override {
    const std::scoped_lock lock(mutex_);
    lines_.emplace_back(line);
  }
  [[nodiscard]] std::vector<std::string> lines() const {
    const std::scoped_lock lock(mutex_);
    return lines_;
  }

 private:
  mutable std::mutex mutex_;
  std::vector<std::string> lines_;
};

/// The attributes that a scan reads.
[[nodiscard]] inline AXReadPlan scanPlan(std::vector<AXUIElement> roots) {
  return {.roots = std::move(roots),
          .attributes = {AXAttribute::role, AXAttribute::subrole, AXAttribute::title, AXAttribute::description,
                         AXAttribute::value, AXAttribute::modal, AXAttribute::position, AXAttribute::size,
                         AXAttribute::children},
          .descendantLimit = 120};
}

/// A private desktop and the accessibility of it.
class AccessibilityFixture : public ::testing::Test {
 protected:
  AccessibilityFixture() = default;

  /// The first window that the process shows, with at least one button in it, once the
  /// window manager placed it and gave it the focus; a failure when none comes up.
  [[nodiscard]] std::optional<AXUIElement> windowOf(const DesktopProcess& process) {
    std::optional<AXUIElement> window;
    const bool isUp = DesktopSession::waitUntil(
        [&] {
          const auto windows = helpers.windows(accessibility.applicationElement(process.pid()));
          if (windows.empty() || buttonsOf(windows.front()).empty() || !hasFocus(process.pid())) return false;
          window = windows.front();
          return true;
        },
        Seconds(25));
    EXPECT_TRUE(isUp) << "no window of process " << process.pid();
    return window;
  }
  [[nodiscard]] bool hasFocus(pid_t pid) {
    const auto active = desktop->activeWindow();
    return active && active->processIdentifier == pid;
  }
  [[nodiscard]] std::vector<AXUIElement> elementsOf(const AXUIElement& window, std::string_view role) {
    std::vector<AXUIElement> found;
    for (const AXUIElement& element : helpers.deeplyNestedChildren(window, 120)) {
      if (helpers.stringAttribute(element, AXAttribute::role) == role) found.push_back(element);
    }
    return found;
  }
  [[nodiscard]] std::vector<AXUIElement> buttonsOf(const AXUIElement& window) {
    return elementsOf(window, ax_role::button);
  }
  [[nodiscard]] std::optional<AXUIElement> button(const AXUIElement& window, const std::string& label) {
    for (const AXUIElement& element : buttonsOf(window)) {
      if (helpers.label(element) == label) return element;
    }
    return std::nullopt;
  }
  [[nodiscard]] std::optional<linux_os::XWindow> screenWindowOf(pid_t pid) {
    for (const auto& window : desktop->windowsFrontToBack()) {
      if (window.processIdentifier == pid) return window;
    }
    return std::nullopt;
  }
  [[nodiscard]] std::unique_ptr<DesktopProcess> question(const std::string& text,
                                                         const std::vector<std::string>& more = {}) {
    std::vector<std::string> command = {"zenity",         "--question",       "--title=Careful",
                                        "--text=" + text, "--ok-label=Erase", "--cancel-label=Keep it"};
    command.insert(command.end(), more.begin(), more.end());
    return session.start(command);
  }

  DesktopSession session;
  RecordingConsole console;
  std::shared_ptr<linux_os::X11Desktop> desktop = linux_os::X11Desktop::open(session.display()).value();
  linux_os::LinuxAccessibility accessibility{desktop, console, session.sessionBusAddress()};
  AXHelpers helpers{accessibility, accessibility};
};

}  // namespace tallyfox::testing
