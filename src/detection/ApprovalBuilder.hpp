#pragma once

#include <optional>

#include "base/Date.hpp"
#include "detection/DialogPromptClassifier.hpp"
#include "detection/PromptReader.hpp"
#include "detection/WindowSources.hpp"
#include "model/PendingApproval.hpp"

namespace tallyfox {

/// Turns what a window shows into a record. Pure; any thread.
class ApprovalBuilder {
 public:
  ApprovalBuilder() = delete;
  [[nodiscard]] static DialogPromptEvidence evidence(const WindowSource& source, const PromptContent& content);
  /// The record of an accepted window; absent for a rejected one and for one whose frame cannot be read.
  [[nodiscard]] static std::optional<PendingApproval> approval(const WindowSource& source, const PromptContent& content,
                                                               Date detectedAt);
};

}  // namespace tallyfox
