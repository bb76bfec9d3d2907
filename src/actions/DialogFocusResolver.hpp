#pragma once

#include <optional>
#include <string>

#include "detection/DialogDetector.hpp"

namespace tallyfox {

/// Finds the button that the phone named again, live. Main thread.
class DialogFocusResolver {
 public:
  explicit DialogFocusResolver(DialogDetector& detector) : detector_(detector) {}
  [[nodiscard]] std::optional<ResolvedDialogButton> resolveCurrentButton(const PendingApproval& approval,
                                                                         const std::string& buttonLabel) {
    return detector_.resolveCurrentButton(approval, buttonLabel);
  }
  [[nodiscard]] PromptPresence promptPresence(const PendingApproval& approval) {
    return detector_.promptPresence(approval);
  }
  [[nodiscard]] bool isPromptStillPresent(const PendingApproval& approval) {
    return detector_.isPromptStillPresent(approval);
  }

 private:
  DialogDetector& detector_;
};

}  // namespace tallyfox
