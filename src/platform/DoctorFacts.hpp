#pragma once

#include <cstdint>
#include <expected>
#include <optional>
#include <string>
#include <vector>

#include "base/Date.hpp"
#include "platform/Keychain.hpp"
#include "platform/LoginItemService.hpp"

namespace tallyfox {

/// What was found, or a sentence that says why it is not known.
template <typename Found>
using DoctorAnswer = std::expected<Found, std::string>;

/// What a look at this desktop, at the relay and at the running agent found, before anyone judges it. Holds no secret;
/// texts of other programs are as they came.
struct DoctorFacts {
  struct Display {
    std::string windowManager;              ///< its name; empty when it tells none
    bool isManaged = false;                 ///< a window manager tells what it supports
    std::vector<std::string> missingHints;  ///< what we need of it and it does not support
    bool takesSyntheticInput = false;
    bool hasTray = false;  ///< somebody shows the older kind of tray icon
  };
  struct RelaySetting {
    enum class Source { none, environment, resource };
    Source source = Source::none;
    std::string address;  ///< as it is configured
    std::string problem;  ///< a sentence about a source that cannot be used; empty without one
  };
  struct RelayHost {
    std::string host;  ///< with its port
    bool isSecure = false;
    std::string proxy = {};                   ///< host and port of the proxy on the way; empty without one
    std::optional<std::string> failure = {};  ///< why there was no answer
    std::optional<Date> certificateExpiry = {};
    int status = 0;                      ///< of its answer
    std::optional<Date> relayTime = {};  ///< what time its answer told
    Date askedAt = {};                   ///< by this clock, when the answer came
  };
  struct Identity {
    KeychainStatus desktopKeyring = keychain_status::missingEntitlement;
    KeychainStatus fileKeychain = keychain_status::itemNotFound;  ///< of no interest while the other one holds it
    bool isUsable = false;                                        ///< what is stored can be read
    bool operator==(const Identity&) const = default;
  };
  struct Agent {
    enum class State { none, silent, running };
    State state = State::none;
    std::string version = {};  ///< empty where it does not tell
    bool isRelayConfigured = false;
    bool isRelayConnected = false;
    bool operator==(const Agent&) const = default;
  };

  DoctorAnswer<bool> isAccessibilityOn;
  DoctorAnswer<void> accessibilityBus;
  DoctorAnswer<Display> display;
  bool isWaylandSession = false;
  RelaySetting relaySetting;
  std::optional<RelayHost> relayHost;             ///< absent when it was not asked
  std::optional<DoctorAnswer<int>> registration;  ///< the status of the relay's answer; absent when it was not asked
  Identity identity;
  DoctorAnswer<std::string> notifications;  ///< the name of the service; empty when it starts with the first one
  DoctorAnswer<bool> statusNotifiers;       ///< whether somebody shows the newer kind of tray icon
  LoginItemServiceStatus loginItem = LoginItemServiceStatus::unknown;
  std::string executable;
  bool isApplicationBundle = false;
  bool isInApplications = false;
  Agent agent;
  std::string ownVersion;
};

}  // namespace tallyfox
