#include "actions/ClickExecutor.hpp"

#include <utility>

#include "actions/ClickSession.hpp"

namespace tallyfox {

std::string_view description(ClickError error) {
  switch (error) {
    case ClickError::unableToCreateEvent:
      return "Unable to create a synthetic click event.";
    case ClickError::pendingApprovalNotFound:
      return "The approval request is no longer pending.";
    case ClickError::buttonNotFound:
      return "The approved button no longer exists on screen.";
    case ClickError::promptStillPresent:
      return "The dialog was still visible after Tallyfox tried every safe click path.";
  }
  std::unreachable();
}

std::string_view name(ClickPath path) {
  switch (path) {
    case ClickPath::accessibilityPress:
      return "accessibility press";
    case ClickPath::semanticButton:
      return "semantic button";
    case ClickPath::focusAndSpace:
      return "focus and Space";
    case ClickPath::windowAction:
      return "window action";
    case ClickPath::returnOrEscape:
      return "Return or Escape";
    case ClickPath::hitTestedPress:
      return "hit-tested press";
    case ClickPath::mouseToProcess:
      return "mouse click to the process";
    case ClickPath::mouseGlobal:
      return "global mouse click";
  }
  std::unreachable();
}

ClickExecutor::ClickExecutor(Dependencies dependencies) : dependencies_(dependencies) {}

std::expected<ClickPath, ClickError> ClickExecutor::click(const ResolvedDialogButton& resolved,
                                                          const PromptCheck& promptPresence,
                                                          const ButtonRefresh& refreshedButton) {
  return ClickSession(dependencies_, resolved, promptPresence, refreshedButton).run();
}

}  // namespace tallyfox
