#pragma once

#include <expected>
#include <optional>
#include <string>

#include "actions/ClickExecutor.hpp"
#include "actions/DialogFocusResolver.hpp"
#include "app/ApprovalStore.hpp"
#include "base/Console.hpp"
#include "model/RelayCommands.hpp"
#include "platform/Accessibility.hpp"
#include "platform/AccessibilityElements.hpp"

namespace tallyfox {

/// Carries out what the phone decided about a dialog. Main thread; blocks it while a button is pressed, so decisions
/// are carried out one after the other.
class RemoteDecisions {
 public:
  struct Dependencies {
    ApprovalStore& store;
    DialogFocusResolver& resolver;
    ClickExecutor& executor;
    Accessibility& accessibility;
    AccessibilityElements& elements;
    Console& console;
  };
  explicit RemoteDecisions(Dependencies dependencies) : dependencies_(dependencies) {}

  /// Always gives an answer for the phone, and prints one line for the owner.
  [[nodiscard]] ApprovalResultCommand carryOut(const ApprovalRequestEnvelope& envelope);

 private:
  struct Refusal {
    const char* status;
    std::string error;
  };
  [[nodiscard]] std::expected<ClickPath, Refusal> press(const ApprovalRequestCommand& command);
  [[nodiscard]] std::optional<ResolvedDialogButton> liveButton(const PendingApproval& approval,
                                                               const std::string& buttonLabel);

  Dependencies dependencies_;
};

}  // namespace tallyfox
