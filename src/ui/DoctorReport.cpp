#include "ui/DoctorReport.hpp"

#include <fmt/format.h>

#include <algorithm>
#include <string_view>

#include "base/Text.hpp"
#include "ui/DoctorRelayFindings.hpp"

namespace tallyfox {
namespace {

using Verdict = DoctorFinding::Verdict;

DoctorFinding accessibilityFinding(const DoctorFacts& facts) {
  const std::string check = "Accessibility";
  if (!facts.isAccessibilityOn)
    return {check, Verdict::problem, facts.isAccessibilityOn.error(), "Run this in the desktop session."};
  if (!*facts.isAccessibilityOn)
    return {check, Verdict::problem, "It is switched off for this session.",
            "Choose Open Settings in the status window, or log in with assistive technologies on."};
  return {check, Verdict::ok, "It is switched on for this session.", ""};
}

DoctorFinding accessibilityBusFinding(const DoctorFacts& facts) {
  const std::string check = "Accessibility bus";
  if (!facts.accessibilityBus)
    return {check, Verdict::problem, facts.accessibilityBus.error(), "Install at-spi2-core and log in again."};
  return {check, Verdict::ok, "It answers.", ""};
}

DoctorFinding displayFinding(const DoctorFacts& facts) {
  DoctorFinding finding{"Display", Verdict::ok, "", ""};
  if (!facts.display) {
    finding.verdict = Verdict::problem;
    finding.found = facts.display.error();
    finding.advice = "Run this in a desktop session that has an X display.";
    return finding;
  }
  const std::string& name = facts.display->windowManager;
  finding.found = (name.empty() ? "The window manager" : name) + " manages the windows.";
  if (!facts.display->isManaged) {
    finding.verdict = Verdict::warning;
    finding.found = "There is no window manager that follows the EWMH.";
    finding.advice = "Start one, so that windows can be told apart and raised.";
  } else if (!facts.display->missingHints.empty()) {
    finding.verdict = Verdict::warning;
    finding.found = fmt::format("{} does not support {}.", name.empty() ? "The window manager" : name,
                                joined(facts.display->missingHints, ", "));
    finding.advice = "Use a window manager that follows the EWMH.";
  } else if (facts.isWaylandSession) {
    finding.verdict = Verdict::warning;
    finding.found = "This is a Wayland session, whose own windows get no synthetic input.";
    finding.advice = "Log in to an X11 session if buttons stay unpressed.";
  }
  return finding;
}

DoctorFinding inputFinding(const DoctorFacts& facts) {
  const std::string check = "Synthetic input";
  if (!facts.display)
    return {check, Verdict::warning, "Not checked without a display.", "Make the display reachable first."};
  if (!facts.display->takesSyntheticInput)
    return {check, Verdict::warning, "The X server has no XTEST extension.", "Start the X server with it."};
  return {check, Verdict::ok, "The X server takes it.", ""};
}

DoctorFinding notificationsFinding(const DoctorFacts& facts) {
  const std::string check = "Notifications";
  if (!facts.notifications)
    return {check, Verdict::warning, facts.notifications.error(), "Install a notification service, such as dunst."};
  const std::string& name = *facts.notifications;
  return {check, Verdict::ok, name.empty() ? "Their service starts when needed." : name + " shows them.", ""};
}

DoctorFinding trayFinding(const DoctorFacts& facts) {
  const bool hasOlder = facts.display && facts.display->hasTray;
  if (hasOlder || facts.statusNotifiers.value_or(false))
    return {"Tray", Verdict::ok, "The desktop shows tray icons.", ""};
  return {"Tray", Verdict::warning, "The desktop shows no tray icons.",
          "Use the status window, or add a tray or an AppIndicator extension."};
}

DoctorFinding loginItemFinding(const DoctorFacts& facts) {
  const auto warning = [](std::string found, std::string advice) {
    return DoctorFinding{"Login item", Verdict::warning, std::move(found), std::move(advice)};
  };
  switch (facts.loginItem) {
    case LoginItemServiceStatus::enabled:
      return {"Login item", Verdict::ok, "Tallyfox starts at login.", ""};
    case LoginItemServiceStatus::requiresApproval:
      return warning("The owner has switched it off.", "Switch it on in the desktop's settings for startup programs.");
    case LoginItemServiceStatus::notRegistered:
      return warning("Tallyfox does not start at login.", "Start the installed Tallyfox once.");
    case LoginItemServiceStatus::notFound:
      return warning("It names a program that is not there.", "Install Tallyfox and start it once.");
    case LoginItemServiceStatus::unknown:
      break;
  }
  return warning("It cannot be read.", "Make the autostart folder readable.");
}

DoctorFinding locationFinding(const DoctorFacts& facts) {
  DoctorFinding finding{"Install location", Verdict::ok, facts.executable + ".", ""};
  if (!facts.isInApplications) {
    finding.verdict = Verdict::problem;
    finding.found = facts.executable + " lies outside of /usr, /opt and ~/.local.";
    finding.advice = "Install Tallyfox; elsewhere it neither looks for dialogs nor connects.";
  } else if (!facts.isApplicationBundle) {
    finding.verdict = Verdict::warning;
    finding.found = facts.executable + " has no desktop entry beside it.";
    finding.advice = "Install Tallyfox as a whole, so that it can start at login.";
  }
  return finding;
}

DoctorFinding agentFinding(const DoctorFacts& facts) {
  using State = DoctorFacts::Agent::State;
  const std::string check = "Running agent";
  const auto& agent = facts.agent;
  if (agent.state == State::silent)
    return {check, Verdict::problem, "It does not answer.", "End its process and start it again."};
  if (agent.state == State::none) return {check, Verdict::warning, "No agent is running.", "Start Tallyfox."};
  if (agent.version != facts.ownVersion)
    return {check, Verdict::warning,
            fmt::format("Version {} runs, and this is {}.", agent.version.empty() ? "another" : agent.version,
                        facts.ownVersion),
            "Quit it and start it again."};
  return {check, Verdict::ok,
          fmt::format("Version {} runs, {} the relay.", agent.version,
                      agent.isRelayConnected ? "connected to" : "without a connection to"),
          ""};
}

/// For any terminal, and for JSON: nothing of what other programs named themselves can do anything there.
std::string shown(const std::string& text) {
  return withoutControlCharacters(repairedUtf8(text));
}

std::string_view word(Verdict verdict) {
  switch (verdict) {
    case Verdict::ok:
      return "ok";
    case Verdict::warning:
      return "warning";
    case Verdict::problem:
      break;
  }
  return "problem";
}

}  // namespace

std::vector<DoctorFinding> doctorReport(const DoctorFacts& facts) {
  std::vector<DoctorFinding> report = {accessibilityFinding(facts),
                                       accessibilityBusFinding(facts),
                                       displayFinding(facts),
                                       inputFinding(facts),
                                       doctor::relayAddressFinding(facts),
                                       doctor::relayHostFinding(facts),
                                       doctor::registrationFinding(facts),
                                       doctor::clockFinding(facts),
                                       doctor::keyringFinding(facts),
                                       notificationsFinding(facts),
                                       trayFinding(facts),
                                       loginItemFinding(facts),
                                       locationFinding(facts),
                                       agentFinding(facts)};
  for (DoctorFinding& finding : report)
    finding.found = shown(finding.found);
  return report;
}

bool hasProblem(const std::vector<DoctorFinding>& report) {
  return std::ranges::any_of(report, [](const auto& finding) { return finding.verdict == Verdict::problem; });
}

std::string doctorText(const std::vector<DoctorFinding>& report) {
  std::string text;
  for (const DoctorFinding& finding : report)
    text += fmt::format("{:<7}  {:<17}  {}{}{}\n", word(finding.verdict), finding.check, finding.found,
                        finding.advice.empty() ? "" : " ", finding.advice);
  return text;
}

Json doctorJson(const std::vector<DoctorFinding>& report) {
  Json findings = Json::array();
  for (const DoctorFinding& finding : report) {
    Json value = {{"check", finding.check}, {"verdict", word(finding.verdict)}, {"found", finding.found}};
    if (!finding.advice.empty()) value["advice"] = finding.advice;
    findings.push_back(std::move(value));
  }
  return {{"version", 1}, {"ok", !hasProblem(report)}, {"findings", std::move(findings)}};
}

}  // namespace tallyfox
