#pragma once

#include <optional>
#include <string>
#include <unordered_set>
#include <vector>

namespace tallyfox {

/// What is known of one window.
struct DialogPromptEvidence {
  std::string role;
  std::string subrole;  ///< empty when absent
  std::string title;    ///< empty when absent
  bool isModal = false;
  std::vector<std::string> messageLines;
  std::vector<std::string> buttonLabels;  ///< duplicates kept
  std::optional<std::string> bundleIdentifier;
  bool isKnownPromptService = false;
  bool hasNavigationChrome = false;
};

struct DialogPromptClassification {
  bool accepted = false;
  int promptScore = 0;  ///< for diagnostics; the verdict does not compare it
  std::optional<std::string> rejectionReason;
  bool operator==(const DialogPromptClassification&) const = default;
};

/// Decides whether a window is an approval prompt. Pure; any thread.
class DialogPromptClassifier {
 public:
  DialogPromptClassifier() = delete;
  [[nodiscard]] static DialogPromptClassification classify(const DialogPromptEvidence& evidence);
  [[nodiscard]] static const std::unordered_set<std::string>& highSignalSingleActionLabels();
};

}  // namespace tallyfox
