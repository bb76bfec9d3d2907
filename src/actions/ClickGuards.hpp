#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "detection/AXHelpers.hpp"
#include "detection/PromptPresence.hpp"
#include "detection/ResolvedDialogButton.hpp"

namespace tallyfox {

/// The questions that stand between the click paths and another program's dialog. Each answer is read at the moment of
/// the call and good for that moment only. Changes nothing. Main thread.
class ClickGuards {
 public:
  explicit ClickGuards(const AXHelpers& helpers) : helpers_(helpers) {}

  /// Whether the element is the approved one, still carries the approved label and is not disabled.
  [[nodiscard]] bool matchesApprovedButton(const AXUIElement& element, const ResolvedDialogButton& resolved) const;
  /// Whether the element has a role and a frame; gone only when its process says so.
  [[nodiscard]] PromptPresence elementPresence(const AXUIElement& element) const;
  [[nodiscard]] bool isElementStillAlive(const AXUIElement& element) const {
    return elementPresence(element) == PromptPresence::present;
  }
  /// Whether keys typed now reach this window of this process. False when the process is unknown.
  [[nodiscard]] bool isFocusedTarget(const AXUIElement& window, std::optional<std::int32_t> processIdentifier) const;
  /// The window's own cancel or default button, whichever the approved label stands for, when it is enabled and is the
  /// approved button or carries its label.
  [[nodiscard]] std::optional<AXUIElement> approvedSemanticButton(const AXUIElement& window,
                                                                  const ResolvedDialogButton& resolved) const;
  [[nodiscard]] bool hasApprovedSemanticButton(const AXUIElement& window, const ResolvedDialogButton& resolved) const {
    return approvedSemanticButton(window, resolved).has_value();
  }
  /// The button that a click at the point would reach, when that is the approved one inside one of the windows.
  [[nodiscard]] std::optional<AXUIElement> approvedButtonAt(AXPoint point,
                                                            const std::vector<AXUIElement>& targetWindows,
                                                            const ResolvedDialogButton& resolved) const;
  /// Windows that hold the button, outermost last, each once: the resolved one, `fallback` and those above the element.
  [[nodiscard]] std::vector<AXUIElement> windowsForAction(const ResolvedDialogButton& resolved,
                                                          const AXUIElement& fallback) const;

 private:
  [[nodiscard]] bool isEnabled(const AXUIElement& element) const;
  [[nodiscard]] bool hitButtonBelongsToTarget(const AXUIElement& button,
                                              const std::vector<AXUIElement>& targetWindows) const;

  AXHelpers helpers_;
};

}  // namespace tallyfox
