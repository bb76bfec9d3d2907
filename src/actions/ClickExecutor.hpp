#pragma once

#include <expected>
#include <functional>
#include <optional>
#include <string_view>

#include "base/Queue.hpp"
#include "detection/PromptPresence.hpp"
#include "detection/ResolvedDialogButton.hpp"
#include "platform/Accessibility.hpp"
#include "platform/AccessibilityElements.hpp"
#include "platform/SyntheticInput.hpp"

namespace tallyfox {

enum class ClickError { unableToCreateEvent, pendingApprovalNotFound, buttonNotFound, promptStillPresent };
/// The sentence for the owner.
[[nodiscard]] std::string_view description(ClickError error);

/// The ways of pressing, in the order in which they are tried.
enum class ClickPath {
  accessibilityPress,
  semanticButton,
  focusAndSpace,
  windowAction,
  returnOrEscape,
  hitTestedPress,
  mouseToProcess,
  mouseGlobal,
};
[[nodiscard]] std::string_view name(ClickPath path);

/// Presses an approved button and proves that its dialog went away. Main thread; `click` blocks it for the waits.
class ClickExecutor {
 public:
  struct Dependencies {
    Accessibility& accessibility;
    AccessibilityElements& elements;
    SyntheticInput& input;
    Clock& clock;
  };
  /// A look for the recorded dialog on the screen.
  using PromptCheck = std::function<PromptPresence()>;
  using ButtonRefresh = std::function<std::optional<ResolvedDialogButton>()>;

  explicit ClickExecutor(Dependencies dependencies);

  /// The path after which the dialog was found gone, else why it was not pressed or is still there. Never presses
  /// anything but an element that is the approved button at that moment; never takes a program's silence for the end
  /// of its dialog.
  [[nodiscard]] std::expected<ClickPath, ClickError> click(const ResolvedDialogButton& resolved,
                                                           const PromptCheck& promptPresence,
                                                           const ButtonRefresh& refreshedButton);

 private:
  Dependencies dependencies_;
};

}  // namespace tallyfox
