#include "detection/WindowDebugSnapshot.hpp"

#include <nlohmann/json.hpp>

#include "detection/ApprovalBuilder.hpp"
#include "detection/DialogPromptClassifier.hpp"

namespace tallyfox {

WindowDebugSnapshot WindowDebugSnapshot::of(const WindowSource& source, const PromptContent& content) {
  const DialogPromptClassification verdict =
      DialogPromptClassifier::classify(ApprovalBuilder::evidence(source, content));
  return {.appName = source.appName,
          .bundleIdentifier = source.bundleIdentifier,
          .processIdentifier = source.processIdentifier,
          .role = content.role,
          .subrole = content.subrole,
          .title = content.title,
          .windowFrame = content.frame.value_or(DialogFrame{}),
          .isModal = content.isModal,
          .promptScore = verdict.promptScore,
          .accepted = verdict.accepted,
          .rejectionReason = verdict.rejectionReason,
          .messageLines = content.messageLines,
          .buttonLabels = content.buttonLabels()};
}

Json WindowDebugSnapshot::json() const {
  Json value = Json::object();
  value["appName"] = appName;
  if (bundleIdentifier) value["bundleIdentifier"] = *bundleIdentifier;
  value["processIdentifier"] = processIdentifier;
  value["role"] = role;
  value["subrole"] = subrole;
  value["title"] = title;
  value["windowFrame"] = windowFrame.json();
  value["isModal"] = isModal;
  value["promptScore"] = promptScore;
  value["accepted"] = accepted;
  if (rejectionReason) value["rejectionReason"] = *rejectionReason;
  value["messageLines"] = messageLines;
  value["buttonLabels"] = buttonLabels;
  return value;
}

std::string WindowDebugSnapshot::line() const {
  const nlohmann::json sorted = json();
  return "Tallyfox dialog diagnostic: " + sorted.dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

}  // namespace tallyfox
