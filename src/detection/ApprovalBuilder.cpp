#include "detection/ApprovalBuilder.hpp"

#include <fmt/format.h>

#include <string>

#include "base/Text.hpp"
#include "detection/DialogButtonSemantics.hpp"
#include "detection/DialogIdentity.hpp"
#include "detection/PromptRules.hpp"

namespace tallyfox {

namespace {

std::string summary(const WindowSource& source, const PromptContent& content) {
  if (!content.messageLines.empty()) return joined(content.messageLines, "\n");
  if (!content.title.empty()) return content.title;
  return fmt::format("Blocking {} with buttons: {}", source.appName, joined(content.buttonLabels(), ", "));
}

}  // namespace

DialogPromptEvidence ApprovalBuilder::evidence(const WindowSource& source, const PromptContent& content) {
  return {.role = content.role,
          .subrole = content.subrole,
          .title = content.title,
          .isModal = content.isModal,
          .messageLines = content.messageLines,
          .buttonLabels = content.buttonLabels(),
          .bundleIdentifier = source.bundleIdentifier,
          .isKnownPromptService = isKnownPromptService(source.appName, source.bundleIdentifier),
          .hasNavigationChrome = content.hasNavigationChrome};
}

std::optional<PendingApproval> ApprovalBuilder::approval(const WindowSource& source, const PromptContent& content,
                                                         Date detectedAt) {
  if (!content.frame || !DialogPromptClassifier::classify(evidence(source, content)).accepted) return std::nullopt;
  const std::string app = source.bundleIdentifier.value_or(source.appName);
  PendingApproval approval;
  approval.detectedAt = detectedAt;
  approval.appName = source.appName;
  approval.bundleIdentifier = source.bundleIdentifier;
  approval.processIdentifier = source.processIdentifier;
  approval.windowTitle = content.title;
  approval.windowRole = content.role;
  approval.windowFrame = *content.frame;
  approval.messageLines = content.messageLines;
  approval.reason = summary(source, content);
  approval.buttons = content.buttons;
  if (const auto recommended = DialogButtonSemantics::recommendedButton(content.buttons)) {
    approval.recommendedButtonLabel = recommended->label;
  }
  approval.directAccessReason = directAccessRequiredReason(content.title, content.messageLines, content.buttons);
  approval.requiresDirectAccess = approval.directAccessReason.has_value();
  approval.id = DialogIdentity::approvalID(app, approval);
  approval.suppressionID =
      DialogIdentity::suppressionID(app, content.title, content.messageLines, content.buttonLabels());
  return approval;
}

}  // namespace tallyfox
