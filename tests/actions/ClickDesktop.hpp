#pragma once

#include <gtest/gtest.h>

#include <expected>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "actions/ClickExecutor.hpp"
#include "detection/DetectorDesktop.hpp"
#include "detection/ForwardingAccessibility.hpp"

namespace tallyfox::memory {

/// A desktop with one access prompt of one application, and an executor to press its buttons. The test may bend what
/// the executor sees through `seam`; the detector looks at the desktop itself.
struct ClickDesktop : DetectorDesktop {
  ForwardingAccessibility seam{desktop.accessibility(), desktop.elements()};
  ClickExecutor executor{{seam, seam, desktop.input(), time.clock()}};
  std::int32_t pid = desktop.launch("Notes", "org.notes");
  ElementID window = desktop.openWindow(pid, accessPrompt());
  PendingApproval recorded = published().at(0);
  int refreshes = 0;

  [[nodiscard]] ElementID button(const std::string& label) const { return desktop.find(window, "AXButton", label); }

  [[nodiscard]] ResolvedDialogButton resolved(const std::string& label) {
    return detector.resolveCurrentButton(recorded, label).value();
  }

  [[nodiscard]] std::expected<ClickPath, ClickError> click(const ResolvedDialogButton& target) {
    return executor.click(
        target, [this] { return detector.promptPresence(recorded); },
        [this, label = target.button.label] {
          ++refreshes;
          return detector.resolveCurrentButton(recorded, label);
        });
  }

  [[nodiscard]] std::expected<ClickPath, ClickError> click(const std::string& label) {
    const ResolvedDialogButton target = resolved(label);
    desktop.clearDeeds();
    return click(target);
  }

  /// The deeds that begin so.
  [[nodiscard]] std::vector<std::string> deeds(const std::string& start) const {
    std::vector<std::string> found;
    for (const std::string& deed : desktop.deeds()) {
      if (deed.starts_with(start)) found.push_back(deed);
    }
    return found;
  }
};

}  // namespace tallyfox::memory

namespace tallyfox {

using ClickResult = std::expected<ClickPath, ClickError>;

[[nodiscard]] inline PromptPresence presence(bool isPresent) {
  return isPresent ? PromptPresence::present : PromptPresence::gone;
}
[[nodiscard]] inline PromptPresence alwaysPresent() {
  return PromptPresence::present;
}

[[nodiscard]] inline ClickResult failure(ClickError error) {
  return std::unexpected(error);
}

/// One click desktop and what several tests do with it.
struct ClickTest : testing::Test {
  memory::ClickDesktop world;
  memory::MemoryDesktop& desktop = world.desktop;

  [[nodiscard]] double secondsOf(const std::function<void()>& work) {
    const Seconds before = world.time.clock().continuous();
    work();
    return (world.time.clock().continuous() - before).count();
  }
  void heed(bool actions, bool keys, bool mouse) { desktop.heed(world.pid, actions, keys, mouse); }
  [[nodiscard]] std::string pressDeed(const std::string& label) const {
    return "press " + std::to_string(world.button(label)) + " AXPress";
  }
  /// Another default button and no cancel button: no path by the window's own names.
  void hideSemanticButtons() {
    desktop.setAttribute(world.window, AXAttribute::defaultButton, std::nullopt);
    desktop.setAttribute(world.window, AXAttribute::cancelButton, std::nullopt);
  }
  /// Presses of the element itself do nothing; what stays is what the test leaves on.
  void ignorePressesOf(const AXUIElement& element) {
    world.seam.onAction = [this, element](const AXUIElement& target, std::string_view action) {
      const bool isIgnored = target == element && action == ax_action::press;
      desktop.setFault(world.pid, isIgnored ? memory::Fault::ignoreActions : memory::Fault::none);
    };
  }
};

}  // namespace tallyfox
