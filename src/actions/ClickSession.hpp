#pragma once

#include <cstdint>
#include <expected>
#include <functional>
#include <memory>
#include <optional>
#include <string_view>
#include <vector>

#include "actions/ClickExecutor.hpp"
#include "actions/ClickGuards.hpp"

namespace tallyfox {

/// One click, from the first guard to the last path. Used once, on the thread that made it.
class ClickSession {
 public:
  ClickSession(const ClickExecutor::Dependencies& dependencies, const ResolvedDialogButton& resolved,
               const ClickExecutor::PromptCheck& promptPresence, const ClickExecutor::ButtonRefresh& refreshedButton);

  [[nodiscard]] std::expected<ClickPath, ClickError> run();

 private:
  /// Whether the dialog was seen to go.
  using StepResult = std::expected<bool, ClickError>;
  using Step = StepResult (ClickSession::*)();
  struct Click {
    std::unique_ptr<SyntheticEvent> move;
    std::unique_ptr<SyntheticEvent> down;
    std::unique_ptr<SyntheticEvent> up;
  };

  [[nodiscard]] StepResult pressButton();
  [[nodiscard]] StepResult pressSemanticButton();
  [[nodiscard]] StepResult resolveAgain();
  [[nodiscard]] StepResult focusButtonAndPressSpace();
  [[nodiscard]] StepResult performWindowAction();
  [[nodiscard]] StepResult pressReturnOrEscape();
  [[nodiscard]] StepResult pressHitTestedButton();
  [[nodiscard]] StepResult clickThroughProcess() { return clickMouse(targetProcess()); }
  [[nodiscard]] StepResult clickGlobally() { return clickMouse(std::nullopt); }

  [[nodiscard]] bool isPromptStillPresent() const { return promptPresence_() == PromptPresence::present; }
  /// Whether the dialog has been seen to go, by this element of it or as a whole.
  [[nodiscard]] bool isCleared(const AXUIElement& element) const;
  [[nodiscard]] bool isStillApproved() const { return guards_.matchesApprovedButton(resolved_.element, resolved_); }
  [[nodiscard]] bool listsAction(const AXUIElement& element, std::string_view action) const;
  void focusWindow(const AXUIElement& window);
  void focusButton(std::optional<std::int32_t> processIdentifier);
  [[nodiscard]] bool hasKeyFocus(std::optional<std::int32_t> processIdentifier) const;
  [[nodiscard]] StepResult postKeyAndWait(KeyCode key, std::optional<std::int32_t> processIdentifier,
                                          const std::function<bool()>& canPost);
  [[nodiscard]] std::optional<AXPoint> clickPoint() const;
  [[nodiscard]] std::expected<Click, ClickError> makeClick(AXPoint point);
  [[nodiscard]] bool canPostMouse(AXPoint point) const;
  [[nodiscard]] StepResult clickMouse(std::optional<std::int32_t> receiver);
  /// To the process when one is given.
  static void post(SyntheticEvent& event, std::optional<std::int32_t> processIdentifier);
  [[nodiscard]] std::optional<std::int32_t> buttonProcess() const;
  /// The button's process, else its window's.
  [[nodiscard]] std::optional<std::int32_t> targetProcess() const;
  /// Follows every press, and so records its path.
  [[nodiscard]] bool waitUntilCleared(const AXUIElement& pressed);

  AccessibilityElements& elements_;
  Accessibility& accessibility_;
  SyntheticInput& input_;
  Clock& clock_;
  AXHelpers helpers_;
  ClickGuards guards_;
  ResolvedDialogButton resolved_;
  const ClickExecutor::PromptCheck& promptPresence_;
  const ClickExecutor::ButtonRefresh& refreshedButton_;
  ClickPath currentPath_ = ClickPath::accessibilityPress;
  ClickPath lastPressedPath_ = ClickPath::accessibilityPress;
};

}  // namespace tallyfox
