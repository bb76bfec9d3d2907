#include "app/RemoteDecisions.hpp"

#include <utility>

#include "app/DecisionWording.hpp"
#include "detection/DialogButtonSemantics.hpp"

namespace tallyfox {
namespace {

bool isDeny(const std::string& buttonLabel) {
  return DialogButtonSemantics::cancelActionLabels().contains(DialogButtonSemantics::normalized(buttonLabel));
}

}  // namespace

ApprovalResultCommand RemoteDecisions::carryOut(const ApprovalRequestEnvelope& envelope) {
  ApprovalResultCommand result{.approvalID = envelope.command.approvalID,
                               .buttonLabel = envelope.command.buttonLabel,
                               .status = approval_status::accepted,
                               .error = std::nullopt};
  const auto pressed = press(envelope.command);
  if (!pressed) {
    result.status = pressed.error().status;
    result.error = pressed.error().error;
  }
  const auto path = pressed ? std::optional(*pressed) : std::nullopt;
  dependencies_.console.printLine(decisionLine(envelope.decisionID, result.status, path));
  return result;
}

std::expected<ClickPath, RemoteDecisions::Refusal> RemoteDecisions::press(const ApprovalRequestCommand& command) {
  const auto refused = [](const char* status, std::string_view error) {
    return std::unexpected(Refusal{status, std::string(error)});
  };
  const auto approval = dependencies_.store.approval(command.approvalID);
  if (!approval) return refused(approval_status::notFound, description(ClickError::pendingApprovalNotFound));
  if (approval->requiresDirectAccess && !isDeny(command.buttonLabel)) {
    return refused(approval_status::requiresDirectAccess, directAccessRequiredText);
  }
  const auto button = liveButton(*approval, command.buttonLabel);
  if (!button) return refused(approval_status::notFound, description(ClickError::buttonNotFound));

  const auto path = dependencies_.executor.click(
      *button, [&] { return dependencies_.resolver.promptPresence(*approval); },
      [&] { return dependencies_.resolver.resolveCurrentButton(*approval, command.buttonLabel); });
  if (!path) return refused(approval_status::failed, description(path.error()));
  return *path;
}

std::optional<ResolvedDialogButton> RemoteDecisions::liveButton(const PendingApproval& approval,
                                                                const std::string& buttonLabel) {
  if (auto button = dependencies_.resolver.resolveCurrentButton(approval, buttonLabel)) return button;
  // Some applications show their windows to accessibility only while they are in front.
  const AXUIElement application = dependencies_.accessibility.applicationElement(approval.processIdentifier);
  (void)dependencies_.elements.setAttribute(application, AXAttribute::frontmost, true);
  return dependencies_.resolver.resolveCurrentButton(approval, buttonLabel);
}

}  // namespace tallyfox
