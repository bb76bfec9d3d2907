#include "actions/ClickSession.hpp"

#include <algorithm>
#include <array>
#include <string>
#include <string_view>
#include <utility>

#include "actions/SemanticButton.hpp"
#include "base/Limits.hpp"

namespace tallyfox {

namespace {

/// A dialog that closes does so with an animation or after some work: looked at soon, a little later, then once more.
constexpr std::array<Seconds, 3> standardClearDelays = {Seconds{0.15}, Seconds{0.35}, Seconds{0.75}};
constexpr Seconds windowFocusDelay{0.1};
constexpr Seconds buttonFocusDelay{0.08};
/// Between down and up: toolkits drop presses that are too short.
constexpr Seconds pressDuration{0.08};

}  // namespace

ClickSession::ClickSession(const ClickExecutor::Dependencies& dependencies, const ResolvedDialogButton& resolved,
                           const ClickExecutor::PromptCheck& promptPresence,
                           const ClickExecutor::ButtonRefresh& refreshedButton)
    : elements_(dependencies.elements),
      accessibility_(dependencies.accessibility),
      input_(dependencies.input),
      clock_(dependencies.clock),
      helpers_(accessibility_, elements_),
      guards_(helpers_),
      resolved_(resolved),
      promptPresence_(promptPresence),
      refreshedButton_(refreshedButton) {}

std::expected<ClickPath, ClickError> ClickSession::run() {
  static constexpr std::array<std::pair<ClickPath, Step>, 9> steps = {{
      {ClickPath::accessibilityPress, &ClickSession::pressButton},
      {ClickPath::semanticButton, &ClickSession::pressSemanticButton},
      {ClickPath::focusAndSpace, &ClickSession::resolveAgain},
      {ClickPath::focusAndSpace, &ClickSession::focusButtonAndPressSpace},
      {ClickPath::windowAction, &ClickSession::performWindowAction},
      {ClickPath::returnOrEscape, &ClickSession::pressReturnOrEscape},
      {ClickPath::hitTestedPress, &ClickSession::pressHitTestedButton},
      {ClickPath::mouseToProcess, &ClickSession::clickThroughProcess},
      {ClickPath::mouseGlobal, &ClickSession::clickGlobally},
  }};
  if (!guards_.matchesApprovedButton(resolved_.element, resolved_)) return std::unexpected(ClickError::buttonNotFound);
  for (const auto& [path, step] : steps) {
    currentPath_ = path;
    const StepResult cleared = (this->*step)();
    if (!cleared) return std::unexpected(cleared.error());
    if (*cleared || promptPresence_() == PromptPresence::gone) return lastPressedPath_;
  }
  return std::unexpected(ClickError::promptStillPresent);
}

ClickSession::StepResult ClickSession::pressButton() {
  if (!elements_.performAction(resolved_.element, ax_action::press)) {
    if (isCleared(resolved_.window)) return true;
    for (const AXUIElement& window : guards_.windowsForAction(resolved_, resolved_.window))
      focusWindow(window);
  }
  return waitUntilCleared(resolved_.element);
}

ClickSession::StepResult ClickSession::pressSemanticButton() {
  const auto button = guards_.approvedSemanticButton(resolved_.window, resolved_);
  if (!button || !listsAction(*button, ax_action::press) || !isStillApproved()) return false;
  // An error is no proof that nothing was pressed: a program that opens a modal loop answers late.
  (void)elements_.performAction(*button, ax_action::press);
  return waitUntilCleared(*button);
}

ClickSession::StepResult ClickSession::resolveAgain() {
  const auto fresh = refreshedButton_();
  if (!fresh) {
    if (guards_.isElementStillAlive(resolved_.window) && isPromptStillPresent()) {
      return std::unexpected(ClickError::buttonNotFound);
    }
    return false;
  }
  const bool hasApprovedLabel = fresh->button.label == resolved_.button.label;
  if (hasApprovedLabel && guards_.matchesApprovedButton(fresh->element, *fresh)) resolved_ = *fresh;
  return false;
}

ClickSession::StepResult ClickSession::focusButtonAndPressSpace() {
  const auto process = buttonProcess();
  focusButton(process);
  return postKeyAndWait(KeyCode::space, process, [this, process] {
    return isPromptStillPresent() && isStillApproved() && hasKeyFocus(process);
  });
}

ClickSession::StepResult ClickSession::performWindowAction() {
  const auto semantic = semanticButton(resolved_.button.label);
  if (!semantic || !listsAction(resolved_.window, semantic->windowAction)) return false;
  if (!isStillApproved() || !guards_.hasApprovedSemanticButton(resolved_.window, resolved_)) return false;
  (void)elements_.performAction(resolved_.window, semantic->windowAction);
  return waitUntilCleared(resolved_.element);
}

ClickSession::StepResult ClickSession::pressReturnOrEscape() {
  const auto semantic = semanticButton(resolved_.button.label);
  if (!semantic || !guards_.hasApprovedSemanticButton(resolved_.window, resolved_)) return false;
  const auto process = targetProcess();
  return postKeyAndWait(semantic->key, process, [this, process] {
    return isStillApproved() && guards_.hasApprovedSemanticButton(resolved_.window, resolved_) &&
           guards_.isFocusedTarget(resolved_.window, process);
  });
}

ClickSession::StepResult ClickSession::pressHitTestedButton() {
  const auto point = clickPoint();
  if (!point) return false;
  const auto button =
      guards_.approvedButtonAt(*point, guards_.windowsForAction(resolved_, resolved_.window), resolved_);
  if (!button) return false;
  (void)elements_.performAction(*button, ax_action::press);
  return waitUntilCleared(*button);
}

ClickSession::StepResult ClickSession::clickMouse(std::optional<std::int32_t> receiver) {
  const auto point = clickPoint();
  if (!point) return false;
  const auto click = makeClick(*point);
  if (!click) return std::unexpected(click.error());
  if (!canPostMouse(*point)) return false;
  post(*click->move, receiver);
  if (!canPostMouse(*point)) return false;
  post(*click->down, receiver);
  clock_.sleep(pressDuration);
  post(*click->up, receiver);
  return waitUntilCleared(resolved_.element);
}

std::expected<ClickSession::Click, ClickError> ClickSession::makeClick(AXPoint point) {
  Click click{.move = input_.createMouseEvent({MouseEventKind::moved, point}),
              .down = input_.createMouseEvent({MouseEventKind::leftDown, point}),
              .up = input_.createMouseEvent({MouseEventKind::leftUp, point})};
  if (!click.move || !click.down || !click.up) return std::unexpected(ClickError::unableToCreateEvent);
  return click;
}

bool ClickSession::canPostMouse(AXPoint point) const {
  return guards_.isElementStillAlive(resolved_.element) && isPromptStillPresent() &&
         guards_.isFocusedTarget(resolved_.window, targetProcess()) &&
         guards_.approvedButtonAt(point, guards_.windowsForAction(resolved_, resolved_.window), resolved_).has_value();
}

std::optional<AXPoint> ClickSession::clickPoint() const {
  const auto frame = helpers_.frame(resolved_.element);
  if (!frame) return std::nullopt;
  return AXPoint{frame->centerX(), frame->centerY()};
}

ClickSession::StepResult ClickSession::postKeyAndWait(KeyCode key, std::optional<std::int32_t> processIdentifier,
                                                      const std::function<bool()>& canPost) {
  if (isCleared(resolved_.element)) return true;
  const auto down = input_.createKeyEvent({key, true});
  const auto up = input_.createKeyEvent({key, false});
  // Without synthetic keys the paths that follow may still press; the mouse path reports what cannot be made.
  if (!down || !up || !canPost()) return false;
  post(*down, processIdentifier);
  clock_.sleep(pressDuration);
  post(*up, processIdentifier);
  return waitUntilCleared(resolved_.element);
}

void ClickSession::post(SyntheticEvent& event, std::optional<std::int32_t> processIdentifier) {
  if (processIdentifier) {
    event.postToProcess(*processIdentifier);
  } else {
    event.postGlobally();
  }
}

void ClickSession::focusWindow(const AXUIElement& window) {
  // Best effort throughout: whether the focus arrived is asked before every key and click.
  if (const auto process = targetProcess()) {
    const AXUIElement application = accessibility_.applicationElement(*process);
    elements_.setMessagingTimeout(application, messagingTimeout);
    (void)elements_.setAttribute(application, AXAttribute::frontmost, true);
    (void)elements_.setAttribute(application, AXAttribute::focusedWindow, window);
  }
  (void)elements_.setAttribute(window, AXAttribute::minimized, false);
  (void)elements_.performAction(window, ax_action::raise);
  (void)elements_.setAttribute(window, AXAttribute::main, true);
  (void)elements_.setAttribute(window, AXAttribute::focused, true);
  clock_.sleep(windowFocusDelay);
}

void ClickSession::focusButton(std::optional<std::int32_t> processIdentifier) {
  if (processIdentifier) {
    const AXUIElement application = accessibility_.applicationElement(*processIdentifier);
    elements_.setMessagingTimeout(application, messagingTimeout);
    (void)elements_.setAttribute(application, AXAttribute::focusedUIElement, resolved_.element);
  }
  (void)elements_.setAttribute(resolved_.element, AXAttribute::focused, true);
  clock_.sleep(buttonFocusDelay);
}

bool ClickSession::hasKeyFocus(std::optional<std::int32_t> processIdentifier) const {
  if (!processIdentifier) return false;
  const auto window = helpers_.nearestWindow(resolved_.element, limits::windowAncestors);
  if (!window || !guards_.isFocusedTarget(*window, processIdentifier)) return false;
  const AXUIElement application = accessibility_.applicationElement(*processIdentifier);
  return helpers_.elementAttribute(application, AXAttribute::focusedUIElement) == resolved_.element;
}

bool ClickSession::listsAction(const AXUIElement& element, std::string_view action) const {
  return std::ranges::any_of(helpers_.actionNames(element),
                             [action](const std::string& name) { return name == action; });
}

std::optional<std::int32_t> ClickSession::buttonProcess() const {
  const auto process = elements_.processIdentifier(resolved_.element);
  return process ? std::optional(*process) : std::nullopt;
}

std::optional<std::int32_t> ClickSession::targetProcess() const {
  if (const auto process = buttonProcess()) return process;
  const auto process = elements_.processIdentifier(resolved_.window);
  return process ? std::optional(*process) : std::nullopt;
}

bool ClickSession::isCleared(const AXUIElement& element) const {
  const PromptPresence presence = guards_.elementPresence(element);
  if (presence != PromptPresence::present) return presence == PromptPresence::gone;
  return promptPresence_() == PromptPresence::gone;
}

bool ClickSession::waitUntilCleared(const AXUIElement& pressed) {
  lastPressedPath_ = currentPath_;
  return std::ranges::any_of(standardClearDelays, [&](Seconds delay) {
    clock_.sleep(delay);
    return isCleared(pressed);
  });
}

}  // namespace tallyfox
