#include <algorithm>
#include <utility>

#include "base/Text.hpp"
#include "phone/PhoneCommands.hpp"

namespace tallyfox::phone {
namespace {

/// Nothing answers a mute; a computer that is offline is reported within this time.
constexpr Seconds undeliverableGrace{1};
/// The last list follows the welcome at once; this is for its way.
constexpr Seconds listGrace{2};
/// Another command of this phone that took over needs a moment at most.
constexpr Seconds resumeDelay{0.2};

int exitStatusFor(const std::string& status) {
  if (status == approval_status::accepted) return exit_status::done;
  if (status == approval_status::notFound) return exit_status::notFound;
  if (status == approval_status::requiresDirectAccess) return exit_status::directAccess;
  return exit_status::failed;
}

}  // namespace

std::optional<std::string> meantButton(const PendingApproval& approval, const std::string& text) {
  const auto labels = approval.buttonLabels();
  if (std::ranges::find(labels, text) != labels.end()) return text;
  std::optional<std::string> meant;
  for (const auto& label : labels) {
    if (normalizedText(label) != normalizedText(text) || meant == label) continue;
    if (meant) return std::nullopt;
    meant = label;
  }
  return meant;
}

std::vector<PendingApproval> approvalsWithPrefix(const std::vector<PendingApproval>& approvals,
                                                 const std::string& prefix) {
  std::vector<PendingApproval> matching;
  if (prefix.empty()) return matching;
  for (const auto& approval : approvals)
    if (lowercased(approval.id.text()).starts_with(lowercased(prefix))) matching.push_back(approval);
  return matching;
}

ApprovalCommand::ApprovalCommand(PhoneContext context, Finish finish, std::string idPrefix, Seconds timeout)
    : PhoneCommand(context, std::move(finish)), idPrefix_(std::move(idPrefix)), timeout_(timeout) {}

void ApprovalCommand::start() {
  limitTime(timeout_);
  connectPaired();
}

void ApprovalCommand::welcomed(bool /*agentConnected*/) {
  if (isSent()) return;
  later(listGrace, [this] {
    if (!isSent()) fail(exit_status::notFound, "The computer has not sent a list yet.");
  });
}

void ApprovalCommand::snapshotArrived(const PhoneSnapshot& snapshot) {
  if (isSent()) return;
  const auto matching = approvalsWithPrefix(snapshot.approvals, idPrefix_);
  if (matching.empty())
    return fail(exit_status::notFound, "No approval has an identifier that begins with " + idPrefix_ + ".");
  if (matching.size() > 1)
    return fail(exit_status::usage, "Several approvals have identifiers that begin with " + idPrefix_ + ".");
  found(matching.front());
}

void ApprovalCommand::decisionUndeliverable(const std::string& decisionID) {
  if (!isOurs(decisionID)) return;
  output().undeliverable(decisionID);
  finish(exit_status::offline);
}

void ApprovalCommand::disconnected(const PhoneDisconnection& why) {
  if (why.isFinal || !isSent()) return fail(exit_status::error, why.reason);
  later(resumeDelay, [this] { connectPaired(); });
}

AnswerCommand::AnswerCommand(PhoneContext context, Finish finish, std::string idPrefix, std::string button,
                             Seconds timeout)
    : ApprovalCommand(context, std::move(finish), std::move(idPrefix), timeout), button_(std::move(button)) {}

void AnswerCommand::found(const PendingApproval& approval) {
  const auto label = meantButton(approval, button_);
  if (label) return setSent(connection().request({approval.id, *label}));
  fail(exit_status::usage,
       "There is no button \"" + button_ + "\". The buttons are: " + joined(approval.buttonLabels(), ", ") + ".");
}

void AnswerCommand::resultArrived(const PhoneResult& result) {
  if (!isOurs(result.decisionID)) return;
  output().result(result);
  finish(exitStatusFor(result.result.status));
}

void SuppressCommand::found(const PendingApproval& approval) {
  setSent(connection().changeSuppression({"suppress", approval.id, approval.suppressionID}));
  later(undeliverableGrace, [this, id = approval.suppressionID.text()] {
    output().state("suppressed", "Muted. Show it again with: tallyfox-phone unsuppress " + id,
                   Json{{"suppressionID", id}});
    finish(exit_status::done);
  });
}

UnsuppressCommand::UnsuppressCommand(PhoneContext context, Finish finish, std::string suppressionID, Seconds timeout)
    : PhoneCommand(context, std::move(finish)), suppressionID_(std::move(suppressionID)), timeout_(timeout) {}

void UnsuppressCommand::start() {
  if (!Uuid::parsed(suppressionID_))
    return fail(exit_status::usage, "A suppression has a whole identifier of 36 characters.");
  limitTime(timeout_);
  connectPaired();
}

void UnsuppressCommand::welcomed(bool /*agentConnected*/) {
  const auto id = Uuid::parsed(suppressionID_);
  connection().changeSuppression({"unsuppress", std::nullopt, *id});
  later(undeliverableGrace, [this, text = id->text()] {
    output().state("unsuppressed", "This dialog is shown again.", Json{{"suppressionID", text}});
    finish(exit_status::done);
  });
}

void UnsuppressCommand::decisionUndeliverable(const std::string& decisionID) {
  output().undeliverable(decisionID);
  finish(exit_status::offline);
}

}  // namespace tallyfox::phone
