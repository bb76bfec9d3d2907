// What the doctor says of every fact: the sign, what was found, and what to do; always every check, in one order, and
// never a text that does something on a terminal or tells a secret.

#include "ui/DoctorReport.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <utility>

namespace tallyfox {
namespace {

using namespace std::chrono;
using testing::Each;
using testing::ElementsAre;
using testing::Field;
using testing::HasSubstr;
using testing::Not;
using Verdict = DoctorFinding::Verdict;
using Change = std::function<void(DoctorFacts&)>;
using Source = DoctorFacts::RelaySetting::Source;
using AgentState = DoctorFacts::Agent::State;

constexpr Date now = sys_days(2026y / 11 / 22) + 1h;

/// A desktop on which nothing is wrong.
DoctorFacts healthy() {
  DoctorFacts facts;
  facts.isAccessibilityOn = true;
  facts.display = DoctorFacts::Display{
      .windowManager = "Openbox", .isManaged = true, .missingHints = {}, .takesSyntheticInput = true, .hasTray = true};
  facts.relaySetting = {.source = Source::environment, .address = "wss://relay.example.org", .problem = ""};
  facts.relayHost = DoctorFacts::RelayHost{.host = "relay.example.org",
                                           .isSecure = true,
                                           .certificateExpiry = now + days(60),
                                           .status = 200,
                                           .relayTime = now,
                                           .askedAt = now};
  facts.registration = 204;
  facts.identity = {.desktopKeyring = keychain_status::success, .isUsable = true};
  facts.notifications = "dunst";
  facts.statusNotifiers = true;
  facts.loginItem = LoginItemServiceStatus::enabled;
  facts.executable = "/usr/bin/tallyfox";
  facts.isApplicationBundle = true;
  facts.isInApplications = true;
  facts.agent = {.state = AgentState::running, .version = "0.1.0", .isRelayConfigured = true, .isRelayConnected = true};
  facts.ownVersion = "0.1.0";
  return facts;
}

DoctorFinding findingOf(const std::string& check, const Change& change) {
  DoctorFacts facts = healthy();
  change(facts);
  for (const DoctorFinding& finding : doctorReport(facts))
    if (finding.check == check) return finding;
  ADD_FAILURE() << "there is no check " << check;
  return {};
}

struct Case {
  Change change;
  Verdict verdict;
  std::string found;
  std::string advice;
};

void expectFindings(const std::string& check, const std::vector<Case>& cases) {
  for (const auto& [change, verdict, found, advice] : cases)
    EXPECT_EQ(findingOf(check, change), (DoctorFinding{check, verdict, found, advice})) << found;
}

TEST(DoctorReport, findsNothingWrongWithAHealthyDesktop) {
  const auto report = doctorReport(healthy());
  EXPECT_THAT(report, Each(Field(&DoctorFinding::verdict, Verdict::ok)));
  EXPECT_FALSE(hasProblem(report));
  EXPECT_EQ(doctorText(report),
            "ok       Accessibility      It is switched on for this session.\n"
            "ok       Accessibility bus  It answers.\n"
            "ok       Display            Openbox manages the windows.\n"
            "ok       Synthetic input    The X server takes it.\n"
            "ok       Relay address      wss://relay.example.org, from the environment.\n"
            "ok       Relay host         relay.example.org answers over TLS, with a certificate valid until "
            "2027-01-21.\n"
            "ok       Registration       The relay knows this computer.\n"
            "ok       Clock              It agrees with the relay's.\n"
            "ok       Keyring            The desktop's keyring is unlocked and holds the credentials.\n"
            "ok       Notifications      dunst shows them.\n"
            "ok       Tray               The desktop shows tray icons.\n"
            "ok       Login item         Tallyfox starts at login.\n"
            "ok       Install location   /usr/bin/tallyfox.\n"
            "ok       Running agent      Version 0.1.0 runs, connected to the relay.\n");
}

TEST(DoctorReport, judgesAccessibility) {
  expectFindings(
      "Accessibility",
      {{[](auto& facts) { facts.isAccessibilityOn = false; }, Verdict::problem, "It is switched off for this session.",
        "Choose Open Settings in the status window, or log in with assistive technologies on."},
       {[](auto& facts) { facts.isAccessibilityOn = std::unexpected("It does not answer."); }, Verdict::problem,
        "It does not answer.", "Run this in the desktop session."}});
  expectFindings("Accessibility bus",
                 {{[](auto& facts) { facts.accessibilityBus = std::unexpected("It cannot be reached: no such bus."); },
                   Verdict::problem, "It cannot be reached: no such bus.", "Install at-spi2-core and log in again."}});
}

TEST(DoctorReport, judgesTheDisplay) {
  const std::string follow = "Use a window manager that follows the EWMH.";
  expectFindings(
      "Display",
      {{[](auto& facts) { facts.display = std::unexpected("The variable DISPLAY is not set."); }, Verdict::problem,
        "The variable DISPLAY is not set.", "Run this in a desktop session that has an X display."},
       {[](auto& facts) { facts.display->isManaged = false; }, Verdict::warning,
        "There is no window manager that follows the EWMH.",
        "Start one, so that windows can be told apart and raised."},
       {[](auto& facts) { facts.display->missingHints = {"_NET_CLIENT_LIST", "_NET_ACTIVE_WINDOW"}; }, Verdict::warning,
        "Openbox does not support _NET_CLIENT_LIST, _NET_ACTIVE_WINDOW.", follow},
       {[](auto& facts) {
          facts.display->missingHints = {"_NET_ACTIVE_WINDOW"};
          facts.display->windowManager.clear();
        },
        Verdict::warning, "The window manager does not support _NET_ACTIVE_WINDOW.", follow},
       {[](auto& facts) { facts.display->windowManager.clear(); }, Verdict::ok,
        "The window manager manages the windows.", ""},
       {[](auto& facts) { facts.isWaylandSession = true; }, Verdict::warning,
        "This is a Wayland session, whose own windows get no synthetic input.",
        "Log in to an X11 session if buttons stay unpressed."}});
  expectFindings("Synthetic input", {{[](auto& facts) { facts.display->takesSyntheticInput = false; }, Verdict::warning,
                                      "The X server has no XTEST extension.", "Start the X server with it."},
                                     {[](auto& facts) { facts.display = std::unexpected("None."); }, Verdict::warning,
                                      "Not checked without a display.", "Make the display reachable first."}});
}

Change address(const std::string& text) {
  return [text](DoctorFacts& facts) { facts.relaySetting.address = text; };
}

TEST(DoctorReport, judgesTheRelayAddress) {
  const std::string set = "Set TALLYFOX_RELAY_URL and TALLYFOX_PAIRING_ID, or install a RelayConfig.plist.";
  const std::string write = "Write it as wss://relay.example.org.";
  const std::string encrypt = "Use an address that begins with wss://.";
  const auto none = [](DoctorFacts& facts) {
    facts.relaySetting = {};
    facts.agent.isRelayConfigured = false;
  };
  expectFindings(
      "Relay address",
      {{none, Verdict::problem, "No relay is configured.", set},
       {[&](auto& facts) {
          none(facts);
          facts.relaySetting.problem = "The environment names only a part.";
        },
        Verdict::problem, "The environment names only a part.", set},
       {[](auto& facts) { facts.relaySetting = {}; }, Verdict::warning,
        "The running agent has a relay, but none is configured here.",
        "Run this with the agent's environment to have its relay checked."},
       {address("not an address"), Verdict::problem, "The address is not valid.", write},
       {address("relay.example.org"), Verdict::problem, "The address is not valid.", write},
       {address("wss:///agent"), Verdict::problem, "The address is not valid.", write},
       {address("ws://relay.example.org/agent"), Verdict::problem, "ws://relay.example.org would not be encrypted.",
        encrypt},
       {address("https://relay.example.org"), Verdict::problem, "https://relay.example.org would not be encrypted.",
        encrypt},
       {address("ws://localhost:8080/agent"), Verdict::ok, "ws://localhost:8080, from the environment.", ""},
       {[](auto& facts) { facts.relaySetting.source = Source::resource; }, Verdict::ok,
        "wss://relay.example.org, from the configuration file.", ""},
       {[](auto& facts) {
          facts.relaySetting.source = Source::resource;
          facts.relaySetting.problem = "The environment names only a part.";
        },
        Verdict::warning, "wss://relay.example.org, from the configuration file. The environment names only a part.",
        "Set both variables or none."}});
}

TEST(DoctorReport, tellsNoSecretOfTheRelayAddress) {
  const auto finding = findingOf("Relay address", address("wss://kim:pass@[::1]:8443/hidden?token=t#f"));
  EXPECT_EQ(finding.found, "wss://[::1]:8443, from the environment.");
}

TEST(DoctorReport, judgesTheRelayHost) {
  const std::string check = "Check that the relay runs and that its address is right.";
  const std::string certificate = "Check this computer's clock, the relay's certificate and the name in its address.";
  const auto expiresIn = [](microseconds time) {
    return [time](DoctorFacts& facts) { facts.relayHost->certificateExpiry = now + time; };
  };
  const auto failsWith = [](const std::string& failure, std::optional<Date> expiry) {
    return [=](DoctorFacts& facts) {
      facts.relayHost->failure = failure;
      facts.relayHost->certificateExpiry = expiry;
    };
  };
  const std::string answers = "relay.example.org answers over TLS, with a certificate valid until ";
  expectFindings(
      "Relay host",
      {{failsWith("Connection refused.", std::nullopt), Verdict::problem, "relay.example.org: Connection refused.",
        check},
       {failsWith("The certificate could not be verified.", now - days(1)), Verdict::problem,
        "relay.example.org: The certificate could not be verified. It ends on 2026-11-21.", certificate},
       {expiresIn(days(14)), Verdict::ok, answers + "2026-12-06.", ""},
       {expiresIn(days(14) - seconds(1)), Verdict::warning, answers + "2026-12-06.",
        "Have the relay's certificate renewed."},
       {[](auto& facts) { facts.relayHost->status = 502; }, Verdict::problem,
        "relay.example.org answers with HTTP 502.", "Start the relay behind that server."},
       {[](auto& facts) { facts.relayHost->status = 404; }, Verdict::ok, answers + "2027-01-21.", ""},
       {[](auto& facts) { facts.relayHost->proxy = "proxy:3128"; }, Verdict::ok,
        "relay.example.org through the proxy proxy:3128 answers over TLS, with a certificate valid until 2027-01-21.",
        ""},
       {[](auto& facts) {
          facts.relayHost = DoctorFacts::RelayHost{.host = "localhost:8080", .isSecure = false, .status = 200};
        },
        Verdict::ok, "localhost:8080 answers without encryption, which never leaves this computer.", ""},
       {[](auto& facts) { facts.relayHost.reset(); }, Verdict::warning, "Not checked without a relay.",
        "Correct the relay's address first."}});
}

TEST(DoctorReport, judgesTheRegistration) {
  const auto status = [](int number) { return [number](DoctorFacts& facts) { facts.registration = number; }; };
  const std::string silent = "This relay does not tell; Tallyfox registers at each start.";
  const auto unasked = [](DoctorFacts& facts) { facts.registration.reset(); };
  expectFindings("Registration",
                 {{status(200), Verdict::ok, "The relay knows this computer.", ""},
                  {status(401), Verdict::warning, "The relay does not know this computer.",
                   "Start Tallyfox, which registers it; if this stays, unpair and pair anew."},
                  {status(404), Verdict::ok, silent, ""},
                  {status(405), Verdict::ok, silent, ""},
                  {status(410), Verdict::problem, "The pairing was revoked.",
                   "Start Tallyfox, which takes a new identity, and pair the phone anew."},
                  {status(500), Verdict::problem, "The relay answers with HTTP 500.", "Look into the relay's log."},
                  {[](auto& facts) { facts.registration = std::unexpected("The connection timed out."); },
                   Verdict::problem, "The connection timed out.", "Make the relay reachable first."},
                  {[&](auto& facts) {
                     unasked(facts);
                     facts.relayHost.reset();
                   },
                   Verdict::warning, "Not checked without a relay.", "Correct the relay's address first."},
                  {[&](auto& facts) {
                     unasked(facts);
                     facts.identity.isUsable = false;
                   },
                   Verdict::warning, "Not checked without an identity of this computer.",
                   "Start Tallyfox once, which makes one."}});
}

TEST(DoctorReport, judgesTheClock) {
  const auto off = [](microseconds time) {
    return [time](DoctorFacts& facts) { facts.relayHost->relayTime = now - time; };
  };
  const std::string advice = "Let this computer set its clock by the network.";
  expectFindings("Clock", {{off(60s), Verdict::ok, "It agrees with the relay's.", ""},
                           {off(-60s), Verdict::ok, "It agrees with the relay's.", ""},
                           {off(61s), Verdict::warning, "It is 61 seconds ahead of the relay's.", advice},
                           {off(-61s), Verdict::warning, "It is 61 seconds behind the relay's.", advice},
                           {off(61s + 600ms), Verdict::warning, "It is 62 seconds ahead of the relay's.", advice},
                           {[](auto& facts) { facts.relayHost->relayTime.reset(); }, Verdict::ok,
                            "The relay tells no time to compare with.", ""},
                           {[](auto& facts) { facts.relayHost->failure = "Connection refused."; }, Verdict::warning,
                            "Not checked without an answer of the relay.", "Make the relay reachable first."},
                           {[](auto& facts) { facts.relayHost.reset(); }, Verdict::warning,
                            "Not checked without a relay.", "Correct the relay's address first."}});
}

TEST(DoctorReport, judgesTheKeyring) {
  using namespace keychain_status;
  const auto identity = [](KeychainStatus keyring, KeychainStatus file, bool isUsable) {
    return [=](DoctorFacts& facts) { facts.identity = {keyring, file, isUsable}; };
  };
  const std::string unlocked = "The desktop's keyring is unlocked";
  const std::string unreadable = "The stored pairing credentials could not be read.";
  const std::string removal = "Delete them from the keyring and pair anew.";
  const std::string file = "The private file that holds the credentials cannot be used.";
  const std::string own = "Make it and its folder readable by you alone.";
  expectFindings(
      "Keyring",
      {{identity(itemNotFound, itemNotFound, false), Verdict::ok, unlocked + " and holds no credentials yet.", ""},
       {identity(itemNotFound, success, true), Verdict::ok, unlocked + "; the credentials lie in a private file.", ""},
       {identity(missingEntitlement, success, true), Verdict::ok,
        "There is no desktop keyring; a private file holds the credentials.", ""},
       {identity(missingEntitlement, itemNotFound, false), Verdict::ok,
        "There is no desktop keyring; a private file will hold the credentials.", ""},
       {identity(interactionNotAllowed, itemNotFound, false), Verdict::problem, "The desktop's keyring is locked.",
        "Unlock the login keyring."},
       {identity(notAvailable, itemNotFound, false), Verdict::problem, "The desktop's keyring does not answer.",
        "Log out and in again."},
       {identity(missingEntitlement, notAvailable, false), Verdict::problem, file, own},
       {identity(itemNotFound, notAvailable, false), Verdict::problem, file, own},
       {identity(success, itemNotFound, false), Verdict::problem, unreadable, removal},
       {identity(missingEntitlement, success, false), Verdict::problem, unreadable, removal}});
}

TEST(DoctorReport, judgesNotificationsAndTray) {
  expectFindings(
      "Notifications",
      {{[](auto& facts) { facts.notifications = ""; }, Verdict::ok, "Their service starts when needed.", ""},
       {[](auto& facts) { facts.notifications = std::unexpected("There is no notification service."); },
        Verdict::warning, "There is no notification service.", "Install a notification service, such as dunst."}});
  const std::string shows = "The desktop shows tray icons.";
  const std::string shows_not = "The desktop shows no tray icons.";
  const std::string advice = "Use the status window, or add a tray or an AppIndicator extension.";
  const auto tray = [](bool older, DoctorAnswer<bool> newer) {
    return [=](DoctorFacts& facts) {
      facts.display->hasTray = older;
      facts.statusNotifiers = newer;
    };
  };
  expectFindings("Tray", {{tray(true, false), Verdict::ok, shows, ""},
                          {tray(true, std::unexpected("No bus.")), Verdict::ok, shows, ""},
                          {tray(false, true), Verdict::ok, shows, ""},
                          {tray(false, false), Verdict::warning, shows_not, advice},
                          {tray(false, std::unexpected("No bus.")), Verdict::warning, shows_not, advice},
                          {[](auto& facts) {
                             facts.display = std::unexpected("None.");
                             facts.statusNotifiers = false;
                           },
                           Verdict::warning, shows_not, advice}});
}

TEST(DoctorReport, judgesLoginItemAndLocation) {
  const auto item = [](LoginItemServiceStatus status) {
    return [status](DoctorFacts& facts) { facts.loginItem = status; };
  };
  expectFindings("Login item",
                 {{item(LoginItemServiceStatus::requiresApproval), Verdict::warning, "The owner has switched it off.",
                   "Switch it on in the desktop's settings for startup programs."},
                  {item(LoginItemServiceStatus::notRegistered), Verdict::warning, "Tallyfox does not start at login.",
                   "Start the installed Tallyfox once."},
                  {item(LoginItemServiceStatus::notFound), Verdict::warning, "It names a program that is not there.",
                   "Install Tallyfox and start it once."},
                  {item(LoginItemServiceStatus::unknown), Verdict::warning, "It cannot be read.",
                   "Make the autostart folder readable."}});
  expectFindings("Install location", {{[](auto& facts) {
                                         facts.isInApplications = false;
                                         facts.executable = "/srv/tallyfox";
                                       },
                                       Verdict::problem, "/srv/tallyfox lies outside of /usr, /opt and ~/.local.",
                                       "Install Tallyfox; elsewhere it neither looks for dialogs nor connects."},
                                      {[](auto& facts) { facts.isApplicationBundle = false; }, Verdict::warning,
                                       "/usr/bin/tallyfox has no desktop entry beside it.",
                                       "Install Tallyfox as a whole, so that it can start at login."}});
}

TEST(DoctorReport, judgesTheRunningAgent) {
  const std::string again = "Quit it and start it again.";
  expectFindings("Running agent",
                 {{[](auto& facts) { facts.agent = {}; }, Verdict::warning, "No agent is running.", "Start Tallyfox."},
                  {[](auto& facts) { facts.agent = {.state = AgentState::silent}; }, Verdict::problem,
                   "It does not answer.", "End its process and start it again."},
                  {[](auto& facts) { facts.agent.version = "0.0.9"; }, Verdict::warning,
                   "Version 0.0.9 runs, and this is 0.1.0.", again},
                  {[](auto& facts) { facts.agent.version = ""; }, Verdict::warning,
                   "Version another runs, and this is 0.1.0.", again},
                  {[](auto& facts) { facts.agent.isRelayConnected = false; }, Verdict::ok,
                   "Version 0.1.0 runs, without a connection to the relay.", ""}});
}

TEST(DoctorReport, letsNoForeignTextActOnATerminal) {
  const auto finding =
      findingOf("Display", [](auto& facts) { facts.display->windowManager = "Evil\x1B[2J\nok       Display\xFF"; });
  EXPECT_EQ(finding.found, "Evil [2J ok       Display\xEF\xBF\xBD manages the windows.");
}

TEST(DoctorReport, hasAProblemOnlyWhereSomethingIsOne) {
  DoctorFacts facts = healthy();
  facts.agent = {};
  EXPECT_FALSE(hasProblem(doctorReport(facts))) << "a warning is none";
  facts.isAccessibilityOn = false;
  EXPECT_TRUE(hasProblem(doctorReport(facts)));
}

TEST(DoctorReport, isOneObjectForPrograms) {
  EXPECT_EQ(jsonText(doctorJson({{"Clock", Verdict::ok, "It agrees with the relay's.", ""},
                                 {"Tray", Verdict::warning, "None.", "Add one."}})),
            R"({"version":1,"ok":true,"findings":[)"
            R"({"check":"Clock","verdict":"ok","found":"It agrees with the relay's."},)"
            R"({"check":"Tray","verdict":"warning","found":"None.","advice":"Add one."}]})");
  EXPECT_EQ(doctorJson({{"Display", Verdict::problem, "None.", "Open one."}})["ok"], false);
}

}  // namespace
}  // namespace tallyfox
