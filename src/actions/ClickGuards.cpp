#include "actions/ClickGuards.hpp"

#include <algorithm>

#include "actions/SemanticButton.hpp"
#include "base/Limits.hpp"
#include "detection/AnswerWitness.hpp"

namespace tallyfox {

namespace {

bool contains(const std::vector<AXUIElement>& elements, const AXUIElement& element) {
  return std::ranges::find(elements, element) != elements.end();
}

}  // namespace

bool ClickGuards::isEnabled(const AXUIElement& element) const {
  AnswerWitness witness(helpers_.elements());
  const auto enabled = AXHelpers(helpers_.accessibility(), witness).boolAttribute(element, AXAttribute::enabled);
  // Most elements do not say; one that could not be asked has not said so either.
  return enabled.value_or(!witness.missedAnswers());
}

bool ClickGuards::matchesApprovedButton(const AXUIElement& element, const ResolvedDialogButton& resolved) const {
  return element == resolved.element && helpers_.label(element) == resolved.button.label && isEnabled(element);
}

PromptPresence ClickGuards::elementPresence(const AXUIElement& element) const {
  AnswerWitness witness(helpers_.elements());
  const AXHelpers helpers(helpers_.accessibility(), witness);
  if (!helpers.role(element).empty() && helpers.frame(element)) return PromptPresence::present;
  return witness.missedAnswers() ? PromptPresence::unknown : PromptPresence::gone;
}

bool ClickGuards::isFocusedTarget(const AXUIElement& window, std::optional<std::int32_t> processIdentifier) const {
  if (!processIdentifier) return false;
  const auto focusedWindow = helpers_.focusedWindow();
  if (!focusedWindow || helpers_.elements().processIdentifier(*focusedWindow) != *processIdentifier) return false;
  if (*focusedWindow == window) return true;
  const auto focusedElement = helpers_.focusedElement();
  if (!focusedElement) return false;
  return helpers_
      .nearest(*focusedElement, limits::windowAncestors,
               [&window](const AXUIElement& ancestor) { return ancestor == window; })
      .has_value();
}

std::optional<AXUIElement> ClickGuards::approvedSemanticButton(const AXUIElement& window,
                                                               const ResolvedDialogButton& resolved) const {
  const auto semantic = semanticButton(resolved.button.label);
  if (!semantic) return std::nullopt;
  auto button = helpers_.elementAttribute(window, semantic->windowAttribute);
  if (!button || !isEnabled(*button)) return std::nullopt;
  if (*button != resolved.element && helpers_.label(*button) != resolved.button.label) return std::nullopt;
  return button;
}

std::optional<AXUIElement> ClickGuards::approvedButtonAt(AXPoint point, const std::vector<AXUIElement>& targetWindows,
                                                         const ResolvedDialogButton& resolved) const {
  Accessibility& accessibility = helpers_.accessibility();
  helpers_.elements().setMessagingTimeout(accessibility.systemWideElement(), messagingTimeout);
  const auto hit = accessibility.elementAtPosition(point);
  if (!hit) return std::nullopt;
  auto button = helpers_.nearestButton(*hit, limits::buttonAncestors);
  if (!button || !hitButtonBelongsToTarget(*button, targetWindows)) return std::nullopt;
  if (!matchesApprovedButton(*button, resolved)) return std::nullopt;
  return button;
}

bool ClickGuards::hitButtonBelongsToTarget(const AXUIElement& button,
                                           const std::vector<AXUIElement>& targetWindows) const {
  return helpers_
      .nearest(button, limits::windowAncestors,
               [&targetWindows](const AXUIElement& ancestor) { return contains(targetWindows, ancestor); })
      .has_value();
}

std::vector<AXUIElement> ClickGuards::windowsForAction(const ResolvedDialogButton& resolved,
                                                       const AXUIElement& fallback) const {
  std::vector<AXUIElement> windows = {resolved.window};
  const auto append = [&windows](const AXUIElement& window) {
    if (!contains(windows, window)) windows.push_back(window);
  };
  append(fallback);
  // Never satisfied: the whole way up is wanted.
  (void)helpers_.nearest(resolved.element, limits::windowAncestors, [&](const AXUIElement& ancestor) {
    if (helpers_.isWindow(ancestor)) append(ancestor);
    return false;
  });
  return windows;
}

}  // namespace tallyfox
