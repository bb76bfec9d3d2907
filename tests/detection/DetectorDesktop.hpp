#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "detection/DialogDetector.hpp"
#include "platform/memory/MemoryDesktop.hpp"
#include "platform/memory/MemoryServices.hpp"
#include "platform/memory/VirtualTime.hpp"

namespace tallyfox::memory {

/// A desktop with a detector that looks at it.
struct DetectorDesktop {
  VirtualTime time;
  std::shared_ptr<SerialQueue> mainQueue = time.makeQueue("main");
  MemoryDesktop desktop{time.clock(), *mainQueue};
  MemoryConsole console;
  std::set<Uuid> suppressed;
  bool diagnosticsEnabled = false;
  DialogDetector detector{dependencies(desktop.accessibility(), desktop.elements())};

  [[nodiscard]] DialogDetector::Dependencies dependencies(Accessibility& accessibility,
                                                          AccessibilityElements& elements) {
    return {accessibility,
            elements,
            desktop.applications(),
            desktop.windowList(),
            time.clock(),
            console,
            [this](const Uuid& id) { return suppressed.contains(id); },
            [this] { return diagnosticsEnabled; }};
  }

  /// What the second of two scans publishes.
  [[nodiscard]] std::vector<PendingApproval> published() {
    (void)detector.scan();
    return detector.scan();
  }
};

[[nodiscard]] inline ElementSpec spec(std::string_view role, std::optional<std::string> title = std::nullopt,
                                      std::optional<DialogFrame> frame = std::nullopt) {
  ElementSpec made;
  made.role = role;
  made.title = std::move(title);
  made.frame = frame;
  return made;
}

[[nodiscard]] inline ElementSpec textSpec(const std::string& text, std::optional<DialogFrame> frame) {
  ElementSpec made = spec(ax_role::staticText, std::nullopt, frame);
  made.value = text;
  return made;
}

[[nodiscard]] inline ElementSpec buttonSpec(const std::string& title, DialogFrame frame) {
  ElementSpec made = spec(ax_role::button, title, frame);
  made.actions = {std::string(ax_action::press)};
  return made;
}

/// A prompt that every rule accepts.
[[nodiscard]] inline ElementSpec accessPrompt(DialogFrame frame = {400, 300, 420, 180}) {
  return messageBox("Access", {"Notes would like to access your contacts."}, {"Don’t Allow", "Allow"}, frame);
}

}  // namespace tallyfox::memory
