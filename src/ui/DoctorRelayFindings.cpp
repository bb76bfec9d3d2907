#include "ui/DoctorRelayFindings.hpp"

#include <fmt/format.h>

#include "base/Url.hpp"
#include "model/RelayAddress.hpp"

namespace tallyfox::doctor {
namespace {

using Verdict = DoctorFinding::Verdict;
using Source = DoctorFacts::RelaySetting::Source;

/// A decision that is older than this when it arrives may be refused as too old.
constexpr std::chrono::seconds clockTolerance{60};
/// Who renews certificates by machine does so a month before they end: less than half of that is left over.
constexpr std::chrono::days renewalNotice{14};

/// The address as far as it holds no secret: an owner may have put a password before the host or a token behind it.
std::string shownAddress(const Url& url) {
  return Url{
      .scheme = url.scheme, .user = {}, .host = url.host, .port = url.port, .path = {}, .query = {}, .fragment = {}}
      .text()
      .value_or("an address");
}

std::string day(Date date) {
  return formattedISO8601(date).substr(0, 10);
}

DoctorFinding invalidAddress(DoctorFinding finding, std::string found, std::string advice) {
  finding.verdict = Verdict::problem;
  finding.found = std::move(found);
  finding.advice = std::move(advice);
  return finding;
}

std::string hostText(const DoctorFacts::RelayHost& host) {
  return host.proxy.empty() ? host.host : host.host + " through the proxy " + host.proxy;
}

std::string certificateText(const DoctorFacts::RelayHost& host) {
  if (!host.isSecure) return "without encryption, which never leaves this computer";
  return host.certificateExpiry ? "over TLS, with a certificate valid until " + day(*host.certificateExpiry)
                                : "over TLS";
}

DoctorFinding unreachableHost(const DoctorFacts::RelayHost& host) {
  DoctorFinding finding{"Relay host", Verdict::problem, hostText(host) + ": " + *host.failure,
                        "Check that the relay runs and that its address is right."};
  if (!host.certificateExpiry) return finding;
  finding.found += fmt::format(" It ends on {}.", day(*host.certificateExpiry));
  finding.advice = "Check this computer's clock, the relay's certificate and the name in its address.";
  return finding;
}

DoctorFinding notChecked(std::string check, const DoctorFacts& facts) {
  if (!facts.relayHost)
    return {std::move(check), Verdict::warning, "Not checked without a relay.", "Correct the relay's address first."};
  return {std::move(check), Verdict::warning, "Not checked without an answer of the relay.",
          "Make the relay reachable first."};
}

DoctorFinding registrationAnswer(int status) {
  const std::string check = "Registration";
  if (status >= 200 && status <= 299) return {check, Verdict::ok, "The relay knows this computer.", ""};
  switch (status) {
    case 401:
      return {check, Verdict::warning, "The relay does not know this computer.",
              "Start Tallyfox, which registers it; if this stays, unpair and pair anew."};
    case 404:
    case 405:
      return {check, Verdict::ok, "This relay does not tell; Tallyfox registers at each start.", ""};
    case 410:
      return {check, Verdict::problem, "The pairing was revoked.",
              "Start Tallyfox, which takes a new identity, and pair the phone anew."};
    default:
      return {check, Verdict::problem, fmt::format("The relay answers with HTTP {}.", status),
              "Look into the relay's log."};
  }
}

}  // namespace

DoctorFinding relayAddressFinding(const DoctorFacts& facts) {
  DoctorFinding finding{"Relay address", Verdict::ok, "", ""};
  const auto& setting = facts.relaySetting;
  if (setting.source == Source::none) {
    constexpr const char* advice = "Set TALLYFOX_RELAY_URL and TALLYFOX_PAIRING_ID, or install a RelayConfig.plist.";
    if (!facts.agent.isRelayConfigured)
      return invalidAddress(finding, setting.problem.empty() ? "No relay is configured." : setting.problem, advice);
    return {finding.check, Verdict::warning, "The running agent has a relay, but none is configured here.",
            "Run this with the agent's environment to have its relay checked."};
  }
  const auto url = Url::parsed(setting.address);
  if (!url || !url->host)
    return invalidAddress(finding, "The address is not valid.", "Write it as wss://relay.example.org.");
  const std::string shown = shownAddress(*url);
  if (!isAllowedRelayURL(*url))
    return invalidAddress(finding, shown + " would not be encrypted.", "Use an address that begins with wss://.");
  finding.found = fmt::format("{}, from the {}.", shown,
                              setting.source == Source::environment ? "environment" : "configuration file");
  if (setting.problem.empty()) return finding;
  finding.verdict = Verdict::warning;
  finding.found += " " + setting.problem;
  finding.advice = "Set both variables or none.";
  return finding;
}

DoctorFinding relayHostFinding(const DoctorFacts& facts) {
  if (!facts.relayHost) return notChecked("Relay host", facts);
  const auto& host = *facts.relayHost;
  if (host.failure) return unreachableHost(host);
  DoctorFinding finding{"Relay host", Verdict::ok, fmt::format("{} answers {}.", hostText(host), certificateText(host)),
                        ""};
  if (host.status >= 500) {
    finding.verdict = Verdict::problem;
    finding.found = fmt::format("{} answers with HTTP {}.", hostText(host), host.status);
    finding.advice = "Start the relay behind that server.";
  } else if (host.certificateExpiry && *host.certificateExpiry < host.askedAt + renewalNotice) {
    finding.verdict = Verdict::warning;
    finding.advice = "Have the relay's certificate renewed.";
  }
  return finding;
}

DoctorFinding registrationFinding(const DoctorFacts& facts) {
  if (facts.registration) {
    if (*facts.registration) return registrationAnswer(**facts.registration);
    return {"Registration", Verdict::problem, facts.registration->error(), "Make the relay reachable first."};
  }
  if (!facts.relayHost || facts.identity.isUsable) return notChecked("Registration", facts);
  return {"Registration", Verdict::warning, "Not checked without an identity of this computer.",
          "Start Tallyfox once, which makes one."};
}

DoctorFinding clockFinding(const DoctorFacts& facts) {
  if (!facts.relayHost || facts.relayHost->failure) return notChecked("Clock", facts);
  const auto& host = *facts.relayHost;
  if (!host.relayTime) return {"Clock", Verdict::ok, "The relay tells no time to compare with.", ""};
  const auto ahead = std::chrono::round<std::chrono::seconds>(host.askedAt - *host.relayTime);
  if (std::chrono::abs(ahead) <= clockTolerance) return {"Clock", Verdict::ok, "It agrees with the relay's.", ""};
  return {"Clock", Verdict::warning,
          fmt::format("It is {} seconds {} the relay's.", std::chrono::abs(ahead).count(),
                      ahead.count() > 0 ? "ahead of" : "behind"),
          "Let this computer set its clock by the network."};
}

DoctorFinding keyringFinding(const DoctorFacts& facts) {
  using namespace keychain_status;
  const auto& identity = facts.identity;
  const auto finding = [](Verdict verdict, std::string found, std::string advice) {
    return DoctorFinding{"Keyring", verdict, std::move(found), std::move(advice)};
  };
  const bool holdsInKeyring = identity.desktopKeyring == success;
  const bool hasKeyring = holdsInKeyring || identity.desktopKeyring == itemNotFound;
  if (identity.desktopKeyring == interactionNotAllowed)
    return finding(Verdict::problem, "The desktop's keyring is locked.", "Unlock the login keyring.");
  if (!hasKeyring && identity.desktopKeyring != missingEntitlement)
    return finding(Verdict::problem, "The desktop's keyring does not answer.", "Log out and in again.");
  const bool holdsInFile = !holdsInKeyring && identity.fileKeychain == success;
  if (!holdsInKeyring && !holdsInFile && identity.fileKeychain != itemNotFound)
    return finding(Verdict::problem, "The private file that holds the credentials cannot be used.",
                   "Make it and its folder readable by you alone.");
  if ((holdsInKeyring || holdsInFile) && !identity.isUsable)
    return finding(Verdict::problem, "The stored pairing credentials could not be read.",
                   "Delete them from the keyring and pair anew.");
  if (!hasKeyring)
    return finding(Verdict::ok,
                   fmt::format("There is no desktop keyring; a private file {} the credentials.",
                               holdsInFile ? "holds" : "will hold"),
                   "");
  const char* const content = holdsInKeyring ? " and holds the credentials."
                              : holdsInFile  ? "; the credentials lie in a private file."
                                             : " and holds no credentials yet.";
  return finding(Verdict::ok, std::string("The desktop's keyring is unlocked") + content, "");
}

}  // namespace tallyfox::doctor
