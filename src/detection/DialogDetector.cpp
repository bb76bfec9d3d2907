#include "detection/DialogDetector.hpp"

#include <algorithm>
#include <cstddef>
#include <memory>
#include <unordered_set>
#include <utility>

#include "base/Limits.hpp"
#include "detection/AnswerWitness.hpp"
#include "detection/ApprovalBuilder.hpp"
#include "detection/PromptReader.hpp"
#include "detection/WindowDebugSnapshot.hpp"
#include "detection/WindowSources.hpp"

namespace tallyfox {

/// Every window worth looking at, as it is now. What was read stays at hand, for further reads of the same elements, as
/// long as this lives; the scopes end in reverse order.
struct DialogDetector::ScreenReading {
  struct Window {
    WindowSource source;
    PromptContent content;
  };
  std::unique_ptr<AXReadScope> windowScope;
  std::unique_ptr<AXReadScope> focusScope;
  std::unique_ptr<AXReadScope> contentScope;
  std::vector<Window> windows;
};

struct DialogDetector::Candidate {
  double score = 0;
  LiveButton button;
  AXUIElement window;
};

DialogDetector::DialogDetector(Dependencies dependencies)
    : dependencies_(std::move(dependencies)), helpers_(dependencies_.accessibility, dependencies_.elements) {}

DialogDetector::ScreenReading DialogDetector::readScreen(const AXHelpers& helpers, int descendantLimit) const {
  const PromptReader reader(helpers);
  GatheredWindows gathered = WindowSources(helpers, dependencies_.applications, dependencies_.windowList)
                                 .gather(PromptReader::attributes(), descendantLimit);
  std::vector<WindowSource>& sources = gathered.sources;
  ScreenReading reading;
  reading.windowScope = std::move(gathered.scope);
  reading.focusScope = std::move(gathered.focusScope);

  AXReadPlan contentPlan{.roots = {}, .attributes = PromptReader::attributes(), .descendantLimit = descendantLimit};
  std::vector<AXUIElement> contents;
  for (const WindowSource& source : sources) {
    contents.push_back(reader.contentElement(source.window));
    if (contents.back() != source.window) contentPlan.roots.push_back(contents.back());
  }
  if (!contentPlan.roots.empty()) reading.contentScope = dependencies_.accessibility.willRead(contentPlan);

  for (std::size_t i = 0; i < sources.size(); ++i) {
    PromptContent content = reader.read(sources[i].window, contents[i]);
    reading.windows.push_back({std::move(sources[i]), std::move(content)});
  }
  return reading;
}

std::optional<PendingApproval> DialogDetector::approvalForWindowSource(const WindowSource& source,
                                                                       const PromptContent& content) const {
  auto approval = ApprovalBuilder::approval(source, content, dependencies_.clock.now());
  if (approval && dependencies_.isSuppressed(approval->suppressionID)) return std::nullopt;
  return approval;
}

std::vector<PendingApproval> DialogDetector::scan() {
  if (!dependencies_.accessibility.isProcessTrusted()) return {};
  const ScreenReading reading = readScreen(helpers_, limits::contentDescendants);
  if (dependencies_.diagnosticsEnabled()) {
    for (const auto& [source, content] : reading.windows) {
      dependencies_.console.printLine(WindowDebugSnapshot::of(source, content).line());
    }
  }
  std::vector<PendingApproval> approvals;
  std::unordered_set<Uuid> fingerprints;
  for (const auto& [source, content] : reading.windows) {
    auto approval = approvalForWindowSource(source, content);
    if (approval && fingerprints.insert(approval->id).second) approvals.push_back(*std::move(approval));
  }
  return approvalsPersistentAcrossScans(std::move(approvals));
}

std::vector<PendingApproval> DialogDetector::approvalsPersistentAcrossScans(std::vector<PendingApproval> approvals) {
  std::unordered_set<Uuid> ids;
  for (const PendingApproval& approval : approvals)
    ids.insert(approval.id);
  const std::unordered_set<Uuid> publishable = candidateGate_.publishableIDs(ids);
  std::erase_if(approvals,
                [&publishable](const PendingApproval& approval) { return !publishable.contains(approval.id); });
  return approvals;
}

PromptPresence DialogDetector::promptPresence(const PendingApproval& approval) {
  AnswerWitness witness(dependencies_.elements);
  const ScreenReading reading = readScreen(AXHelpers(dependencies_.accessibility, witness), limits::contentDescendants);
  const bool isSeen = std::ranges::any_of(reading.windows, [&](const ScreenReading::Window& window) {
    const auto fresh = approvalForWindowSource(window.source, window.content);
    return fresh && fresh->matchScore(approval) > 0;
  });
  if (isSeen) return PromptPresence::present;
  return witness.missedAnswersOf(approval.processIdentifier) ? PromptPresence::unknown : PromptPresence::gone;
}

std::optional<DialogDetector::Candidate> DialogDetector::bestCandidate(const PendingApproval& approval,
                                                                       const std::string& buttonLabel) const {
  const ScreenReading reading = readScreen(helpers_, limits::refindDescendants);
  std::optional<Candidate> best;
  for (const auto& [source, content] : reading.windows) {
    const auto fresh = approvalForWindowSource(source, content);
    if (!fresh) continue;
    const double score = fresh->matchScore(approval);
    // Of equal scores the first found stays.
    if (!(score > 0) || (best && score <= best->score)) continue;
    const std::vector<LiveButton> buttons =
        PromptReader(helpers_).liveButtons(content.element, limits::refindDescendants);
    const auto found =
        std::ranges::find(buttons, buttonLabel, [](const LiveButton& live) { return live.button.label; });
    if (found != buttons.end()) best = Candidate{score, *found, source.window};
  }
  return best;
}

std::optional<ResolvedDialogButton> DialogDetector::resolveCurrentButton(const PendingApproval& approval,
                                                                         const std::string& buttonLabel) {
  const std::optional<Candidate> best = bestCandidate(approval, buttonLabel);
  if (!best) return std::nullopt;
  const auto& [button, element] = best->button;
  const AXUIElement window = helpers_.nearestWindow(element, limits::windowAncestors).value_or(best->window);
  bringForward(window);
  return ResolvedDialogButton{button, element, window};
}

void DialogDetector::bringForward(const AXUIElement& window) const {
  // Best effort: the click path checks for itself what stands in front.
  (void)dependencies_.elements.setAttribute(window, AXAttribute::minimized, false);
  (void)dependencies_.elements.performAction(window, ax_action::raise);
}

}  // namespace tallyfox
