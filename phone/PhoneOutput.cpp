#include "phone/PhoneOutput.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <set>

#include "base/Text.hpp"

namespace tallyfox::phone {
namespace {

constexpr std::size_t titleColumns = 56;

/// What a dialog says is foreign text: white space of all kinds becomes one blank, so that it keeps to its line.
std::string oneLine(const std::string& text) {
  return withCollapsedWhiteSpace(trimmed(text));
}

std::string buttonsLine(const PendingApproval& approval) {
  std::vector<std::string> labels;
  for (const auto& button : approval.buttons) {
    const bool isRecommended = approval.recommendedButtonLabel && *approval.recommendedButtonLabel == button.label;
    labels.push_back(fmt::format("[{}]{}", oneLine(button.label), isRecommended ? " (recommended)" : ""));
  }
  return labels.empty() ? "No buttons" : fmt::format("Buttons: {}", joined(labels, "  "));
}

std::string statusText(const ApprovalResultCommand& result) {
  const std::string label = oneLine(result.buttonLabel);
  const std::string reason = result.error ? fmt::format(" {}", oneLine(*result.error)) : std::string();
  if (result.status == approval_status::accepted) return fmt::format("Pressed \"{}\".", label);
  if (result.status == approval_status::failed) return fmt::format("Pressing \"{}\" failed.{}", label, reason);
  if (result.status == approval_status::notFound) return fmt::format("The dialog is gone.{}", reason);
  if (result.status == approval_status::requiresDirectAccess)
    return fmt::format("This needs direct access to the computer.{}", reason);
  return fmt::format("The computer answered \"{}\".{}", oneLine(result.status), reason);
}

}  // namespace

std::string millisecondTimestamp(Date date) {
  const auto whole = std::chrono::floor<std::chrono::seconds>(date);
  const auto fraction = std::chrono::floor<std::chrono::milliseconds>(date - whole).count();
  std::string text = formattedISO8601(date);
  text.pop_back();
  return fmt::format("{}.{:03}Z", text, fraction);
}

std::string ageText(Date since, Date now) {
  const auto seconds = std::chrono::floor<std::chrono::seconds>(now - since).count();
  if (seconds < 1) return "just now";
  if (seconds < 60) return fmt::format("{} s ago", seconds);
  if (seconds < 3600) return fmt::format("{} min ago", seconds / 60);
  if (seconds < 2 * 86400) return fmt::format("{} h ago", seconds / 3600);
  return fmt::format("{} days ago", seconds / 86400);
}

std::size_t shortIDLength(const std::vector<PendingApproval>& approvals) {
  constexpr std::size_t shortest = 8;
  constexpr std::size_t whole = 36;
  for (std::size_t length = shortest; length < whole; ++length) {
    std::set<std::string> prefixes;
    for (const auto& approval : approvals)
      prefixes.insert(approval.id.text().substr(0, length));
    if (prefixes.size() == approvals.size()) return length;
  }
  return whole;
}

std::vector<std::string> approvalLines(const PhoneSnapshot& snapshot, Date now) {
  std::vector<std::string> lines;
  if (!snapshot.accessibilityTrusted)
    lines.emplace_back("The agent may not read dialogs: accessibility is off on the computer.");
  if (snapshot.approvals.empty()) lines.emplace_back("Nothing waits for an answer.");
  const std::size_t length = shortIDLength(snapshot.approvals);
  const std::string indent(length + 2, ' ');
  for (const auto& approval : snapshot.approvals) {
    if (!lines.empty()) lines.emplace_back();
    lines.push_back(fmt::format("{}  {:<{}}  {}", approval.id.text().substr(0, length),
                                oneLine(approval.displayTitle()), titleColumns, ageText(approval.detectedAt, now)));
    for (const auto& line : approval.messageLines)
      lines.push_back(indent + oneLine(line));
    lines.push_back(indent + buttonsLine(approval));
    if (!approval.requiresDirectAccess) continue;
    const std::string reason = oneLine(approval.directAccessReason.value_or(""));
    lines.push_back(fmt::format("{}Direct access needed{}{}", indent, reason.empty() ? "." : ": ", reason));
  }
  return lines;
}

void PhoneOutput::event(const std::string& name, const Json& details) {
  Json line{{"event", name}, {"at", millisecondTimestamp(clock_.now())}};
  line.update(details);
  lines_.printLine(jsonText(line));
}

void PhoneOutput::approvals(const PhoneSnapshot& snapshot) {
  if (json_)
    return event("snapshot", {{"observedAt", formattedISO8601(snapshot.observedAt)},
                              {"accessibilityTrusted", snapshot.accessibilityTrusted},
                              {"approvals", approvalsJson(snapshot.approvals)}});
  for (const auto& line : approvalLines(snapshot, clock_.now()))
    lines_.printLine(line);
}

void PhoneOutput::result(const PhoneResult& result) {
  if (!json_) return lines_.printLine(statusText(result.result));
  Json details{{"decisionID", result.decisionID}};
  details.update(result.result.json());
  event("result", details);
}

void PhoneOutput::undeliverable(const std::string& decisionID) {
  if (json_) return event("undeliverable", {{"decisionID", decisionID}, {"reason", "offline"}});
  errors_.printLine("tallyfox-phone: The computer is offline.");
}

void PhoneOutput::state(const std::string& state, const std::string& text, const Json& details) {
  if (!json_) return lines_.printLine(text);
  Json members{{"state", state}};
  members.update(details);
  event("state", members);
}

void PhoneOutput::error(const std::string& text) {
  if (json_) return event("error", {{"message", text}});
  errors_.printLine(fmt::format("tallyfox-phone: {}", text));
}

}  // namespace tallyfox::phone
