#include "sim/harness/Checker.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <ranges>

#include "detection/DialogButtonSemantics.hpp"

namespace tallyfox::sim {
namespace {

/// The permission's withdrawal is noticed by the next look at it, at most this much later.
constexpr Seconds trustNotice{2.1};

/// Afterwards a pause may have ended by itself.
constexpr Seconds shortestPause{7199};

bool isDeny(const std::string& label) {
  return DialogButtonSemantics::cancelActionLabels().contains(DialogButtonSemantics::normalized(label));
}

/// The words that belong to a status.
bool areWordsRight(const ApprovalResultCommand& command) {
  if (command.status == approval_status::accepted) return !command.error.has_value();
  if (!command.error) return false;
  if (command.status == approval_status::requiresDirectAccess)
    return *command.error == "This prompt requires direct Mac access.";
  if (command.status == approval_status::notFound)
    return *command.error == "The approval request is no longer pending." ||
           *command.error == "The approved button no longer exists on screen.";
  if (command.status != approval_status::failed) return false;
  return *command.error == "Unable to create a synthetic click event." ||
         *command.error == "The approved button no longer exists on screen." ||
         *command.error == "The dialog was still visible after Tallyfox tried every safe click path.";
}

}  // namespace

void Checker::fail(const std::string& sentence) {
  failures_.push_back(fmt::format("at {:.3f} s: {}", clock_.continuous().count(), sentence));
  tell("BROKEN: " + sentence);
}

void Checker::tell(const std::string& sentence) const {
  if (listener_) listener_(fmt::format("{:9.3f} {}", clock_.continuous().count(), sentence));
}

void Checker::noteProcessEnded() {
  for (SimulatedRequest& request : requests_ | std::views::values)
    request.isDead = true;
}

void Checker::notePaused(bool isPaused) {
  isPauseCertain_ = true;
  if (!isPaused) pausedSince_.reset();
  if (isPaused) pausedSince_ = clock_.continuous();
}

void Checker::noteTrust(bool isTrusted) {
  if (isTrusted) untrustedSince_.reset();
  if (!isTrusted && !untrustedSince_) untrustedSince_ = clock_.continuous();
}

void Checker::noteScansWaiting(int count) {
  if (count > 1) fail("two scans at a time");
}

bool Checker::isUnderWay(const SimulatedRequest& request) {
  return !request.isDead && request.answers < request.deliveries && request.approval.has_value();
}

bool Checker::isApproved(const SimulatedRequest& request, const memory::Touch& touch) const {
  if (!isUnderWay(request)) return false;
  const std::string& label = request.command.buttonLabel;
  const SimulatedDialog* const dialog = screen_.dialogWithButton(touch.button, label);
  if (dialog == nullptr || screen_.isDisabled(touch.button)) return false;
  if (!screen_.reads(*dialog, DialogText::of(*request.approval))) return false;
  if (dialog->application != request.approval->processIdentifier) return false;
  return !request.approval->requiresDirectAccess || isDeny(label);
}

void Checker::touch(const memory::Touch& touch) {
  tell(fmt::format("the agent: {} on button {}", touch.name, touch.button));
  const bool isRelease = touch.name.ends_with(" up") || touch.name == "leftUp" || touch.name == "moved";
  if (touch.button == 0 || isRelease) return;
  ++touches_;
  // Nobody can ask and act in less than no time: what changed since the last question at this very moment is chance.
  // That somebody decided something is no less needed.
  const bool isChance = screen_.changedThisMoment();
  const bool isAllowed = std::ranges::any_of(requests_ | std::views::values, [&](const SimulatedRequest& request) {
    return isChance ? isUnderWay(request) : isApproved(request, touch);
  });
  if (!isAllowed) fail(fmt::format("{} on button {}, which nobody approved", touch.name, touch.button));
}

void Checker::wire(const std::string& text, const std::vector<std::string>& secrets) {
  if (text.find('#') != std::string::npos) fail("a dialog's words on the wire");
  for (const std::string& secret : secrets)
    if (text.find(secret) != std::string::npos) fail("a secret on the wire");
}

void Checker::frame(const std::string& text, const std::vector<std::string>& secrets) {
  wire(text, secrets);
  const auto json = parsedJson(text);
  if (!json) return fail("a frame that is no JSON");
  for (const char* member : {"encryptedApprovals", "encryptedResult"}) {
    const Json payload = json->value(member, Json());
    if (!payload.is_object()) continue;
    // The same sealed list may be sent again; another one may not share its nonce.
    const std::string box = payload.value("ciphertext", std::string());
    if (nonces_.try_emplace(payload.value("nonce", std::string()), box).first->second != box)
      fail("a nonce was used twice");
  }
}

void Checker::snapshot(const MacSnapshotRelayMessage& message, const std::vector<PendingApproval>& approvals) {
  std::string titles;
  for (const PendingApproval& approval : approvals)
    titles += " [" + approval.windowTitle + " " + fmt::format("{}", fmt::join(approval.messageLines, "|")) + "]";
  tell("the agent: a list of" + titles);
  if (message.approvalCount != static_cast<std::int64_t>(approvals.size())) fail("a snapshot that miscounts");
  if (!message.snapshotID.starts_with(message.accessibilityTrusted ? "ax1:" : "ax0:")) fail("a wrong signature");
  for (const PendingApproval& approval : approvals)
    if (!screen_.hasEverRead(DialogText::of(approval))) fail("a dialog that was never there: " + approval.windowTitle);
  if (approvals.empty()) return;
  const Seconds now = clock_.continuous();
  if (!message.accessibilityTrusted) fail("dialogs in a list that says that it is blind");
  const bool isPaused = pausedSince_ && isPauseCertain_ && now < *pausedSince_ + shortestPause;
  if (isPaused && now > *pausedSince_) fail("dialogs published during a pause");
  // While a decision is carried out, the main thread has no time to look at the permission.
  if (untrustedSince_ && now > *untrustedSince_ + trustNotice && !isWaitingForAnswers())
    fail("dialogs published without the permission");
}

void Checker::result(const std::string& decisionID, const ApprovalResultCommand& command) {
  tell("the agent: " + decisionID + " " + command.status + " " + command.error.value_or(""));
  const auto found = requests_.find(decisionID);
  if (found == requests_.end()) return fail("an answer to nothing: " + decisionID);
  SimulatedRequest& request = found->second;
  ++answers_;
  if (++request.answers > request.deliveries) fail("more answers than requests: " + decisionID);
  if (command.approvalID != request.command.approvalID || command.buttonLabel != request.command.buttonLabel)
    fail("an answer to something else: " + decisionID);
  if (!areWordsRight(command))
    fail("words that do not belong to " + command.status + ": " + command.error.value_or(""));
  if (command.status == approval_status::requiresDirectAccess &&
      !(request.approval && request.approval->requiresDirectAccess && !isDeny(command.buttonLabel)))
    fail("direct access asked for where none is needed: " + decisionID);
  if (command.status == approval_status::accepted) checkAccepted(request, decisionID);
}

void Checker::checkAccepted(const SimulatedRequest& request, const std::string& decisionID) {
  ++accepted_;
  if (!request.approval) return fail("accepted for a dialog that nobody saw: " + decisionID);
  for (const SimulatedDialog* dialog : screen_.live()) {
    const bool isOld = dialog->openedAt < request.firstDeliveredAt;
    if (isOld && dialog->application == request.approval->processIdentifier &&
        dialog->text.asksTheSame(DialogText::of(*request.approval)))
      fail("accepted while the dialog is up: " + decisionID + ", " + dialog->text.title);
  }
}

bool Checker::isOwed(const SimulatedRequest& request) const {
  return !request.isDead && request.answers < request.deliveries && isSocketOpen_(request.socket);
}

bool Checker::isWaitingForAnswers() const {
  return std::ranges::any_of(requests_ | std::views::values,
                             [this](const SimulatedRequest& request) { return isOwed(request); });
}

void Checker::everyRequestIsAnswered() {
  for (const auto& [decisionID, request] : requests_) {
    if (isOwed(request))
      fail(fmt::format("{} was asked {} times and answered {} times", decisionID, request.deliveries, request.answers));
  }
}

void Checker::phoneAgreesWithScreen(const std::vector<PendingApproval>& shown, const std::set<DialogText>& muted) {
  std::set<DialogText> expected;
  for (const SimulatedDialog* dialog : screen_.live())
    if (!muted.contains(dialog->text)) expected.insert(dialog->text);
  std::set<DialogText> seen;
  for (const PendingApproval& approval : shown)
    seen.insert(DialogText::of(approval));
  for (const DialogText& text : expected)
    if (!seen.contains(text)) fail("the phone does not show " + text.title);
  for (const DialogText& text : seen)
    if (!expected.contains(text)) fail("the phone still shows " + text.title);
}

void Checker::forget() {
  static constexpr Seconds longestAnswer{600};
  std::erase_if(requests_, [this](const auto& entry) {
    return clock_.continuous() - entry.second.firstDeliveredAt > longestAnswer;
  });
  nonces_.clear();
}

}  // namespace tallyfox::sim
