#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "base/Console.hpp"
#include "base/Queue.hpp"
#include "base/Uuid.hpp"
#include "detection/AXHelpers.hpp"
#include "detection/PromptCandidateGate.hpp"
#include "detection/PromptPresence.hpp"
#include "detection/PromptReader.hpp"
#include "detection/ResolvedDialogButton.hpp"
#include "detection/WindowSources.hpp"
#include "model/PendingApproval.hpp"

namespace tallyfox {

/// Finds the approval dialogs on the screen. `scan` belongs to one thread (the scan worker); the re-find operations may
/// be called from another at the same time: they do not touch the candidate gate.
class DialogDetector {
 public:
  struct Dependencies {
    Accessibility& accessibility;
    AccessibilityElements& elements;
    Applications& applications;
    WindowList& windowList;
    Clock& clock;
    Console& console;
    std::function<bool(const Uuid& suppressionID)> isSuppressed;  ///< any thread
    std::function<bool()> diagnosticsEnabled;                     ///< any thread; asked at each scan
  };
  explicit DialogDetector(Dependencies dependencies);

  /// One full look at the screen: the approvals seen in this and the preceding scan. Empty, and the gate untouched,
  /// without trust.
  [[nodiscard]] std::vector<PendingApproval> scan();
  /// The live button of the dialog on screen that matches `approval` best, its window raised; absent when none does.
  [[nodiscard]] std::optional<ResolvedDialogButton> resolveCurrentButton(const PendingApproval& approval,
                                                                         const std::string& buttonLabel);
  /// Whether a dialog on screen matches `approval`. It is gone only when its process answered whatever it was asked.
  [[nodiscard]] PromptPresence promptPresence(const PendingApproval& approval);
  [[nodiscard]] bool isPromptStillPresent(const PendingApproval& approval) {
    return promptPresence(approval) == PromptPresence::present;
  }

  [[nodiscard]] const PromptCandidateGate& candidateGate() const { return candidateGate_; }

 private:
  struct ScreenReading;
  struct Candidate;

  [[nodiscard]] ScreenReading readScreen(const AXHelpers& helpers, int descendantLimit) const;
  [[nodiscard]] std::optional<PendingApproval> approvalForWindowSource(const WindowSource& source,
                                                                       const PromptContent& content) const;
  [[nodiscard]] std::vector<PendingApproval> approvalsPersistentAcrossScans(std::vector<PendingApproval> approvals);
  [[nodiscard]] std::optional<Candidate> bestCandidate(const PendingApproval& approval,
                                                       const std::string& buttonLabel) const;
  void bringForward(const AXUIElement& window) const;

  Dependencies dependencies_;
  AXHelpers helpers_;
  PromptCandidateGate candidateGate_;
};

}  // namespace tallyfox
